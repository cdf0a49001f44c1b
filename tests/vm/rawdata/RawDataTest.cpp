#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "support/CheckFailure.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/store/ZelDateTime.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/transform/RawData.h"

namespace zel::vm {
namespace {

using core::RIndirectString;
using core::StoreType;
using core::StoreValue;
using core::ZelError;
using test::ExpectCheckFailure;
using Value = std::shared_ptr<StoreValue>;

constexpr char const* c_rowRange = "(m_data.GetSize() >= (startIndex + length))";
constexpr char const* c_rowIndex = "(index < m_length && m_startIndex + index < m_data.GetSize())";
constexpr char const* c_partStart = "(ptr < ptrEnd)";
constexpr char const* c_partFits = "!(ptr + count > ptrEnd)";

template <class T>
Value Array(StoreTypeInfo const& type, std::vector<T> values, std::vector<SpecialKind> specials = {}) {
    return core::factory::MakeArray<T>(
        type, StoreTypeInfo::Empty, std::make_unique<std::vector<T>>(std::move(values)), nullptr,
        specials.empty() ? nullptr : std::make_unique<std::vector<SpecialKind>>(std::move(specials)));
}

template <class T>
std::vector<T> ValuesOf(Value const& array) {
    std::vector<T> out;
    auto const& typed = array->AsTypedArray<T>();
    for (unsigned int i = 0; i < array->GetCount(); ++i) {
        out.push_back(typed.GetValue(i));
    }
    return out;
}

template <class T>
std::vector<SpecialKind> SpecialsOf(Value const& array) {
    std::vector<SpecialKind> out;
    auto const& typed = array->AsTypedArray<T>();
    for (unsigned int i = 0; i < array->GetCount(); ++i) {
        out.push_back(typed.GetSpecial(i));
    }
    return out;
}

std::vector<SpecialKind> SpecialsOf(RawData const& data) {
    ArrayView<SpecialKind> const all = data.GetSpecialsView();
    return {all.begin(), all.end()};
}

constexpr SpecialKind None = SpecialKind::None;
constexpr SpecialKind Null = SpecialKind::Null;
constexpr SpecialKind Error = SpecialKind::Error;

// ---- Construction --------------------------------------------------------------------------------

TEST(RawData, OnlyArraysAndSetsHoldMoreThanOneRow) {
    for (unsigned int rows : {0u, 1u}) {
        TypedRawData<unsigned int> scalar(StoreTypeInfo::Int32, StoreTypeInfo::Empty, StoreTypeInfo::Empty,
                                          rows);
        EXPECT_EQ(scalar.GetSize(), rows);
    }
    ExpectCheckFailure(
        [] {
            TypedRawData<unsigned int>(StoreTypeInfo::Int32, StoreTypeInfo::Empty, StoreTypeInfo::Empty, 2);
        },
        ZelError::RawDataTypeInvalid, "(m_type == StoreTypeInfo::Array || m_type == StoreTypeInfo::Set)");
    TypedRawData<unsigned int> array(StoreTypeInfo::Array, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 2);
    TypedRawData<unsigned int> set(StoreTypeInfo::Set, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 2);
    EXPECT_EQ(array.GetSize() + set.GetSize(), 4u);

    // A scalar date starts at the default instant; every other buffer at zero, empty or null (the
    // untouched rows of the AssignRange cases below).
    TypedRawData<unsigned long long> date(StoreTypeInfo::Date, StoreTypeInfo::Empty, StoreTypeInfo::Empty, 1);
    EXPECT_EQ(date.GetValues()[0], core::ZelDateTime::DateTimeDefault.GetValue());
    EXPECT_FALSE(date.HasSpecials());
}

TEST(RawData, FactoryChoosesTheStorageOfTheElementType) {
    struct Case {
        StoreTypeInfo type;
        unsigned int elementSize;
        bool (*isRightInstance)(RawData const&);
    };
    auto is = []<class T>(T*) {
        return [](RawData const& data) { return dynamic_cast<TypedRawData<T> const*>(&data) != nullptr; };
    };
    Case const cases[] = {
        {StoreTypeInfo::Bool, 1, is(static_cast<unsigned char*>(nullptr))},
        {StoreTypeInfo::Float, 4, is(static_cast<unsigned int*>(nullptr))},
        {StoreTypeInfo::Color, 4, is(static_cast<unsigned int*>(nullptr))},
        {StoreTypeInfo::Double, 8, is(static_cast<unsigned long long*>(nullptr))},
        {StoreTypeInfo::DateTime, 8, is(static_cast<unsigned long long*>(nullptr))},
        {StoreTypeInfo::String, 8, is(static_cast<RIndirectString*>(nullptr))},
        {StoreTypeInfo::Tuple, 16, is(static_cast<Value*>(nullptr))},
        {StoreTypeInfo::Table, 16, is(static_cast<Value*>(nullptr))},
    };
    for (Case const& c : cases) {
        auto const data = MakeRawData(c.type, StoreTypeInfo::Empty, 5);
        EXPECT_EQ(data->GetType(), StoreTypeInfo::Array);
        EXPECT_EQ(data->GetMainType(), c.type);
        EXPECT_EQ(data->GetSize(), 5u);
        EXPECT_EQ(data->GetElementSize(), c.elementSize);
        EXPECT_TRUE(c.isRightInstance(*data)) << static_cast<int>(c.type.GetStoreType());
        EXPECT_EQ(data->GetData().count, 5u);
    }
}

// ---- MakeStoreValue ------------------------------------------------------------------------------

TEST(RawDataMakeStoreValue, TheFlagDecidesWhetherTheArrayHasASpecialsColumn) {
    TypedRawData<unsigned long long> data(StoreTypeInfo::Array, StoreTypeInfo::Double, StoreTypeInfo::Empty,
                                          3);
    RawDataView view(data);
    auto const out = view.GetElements<unsigned long long>();
    out[0] = core::DoubleToBits(1.5);
    out[1] = core::DoubleToBits(2.5);
    out[2] = core::DoubleToBits(-1.0);
    *view.GetSpecialAt(1) = Null;

    // A special byte without the flag is not carried.
    Value const plain = data.MakeStoreValue();
    EXPECT_EQ(plain->GetStoreType(), StoreType::Array);
    EXPECT_EQ(plain->AsCollection().GetElementTypeInfo(), StoreTypeInfo::Double);
    EXPECT_FALSE(plain->AsCollection().HasSpecialValues());
    EXPECT_EQ(ValuesOf<unsigned long long>(plain)[1], core::DoubleToBits(2.5));

    view.SetHasSpecials(true);
    Value const withSpecials = data.MakeStoreValue();
    EXPECT_TRUE(withSpecials->AsCollection().HasSpecialValues());
    EXPECT_EQ(SpecialsOf<unsigned long long>(withSpecials), (std::vector<SpecialKind>{None, Null, None}));
    // The special slot of the array holds the fill; the buffer keeps what was written.
    EXPECT_EQ(ValuesOf<unsigned long long>(withSpecials),
              (std::vector<unsigned long long>{core::DoubleToBits(1.5), 0, core::DoubleToBits(-1.0)}));
    EXPECT_EQ(data.GetValues()[1], core::DoubleToBits(2.5));
}

TEST(RawDataMakeStoreValue, CopiesSoTheBufferStaysUsable) {
    TypedRawData<unsigned int> data(StoreTypeInfo::Array, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 4);
    auto const values = RawDataView(data).GetElements<unsigned int>();
    for (unsigned int i = 0; i < 4; ++i) {
        values[i] = 10 + i;
    }
    Value const first = data.MakeStoreValue();
    Value const second = data.MakeStoreValue();
    EXPECT_TRUE(first->Equals(*second));
    EXPECT_NE(first->AsTypedArray<unsigned int>().GetFlatValues().data(), data.GetValues().data());

    values[0] = 99;
    EXPECT_EQ(ValuesOf<unsigned int>(first), (std::vector<unsigned int>{10, 11, 12, 13}));
    EXPECT_EQ(ValuesOf<unsigned int>(data.MakeStoreValue())[0], 99u);
}

TEST(RawDataMakeStoreValue, SetKindKeepsEachValueOnce) {
    TypedRawData<RIndirectString> data(StoreTypeInfo::Set, StoreTypeInfo::String, StoreTypeInfo::Empty, 5);
    data.AssignRange(0, 5, Array<RIndirectString>(StoreTypeInfo::String, {L"b", L"a", L"b", L"c", L"a"}));
    Value const set = data.MakeStoreValue();
    EXPECT_EQ(set->GetStoreType(), StoreType::Set);
    EXPECT_EQ(ValuesOf<RIndirectString>(set), (std::vector<RIndirectString>{L"b", L"a", L"c"}));
}

TEST(RawDataMakeStoreValue, ScalarKindGivesOneValueOrOneSpecial) {
    TypedRawData<unsigned long long> number(StoreTypeInfo::Double, StoreTypeInfo::Empty, StoreTypeInfo::Empty,
                                            1);
    number.GetValues()[0] = core::DoubleToBits(4.25);
    Value const plain = number.MakeStoreValue();
    EXPECT_EQ(plain->GetStoreType(), StoreType::Double);
    EXPECT_EQ(core::FetchStoreValue<double>(plain), 4.25);

    // The element is ignored once the row is special.
    *RawDataView(number).GetSpecialAt(0) = Error;
    Value const special = number.MakeStoreValue();
    EXPECT_EQ(special->GetStoreType(), StoreType::Double);
    EXPECT_EQ(special->GetSpecialKind(), Error);

    TypedRawData<unsigned int> empty(StoreTypeInfo::Int32, StoreTypeInfo::Empty, StoreTypeInfo::Empty, 0);
    EXPECT_THROW(empty.MakeStoreValue(), std::out_of_range);
}

TEST(RawDataMakeStoreValue, ReleaseHandsTheBufferOverWithoutACopy) {
    TypedRawData<unsigned long long> data(StoreTypeInfo::Array, StoreTypeInfo::Int64, StoreTypeInfo::Empty,
                                          3);
    RawDataView const view(data);
    auto const out = view.GetElements<unsigned long long>();
    out[0] = 5;
    out[1] = 6;
    out[2] = 7;
    *view.GetSpecialAt(2) = Null;
    view.SetHasSpecials(true);
    unsigned long long const* const buffer = data.GetValues().data();

    Value const array = data.ReleaseStoreValue();
    EXPECT_EQ(array->AsTypedArray<unsigned long long>().GetFlatValues().data(), buffer);
    EXPECT_EQ(ValuesOf<unsigned long long>(array), (std::vector<unsigned long long>{5, 6, 0}));
    EXPECT_EQ(SpecialsOf<unsigned long long>(array), (std::vector<SpecialKind>{None, None, Null}));
    EXPECT_EQ(data.GetSize(), 0u);
    EXPECT_EQ(data.GetData().count, 0u);

    // Strings are handed over as a plain vector; a set is made distinct as by MakeStoreValue.
    TypedRawData<RIndirectString> strings(StoreTypeInfo::Set, StoreTypeInfo::String, StoreTypeInfo::Empty, 3);
    strings.AssignRange(0, 3, Array<RIndirectString>(StoreTypeInfo::String, {L"x", L"x", L"y"}));
    Value const set = strings.ReleaseStoreValue();
    EXPECT_EQ(ValuesOf<RIndirectString>(set), (std::vector<RIndirectString>{L"x", L"y"}));
    EXPECT_EQ(strings.GetSize(), 0u);
}

// ---- AssignRange, for each storage type -------------------------------------------------------

template <class T>
struct Sample;
template <>
struct Sample<unsigned char> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Bool; }
    static std::vector<unsigned char> Values() { return {1, 1, 0, 1}; }
};
template <>
struct Sample<unsigned int> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Float; }
    static std::vector<unsigned int> Values() {
        return {core::FloatToBits(0.5f), core::FloatToBits(1.5f), core::FloatToBits(-2.0f), 7};
    }
};
template <>
struct Sample<unsigned long long> {
    static StoreTypeInfo Type() { return StoreTypeInfo::DateTime; }
    static std::vector<unsigned long long> Values() { return {1000, 2000, 3000, 4000}; }
};
template <>
struct Sample<RIndirectString> {
    static StoreTypeInfo Type() { return StoreTypeInfo::String; }
    static std::vector<RIndirectString> Values() { return {L"one", L"two", L"three", L"four"}; }
};
template <>
struct Sample<Value> {
    static StoreTypeInfo Type() { return StoreTypeInfo::Object; }
    static std::vector<Value> Values() {
        static std::vector<Value> const values{
            core::factory::MakeString(L"a"), core::factory::MakeString(L"b"), core::factory::MakeString(L"c"),
            core::factory::MakeString(L"d")};
        return values;
    }
};

