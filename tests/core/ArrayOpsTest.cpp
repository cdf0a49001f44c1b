// Whole-array operations, factories and concatenation.

#include <gtest/gtest.h>

#include <string>

#include "ArrayTestSupport.h"
#include "StoreValueTestSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/Collation.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/HugePageAllocator.h"

using namespace zel::core;
using namespace zel::test;

namespace {

using Bits = unsigned long long;
using Specials = std::vector<SpecialKind>;
constexpr SpecialKind c_none = SpecialKind::None;
constexpr SpecialKind c_null = SpecialKind::Null;
constexpr SpecialKind c_error = SpecialKind::Error;

std::shared_ptr<std::vector<unsigned int>> Rows(std::initializer_list<unsigned int> rows) {
    return std::make_shared<std::vector<unsigned int>>(rows);
}

std::shared_ptr<StoreValue> Ints(std::initializer_list<int> values, Specials specials = {}) {
    return Int32Array(values, specials.empty() ? nullptr : std::make_unique<Specials>(std::move(specials)));
}

std::shared_ptr<StoreValue> Strings(StoreTypeInfo const& type,
                                    std::initializer_list<RIndirectString> values) {
    return factory::MakeArray<RIndirectString>(type, Vec(values));
}

StoreTypeInfo const c_nocase(StoreType::String, false, Collation::Named(L"nocase"));

TEST(ArrayGather, TakesRowsInTheirOrderWithRepeatsAndSpecials) {
    auto const array = Ints({10, 0, 30, 40}, {c_none, c_null, c_none, c_none});
    auto const gathered = array->AsArray().Gather(Rows({3, 1, 3, 0}));
    EXPECT_EQ(gathered->GetValueTypeInfo(), StoreTypeInfo::Int32);
    EXPECT_TRUE(gathered->Equals(*Ints({40, 0, 40, 10}, {c_none, c_null, c_none, c_none})));
    // Rows that pick no special leave no specials behind.
    EXPECT_FALSE(array->AsArray().Gather(Rows({0, 2}))->AsCollection().HasSpecialValues());
    EXPECT_EQ(array->AsArray().Gather(Rows({}))->GetCount(), 0u);

    auto const constant = factory::MakeConstantArray<Bits>(StoreTypeInfo::Double, DoubleToBits(2.5), 3u);
    auto const fromConstant = constant->AsArray().Gather(Rows({2, 2, 0, 1, 1}));
    EXPECT_TRUE(fromConstant->AsCollection().IsConstant());
    EXPECT_EQ(fromConstant->GetCount(), 5u);
    EXPECT_EQ(BitsToDouble(fromConstant->AsTypedArray<Bits>().GetRowValue(0)), 2.5);

    for (auto const& value :
         {array, factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 1u, 3u)}) {
        ExpectRuntimeError(
            [&] {
                value->AsArray().Gather(Rows({0, 4}));
            },
            ZelError::RangeViolation, "index 4 at position 1");
    }
}

TEST(ArrayDistinct, KeepsFirstOccurrencesAndEachSpecialKindOnce) {
    auto const array = Ints({3, 0, 1, 3, 0, 1, 0}, {c_none, c_null, c_none, c_none, c_error, c_none, c_null});
    auto const withSpecials = array->AsArray().MakeDistinct(true);
    EXPECT_EQ(withSpecials->GetStoreType(), StoreType::Set);
    EXPECT_TRUE(ReadByIndex<unsigned int>(*withSpecials) ==
                (Content<unsigned int>{{3, 0, 1, 0}, {c_none, c_null, c_none, c_error}}));
    auto const without = array->AsArray().MakeDistinct(false);
    EXPECT_TRUE(ReadByIndex<unsigned int>(*without) == (Content<unsigned int>{{3, 1}, {c_none, c_none}}));
}

TEST(ArrayDistinct, StringsUnderTheColumnsCollation) {
    std::initializer_list<RIndirectString> const strings{L"Apple", L"apple", L"BANANA", L"banana", L"Cherry"};
    auto const folded = Strings(c_nocase, strings);
    auto const distinct = folded->AsArray().MakeDistinct(true);
    EXPECT_EQ(distinct->GetValueTypeInfo().GetCollation(), c_nocase.GetCollation());
    EXPECT_TRUE(ReadByIndex<RIndirectString>(*distinct) ==
                Normalised(Content<RIndirectString>{{L"Apple", L"BANANA", L"Cherry"}, {}}));
    EXPECT_TRUE(folded->AsArray().AreElementsEqual(0, 1));
    EXPECT_FALSE(folded->AsArray().AreElementsEqual(1, 2));

    auto const binary = Strings(StoreTypeInfo::String, strings);
    EXPECT_EQ(binary->AsArray().MakeDistinct(true)->GetCount(), 5u);
    EXPECT_FALSE(binary->AsArray().AreElementsEqual(0, 1));
}

