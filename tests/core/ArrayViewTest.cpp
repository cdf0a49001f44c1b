#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "support/CheckFailure.h"
#include "zel/core/utility/ArrayView.h"

using namespace zel::core;

namespace {

// A failed bound check of a view: its exact condition text, code and file.
template <class Action>
void ExpectViewFailure(Action&& action, std::string const& conditionText) {
    zel::test::ExpectCheckFailure(
        std::forward<Action>(action), ZelError::RangeViolation, conditionText,
        zel::test::CheckSite{"code/core/public/zel/core/utility/ArrayView.h"});
}

}  // namespace

TEST(ArrayView, IndexingChecksTheBound) {
    std::vector<int> data{10, 11, 12};
    ArrayView<int> view(data);
    EXPECT_EQ(view[2], 12);
    view[1] = 21;
    EXPECT_EQ(data[1], 21);
    ArrayView<int const> const readable = view;  // implicit, like T* to T const*
    EXPECT_EQ(readable.data(), data.data());
    ExpectViewFailure([&] { (void)view[3]; }, "(index < m_size)");
    ExpectViewFailure([&] { (void)ArrayView<int>()[0]; }, "(index < m_size)");
    // The last element of an empty view wraps to a huge index and fails like any other.
    ExpectViewFailure([&] { (void)ArrayView<int>().back(); }, "(index < m_size)");
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

    ExpectViewFailure([&] { all.SubView(8, 0); }, "(ptr < ptrEnd)");
    ExpectViewFailure([&] { all.SubView(9, 1); }, "(ptr < ptrEnd)");
    ExpectViewFailure([&] { ArrayView<int>().SubView(0, 0); }, "(ptr < ptrEnd)");
    ExpectViewFailure([&] { all.SubView(6, 3); }, "!(ptr + count > ptrEnd)");
    ExpectViewFailure([&] { all.SubView(0, 0xFFFFFFFFu); }, "!(ptr + count > ptrEnd)");
    // A sub-view of a sub-view is checked against its own end, not the vector's.
    ExpectViewFailure([&] { mid.SubView(2, 3); }, "!(ptr + count > ptrEnd)");
}
