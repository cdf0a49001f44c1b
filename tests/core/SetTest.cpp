// Sets: distinct members, their array view, and equality regardless of member order.

#include <gtest/gtest.h>

#include "ArrayTestSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/Collation.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"

using namespace zel::core;
using namespace zel::test;

namespace {

std::shared_ptr<StoreValue> IntSet(std::initializer_list<unsigned int> values,
                                   std::unique_ptr<std::vector<SpecialKind>> specials = nullptr) {
    return factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec(values), std::move(specials));
}

TEST(Sets, HoldDistinctMembersAndAnswerEveryArrayInterface) {
    auto const set =
        IntSet({4, 2, 4, 0, 2, 0}, Vec({SpecialKind::None, SpecialKind::None, SpecialKind::None,
                                        SpecialKind::Null, SpecialKind::None, SpecialKind::Null}));
    EXPECT_EQ(set->GetKeySegmentType(), KeySegmentType(StoreTypeInfo::Set, StoreTypeInfo::Int32));
    EXPECT_TRUE(
        ReadByIterator<unsigned int>(*set) ==
        (Content<unsigned int>{{4, 2, 0}, {SpecialKind::None, SpecialKind::None, SpecialKind::Null}}));
    EXPECT_TRUE(set->AsCollection().HasSpecialValues());
    // A gather of a set's members is an array; distinct of a set is a set again.
    EXPECT_EQ(set->AsArray().Gather(std::make_shared<std::vector<unsigned int>>(2, 0u))->GetStoreType(),
              StoreType::Array);
    EXPECT_EQ(set->AsArray().MakeDistinct(true)->GetStoreType(), StoreType::Set);
    EXPECT_EQ(set->AsArray().MakeDistinct(false)->GetCount(), 2u);
}

TEST(Sets, ArrayViewWithAndWithoutSpecials) {
    auto const set = IntSet({1, 0, 3}, Vec({SpecialKind::None, SpecialKind::Error, SpecialKind::None}));
    auto const all = set->AsSet().AsArray(true);
    EXPECT_EQ(all->GetStoreType(), StoreType::Array);
    EXPECT_TRUE(ReadByIndex<unsigned int>(*all) == ReadByIndex<unsigned int>(*set));
    // The full view shares the set's memory.
    EXPECT_EQ(all->AsTypedArray<unsigned int>().GetFlatValues().data(),
              set->AsTypedArray<unsigned int>().GetFlatValues().data());

    auto const ordinary = set->AsSet().AsArray(false);
    EXPECT_EQ(ordinary->GetStoreType(), StoreType::Array);
    EXPECT_TRUE(ReadByIndex<unsigned int>(*ordinary) ==
                (Content<unsigned int>{{1, 3}, {SpecialKind::None, SpecialKind::None}}));

    auto const without = set->AsSet().WithoutSpecials();
    EXPECT_EQ(without->GetStoreType(), StoreType::Set);
    EXPECT_FALSE(without->AsCollection().HasSpecialValues());
    EXPECT_TRUE(without->Equals(*IntSet({3, 1})));
}

TEST(Sets, EqualityAndHashIgnoreMemberOrderAndFollowTheCollation) {
    auto const a = IntSet({1, 2, 3});
    auto const b = IntSet({3, 1, 2, 2});
    EXPECT_TRUE(a->Equals(*b));
    EXPECT_EQ(a->Hash(), b->Hash());
    EXPECT_EQ(a->Compare(*b), 0);
    EXPECT_FALSE(a->Equals(*IntSet({1, 2, 4})));
    EXPECT_FALSE(a->Equals(*IntSet({1, 2})));
    EXPECT_LT(IntSet({1, 2})->Compare(*IntSet({2, 1, 3})), 0);
    EXPECT_GT(IntSet({3})->Compare(*IntSet({2, 1})), 0);
    // A set is no array of the same members.
    auto const array = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({1, 2, 3}));
    EXPECT_FALSE(a->Equals(*array));
    EXPECT_NE(a->Compare(*array), 0);
    EXPECT_TRUE(a->Clone()->Equals(*a));

    // Strings are members under their collation.
    StoreTypeInfo const nocase(StoreType::String, false, Collation::Named(L"nocase"));
    auto const c =
        factory::MakeSet<RIndirectString>(nocase, Vec<RIndirectString>({L"Hello", L"HELLO", L"x"}));
    auto const d = factory::MakeSet<RIndirectString>(nocase, Vec<RIndirectString>({L"X", L"hello"}));
    EXPECT_EQ(c->GetCount(), 2u);
    EXPECT_TRUE(c->Equals(*d));
    EXPECT_EQ(c->Hash(), d->Hash());
    EXPECT_EQ(c->Compare(*d), 0);
}

}  // namespace
