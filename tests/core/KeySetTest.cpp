#include <gtest/gtest.h>

#include <string>

#include "StoreValueTestSupport.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test {
namespace {

namespace factory = core::factory;
using core::RIndirectString;
using core::SpecialKind;
using core::StoreTypeInfo;
using core::StoreValue;
using core::ZelError;
using Value = std::shared_ptr<StoreValue>;

// Distinct elements of each storage type, with a logical type that is held in it.
template <class T>
struct Sample;
template <>
struct Sample<unsigned char> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Bool; }
    static unsigned char Make(int i) { return static_cast<unsigned char>(i % 2); }
    static constexpr int c_distinct = 2;
};
template <>
struct Sample<unsigned int> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Int32; }
    static unsigned int Make(int i) { return static_cast<unsigned int>(i * 7 + 1); }
    static constexpr int c_distinct = 100;
};
template <>
struct Sample<unsigned long long> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Int64; }
    static unsigned long long Make(int i) {
        return static_cast<unsigned long long>(i) * 1'000'000'007ULL + 3;
    }
    static constexpr int c_distinct = 100;
};
template <>
struct Sample<RIndirectString> {
    static StoreTypeInfo Type() { return StoreTypeInfo::String; }
    static RIndirectString Make(int i) { return RIndirectString(TStringCore(L"k" + std::to_wstring(i))); }
    static constexpr int c_distinct = 100;
};
template <>
struct Sample<Value> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Tuple; }
    // A new tuple on every call, so that lookups must go by value.
    static Value Make(int i) {
        return factory::MakeTuple({factory::MakeInt32(i), factory::MakeString(L"t")});
    }
    static constexpr int c_distinct = 100;
};

template <class T>
bool SameElement(T const& a, T const& b) {
    if constexpr (std::is_same_v<T, Value>) {
        return std::equal_to<Value>()(a, b);
    } else {
        return a == b;
    }
}

template <class K, class V>
Value MakeSample(int valueOffset, bool withSpecial = true) {
    int const count = std::min(3, Sample<K>::c_distinct);
    auto map = core::MakeKeySetMap<K, V>(Sample<K>::Type());
    for (int i = 0; i < count; ++i) {
        map->emplace(Sample<K>::Make(i), Sample<V>::Make(i + valueOffset));
    }
    auto specials = std::make_unique<core::KeySetSpecialMap<V>>();
    if (withSpecial) {
        specials->emplace(SpecialKind::Null, Sample<V>::Make(valueOffset + 50));
    }
    return factory::MakeKeySet<K, V>(Sample<K>::Type(), Sample<V>::Type(), StoreTypeInfo::Empty,
                                     std::move(map), std::move(specials));
}

template <class Pair>
class KeySetCombinationTest : public ::testing::Test {};

template <class K, class V>
struct KV {
    using Key = K;
    using Mapped = V;
};

#define ZEL_KV_ROW(K) \
    KV<K, unsigned char>, KV<K, unsigned int>, KV<K, unsigned long long>, KV<K, RIndirectString>, KV<K, Value>
using AllCombinations =
    ::testing::Types<ZEL_KV_ROW(unsigned char), ZEL_KV_ROW(unsigned int), ZEL_KV_ROW(unsigned long long),
                     ZEL_KV_ROW(RIndirectString), ZEL_KV_ROW(Value)>;
#undef ZEL_KV_ROW
TYPED_TEST_SUITE(KeySetCombinationTest, AllCombinations);

TYPED_TEST(KeySetCombinationTest, LooksUpKeysAndSpecialKindsAndComparesByContent) {
    using K = typename TypeParam::Key;
    using V = typename TypeParam::Mapped;
    int const count = std::min(3, Sample<K>::c_distinct);

    Value const value = MakeSample<K, V>(10);
    EXPECT_EQ(value->GetStoreType(), core::StoreType::Object);
    EXPECT_FALSE(value->IsSpecial());
    auto const& keySet = core::AsTypedKeySet<K, V>(*value);
    for (int i = 0; i < count; ++i) {
        V const* found = keySet.Find(Sample<K>::Make(i));
        ASSERT_NE(found, nullptr) << i;
        EXPECT_TRUE(SameElement(*found, Sample<V>::Make(i + 10))) << i;
    }
    if (Sample<K>::c_distinct > count) {
        EXPECT_EQ(keySet.Find(Sample<K>::Make(count)), nullptr);
    }
    ASSERT_NE(keySet.FindSpecial(SpecialKind::Null), nullptr);
    EXPECT_TRUE(SameElement(*keySet.FindSpecial(SpecialKind::Null), Sample<V>::Make(60)));
    EXPECT_EQ(keySet.FindSpecial(SpecialKind::Error), nullptr);

    core::IStoreKeySet const& untyped = value->AsKeySet();
    EXPECT_EQ(untyped.GetKeyCount(), static_cast<unsigned>(count));
    EXPECT_EQ(untyped.GetSpecialKeyCount(), 1u);
    EXPECT_EQ(value->GetCount(), static_cast<unsigned>(count + 1));
    EXPECT_EQ(untyped.GetKeyTypeInfo(), Sample<K>::Type());
    EXPECT_EQ(untyped.GetEntryValueTypeInfo(), Sample<V>::Type());
    auto const entries = untyped.GetValueEntries();
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(count + 1));
    EXPECT_EQ(entries.back().first->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(core::SerializeValue(*value).view().substr(0, 7), L"keyset{");

    // Equal content, however it was built, is equal and hashes alike.
    Value const same = MakeSample<K, V>(10);
    EXPECT_TRUE(value->Equals(*same));
    EXPECT_EQ(value->Hash(), same->Hash());
    EXPECT_EQ(value->Compare(*same), 0);
    Value const clone(value->Clone());
    EXPECT_TRUE(clone->Equals(*value));

    Value const withoutSpecial = MakeSample<K, V>(10, false);
    EXPECT_FALSE(value->Equals(*withoutSpecial));
    EXPECT_NE(value->Compare(*withoutSpecial), 0);
    EXPECT_EQ(value->Compare(*withoutSpecial), -withoutSpecial->Compare(*value));

    // Asking for another value storage is a logic error naming both.
    if constexpr (std::is_same_v<V, unsigned char>) {
        ExpectRefusal([&] { core::AsTypedKeySet<K, unsigned int>(*value); }, "no key set of");
    } else {
        ExpectRefusal([&] { core::AsTypedKeySet<K, unsigned char>(*value); }, "no key set of");
    }
}

