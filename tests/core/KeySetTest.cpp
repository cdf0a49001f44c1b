#include <gtest/gtest.h>

#include <string>

#include "StoreValueTestSupport.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test {
namespace {

namespace factory = core::factory;
using core::AsTypedKeySet;
using core::RIndirectString;
using core::SpecialKind;
using core::StoreTypeInfo;
using core::ZelError;

// Distinct elements of each storage type, with a logical type that is held in it. Tuples are new
// on every call, so that lookups must go by value.
template <class T>
StoreTypeInfo SampleType() {
    if constexpr (std::is_same_v<T, unsigned char>) {
        return StoreTypeInfo::Bool;
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return StoreTypeInfo::Int32;
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return StoreTypeInfo::Int64;
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return StoreTypeInfo::String;
    } else {
        return StoreTypeInfo::Tuple;
    }
}

template <class T>
T Sample(int i) {
    if constexpr (std::is_same_v<T, unsigned char>) {
        return static_cast<unsigned char>(i % 2);
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return static_cast<unsigned int>(i * 7 + 1);
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return static_cast<unsigned long long>(i) * 1'000'000'007ULL + 3;
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return RIndirectString(TStringCore(L"k" + std::to_wstring(i)));
    } else {
        return factory::MakeTuple({factory::MakeInt32(i), factory::MakeString(L"t")});
    }
}

// How many keys a sample holds: bools have only two.
template <class T>
constexpr int c_keyCount = std::is_same_v<T, unsigned char> ? 2 : 3;

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
    auto map = core::MakeKeySetMap<K, V>(SampleType<K>());
    for (int i = 0; i < c_keyCount<K>; ++i) {
        map->emplace(Sample<K>(i), Sample<V>(i + valueOffset));
    }
    auto specials = std::make_unique<core::KeySetSpecialMap<V>>();
    if (withSpecial) {
        specials->emplace(SpecialKind::Null, Sample<V>(valueOffset + 50));
    }
    return factory::MakeKeySet<K, V>(SampleType<K>(), SampleType<V>(), StoreTypeInfo::Empty, std::move(map),
                                     std::move(specials));
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
    int const count = c_keyCount<K>;

    Value const value = MakeSample<K, V>(10);
    auto const& keySet = AsTypedKeySet<K, V>(*value);
    for (int i = 0; i < count; ++i) {
        V const* found = keySet.Find(Sample<K>(i));
        ASSERT_NE(found, nullptr) << i;
        EXPECT_TRUE(SameElement(*found, Sample<V>(i + 10))) << i;
    }
    if constexpr (!std::is_same_v<K, unsigned char>) {
        EXPECT_EQ(keySet.Find(Sample<K>(count)), nullptr);
    }
    ASSERT_NE(keySet.FindSpecial(SpecialKind::Null), nullptr);
    EXPECT_TRUE(SameElement(*keySet.FindSpecial(SpecialKind::Null), Sample<V>(60)));
    EXPECT_EQ(keySet.FindSpecial(SpecialKind::Error), nullptr);

    core::IStoreKeySet const& untyped = value->AsKeySet();
    EXPECT_EQ(untyped.GetKeyCount(), static_cast<unsigned>(count));
    EXPECT_EQ(untyped.GetSpecialKeyCount(), 1u);
    EXPECT_EQ(value->GetCount(), static_cast<unsigned>(count + 1));
    auto const entries = untyped.GetValueEntries();
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(count + 1));
    EXPECT_EQ(entries.back().first->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(core::SerializeValue(*value).view().substr(0, 7), L"keyset{");

    // Equal content, however it was built, is equal and hashes alike.
    Value const same = MakeSample<K, V>(10);
    EXPECT_TRUE(value->Equals(*same));
    EXPECT_EQ(value->Hash(), same->Hash());
    EXPECT_EQ(value->Compare(*same), 0);
    EXPECT_TRUE(Value(value->Clone())->Equals(*value));

    Value const withoutSpecial = MakeSample<K, V>(10, false);
    EXPECT_FALSE(value->Equals(*withoutSpecial));
    EXPECT_NE(value->Compare(*withoutSpecial), 0);
    EXPECT_EQ(value->Compare(*withoutSpecial), -withoutSpecial->Compare(*value));

    // Asking for another value storage is a logic error naming both.
    using Other = std::conditional_t<std::is_same_v<V, unsigned char>, unsigned int, unsigned char>;
    ExpectRefusal([&] { AsTypedKeySet<K, Other>(*value); }, "no key set of");
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
    auto make = [&](wchar_t const* first, wchar_t const* second) {
        // Built with binary hashing on purpose: MakeKeySet re-keys the map under the key type.
        auto map = std::make_unique<core::KeySetMap<RIndirectString, unsigned int>>();
        map->emplace(RIndirectString(first), 1u);
        map->emplace(RIndirectString(second), 2u);
        return factory::MakeKeySet<RIndirectString, unsigned int>(
            nocase, StoreTypeInfo::Int32, StoreTypeInfo::Empty, std::move(map), nullptr);
    };
    Value const value = make(L"Alpha", L"beta");
    auto const& keySet = AsTypedKeySet<RIndirectString, unsigned int>(*value);
    ASSERT_NE(keySet.Find(RIndirectString(L"ALPHA")), nullptr);
    EXPECT_EQ(*keySet.Find(RIndirectString(L"ALPHA")), 1u);
    EXPECT_EQ(*keySet.Find(RIndirectString(L"Beta")), 2u);
    EXPECT_EQ(keySet.Find(RIndirectString(L"gamma")), nullptr);
    ExpectRuntimeError([&] { make(L"a", L"A"); }, ZelError::DuplicateKey, "are equal under collation nocase");
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
    ExpectRefusal([] { AsTypedKeySet<unsigned int, unsigned int>(*factory::MakeInt32(1)); },
                  "int32 is no key set of uint32 to uint32");
}

TEST(KeySetTest, ClonesShareTheirMapsInMemoryUsage) {
    Value const value = MakeSample<RIndirectString, Value>(0);
    Value const clone(value->Clone());
    // The clone adds only its own object, not the maps, keys and values again.
    EXPECT_EQ(UsageOf({value.get(), clone.get()})->GetBlockCount(),
              UsageOf({value.get()})->GetBlockCount() + 1);
}

}  // namespace
}  // namespace zel::test