template <class T>
class RawDataAssignRange : public ::testing::Test {
protected:
    TypedRawData<T> m_data{StoreTypeInfo::Array, Sample<T>::Type(), StoreTypeInfo::Empty, 6};
};

using StorageTypes =
    ::testing::Types<unsigned char, unsigned int, unsigned long long, RIndirectString, Value>;
TYPED_TEST_SUITE(RawDataAssignRange, StorageTypes);

TYPED_TEST(RawDataAssignRange, FromAnArrayWithoutSpecialsLeavesTheFlagDown) {
    using T = TypeParam;
    auto const values = Sample<T>::Values();
    this->m_data.AssignRange(1, 3, Array<T>(Sample<T>::Type(), values));
    std::vector<T> const expected{T{}, values[0], values[1], values[2], T{}, T{}};
    EXPECT_EQ(std::vector<T>(this->m_data.GetValues().begin(), this->m_data.GetValues().end()), expected);
    EXPECT_FALSE(this->m_data.HasSpecials());
    EXPECT_EQ(SpecialsOf(this->m_data), std::vector<SpecialKind>(6, None));
}

TYPED_TEST(RawDataAssignRange, FromAnArrayCarriesItsSpecials) {
    using T = TypeParam;
    auto const values = Sample<T>::Values();
    this->m_data.AssignRange(2, 4, Array<T>(Sample<T>::Type(), values, {None, Error, None, Null}));
    EXPECT_TRUE(this->m_data.HasSpecials());
    EXPECT_EQ(SpecialsOf(this->m_data), (std::vector<SpecialKind>{None, None, None, Error, None, Null}));
    EXPECT_EQ(this->m_data.GetValues()[4], values[2]);
    Value const result = this->m_data.MakeStoreValue();
    EXPECT_EQ(SpecialsOf<T>(result), (std::vector<SpecialKind>{None, None, None, Error, None, Null}));
}