TEST(ArrayDistinct, ObjectsAndTuplesByValue) {
    auto tuple = [](int a) { return factory::MakeTuple({factory::MakeInt32(a), factory::MakeString(L"x")}); };
    auto const array = factory::MakeArray<std::shared_ptr<StoreValue>>(
        StoreTypeInfo::Tuple,
        Vec<std::shared_ptr<StoreValue>>({tuple(1), tuple(2), tuple(1), nullptr, nullptr}));
    auto const distinct = array->AsArray().MakeDistinct(true);
    ASSERT_EQ(distinct->GetCount(), 3u);
    EXPECT_TRUE(distinct->AsTypedArray<std::shared_ptr<StoreValue>>().GetValue(1)->Equals(*tuple(2)));
    EXPECT_EQ(distinct->AsTypedArray<std::shared_ptr<StoreValue>>().GetValue(2), nullptr);
    EXPECT_TRUE(array->AsArray().AreElementsEqual(0, 2));
    EXPECT_TRUE(array->AsArray().AreElementsEqual(3, 4));
    EXPECT_FALSE(array->AsArray().AreElementsEqual(0, 3));
}

TEST(ArrayRows, GetStoreValueMakesScalarsAndSpecials) {
    auto const array = Ints({7, 0}, {c_none, c_error});
    EXPECT_EQ(FetchStoreValue<int>(array->AsArray().GetStoreValue(0)), 7);
    auto const error = array->AsArray().GetStoreValue(1);
    EXPECT_EQ(error->GetSpecialKind(), c_error);
    EXPECT_EQ(error->GetStoreType(), StoreType::Int32);
    ExpectCheckFailure([&] { array->AsArray().GetStoreValue(2); }, ZelError::RangeViolation,
                       "(row < m_count)");
    ExpectCheckFailure([&] { array->AsArray().AreElementsEqual(0, 2); }, ZelError::RangeViolation,
                       "(row2 < m_count)");
}

TEST(ArrayOrder, ElementsOrderByTheirLogicalType) {
    EXPECT_LT(Ints({-1, 0})->Compare(*Ints({1, 0})), 0);  // signed, not the unsigned bits
    EXPECT_GT(Ints({1, 1})->Compare(*Ints({1, 0})), 0);
    EXPECT_LT(DoubleArray({-2.0})->Compare(*DoubleArray({1.0})), 0);
    // A special orders before every ordinary value, and a shorter prefix before a longer array.
    EXPECT_LT(Ints({0}, {c_null})->Compare(*Ints({0})), 0);
    EXPECT_LT(Ints({1})->Compare(*Ints({1, 0})), 0);
    // Arrays order by element type before content, and apart from other kinds by StoreType.
    EXPECT_NE(Ints({1})->Compare(*DoubleArray({1.0})), 0);
    EXPECT_FALSE(Ints({1})->Equals(*DoubleArray({1.0})));
    EXPECT_FALSE(Ints({1})->Equals(*factory::MakeInt32(1)));
}

TEST(ArrayFactories, RefuseMismatchedPartsWithAClearText) {
    ExpectRuntimeError([] { Ints({1, 2}, {c_null}); }, ZelError::RangeViolation, "1 specials for 2 values");
    ExpectRuntimeError(
        [] {
            factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({1, 2}),
                                             Vec<unsigned int>({0, 2}));
        },
        ZelError::RangeViolation, "index 2 at position 1");
    ExpectRuntimeError(
        [] { factory::MakeArray<unsigned int>(StoreTypeInfo::Double, Vec<unsigned int>({1})); },
        ZelError::UnsupportedTypes, "double");
    ExpectRuntimeError(
        [] {
            factory::MakeRunLengthArray<unsigned int>(
                StoreTypeInfo::Int32, Vec<RunLengthEntry<unsigned int>>({{1, c_none, 2}}), Vec({2u}));
        },
        ZelError::RangeViolation, "index 2");
    EXPECT_THROW(factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 3u, c_none),
                 ZelRuntimeException);
    EXPECT_THROW(MakeConstantArray(StoreTypeInfo::Empty, 1, c_null), ZelRuntimeException);

    // Special slots hold the fill of their type, and a specials vector without a special is dropped.
    EXPECT_EQ(Ints({5, 6}, {c_null, c_none})->AsTypedArray<unsigned int>().GetFlatValues()[0], 0u);
    EXPECT_FALSE(Ints({5}, {c_none})->AsCollection().HasSpecialValues());
}

