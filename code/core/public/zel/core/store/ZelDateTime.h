#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::core {

// A point in time as microseconds since 0001-01-01T00:00:00 UTC in the proleptic Gregorian
// calendar. Every valid instant is non-negative, so the unsigned value orders like the instant.
// A Date holds midnight of its day. DateTimeDefault (value 0, 0001-01-01T00:00:00) fills the slot
// of a special element.
//
// The calendar range is the years 1 to 9999. A value past 9999-12-31T23:59:59.999999 (c_maxValue)
// is not valid: it still orders and compares, and GetFields and ToIsoString read it as c_maxValue.
class ZelDateTime {
public:
    static constexpr std::uint64_t c_microsPerSecond = 1'000'000;
    static constexpr std::uint64_t c_microsPerDay = 86'400 * c_microsPerSecond;
    static constexpr int c_minYear = 1;
    static constexpr int c_maxYear = 9999;
    // 3'652'059 days from 0001-01-01 to 10000-01-01, less one microsecond.
    static constexpr std::uint64_t c_maxValue = 3'652'059 * c_microsPerDay - 1;

    using SysTime = std::chrono::sys_time<std::chrono::microseconds>;

    constexpr ZelDateTime() noexcept = default;
    constexpr explicit ZelDateTime(std::uint64_t value) noexcept : m_value(value) {}

    constexpr std::uint64_t GetValue() const noexcept { return m_value; }
    constexpr bool IsValid() const noexcept { return m_value <= c_maxValue; }
    // Midnight of the same day.
    constexpr ZelDateTime GetDate() const noexcept { return ZelDateTime(m_value - m_value % c_microsPerDay); }

    // From calendar fields; nullopt when a field is out of range (month 13, 30 February, year 0,
    // year 10000, hour 24, second 60, microsecond 1'000'000).
    static std::optional<ZelDateTime> FromFields(int year, unsigned month, unsigned day, unsigned hour = 0,
                                                 unsigned minute = 0, unsigned second = 0,
                                                 unsigned microsecond = 0) noexcept;
    // "2024-01-31" and "2024-01-31T12:00:00" with an optional fraction of one to six digits
    // (".5", ".000001") and an optional "Z"; exactly four year digits and two for each other field.
    // nullopt for any other text or a field out of range.
    static std::optional<ZelDateTime> Parse(std::string_view text) noexcept;

    // Interchange with std::chrono, for date arithmetic. FromSysTime is nullopt outside the range.
    SysTime ToSysTime() const noexcept;
    static std::optional<ZelDateTime> FromSysTime(SysTime time) noexcept;

    struct Fields {
        int year;
        unsigned month, day, hour, minute, second, microsecond;
        unsigned dayOfWeek;  // 0 = Monday ... 6 = Sunday
    };
    Fields GetFields() const noexcept;

    // "2024-01-31" when the time of day is midnight and dateOnly is set, else "2024-01-31T12:00:00"
    // with a fraction only when it is not zero, without trailing zeros ("…T12:00:00.5"). Parse reads
    // every output back to the same value.
    std::string ToIsoString(bool dateOnly = false) const;

    static ZelDateTime const DateTimeDefault;

    friend constexpr bool operator==(ZelDateTime a, ZelDateTime b) noexcept { return a.m_value == b.m_value; }
    friend constexpr bool operator<(ZelDateTime a, ZelDateTime b) noexcept { return a.m_value < b.m_value; }
    friend constexpr bool operator>(ZelDateTime a, ZelDateTime b) noexcept { return a.m_value > b.m_value; }

private:
    std::uint64_t m_value = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