TYPED_TEST(RawDataAssignRange, OutsideTheBufferWritesNothing) {
    using T = TypeParam;
    Value const source = Array<T>(Sample<T>::Type(), Sample<T>::Values(), {Null, Null, Null, Null});
    ExpectCheckFailure([&] { this->m_data.AssignRange(4, 3, source); }, ZelError::RangeViolation, c_partFits);
    ExpectCheckFailure([&] { this->m_data.AssignRange(6, 0, source); }, ZelError::RangeViolation,
                       c_partStart);
    EXPECT_EQ(SpecialsOf(this->m_data), std::vector<SpecialKind>(6, None));
    EXPECT_FALSE(this->m_data.HasSpecials());
}

TYPED_TEST(RawDataAssignRange, FromAScalarFillsTheRange) {
    using T = TypeParam;
    T const element = Sample<T>::Values()[1];
    Value const scalar = core::MakeStoreValueFromStorageType<T>(Sample<T>::Type(), element);
    if constexpr (std::is_same_v<T, Value>) {
        // Nested values come only from arrays.
        test::ExpectRefusal([&] { this->m_data.AssignRange(0, 2, scalar); }, "has no");
    } else {
        this->m_data.AssignRange(1, 4, scalar);
        std::vector<T> const expected{T{}, element, element, element, element, T{}};
        EXPECT_EQ(std::vector<T>(this->m_data.GetValues().begin(), this->m_data.GetValues().end()), expected);
        EXPECT_FALSE(this->m_data.HasSpecials());

        // A special scalar writes the initial element and its kind.
        this->m_data.AssignRange(2, 2, core::factory::MakeSpecial(Sample<T>::Type(), Null));
        EXPECT_EQ(this->m_data.GetValues()[2], T{});
        EXPECT_EQ(this->m_data.GetValues()[4], element);
        EXPECT_EQ(SpecialsOf(this->m_data), (std::vector<SpecialKind>{None, None, Null, Null, None, None}));
        EXPECT_TRUE(this->m_data.HasSpecials());
    }
}

