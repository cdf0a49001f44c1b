#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <typeindex>
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
using Kinds = std::vector<SpecialKind>;
using U64s = std::vector<unsigned long long>;

constexpr char const* c_rowRange = "(m_data.GetSize() >= (startIndex + length))";
constexpr char const* c_rowIndex = "(index < m_length && m_startIndex + index < m_data.GetSize())";
constexpr char const* c_partStart = "(ptr < ptrEnd)";
constexpr char const* c_partFits = "!(ptr + count > ptrEnd)";
constexpr SpecialKind None = SpecialKind::None;
constexpr SpecialKind Null = SpecialKind::Null;
constexpr SpecialKind Error = SpecialKind::Error;

template <class T>
Value Array(StoreTypeInfo const& type, std::vector<T> values, Kinds specials = {}) {
    return core::factory::MakeArray<T>(
        type, StoreTypeInfo::Empty, std::make_unique<std::vector<T>>(std::move(values)), nullptr,
        specials.empty() ? nullptr : std::make_unique<Kinds>(std::move(specials)));
}

template <class T>
std::vector<T> ValuesOf(Value const& array) {
    std::vector<T> out;
    for (unsigned int i = 0; i < array->GetCount(); ++i) {
        out.push_back(array->AsTypedArray<T>().GetValue(i));
    }
    return out;
}

template <class T>
Kinds SpecialsOf(Value const& array) {
    Kinds out;
    for (unsigned int i = 0; i < array->GetCount(); ++i) {
        out.push_back(array->AsTypedArray<T>().GetSpecial(i));
    }
    return out;
}

Kinds SpecialsOf(RawData const& data) {
    return {data.GetSpecialsView().begin(), data.GetSpecialsView().end()};
}

template <class T>
std::vector<T> ValuesOf(TypedRawData<T> const& data) {
    return {data.GetValues().begin(), data.GetValues().end()};
}

TEST(RawData, OnlyArraysAndSetsHoldMoreThanOneRow) {
    ExpectCheckFailure(
        [] {
            TypedRawData<unsigned int>(StoreTypeInfo::Int32, StoreTypeInfo::Empty, StoreTypeInfo::Empty, 2);
        },
        ZelError::RawDataTypeInvalid, "(m_type == StoreTypeInfo::Array || m_type == StoreTypeInfo::Set)");
    TypedRawData<unsigned int> set(StoreTypeInfo::Set, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 2);
    EXPECT_EQ(set.GetSize(), 2u);

    // A scalar date starts at the default instant; every other buffer at zero, empty or null (the
    // untouched rows of the AssignRange cases below).
    TypedRawData<unsigned long long> date(StoreTypeInfo::Date, StoreTypeInfo::Empty, StoreTypeInfo::Empty, 1);
    EXPECT_EQ(date.GetValues()[0], core::ZelDateTime::DateTimeDefault.GetValue());
    EXPECT_FALSE(date.HasSpecials());
}

TEST(RawData, FactoryChoosesTheStorageOfTheElementType) {
    std::pair<StoreTypeInfo, std::type_index> const cases[] = {
        {StoreTypeInfo::Bool, typeid(TypedRawData<unsigned char>)},
        {StoreTypeInfo::Float, typeid(TypedRawData<unsigned int>)},
        {StoreTypeInfo::Color, typeid(TypedRawData<unsigned int>)},
        {StoreTypeInfo::DateTime, typeid(TypedRawData<unsigned long long>)},
        {StoreTypeInfo::String, typeid(TypedRawData<RIndirectString>)},
        {StoreTypeInfo::Table, typeid(TypedRawData<Value>)},
    };
    for (auto const& [type, storage] : cases) {
        auto const data = MakeRawData(type, StoreTypeInfo::Empty, 5);
        EXPECT_EQ(std::type_index(typeid(*data)), storage) << static_cast<int>(type.GetStoreType());
        EXPECT_EQ(data->GetType(), StoreTypeInfo::Array);
        EXPECT_EQ(data->GetMainType(), type);
        EXPECT_EQ(data->GetData().count, 5u);
    }
}

// Rows left to the work are written before anything reads them; the buffer then reads like a filled one.
TEST(RawData, RowsLeftToTheWorkHoldWhatTheWorkWrote) {
    TypedRawData<unsigned long long> data(StoreTypeInfo::Array, StoreTypeInfo::Int64, StoreTypeInfo::Empty, 3,
                                          RawDataRows::WrittenByTheWork);
    EXPECT_EQ(data.GetSize(), 3u);
    EXPECT_FALSE(data.HasSpecials());
    RawDataView const view(data);
    auto const out = view.GetElements<unsigned long long>();
    auto const specials = view.GetSpecialSpan();
    for (unsigned int i = 0; i < 3; ++i) {
        out[i] = 7 + i;
        specials[i] = i == 1 ? Null : None;
    }
    EXPECT_EQ(ValuesOf<unsigned long long>(data.MakeStoreValue()), (U64s{7, 8, 9}));
    view.SetHasSpecials(true);
    EXPECT_EQ(SpecialsOf<unsigned long long>(data.MakeStoreValue()), (Kinds{None, Null, None}));
}

