#include "zel/core/store/ZelDateTime.h"

#include <charconv>
#include <cstdio>

namespace zel::core {

namespace {

using namespace std::chrono;

constexpr sys_days c_epoch = sys_days(year{1} / January / 1);
constexpr sys_days c_end = sys_days(year{ZelDateTime::c_maxYear + 1} / January / 1);

static_assert((c_end - c_epoch).count() * ZelDateTime::c_microsPerDay - 1 == ZelDateTime::c_maxValue);

// Exactly `width` decimal digits at `pos`; nullopt otherwise.
std::optional<unsigned> ReadDigits(std::string_view text, std::size_t pos, std::size_t width) noexcept {
    if (pos + width > text.size()) {
        return std::nullopt;
    }
    char const* first = text.data() + pos;
    char const* last = first + width;
    for (char const* p = first; p != last; ++p) {
        if (*p < '0' || *p > '9') {
            return std::nullopt;
        }
    }
    unsigned value = 0;
    auto const [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last) {
        return std::nullopt;
    }
    return value;
}

bool Expect(std::string_view text, std::size_t pos, char c) noexcept {
    return pos < text.size() && text[pos] == c;
}

}  // namespace

constinit ZelDateTime const ZelDateTime::DateTimeDefault{};

std::optional<ZelDateTime> ZelDateTime::FromFields(int yearValue, unsigned monthValue, unsigned dayValue,
                                                   unsigned hour, unsigned minute, unsigned second,
                                                   unsigned microsecond) noexcept {
    if (yearValue < c_minYear || yearValue > c_maxYear || monthValue < 1 || monthValue > 12 || dayValue < 1 ||
        dayValue > 31 || hour > 23 || minute > 59 || second > 59 || microsecond >= c_microsPerSecond) {
        return std::nullopt;
    }
    year_month_day const date{year{yearValue}, month{monthValue}, day{dayValue}};
    if (!date.ok()) {
        return std::nullopt;
    }
    auto const days = static_cast<std::uint64_t>((sys_days(date) - c_epoch).count());
    std::uint64_t const seconds = hour * 3600ull + minute * 60ull + second;
    return ZelDateTime(days * c_microsPerDay + seconds * c_microsPerSecond + microsecond);
}

std::optional<ZelDateTime> ZelDateTime::Parse(std::string_view text) noexcept {
    auto const y = ReadDigits(text, 0, 4);
    auto const mo = ReadDigits(text, 5, 2);
    auto const d = ReadDigits(text, 8, 2);
    if (!y || !mo || !d || !Expect(text, 4, '-') || !Expect(text, 7, '-')) {
        return std::nullopt;
    }
    std::size_t pos = 10;
    unsigned h = 0, mi = 0, s = 0, micros = 0;
    if (pos < text.size() && text[pos] == 'T') {
        auto const hh = ReadDigits(text, 11, 2);
        auto const mm = ReadDigits(text, 14, 2);
        auto const ss = ReadDigits(text, 17, 2);
        if (!hh || !mm || !ss || !Expect(text, 13, ':') || !Expect(text, 16, ':')) {
            return std::nullopt;
        }
        h = *hh;
        mi = *mm;
        s = *ss;
        pos = 19;
        if (pos < text.size() && text[pos] == '.') {
            ++pos;
            std::size_t digits = 0;
            while (pos + digits < text.size() && digits < 7 && text[pos + digits] >= '0' &&
                   text[pos + digits] <= '9') {
                ++digits;
            }
            if (digits == 0 || digits > 6) {
                return std::nullopt;
            }
            micros = *ReadDigits(text, pos, digits);
            for (std::size_t i = digits; i < 6; ++i) {
                micros *= 10;
            }
            pos += digits;
        }
        if (pos < text.size() && text[pos] == 'Z') {
            ++pos;
        }
    }
    if (pos != text.size()) {
        return std::nullopt;
    }
    return FromFields(static_cast<int>(*y), *mo, *d, h, mi, s, micros);
}

ZelDateTime::SysTime ZelDateTime::ToSysTime() const noexcept {
    std::uint64_t const value = m_value <= c_maxValue ? m_value : c_maxValue;
    return SysTime(c_epoch) + microseconds(static_cast<microseconds::rep>(value));
}

std::optional<ZelDateTime> ZelDateTime::FromSysTime(SysTime time) noexcept {
    SysTime const first(c_epoch);
    SysTime const end(c_end);
    if (time < first || time >= end) {
        return std::nullopt;
    }
    return ZelDateTime(static_cast<std::uint64_t>((time - first).count()));
}

ZelDateTime::Fields ZelDateTime::GetFields() const noexcept {
    std::uint64_t const value = m_value <= c_maxValue ? m_value : c_maxValue;
    auto const dayCount = static_cast<int>(value / c_microsPerDay);
    std::uint64_t const timeOfDay = value % c_microsPerDay;
    sys_days const date = c_epoch + days(dayCount);
    year_month_day const ymd(date);
    std::uint64_t const seconds = timeOfDay / c_microsPerSecond;
    return Fields{
        static_cast<int>(ymd.year()),
        static_cast<unsigned>(ymd.month()),
        static_cast<unsigned>(ymd.day()),
        static_cast<unsigned>(seconds / 3600),
        static_cast<unsigned>(seconds / 60 % 60),
        static_cast<unsigned>(seconds % 60),
        static_cast<unsigned>(timeOfDay % c_microsPerSecond),
        weekday(date).iso_encoding() - 1,
    };
}

std::string ZelDateTime::ToIsoString(bool dateOnly) const {
    Fields const f = GetFields();
    char buffer[40];
    bool const midnight = f.hour == 0 && f.minute == 0 && f.second == 0 && f.microsecond == 0;
    int length = 0;
    if (dateOnly && midnight) {
        length = std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02u", f.year, f.month, f.day);
    } else {
        length = std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02u:%02u:%02u", f.year, f.month, f.day,
                               f.hour, f.minute, f.second);
        if (f.microsecond != 0) {
            length += std::snprintf(buffer + length, sizeof buffer - static_cast<std::size_t>(length),
                                    ".%06u", f.microsecond);
            while (buffer[length - 1] == '0') {
                --length;
            }
        }
    }
    return std::string(buffer, static_cast<std::size_t>(length));
}

}  // namespace zel::core
