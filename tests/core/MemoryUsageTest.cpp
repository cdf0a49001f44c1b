#include <gtest/gtest.h>

#include <string>

#include "StoreValueTestSupport.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::test {
namespace {

namespace factory = core::factory;
using core::KeyPath;
using core::MemoryUsageBuilder;
using core::StoreValueMap;

TEST(MemoryUsageTest, EachBlockIsCountedOnce) {
    int a = 0;
    int b = 0;
    MemoryUsageBuilder builder;
    EXPECT_TRUE(builder.AddBlock(&a, 100));
    EXPECT_FALSE(builder.AddBlock(&a, 100));
    EXPECT_TRUE(builder.AddBlock(&b, 20));
    auto const usage = builder.Build();
    EXPECT_EQ(usage->GetTotalBytes(), 120u);
    EXPECT_EQ(usage->GetBlockCount(), 2u);

    MemoryUsageBuilder other;
    other.AddBlock(&b, 20);
    int c = 0;
    other.AddBlock(&c, 5);
    auto const both = usage->Union(*other.Build());
    EXPECT_EQ(both->GetTotalBytes(), 125u);
    EXPECT_EQ(both->GetBlockCount(), 3u);
}

TEST(MemoryUsageTest, TextsAreCountedOncePerBlockNotPerContent) {
    TStringCore const longText(std::wstring(1000, L'x'));
    auto const a = factory::MakeString(longText);
    auto const b = factory::MakeString(longText);  // another text block with the same content
    auto const bytes = UsageOf({a.get()})->GetTotalBytes();
    EXPECT_GT(bytes, 4000u);
    EXPECT_EQ(UsageOf({a.get(), a.get()})->GetTotalBytes(), bytes);
    EXPECT_EQ(UsageOf({a.get(), b.get()})->GetTotalBytes(), 2 * bytes);
}

TEST(MemoryUsageTest, AValueSharedByTwoPathsOfAStoreIsCountedOnce) {
    auto const column = DoubleArray({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    auto const columnBytes = UsageOf({column.get()})->GetTotalBytes();

    auto once = factory::MakeDataStore(StoreValueMap{{L"x", column}});
    auto twice = factory::MakeDataStore(StoreValueMap{{L"x", column}, {L"y", column}});
    auto const onceBytes = once->GetMemoryUsage()->GetTotalBytes();
    auto const twiceBytes = twice->GetMemoryUsage()->GetTotalBytes();
    EXPECT_GE(onceBytes, columnBytes);
    // The second entry costs a map node, not another column.
    EXPECT_LT(twiceBytes - onceBytes, columnBytes);

    // A store and its clone hold the same values: their union is one store and two store objects.
    auto const clone = once->Clone();
    auto const union_ = once->GetMemoryUsage()->Union(*clone->GetMemoryUsage());
    EXPECT_EQ(union_->GetBlockCount(), once->GetMemoryUsage()->GetBlockCount() + 1);
}

}  // namespace
}  // namespace zel::test
