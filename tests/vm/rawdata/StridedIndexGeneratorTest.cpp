#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "utility/StridedIndexGenerator.h"

namespace zel::vm {
namespace {

using Blocks = std::vector<std::pair<unsigned int, unsigned int>>;

// Every block of the walk as (lowest row, length), in the order walked.
Blocks Walk(unsigned int startIndex, unsigned int size, int stride) {
    StridedIndexGenerator generator(startIndex, size, stride);
    Blocks blocks;
    while (generator.Next()) {
        blocks.emplace_back(generator.GetStartIndex(), generator.GetLength());
    }
    // Once done, it stays done.
    EXPECT_FALSE(generator.Next());
    return blocks;
}

TEST(StridedIndexGenerator, ForwardsTheShortBlockCoversTheHighestRows) {
    EXPECT_EQ(Walk(0, 10, 4), (Blocks{{0, 4}, {4, 4}, {8, 2}}));
    EXPECT_EQ(Walk(100, 9, 4), (Blocks{{100, 4}, {104, 4}, {108, 1}}));
    EXPECT_EQ(Walk(0, 8, 4), (Blocks{{0, 4}, {4, 4}}));
    EXPECT_EQ(Walk(5, 3, 4), (Blocks{{5, 3}}));
    EXPECT_EQ(Walk(0, 0, 4), Blocks{});
    EXPECT_EQ(StridedIndexGenerator(0, 0, 4).GetBlockCount(), 0u);
}

TEST(StridedIndexGenerator, BackwardsTheShortBlockCoversTheLowestRows) {
    EXPECT_EQ(Walk(109, 10, -4), (Blocks{{106, 4}, {102, 4}, {100, 2}}));
    EXPECT_EQ(Walk(9, 10, -4), (Blocks{{6, 4}, {2, 4}, {0, 2}}));
    EXPECT_EQ(Walk(7, 8, -4), (Blocks{{4, 4}, {0, 4}}));
    EXPECT_EQ(Walk(2, 3, -4), (Blocks{{0, 3}}));
    EXPECT_EQ(Walk(3, 0, -4), Blocks{});
    // The range may not reach below row zero.
    test::ExpectCheckFailure([] { StridedIndexGenerator(8, 10, -4); }, core::ZelError::RangeViolation,
                             "(startIndex >= size)");
}

}  // namespace
}  // namespace zel::vm
