// Whole-array operations, factories and concatenation.

#include <gtest/gtest.h>

#include <string>

#include "ArrayTestSupport.h"
#include "support/CheckFailure.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/Collation.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/HugePageAllocator.h"

using namespace zel::core;
using namespace zel::test;

namespace {

using Bits = unsigned long long;

template <class T>
std::unique_ptr<std::vector<T>> Vec(std::initializer_list<T> values) {
    return std::make_unique<std::vector<T>>(values);
}

std::shared_ptr<std::vector<unsigned int>> Rows(std::initializer_list<unsigned int> rows) {
    return std::make_shared<std::vector<unsigned int>>(rows);
}

std::shared_ptr<StoreValue> Ints(std::initializer_list<unsigned int> values,
                                 std::unique_ptr<std::vector<SpecialKind>> specials = nullptr) {
    return factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec(values), nullptr, std::move(specials));
}

template <class Action>
std::string FailureText(Action&& action) {
    try {
        action();
    } catch (ZelRuntimeException const& e) {
        return e.what();
    }
    return "no failure";
}

TEST(ArrayGather, TakesRowsInTheirOrderWithRepeatsAndSpecials) {
    auto const array = Ints(
        {10, 0, 30, 40}, Vec({SpecialKind::None, SpecialKind::Null, SpecialKind::None, SpecialKind::None}));
    auto const gathered = array->AsArray().Gather(Rows({3, 1, 3, 0}));
    EXPECT_EQ(gathered->GetStoreType(), StoreType::Array);
    EXPECT_EQ(gathered->GetValueTypeInfo(), StoreTypeInfo::Int32);
    EXPECT_TRUE(gathered->Equals(*Ints(
        {40, 0, 40, 10}, Vec({SpecialKind::None, SpecialKind::Null, SpecialKind::None, SpecialKind::None}))));
    // Rows that pick no special leave no specials behind.
    EXPECT_FALSE(array->AsArray().Gather(Rows({0, 2}))->AsCollection().HasSpecialValues());
    EXPECT_EQ(array->AsArray().Gather(Rows({}))->GetCount(), 0u);
}

TEST(ArrayGather, OfAConstantStaysConstant) {
    auto const constant = factory::MakeConstantArray<Bits>(StoreTypeInfo::Double, DoubleToBits(2.5), 3u);
    auto const gathered = constant->AsArray().Gather(Rows({2, 2, 0, 1, 1}));
    EXPECT_TRUE(gathered->AsCollection().IsConstant());
    EXPECT_EQ(gathered->GetCount(), 5u);
    EXPECT_EQ(BitsToDouble(gathered->AsTypedArray<Bits>().GetRowValue(0)), 2.5);
}

TEST(ArrayGather, RowPastTheEndIsARangeViolation) {
    auto const array = Ints({1, 2, 3});
    auto const constant = factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 1u, 3u);
    for (auto const& value : {array, constant}) {
        std::string const text = FailureText([&] { value->AsArray().Gather(Rows({0, 3})); });
        EXPECT_NE(text.find("index 3 at position 1"), std::string::npos) << text;
        EXPECT_NE(text.find("error 2"), std::string::npos) << text;
    }
}

TEST(ArrayDistinct, KeepsFirstOccurrencesAndEachSpecialKindOnce) {
    auto const array = Ints({3, 0, 1, 3, 0, 1, 0},
                            Vec({SpecialKind::None, SpecialKind::Null, SpecialKind::None, SpecialKind::None,
                                 SpecialKind::Error, SpecialKind::None, SpecialKind::Null}));
    auto const withSpecials = array->AsArray().MakeDistinct(true);
    EXPECT_EQ(withSpecials->GetStoreType(), StoreType::Set);
    EXPECT_TRUE(
        ReadByIndex<unsigned int>(*withSpecials) ==
        (Content<unsigned int>{
            {3, 0, 1, 0}, {SpecialKind::None, SpecialKind::Null, SpecialKind::None, SpecialKind::Error}}));
    auto const without = array->AsArray().MakeDistinct(false);
    EXPECT_TRUE(ReadByIndex<unsigned int>(*without) ==
                (Content<unsigned int>{{3, 1}, {SpecialKind::None, SpecialKind::None}}));
    EXPECT_FALSE(without->AsCollection().HasSpecialValues());
}