TEST(ArrayFactories, ConstantOfARunTimeType) {
    for (StoreTypeInfo const* type :
         {&StoreTypeInfo::Bool, &StoreTypeInfo::Float, &StoreTypeInfo::DateTime, &StoreTypeInfo::String,
          &StoreTypeInfo::Object, &StoreTypeInfo::Tuple}) {
        auto const array = MakeConstantArray(*type, 4, c_null);
        EXPECT_EQ(array->GetValueTypeInfo(), *type);
        EXPECT_EQ(array->GetCount(), 4u);
        EXPECT_TRUE(array->AsCollection().IsConstant());
        EXPECT_EQ(array->AsArray().GetStoreValue(3)->GetSpecialKind(), c_null);
    }
}

TEST(ConcatenateArrays, EarlierValuesFirstAcrossLayouts) {
    auto const flat = Ints({1, 2});
    auto const constant = factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 2u, c_null);
    auto const indexed = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({7, 8}),
                                                          Vec<unsigned int>({1, 0}));
    EXPECT_TRUE(ConcatenateArrays({flat, constant, indexed}, nullptr)
                    ->Equals(*Ints({1, 2, 0, 0, 8, 7}, {c_none, c_none, c_null, c_null, c_none, c_none})));
    EXPECT_TRUE(ConcatenateArrays({flat, indexed}, Vec<unsigned int>({3, 0}))->Equals(*Ints({7, 1})));
    EXPECT_EQ(ConcatenateArrays({flat}, nullptr), flat);  // one array alone is its own concatenation

    // Sets make a set.
    auto const a = factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({1, 2}));
    auto const b = factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({2, 3}));
    EXPECT_TRUE(
        ConcatenateArrays({a, b}, nullptr)
            ->Equals(*factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({3, 2, 1}))));
    EXPECT_EQ(ConcatenateArrays({a, Ints({1})}, nullptr)->GetStoreType(), StoreType::Array);
}

TEST(ConcatenateArrays, RefusesUnlikeValuesWithAClearText) {
    auto const ints = Ints({1});
    struct Case {
        std::vector<std::shared_ptr<StoreValue>> inputs;
        char const* text;
    };
    Case const cases[] = {
        {{ints, DoubleArray({1})}, "value 1 is a array<double> and value 0 a array<int32>"},
        {{Strings(StoreTypeInfo::String, {L"a"}), Strings(c_nocase, {L"a"})}, "string(nocase)"},
        {{ints, factory::MakeInt32(1)}, "not an array or set"},
        {{ints, nullptr}, "value 1 is missing"},
        {{}, "no array"},
    };
    for (auto const& c : cases) {
        ExpectRuntimeError([&] { ConcatenateArrays(c.inputs, nullptr); }, ZelError::UnsupportedTypes, c.text);
    }
}

TEST(ArrayMemory, SharedBuffersCountOnce) {
    auto const array =
        factory::MakeArray<Bits>(StoreTypeInfo::Int64, std::make_unique<std::vector<Bits>>(1000));
    auto const one = UsageOf({array.get()});
    EXPECT_GE(one->GetTotalBytes(), 8000u);
    EXPECT_LT(one->GetTotalBytes(), 8000u + 1024u);

    // A clone and a flat view share the values: only their own small objects add up.
    auto const clone = array->Clone();
    auto const flattened = array->AsArray().Flatten();
    EXPECT_LT(UsageOf({array.get(), clone.get(), flattened.get(), array.get()})->GetTotalBytes(),
              one->GetTotalBytes() + 1024u);
    EXPECT_EQ(one->Union(*UsageOf({clone.get()}))->GetTotalBytes(),
              UsageOf({array.get(), clone.get()})->GetTotalBytes());

    // A gathered copy owns new values.
    auto const gathered = array->AsArray().Gather(std::make_shared<std::vector<unsigned int>>(1000, 0u));
    EXPECT_GE(UsageOf({array.get(), gathered.get()})->GetTotalBytes(), 16000u);
}

TEST(ArrayMemory, LargeColumnsSitOnHugePageBoundaries) {
    std::size_t const large = c_hugePageThreshold / sizeof(Bits) + 1;
    auto const array =
        factory::MakeConstantArray<Bits>(StoreTypeInfo::Int64, 5ull, static_cast<unsigned int>(large));
    auto const flat = array->AsArray().Flatten();
    auto const* data = flat->AsTypedArray<Bits>().GetFlatValues().data();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % c_hugePageSize, 0u);
    EXPECT_EQ(data[large - 1], 5u);

    // Small buffers come from the ordinary heap and are freed to it.
    HugePageVector<Bits> small(16);
    HugePageVector<Bits> moved = std::move(small);
    moved.resize(large);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(moved.data()) % c_hugePageSize, 0u);
}

}  // namespace