// ---- MakeStoreValue and ReleaseStoreValue ------------------------------------------------------

TEST(RawDataMakeStoreValue, CopiesAndCarriesSpecialsOnlyWhenFlagged) {
    TypedRawData<unsigned long long> data(StoreTypeInfo::Array, StoreTypeInfo::Double, StoreTypeInfo::Empty,
                                          3);
    RawDataView view(data);
    auto const out = view.GetElements<unsigned long long>();
    U64s const bits{core::DoubleToBits(1.5), core::DoubleToBits(2.5), core::DoubleToBits(-1.0)};
    std::copy(bits.begin(), bits.end(), out.begin());
    *view.GetSpecialAt(1) = Null;

    // A special byte without the flag is not carried.
    Value const plain = data.MakeStoreValue();
    EXPECT_EQ(plain->GetStoreType(), StoreType::Array);
    EXPECT_EQ(plain->AsCollection().GetElementTypeInfo(), StoreTypeInfo::Double);
    EXPECT_FALSE(plain->AsCollection().HasSpecialValues());
    EXPECT_EQ(ValuesOf<unsigned long long>(plain), bits);
    EXPECT_NE(plain->AsTypedArray<unsigned long long>().GetFlatValues().data(), data.GetValues().data());

    view.SetHasSpecials(true);
    Value const withSpecials = data.MakeStoreValue();
    EXPECT_EQ(SpecialsOf<unsigned long long>(withSpecials), (Kinds{None, Null, None}));
    // The special slot of the array holds the fill; the buffer keeps what was written, and stays
    // usable for later writes.
    EXPECT_EQ(ValuesOf<unsigned long long>(withSpecials), (U64s{bits[0], 0, bits[2]}));
    out[0] = 99;
    EXPECT_EQ(ValuesOf<unsigned long long>(plain), bits);
    EXPECT_EQ(ValuesOf<unsigned long long>(data.MakeStoreValue()), (U64s{99, 0, bits[2]}));
    EXPECT_EQ(data.GetValues()[1], bits[1]);
}

TEST(RawDataMakeStoreValue, ScalarKindGivesOneValueOrOneSpecial) {
    TypedRawData<unsigned long long> number(StoreTypeInfo::Double, StoreTypeInfo::Empty, StoreTypeInfo::Empty,
                                            1);
    number.GetValues()[0] = core::DoubleToBits(4.25);
    EXPECT_EQ(core::FetchStoreValue<double>(number.MakeStoreValue()), 4.25);

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
    EXPECT_EQ(ValuesOf<unsigned long long>(array), (U64s{5, 6, 0}));
    EXPECT_EQ(SpecialsOf<unsigned long long>(array), (Kinds{None, None, Null}));
    EXPECT_EQ(data.GetSize(), 0u);
    EXPECT_EQ(data.GetData().count, 0u);

    // A set keeps each value once, whether made or handed over.
    TypedRawData<RIndirectString> strings(StoreTypeInfo::Set, StoreTypeInfo::String, StoreTypeInfo::Empty, 4);
    strings.AssignRange(0, 4, Array<RIndirectString>(StoreTypeInfo::String, {L"x", L"y", L"x", L"y"}));
    Value const made = strings.MakeStoreValue();
    EXPECT_EQ(made->GetStoreType(), StoreType::Set);
    EXPECT_EQ(ValuesOf<RIndirectString>(made), (std::vector<RIndirectString>{L"x", L"y"}));
    EXPECT_EQ(ValuesOf<RIndirectString>(strings.ReleaseStoreValue()),
              (std::vector<RIndirectString>{L"x", L"y"}));
    EXPECT_EQ(strings.GetSize(), 0u);
}

// ---- AssignRange, for each storage type -------------------------------------------------------

// A storage type's sample element type and four distinct elements.
template <class T>
std::pair<StoreTypeInfo, std::vector<T>> Sample() {
    if constexpr (std::is_same_v<T, unsigned char>) {
        return {StoreTypeInfo::Bool, {1, 1, 0, 1}};
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return {StoreTypeInfo::Float, {core::FloatToBits(0.5f), core::FloatToBits(1.5f), 7, 8}};
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        return {StoreTypeInfo::DateTime, {1000, 2000, 3000, 4000}};
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        return {StoreTypeInfo::String, {L"one", L"two", L"three", L"four"}};
    } else {
        return {StoreTypeInfo::Object,
                {core::factory::MakeString(L"a"), core::factory::MakeString(L"b"),
                 core::factory::MakeString(L"c"), core::factory::MakeString(L"d")}};
    }
}