// ---- Views -----------------------------------------------------------------------------------------

TEST(RawDataView, ViewsAndSubViewsStayInsideTheBuffer) {
    TypedRawData<unsigned int> data(StoreTypeInfo::Array, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 10);
    RawDataView const all(data);
    EXPECT_EQ(all.GetStartIndex(), 0u);
    EXPECT_EQ(all.GetLength(), 10u);

    RawDataView const middle(data, 2, 6);
    RawDataView const sub = middle.SubView(3, 3);
    EXPECT_EQ(sub.GetStartIndex(), 5u);
    EXPECT_EQ(sub.GetLength(), 3u);
    EXPECT_EQ(&sub.GetRawData(), &data);

    ExpectCheckFailure([&] { RawDataView(data, 8, 3); }, ZelError::RangeViolation, c_rowRange);
    // The sub-view is checked against the buffer, not against the view it comes from.
    EXPECT_EQ(middle.SubView(6, 2).GetStartIndex(), 8u);
    ExpectCheckFailure([&] { middle.SubView(6, 3); }, ZelError::RangeViolation, c_rowRange);

    // An empty view at the end may be built, but no part of the buffer can be taken through it.
    RawDataView const atEnd(data, 10, 0);
    EXPECT_EQ(atEnd.GetLength(), 0u);
    ExpectCheckFailure([&] { atEnd.GetSpecials(); }, ZelError::RangeViolation, c_partStart);
    ExpectCheckFailure([&] { atEnd.GetElements<unsigned int>(); }, ZelError::RangeViolation, c_partStart);
}