TEST(ArrayDistinct, StringsUnderTheColumnsCollation) {
    StoreTypeInfo const nocase(StoreType::String, false, Collation::Named(L"nocase"));
    auto strings = [] { return Vec<RIndirectString>({L"Apple", L"apple", L"BANANA", L"banana", L"Cherry"}); };
    auto const folded = factory::MakeArray<RIndirectString>(nocase, strings())->AsArray().MakeDistinct(true);
    ASSERT_EQ(folded->GetCount(), 3u);
    EXPECT_EQ(folded->GetValueTypeInfo().GetCollation(), nocase.GetCollation());
    auto const& members = folded->AsTypedArray<RIndirectString>();
    EXPECT_EQ(members.GetValue(0).View(), L"Apple");
    EXPECT_EQ(members.GetValue(1).View(), L"BANANA");
    EXPECT_EQ(members.GetValue(2).View(), L"Cherry");

    auto const binary = factory::MakeArray<RIndirectString>(StoreTypeInfo::String, strings());
    EXPECT_EQ(binary->AsArray().MakeDistinct(true)->GetCount(), 5u);

    auto const array = factory::MakeArray<RIndirectString>(nocase, strings());
    EXPECT_TRUE(array->AsArray().AreElementsEqual(0, 1));
    EXPECT_FALSE(array->AsArray().AreElementsEqual(1, 2));
    EXPECT_FALSE(binary->AsArray().AreElementsEqual(0, 1));
}

TEST(ArrayDistinct, ObjectsAndTuplesByValue) {
    auto tuple = [](int a, wchar_t const* b) {
        return factory::MakeTuple({factory::MakeInt32(a), factory::MakeString(b)});
    };
    auto values =
        Vec<std::shared_ptr<StoreValue>>({tuple(1, L"x"), tuple(2, L"x"), tuple(1, L"x"), nullptr, nullptr});
    auto const array =
        factory::MakeArray<std::shared_ptr<StoreValue>>(StoreTypeInfo::Tuple, std::move(values));
    auto const distinct = array->AsArray().MakeDistinct(true);
    ASSERT_EQ(distinct->GetCount(), 3u);
    EXPECT_TRUE(distinct->AsTypedArray<std::shared_ptr<StoreValue>>().GetValue(1)->Equals(*tuple(2, L"x")));
    EXPECT_EQ(distinct->AsTypedArray<std::shared_ptr<StoreValue>>().GetValue(2), nullptr);
    EXPECT_TRUE(array->AsArray().AreElementsEqual(0, 2));
    EXPECT_TRUE(array->AsArray().AreElementsEqual(3, 4));
    EXPECT_FALSE(array->AsArray().AreElementsEqual(0, 3));
}

TEST(ArrayRows, GetStoreValueMakesScalarsAndSpecials) {
    auto const array = Ints({7, 0}, Vec({SpecialKind::None, SpecialKind::Error}));
    auto const seven = array->AsArray().GetStoreValue(0);
    EXPECT_FALSE(seven->IsSpecial());
    EXPECT_EQ(FetchStoreValue<int>(seven), 7);
    auto const error = array->AsArray().GetStoreValue(1);
    EXPECT_EQ(error->GetSpecialKind(), SpecialKind::Error);
    EXPECT_EQ(error->GetStoreType(), StoreType::Int32);
    ExpectCheckFailure([&] { array->AsArray().GetStoreValue(2); }, ZelError::RangeViolation,
                       "(row < m_count)");
    ExpectCheckFailure([&] { array->AsArray().AreElementsEqual(0, 2); }, ZelError::RangeViolation,
                       "(row2 < m_count)");
}

TEST(ArrayOrder, ElementsOrderByTheirLogicalType) {
    auto ints = [](int a, int b) {
        return factory::MakeArray<unsigned int>(
            StoreTypeInfo::Int32,
            Vec<unsigned int>({static_cast<unsigned int>(a), static_cast<unsigned int>(b)}));
    };
    EXPECT_LT(ints(-1, 0)->Compare(*ints(1, 0)), 0);  // signed, not the unsigned bits
    EXPECT_GT(ints(1, 1)->Compare(*ints(1, 0)), 0);
    auto doubles = [](double a) {
        return factory::MakeArray<Bits>(StoreTypeInfo::Double, Vec({DoubleToBits(a)}));
    };
    EXPECT_LT(doubles(-2.0)->Compare(*doubles(1.0)), 0);
    // A special orders before every ordinary value, and a shorter prefix before a longer array.
    auto const special = Ints({0}, Vec({SpecialKind::Null}));
    EXPECT_LT(special->Compare(*Ints({0})), 0);
    EXPECT_LT(Ints({1})->Compare(*Ints({1, 0})), 0);
    // Arrays order by element type before content, and apart from other kinds by StoreType.
    EXPECT_NE(Ints({1})->Compare(*doubles(1.0)), 0);
    EXPECT_FALSE(Ints({1})->Equals(*doubles(1.0)));
    EXPECT_FALSE(Ints({1})->Equals(*factory::MakeInt32(1)));
}