TEST(KeySetTest, DifferentValuesMakeDifferentSets) {
    Value const a = MakeSample<unsigned int, RIndirectString>(10);
    Value const b = MakeSample<unsigned int, RIndirectString>(11);
    EXPECT_FALSE(a->Equals(*b));
    EXPECT_NE(a->Compare(*b), 0);
    EXPECT_EQ(a->Compare(*b), -b->Compare(*a));
    // Key sets of other storage order consistently too, and never equal.
    Value const c = MakeSample<unsigned int, unsigned int>(10);
    EXPECT_FALSE(a->Equals(*c));
    EXPECT_EQ(a->Compare(*c), -c->Compare(*a));
    EXPECT_NE(a->Compare(*c), 0);
    // Object scalars order before key sets.
    EXPECT_TRUE(factory::MakeObject(factory::MakeInt32(1))->IsLessThan(*a));
    EXPECT_TRUE(a->IsGreaterThan(*factory::MakeObject(factory::MakeInt32(1))));
}

TEST(KeySetTest, StringKeysFollowTheCollationOfTheKeyType) {
    StoreTypeInfo const nocase(core::StoreType::String, false, core::Collation::Named(L"nocase"));
    // The map is built with binary hashing on purpose: MakeKeySet re-keys it under the key type.
    auto map = std::make_unique<core::KeySetMap<RIndirectString, unsigned int>>();
    map->emplace(RIndirectString(L"Alpha"), 1u);
    map->emplace(RIndirectString(L"beta"), 2u);
    Value const value = factory::MakeKeySet<RIndirectString, unsigned int>(
        nocase, StoreTypeInfo::Int32, StoreTypeInfo::Empty, std::move(map), nullptr);
    auto const& keySet = core::AsTypedKeySet<RIndirectString, unsigned int>(*value);
    ASSERT_NE(keySet.Find(RIndirectString(L"ALPHA")), nullptr);
    EXPECT_EQ(*keySet.Find(RIndirectString(L"ALPHA")), 1u);
    EXPECT_EQ(*keySet.Find(RIndirectString(L"Beta")), 2u);
    EXPECT_EQ(keySet.Find(RIndirectString(L"gamma")), nullptr);
    EXPECT_EQ(value->AsKeySet().GetSpecialKeyCount(), 0u);

    auto clash = std::make_unique<core::KeySetMap<RIndirectString, unsigned int>>();
    clash->emplace(RIndirectString(L"a"), 1u);
    clash->emplace(RIndirectString(L"A"), 2u);
    ExpectRuntimeError(
        [&] {
            factory::MakeKeySet<RIndirectString, unsigned int>(
                nocase, StoreTypeInfo::Int32, StoreTypeInfo::Empty, std::move(clash), nullptr);
        },
        ZelError::DuplicateKey, "are equal under collation nocase");
}

TEST(KeySetTest, TypesMustBeHeldInTheStorageOfTheMap) {
    ExpectRuntimeError(
        [] {
            factory::MakeKeySet<unsigned int, unsigned int>(StoreTypeInfo::Double, StoreTypeInfo::Int32,
                                                            StoreTypeInfo::Empty, nullptr, nullptr);
        },
        ZelError::UnsupportedTypes, "keys of type double are not held as uint32");
    ExpectRuntimeError(
        [] {
            factory::MakeKeySet<unsigned int, RIndirectString>(StoreTypeInfo::Float, StoreTypeInfo::Int32,
                                                               StoreTypeInfo::Empty, nullptr, nullptr);
        },
        ZelError::UnsupportedTypes, "values of type int32 are not held as string");
    ExpectRefusal([] { core::AsTypedKeySet<unsigned int, unsigned int>(*factory::MakeInt32(1)); },
                  "int32 is no key set of uint32 to uint32");
}

TEST(KeySetTest, ClonesShareTheirMapsInMemoryUsage) {
    Value const value = MakeSample<RIndirectString, Value>(0);
    Value const clone(value->Clone());
    core::MemoryUsageBuilder one;
    value->CollectMemoryUsage(one);
    auto const alone = one.Build();
    core::MemoryUsageBuilder both;
    value->CollectMemoryUsage(both);
    clone->CollectMemoryUsage(both);
    // The clone adds only its own object, not the maps, keys and values again.
    EXPECT_EQ(both.Build()->GetBlockCount(), alone->GetBlockCount() + 1);
}

}  // namespace
}  // namespace zel::test
