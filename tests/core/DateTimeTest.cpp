#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

#include "zel/core/store/ZelDateTime.h"

using namespace zel::core;

namespace {

constexpr std::uint64_t c_day = ZelDateTime::c_microsPerDay;

}  // namespace

TEST(DateTimes, EpochIsTheFirstOfJanuaryOfYearOne) {
    EXPECT_EQ(ZelDateTime::DateTimeDefault.GetValue(), 0u);
    EXPECT_EQ(ZelDateTime::FromFields(1, 1, 1), ZelDateTime(0));
    EXPECT_EQ(ZelDateTime().ToIsoString(), "0001-01-01T00:00:00");
    // 719162 days separate year one from 1970, the epoch of std::chrono's system clock.
    EXPECT_EQ(ZelDateTime::FromFields(1970, 1, 1)->GetValue(), 719162 * c_day);
    EXPECT_EQ(ZelDateTime(719162 * c_day).ToSysTime().time_since_epoch().count(), 0);
    EXPECT_EQ(ZelDateTime::FromFields(9999, 12, 31, 23, 59, 59, 999999)->GetValue(), ZelDateTime::c_maxValue);

    auto const leap = ZelDateTime::FromFields(2024, 2, 29, 13, 14, 15, 16);
    ASSERT_TRUE(leap);
    auto const f = leap->GetFields();
    EXPECT_EQ(std::vector<unsigned>({f.month, f.day, f.hour, f.minute, f.second, f.microsecond}),
              std::vector<unsigned>({2, 29, 13, 14, 15, 16}));
    EXPECT_EQ(f.year, 2024);
    EXPECT_EQ(f.dayOfWeek, 3u);                          // a Thursday
    EXPECT_EQ(ZelDateTime().GetFields().dayOfWeek, 0u);  // 0001-01-01 was a Monday
    EXPECT_EQ(ZelDateTime::FromFields(2023, 12, 31)->GetFields().dayOfWeek, 6u);
    EXPECT_EQ(leap->GetDate(), ZelDateTime::FromFields(2024, 2, 29));
}

TEST(DateTimes, FieldsTextAndSystemTimeRoundTripAcrossTheWholeRange) {
    // Step by a prime number of days and odd microseconds so that every month, leap rule and time
    // field is met.
    for (std::uint64_t value = 0; value <= ZelDateTime::c_maxValue; value += 997 * c_day + 3'599'999'999) {
        ZelDateTime const instant(value);
        auto const f = instant.GetFields();
        auto const back =
            ZelDateTime::FromFields(f.year, f.month, f.day, f.hour, f.minute, f.second, f.microsecond);
        ASSERT_TRUE(back) << value;
        ASSERT_EQ(back->GetValue(), value);
        ASSERT_EQ(ZelDateTime::Parse(instant.ToIsoString()), instant) << instant.ToIsoString();
        ASSERT_EQ(ZelDateTime::FromSysTime(instant.ToSysTime()), instant);
    }
    for (char const* text :
         {"2024-02-29", "1999-12-31T23:59:59", "2000-03-01T00:00:00.5", "0001-01-01T00:00:00.000001",
          "9999-12-31T23:59:59.999999", "1900-02-28T12:30:00.12"}) {
        auto const parsed = ZelDateTime::Parse(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(parsed->ToIsoString(std::string(text).size() == 10), text);
    }
    EXPECT_EQ(ZelDateTime::Parse("2024-01-31T12:00:00Z"), ZelDateTime::Parse("2024-01-31T12:00:00"));
    EXPECT_EQ(ZelDateTime::Parse("2024-01-31T00:00:00"), ZelDateTime::Parse("2024-01-31"));
    EXPECT_EQ(ZelDateTime::Parse("2024-01-31T00:00:00.25")->GetFields().microsecond, 250000u);
    // A date-only text is printed with its time when the time is not midnight.
    EXPECT_EQ(ZelDateTime::Parse("2024-01-31T06:00:00")->ToIsoString(true), "2024-01-31T06:00:00");
}

TEST(DateTimes, MalformedTextAndOutOfRangeFieldsAreRefused) {
    auto const expectRefused = [](std::initializer_list<char const*> texts) {
        for (char const* text : texts) {
            EXPECT_FALSE(ZelDateTime::Parse(text)) << text;
        }
    };
    expectRefused({"2024", "2024-1-31", "24-01-31", "", "02024-01-31", "2024/01/31", "2024-01-31 12:00:00",
                   " 2024-01-31", "2024-01-31x", "+024-01-31", "-024-01-31"});
    expectRefused({"2024-01-31 ", "2024-0a-31", "2024-01-31T", "2024-01-31T12", "2024-01-31T12:00",
                   "2024-01-31T12:00:00.", "2024-01-31T12:00:00.1234567", "2024-01-31T12:00:00.-1",
                   "2024-01-31T12:00:00ZZ", "2024-01-31T12:00:00z", "2024-01-31Z", "2024-01-31T1:00:00"});
    // Fields out of range.
    expectRefused({"0000-01-01", "2024-00-10", "2024-13-01", "2024-01-00", "2024-01-32", "2023-02-29",
                   "1900-02-29", "2024-04-31", "2024-01-31T24:00:00", "2024-01-31T12:60:00",
                   "2024-01-31T12:00:60"});
    EXPECT_FALSE(ZelDateTime::Parse(std::string("2024-01-31\0", 11)));

    EXPECT_FALSE(ZelDateTime::FromFields(0, 1, 1));
    EXPECT_FALSE(ZelDateTime::FromFields(10000, 1, 1));
    EXPECT_FALSE(ZelDateTime::FromFields(std::numeric_limits<int>::min(), 1, 1));
    EXPECT_FALSE(ZelDateTime::FromFields(2024, 13, 1));
    EXPECT_FALSE(ZelDateTime::FromFields(2024, 2, 30));
    EXPECT_FALSE(ZelDateTime::FromFields(2100, 2, 29));
    EXPECT_TRUE(ZelDateTime::FromFields(2000, 2, 29));
    EXPECT_FALSE(ZelDateTime::FromFields(2024, 1, 1, 0, 0, 0, 1'000'000));
    EXPECT_FALSE(ZelDateTime::FromFields(2024, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u));
}

TEST(DateTimes, ValuesPastTheRangeReadAsTheLastInstant) {
    ZelDateTime const beyond(std::numeric_limits<std::uint64_t>::max());
    EXPECT_FALSE(beyond.IsValid());
    EXPECT_TRUE(ZelDateTime(ZelDateTime::c_maxValue).IsValid());
    EXPECT_EQ(beyond.ToIsoString(), "9999-12-31T23:59:59.999999");
    EXPECT_TRUE(ZelDateTime(ZelDateTime::c_maxValue) < beyond);
    using namespace std::chrono;
    EXPECT_FALSE(ZelDateTime::FromSysTime(ZelDateTime::SysTime(sys_days(year{10000} / January / 1))));
    EXPECT_FALSE(ZelDateTime::FromSysTime(ZelDateTime::SysTime(sys_days(year{0} / December / 31))));
}