TEST(ArrayFactories, RefuseMismatchedPartsWithAClearText) {
    std::string text = FailureText([] { Ints({1, 2}, Vec({SpecialKind::Null})); });
    EXPECT_NE(text.find("1 specials for 2 values"), std::string::npos) << text;

    text = FailureText([] {
        factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({1, 2}),
                                         Vec<unsigned int>({0, 2}));
    });
    EXPECT_NE(text.find("index 2 at position 1"), std::string::npos) << text;

    text =
        FailureText([] { factory::MakeArray<unsigned int>(StoreTypeInfo::Double, Vec<unsigned int>({1})); });
    EXPECT_NE(text.find("double"), std::string::npos) << text;
    EXPECT_NE(text.find("error 185"), std::string::npos) << text;

    text = FailureText([] {
        factory::MakeRunLengthArray<unsigned int>(
            StoreTypeInfo::Int32, Vec<RunLengthEntry<unsigned int>>({{1, SpecialKind::None, 2}}), Vec({2u}));
    });
    EXPECT_NE(text.find("index 2"), std::string::npos) << text;

    EXPECT_THROW(factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 3u, SpecialKind::None),
                 ZelRuntimeException);
}

TEST(ArrayFactories, SpecialSlotsHoldTheFillOfTheirType) {
    auto const array = Ints({5, 6}, Vec({SpecialKind::Null, SpecialKind::None}));
    EXPECT_EQ(array->AsTypedArray<unsigned int>().GetFlatValues()[0], 0u);
    // A specials vector without a special is dropped.
    EXPECT_FALSE(Ints({5}, Vec({SpecialKind::None}))->AsCollection().HasSpecialValues());
}

TEST(ArrayFactories, ConstantOfARunTimeType) {
    for (StoreTypeInfo const* type :
         {&StoreTypeInfo::Bool, &StoreTypeInfo::Float, &StoreTypeInfo::DateTime, &StoreTypeInfo::String,
          &StoreTypeInfo::Object, &StoreTypeInfo::Tuple}) {
        auto const array = MakeConstantArray(*type, 4, SpecialKind::Null);
        EXPECT_EQ(array->GetValueTypeInfo(), *type);
        EXPECT_EQ(array->GetCount(), 4u);
        EXPECT_TRUE(array->AsCollection().IsConstant());
        EXPECT_TRUE(array->AsCollection().HasSpecialValues());
        EXPECT_EQ(array->AsArray().GetStoreValue(3)->GetSpecialKind(), SpecialKind::Null);
    }
    EXPECT_THROW(MakeConstantArray(StoreTypeInfo::Empty, 1, SpecialKind::Null), ZelRuntimeException);
}

TEST(ConcatenateArrays, EarlierValuesFirstAcrossLayouts) {
    auto const flat = Ints({1, 2});
    auto const constant =
        factory::MakeConstantArray<unsigned int>(StoreTypeInfo::Int32, 2u, SpecialKind::Null);
    auto const indexed = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({7, 8}),
                                                          Vec<unsigned int>({1, 0}));
    auto const whole = ConcatenateArrays({flat, constant, indexed}, nullptr);
    EXPECT_TRUE(ReadByIndex<unsigned int>(*whole) ==
                (Content<unsigned int>{{1, 2, 0, 0, 8, 7},
                                       {SpecialKind::None, SpecialKind::None, SpecialKind::Null,
                                        SpecialKind::Null, SpecialKind::None, SpecialKind::None}}));
    auto const picked = ConcatenateArrays({flat, indexed}, Vec<unsigned int>({3, 0}));
    EXPECT_TRUE(picked->Equals(*Ints({7, 1})));
    // One array alone is its own concatenation.
    EXPECT_EQ(ConcatenateArrays({flat}, nullptr), flat);
}