TEST(RawDataView, RowsOfASubViewAreTheBuffersRows) {
    TypedRawData<unsigned long long> data(StoreTypeInfo::Array, StoreTypeInfo::Int64, StoreTypeInfo::Empty,
                                          8);
    RawDataView const block = RawDataView(data, 2, 5).SubView(1, 3);  // rows 3 to 5

    auto const elements = block.GetElements<unsigned long long>();
    ASSERT_EQ(elements.size(), 3u);
    elements[0] = 30;
    elements[2] = 50;
    auto const specials = block.GetSpecialSpan();
    ASSERT_EQ(specials.size(), 3u);
    specials[1] = Error;
    EXPECT_EQ(block.GetSpecials().data(), specials.data());

    EXPECT_EQ(data.GetValues()[3], 30u);
    EXPECT_EQ(data.GetValues()[5], 50u);
    EXPECT_EQ(SpecialsOf(data), (std::vector<SpecialKind>{None, None, None, None, Error, None, None, None}));
    EXPECT_EQ(block.GetElementAt(2), static_cast<void*>(&data.GetValues().data()[5]));
    EXPECT_EQ(block.GetSpecialAt(1), &data.GetSpecialsView().data()[4]);

    ExpectCheckFailure([&] { block.GetElementAt(3); }, ZelError::RangeViolation, c_rowIndex);
    ExpectCheckFailure([&] { block.GetSpecialAt(3); }, ZelError::RangeViolation, c_rowIndex);
    // The wrong element type is a bug of the caller.
    ExpectCheckFailure<core::ZelLogicException>([&] { block.GetElements<unsigned int>(); },
                                                ZelError::RawDataTypeInvalid,
                                                "(sizeof(T) == m_data.m_elementSize)");
}

}  // namespace
}  // namespace zel::vm