template <class T>
class RawDataAssignRange : public ::testing::Test {
protected:
    StoreTypeInfo const m_type = Sample<T>().first;
    std::vector<T> const m_values = Sample<T>().second;
    TypedRawData<T> m_data{StoreTypeInfo::Array, m_type, StoreTypeInfo::Empty, 6};
};

using StorageTypes =
    ::testing::Types<unsigned char, unsigned int, unsigned long long, RIndirectString, Value>;
TYPED_TEST_SUITE(RawDataAssignRange, StorageTypes);

TYPED_TEST(RawDataAssignRange, FromAnArrayCarriesItsSpecialsIfAny) {
    using T = TypeParam;
    auto const& v = this->m_values;
    this->m_data.AssignRange(1, 3, Array<T>(this->m_type, v));
    EXPECT_EQ(ValuesOf(this->m_data), (std::vector<T>{T{}, v[0], v[1], v[2], T{}, T{}}));
    EXPECT_FALSE(this->m_data.HasSpecials());
    EXPECT_EQ(SpecialsOf(this->m_data), Kinds(6, None));

    this->m_data.AssignRange(2, 4, Array<T>(this->m_type, v, {None, Error, None, Null}));
    EXPECT_TRUE(this->m_data.HasSpecials());
    EXPECT_EQ(this->m_data.GetValues()[4], v[2]);
    EXPECT_EQ(SpecialsOf<T>(this->m_data.MakeStoreValue()), (Kinds{None, None, None, Error, None, Null}));
}

TYPED_TEST(RawDataAssignRange, OutsideTheBufferWritesNothing) {
    using T = TypeParam;
    Value const source = Array<T>(this->m_type, this->m_values, {Null, Null, Null, Null});
    ExpectCheckFailure([&] { this->m_data.AssignRange(4, 3, source); }, ZelError::RangeViolation, c_partFits);
    ExpectCheckFailure([&] { this->m_data.AssignRange(6, 0, source); }, ZelError::RangeViolation,
                       c_partStart);
    EXPECT_EQ(SpecialsOf(this->m_data), Kinds(6, None));
    EXPECT_FALSE(this->m_data.HasSpecials());
}

TYPED_TEST(RawDataAssignRange, FromAScalarFillsTheRange) {
    using T = TypeParam;
    T const element = this->m_values[1];
    Value const scalar = core::MakeStoreValueFromStorageType<T>(this->m_type, element);
    if constexpr (std::is_same_v<T, Value>) {
        // Nested values come only from arrays.
        test::ExpectRefusal([&] { this->m_data.AssignRange(0, 2, scalar); }, "has no");
    } else {
        this->m_data.AssignRange(1, 4, scalar);
        EXPECT_EQ(ValuesOf(this->m_data), (std::vector<T>{T{}, element, element, element, element, T{}}));
        EXPECT_FALSE(this->m_data.HasSpecials());

        // A special scalar writes the initial element and its kind.
        this->m_data.AssignRange(2, 2, core::factory::MakeSpecial(this->m_type, Null));
        EXPECT_EQ(this->m_data.GetValues()[2], T{});
        EXPECT_EQ(this->m_data.GetValues()[4], element);
        EXPECT_EQ(SpecialsOf(this->m_data), (Kinds{None, None, Null, Null, None, None}));
        EXPECT_TRUE(this->m_data.HasSpecials());
    }
}

// ---- Views -----------------------------------------------------------------------------------------

TEST(RawDataView, SubViewsAreCheckedAgainstTheBuffer) {
    TypedRawData<unsigned int> data(StoreTypeInfo::Array, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 10);
    RawDataView const middle(data, 2, 6);
    EXPECT_EQ(middle.SubView(3, 3).GetStartIndex(), 5u);
    ExpectCheckFailure([&] { RawDataView(data, 8, 3); }, ZelError::RangeViolation, c_rowRange);
    // Not against the view they come from.
    EXPECT_EQ(middle.SubView(6, 2).GetStartIndex(), 8u);
    ExpectCheckFailure([&] { middle.SubView(6, 3); }, ZelError::RangeViolation, c_rowRange);

    // An empty view at the end may be built, but no part of the buffer can be taken through it.
    RawDataView const atEnd(data, 10, 0);
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

    EXPECT_EQ(ValuesOf(data), (U64s{0, 0, 0, 30, 0, 50, 0, 0}));
    EXPECT_EQ(SpecialsOf(data), (Kinds{None, None, None, None, Error, None, None, None}));
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