TEST(ConcatenateArrays, SetsMakeASet) {
    auto const a = factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({1, 2}));
    auto const b = factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({2, 3}));
    auto const both = ConcatenateArrays({a, b}, nullptr);
    EXPECT_EQ(both->GetStoreType(), StoreType::Set);
    EXPECT_TRUE(
        both->Equals(*factory::MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned int>({3, 2, 1}))));
    EXPECT_EQ(ConcatenateArrays({a, Ints({1})}, nullptr)->GetStoreType(), StoreType::Array);
}

TEST(ConcatenateArrays, RefusesUnlikeValuesWithAClearText) {
    auto const ints = Ints({1});
    auto const doubles = factory::MakeArray<Bits>(StoreTypeInfo::Double, Vec<Bits>({1}));
    std::string text = FailureText([&] { ConcatenateArrays({ints, doubles}, nullptr); });
    EXPECT_NE(text.find("value 1 is a array<double> and value 0 a array<int32>"), std::string::npos) << text;
    EXPECT_NE(text.find("error 185"), std::string::npos) << text;

    StoreTypeInfo const nocase(StoreType::String, false, Collation::Named(L"nocase"));
    auto const binary =
        factory::MakeArray<RIndirectString>(StoreTypeInfo::String, Vec<RIndirectString>({L"a"}));
    auto const folded = factory::MakeArray<RIndirectString>(nocase, Vec<RIndirectString>({L"a"}));
    text = FailureText([&] { ConcatenateArrays({binary, folded}, nullptr); });
    EXPECT_NE(text.find("string(nocase)"), std::string::npos) << text;

    text = FailureText([&] { ConcatenateArrays({ints, factory::MakeInt32(1)}, nullptr); });
    EXPECT_NE(text.find("not an array or set"), std::string::npos) << text;
    text = FailureText([&] { ConcatenateArrays({ints, nullptr}, nullptr); });
    EXPECT_NE(text.find("value 1 is missing"), std::string::npos) << text;
    text = FailureText([&] { ConcatenateArrays({}, nullptr); });
    EXPECT_NE(text.find("no array"), std::string::npos) << text;
}

TEST(ArrayMemory, SharedBuffersCountOnce) {
    auto values = std::make_unique<std::vector<Bits>>(1000);
    auto const array = factory::MakeArray<Bits>(StoreTypeInfo::Int64, std::move(values));
    auto usageOf = [](std::initializer_list<StoreValue const*> parts) {
        MemoryUsageBuilder builder;
        for (auto const* value : parts) {
            value->CollectMemoryUsage(builder);
        }
        return builder.Build();
    };
    auto const one = usageOf({array.get()});
    EXPECT_GE(one->GetTotalBytes(), 8000u);
    EXPECT_LT(one->GetTotalBytes(), 8000u + 1024u);

    // A clone and a flat view share the values: only their own small objects add up.
    auto const clone = array->Clone();
    auto const flattened = array->AsArray().Flatten();
    auto const all = usageOf({array.get(), clone.get(), flattened.get(), array.get()});
    EXPECT_LT(all->GetTotalBytes(), one->GetTotalBytes() + 1024u);
    EXPECT_EQ(one->Union(*usageOf({clone.get()}))->GetTotalBytes(),
              usageOf({array.get(), clone.get()})->GetTotalBytes());

    // A gathered copy owns new values.
    auto const gathered = array->AsArray().Gather(std::make_shared<std::vector<unsigned int>>(1000, 0u));
    EXPECT_GE(usageOf({array.get(), gathered.get()})->GetTotalBytes(), 16000u);

    // A string shared by many rows counts once.
    RIndirectString const text(TStringCore(std::wstring(200, L'x')));
    auto const strings = factory::MakeArray<RIndirectString>(
        StoreTypeInfo::String, std::make_unique<std::vector<RIndirectString>>(50, text));
    auto const stringUsage = usageOf({strings.get()});
    EXPECT_LT(stringUsage->GetTotalBytes(), 50 * 8 + 2 * 200 * sizeof(wchar_t) + 1024);
    EXPECT_GE(stringUsage->GetTotalBytes(), 200 * sizeof(wchar_t));
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
