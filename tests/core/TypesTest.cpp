#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreType.h"
#include "zel/core/store/StoreTypeInfo.h"

using namespace zel::core;

TEST(StoreTypes, NamesRoundTripAndUnusedNumbersHaveNone) {
    int named = 0;
    for (int number = 0; number < 255; ++number) {
        auto const type = static_cast<StoreType>(number);
        auto const name = StoreTypeName(type);
        if (name.empty()) {
            EXPECT_TRUE(number == 12 || number > 15) << number;
            continue;
        }
        ++named;
        auto const parsed = ParseStoreTypeName(name);
        ASSERT_TRUE(parsed.has_value()) << name;
        EXPECT_EQ(*parsed, type) << name;
    }
    EXPECT_EQ(named, 15);
    EXPECT_EQ(StoreTypeName(StoreType::Empty), "empty");
    EXPECT_FALSE(ParseStoreTypeName("empty"));
    EXPECT_FALSE(ParseStoreTypeName("Double"));
}

TEST(RIndirectStrings, CopiesShareTheTextAndEqualityIsByText) {
    RIndirectString const a(L"hello");
    RIndirectString const copy = a;
    EXPECT_EQ(&a.Get(), &copy.Get());  // one block
    RIndirectString const other(TStringCore(L"hello"));
    EXPECT_NE(&a.Get(), &other.Get());
    EXPECT_EQ(a, other);
    EXPECT_EQ(std::hash<RIndirectString>{}(a), hash_value(other));
    EXPECT_FALSE(a == RIndirectString(L"Hello"));

    // Empty texts, however made, are equal.
    RIndirectString const none;
    EXPECT_EQ(none, RIndirectString(L""));
    EXPECT_EQ(none, RIndirectString(static_cast<wchar_t const*>(nullptr)));
    EXPECT_EQ(hash_value(none), hash_value(RIndirectString(TStringCore())));
    EXPECT_FALSE(none == RIndirectString(L" "));
}

TEST(RIndirectStrings, CopiesOutliveTheOriginalAndSurviveConcurrentCopying) {
    RIndirectString kept;
    {
        RIndirectString original(L"shared text");
        kept = original;
        RIndirectString moved(std::move(original));
        EXPECT_TRUE(original.IsEmpty());  // NOLINT(bugprone-use-after-move): the state is specified
        EXPECT_EQ(moved, kept);
    }
    EXPECT_EQ(kept.View(), L"shared text");

    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&kept] {
            for (int i = 0; i < 10000; ++i) {
                RIndirectString copy = kept;
                ASSERT_EQ(copy.View().size(), 11u);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(kept.View(), L"shared text");
}
