#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zel::core {

// A point in time as microseconds since 0001-01-01T00:00:00 UTC in the proleptic Gregorian
// calendar. Every valid instant is non-negative, so the unsigned value orders like the instant.
// A Date holds midnight of its day. DateTimeDefault (value 0, 0001-01-01T00:00:00) fills the slot
// of a special element.
class ZelDateTime {
public:
    static constexpr std::uint64_t c_microsPerSecond = 1'000'000;
    static constexpr std::uint64_t c_microsPerDay = 86'400 * c_microsPerSecond;

    constexpr ZelDateTime() noexcept = default;
    constexpr explicit ZelDateTime(std::uint64_t value) noexcept : m_value(value) {}

    constexpr std::uint64_t GetValue() const noexcept { return m_value; }

    // From calendar fields; nullopt when a field is out of range (month 13, 30 February, year 0).
    static std::optional<ZelDateTime> FromFields(int year, unsigned month, unsigned day, unsigned hour = 0,
                                                 unsigned minute = 0, unsigned second = 0,
                                                 unsigned microsecond = 0) noexcept;
    // "2024-01-31" and "2024-01-31T12:00:00" with optional ".ffffff" fraction; nullopt otherwise.
    static std::optional<ZelDateTime> Parse(std::string_view text) noexcept;

    struct Fields {
        int year;
        unsigned month, day, hour, minute, second, microsecond;
        unsigned dayOfWeek;  // 0 = Monday ... 6 = Sunday
    };
    Fields GetFields() const noexcept;

    // "2024-01-31" when the time of day is midnight and dateOnly is set, else "2024-01-31T12:00:00"
    // with a fraction only when it is not zero.
    std::string ToIsoString(bool dateOnly = false) const;

    static ZelDateTime const DateTimeDefault;

    friend constexpr bool operator==(ZelDateTime a, ZelDateTime b) noexcept { return a.m_value == b.m_value; }
    friend constexpr bool operator<(ZelDateTime a, ZelDateTime b) noexcept { return a.m_value < b.m_value; }
    friend constexpr bool operator>(ZelDateTime a, ZelDateTime b) noexcept { return a.m_value > b.m_value; }

private:
    std::uint64_t m_value = 0;
};

}  // namespace zel::core
