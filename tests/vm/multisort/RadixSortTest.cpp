// The radix sort of row numbers gives the order of a stable comparison sort, for every key width,
// with digits that all keys share (skipped) and digits that differ.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "transform/sort/RadixSort.h"

namespace zel::test::multisort {
namespace {

template <class U>
void ExpectStableOrder(std::vector<U> const& keys) {
    std::vector<unsigned int> rows(keys.size());
    std::iota(rows.begin(), rows.end(), 0u);
    // The rows start in an order of their own, as a later pass of a sort finds them.
    std::reverse(rows.begin(), rows.end());
    std::vector<U> sortedKeys;
    for (unsigned int row : rows) {
        sortedKeys.push_back(keys[row]);
    }
    std::vector<unsigned int> reversedExpected = rows;
    std::stable_sort(reversedExpected.begin(), reversedExpected.end(),
                     [&](unsigned int a, unsigned int b) { return keys[a] < keys[b]; });
    vm::sort::RadixSortRows(sortedKeys, rows);
    EXPECT_EQ(rows, reversedExpected);
    EXPECT_TRUE(std::is_sorted(sortedKeys.begin(), sortedKeys.end()));
}

TEST(RadixSort, GivesTheOrderOfAStableComparisonSort) {
    std::mt19937_64 random(5);
    for (std::size_t count : {0u, 1u, 2u, 1000u, 50'000u}) {
        SCOPED_TRACE(count);
        std::vector<std::uint8_t> bytes;
        std::vector<std::uint32_t> fewValues;
        std::vector<std::uint64_t> wide;
        std::vector<std::uint64_t> highBitsOnly;
        for (std::size_t i = 0; i < count; ++i) {
            bytes.push_back(static_cast<std::uint8_t>(random() % 5));
            fewValues.push_back(0x8000'0000u + static_cast<std::uint32_t>(random() % 1000));
            wide.push_back(random());
            highBitsOnly.push_back((random() % 4) << 62);
        }
        ExpectStableOrder(bytes);
        ExpectStableOrder(fewValues);
        ExpectStableOrder(wide);
        ExpectStableOrder(highBitsOnly);
    }
}

}  // namespace
}  // namespace zel::test::multisort
