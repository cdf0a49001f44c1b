#include "vormetrics/MetricsReport.h"

#include <gtest/gtest.h>

#include "metrics/MetricsFixture.h"

using namespace metrics_test;

TEST(MetricsReport, WritesDurationsInTheLargestUnitThatKeepsThemAtOneOrMore) {
    struct Case {
        std::int64_t ns;
        wchar_t const* text;
    };
    Case const cases[] = {
        {0, L"0 ns"},
        {999, L"999 ns"},
        {1000, L"1.00 \u00b5s"},
        {12'345, L"12.3 \u00b5s"},
        {999'400, L"999 \u00b5s"},
        {999'999, L"1.00 ms"},  // not "1000 µs"
        {123'456'789, L"123 ms"},
        {1'500'000'000, L"1.50 s"},
        {3'600'000'000'000, L"3600 s"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(Metrics::FormatDuration(nanoseconds(c.ns)), c.text) << c.ns;
    }
}

TEST_F(MetricsTest, ReportHasOneAlignedLinePerNameLongestTotalFirst) {
    Record(L"fast", 5'000);
    Record(L"zel_VM_Execute", 500'000);
    Record(L"zel_VM_Execute", 1'000'000);
    Record(L"zel_VM_Execute", 1'500'000);
    Record(L"mid", 300'000);
    Record(L"mid", 500'000);

    EXPECT_EQ(
        Metrics::GetRegistry().Report(),
        L"zel_VM_Execute  count 3  total 3.00 ms  mean 1.00 ms  min 500 \u00b5s  max 1.50 ms\n"
        L"mid             count 2  total 800 \u00b5s  mean 400 \u00b5s  min 300 \u00b5s  max 500 \u00b5s\n"
        L"fast            count 1  total 5.00 \u00b5s  mean 5.00 \u00b5s  min 5.00 \u00b5s  max 5.00 "
        L"\u00b5s\n");
}
