#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "support/CheckFailure.h"
#include "zel/core/utility/ArrayView.h"

using namespace zel::core;
using zel::test::ReportCollector;

namespace {

// Like ExpectCheckFailure, and also the source line of the check: it is part of what a report
// says, so that a host can tell the checks apart.
template <class Action>
void ExpectViewFailure(Action&& action, std::string const& conditionText, int line) {
    ReportCollector collector;
    bool thrown = false;
    try {
        action();
    } catch (ZelRuntimeException const& e) {
        thrown = true;
        EXPECT_EQ(e.GetError(), ZelError::RangeViolation);
    }
    EXPECT_TRUE(thrown) << conditionText;
    auto const reports = collector.Reports();
    ASSERT_EQ(reports.size(), 1u) << conditionText;
    EXPECT_EQ(reports[0].conditionText, conditionText);
    EXPECT_EQ(reports[0].error, ZelError::RangeViolation);
    EXPECT_EQ(reports[0].line, line) << conditionText;
    EXPECT_EQ(reports[0].sourcePath, "code/core/public/zel/core/utility/ArrayView.h");
}

}  // namespace

TEST(ArrayView, IndexingChecksTheBound) {
    std::vector<int> data{10, 11, 12};
    ArrayView<int> view(data);
    EXPECT_EQ(view[2], 12);
    view[1] = 21;
    EXPECT_EQ(data[1], 21);
    ExpectViewFailure([&] { (void)view[3]; }, "(index < m_size)", 121);
    ExpectViewFailure([&] { (void)ArrayView<int>()[0]; }, "(index < m_size)", 121);
    // The last element of an empty view wraps to a huge index and fails like any other.
    ExpectViewFailure([&] { (void)ArrayView<int>().back(); }, "(index < m_size)", 121);
}

TEST(ArrayView, SubViewStartMustLieBelowTheEndEvenWhenEmpty) {
    std::vector<int> data(8);
    std::iota(data.begin(), data.end(), 0);
    ArrayView<int> const all(data);

    ArrayView<int> const mid = all.SubView(2, 4);
    ASSERT_EQ(mid.size(), 4u);
    EXPECT_EQ(mid.data(), data.data() + 2);
    EXPECT_EQ(mid[3], 5);
    EXPECT_EQ(all.SubView(7, 1)[0], 7);
    EXPECT_TRUE(all.SubView(3, 0).empty());

    ExpectViewFailure([&] { all.SubView(8, 0); }, "(ptr < ptrEnd)", 97);
    ExpectViewFailure([&] { all.SubView(9, 1); }, "(ptr < ptrEnd)", 97);
    ExpectViewFailure([&] { ArrayView<int>().SubView(0, 0); }, "(ptr < ptrEnd)", 97);
    ExpectViewFailure([&] { all.SubView(6, 3); }, "!(ptr + count > ptrEnd)", 98);
    ExpectViewFailure([&] { all.SubView(0, 0xFFFFFFFFu); }, "!(ptr + count > ptrEnd)", 98);
    // A sub-view of a sub-view is checked against its own end, not the vector's.
    ExpectViewFailure([&] { mid.SubView(2, 3); }, "!(ptr + count > ptrEnd)", 98);
}

TEST(ArrayView, UncheckedAccessAndConstViews) {
    std::vector<double> const data{1.5, 2.5, 3.5};
    ArrayView<double const> const view(data);
    double sum = 0;
    for (double d : view) {
        sum += d;
    }
    EXPECT_EQ(sum, 7.5);
    EXPECT_EQ(view.end() - view.begin(), 3);

    std::vector<double> mutableData{1, 2};
    ArrayView<double> writable(mutableData);
    ArrayView<double const> readable = writable;  // implicit, like T* to T const*
    EXPECT_EQ(readable.data(), mutableData.data());
    EXPECT_EQ(readable.size(), 2u);
}
