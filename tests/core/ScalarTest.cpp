#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "StoreValueTestSupport.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test {
namespace {

namespace factory = core::factory;
using core::FetchStoreValue;
using core::MakeStoreValue;
using core::MakeStoreValueFromStorageType;
using core::SerializeValue;
using core::SpecialKind;
using core::StoreType;
using core::StoreTypeInfo;
using core::StoreValue;
using core::ZelColor;
using core::ZelDateTime;
using core::ZelError;

TEST(ScalarTest, LogicalValuesRoundTripThroughTheirTypes) {
    auto const date = *ZelDateTime::FromFields(2024, 1, 31);
    auto const moment = *ZelDateTime::FromFields(2024, 1, 31, 12, 30);

    EXPECT_TRUE(FetchStoreValue<bool>(factory::MakeBool(true)));
    EXPECT_EQ(FetchStoreValue<int>(factory::MakeInt32(-7)), -7);
    EXPECT_EQ(FetchStoreValue<long long>(factory::MakeInt64(1LL << 40)), 1LL << 40);
    EXPECT_EQ(FetchStoreValue<float>(factory::MakeFloat(1.5f)), 1.5f);
    EXPECT_EQ(FetchStoreValue<double>(factory::MakeDouble(-2.25)), -2.25);
    EXPECT_EQ(FetchStoreValue<TStringCore>(factory::MakeString(L"text")), L"text");
    EXPECT_EQ(FetchStoreValue<ZelDateTime>(factory::MakeDate(date)), date);
    EXPECT_EQ(FetchStoreValue<ZelDateTime>(factory::MakeDateTime(moment)), moment);
    EXPECT_EQ(FetchStoreValue<ZelColor>(factory::MakeColor(ZelColor(0x11223344))), ZelColor(0x11223344));

    EXPECT_EQ(factory::MakeDate(date)->GetStoreType(), StoreType::Date);
    EXPECT_EQ(factory::MakeDateTime(moment)->GetStoreType(), StoreType::DateTime);
}

TEST(ScalarTest, StorageFormsAreTheBitsOfTheLogicalValue) {
    // Float, Int32 and Color share unsigned int; Double, Int64 and the dates unsigned long long.
    EXPECT_EQ(FetchStoreValue<unsigned int>(factory::MakeFloat(1.5f)), std::bit_cast<unsigned int>(1.5f));
    EXPECT_EQ(FetchStoreValue<unsigned int>(factory::MakeInt32(-1)), 0xFFFFFFFFu);
    EXPECT_EQ(FetchStoreValue<unsigned long long>(factory::MakeDouble(2.0)),
              std::bit_cast<unsigned long long>(2.0));
    EXPECT_EQ(FetchStoreValue<unsigned char>(factory::MakeBool(true)), 1);

    auto const fromBits =
        MakeStoreValueFromStorageType<unsigned int>(StoreTypeInfo::Float, std::bit_cast<unsigned int>(0.75f));
    EXPECT_EQ(fromBits->GetStoreType(), StoreType::Float);
    EXPECT_EQ(FetchStoreValue<float>(fromBits), 0.75f);

    auto const text = MakeStoreValueFromStorageType<core::RIndirectString>(StoreTypeInfo::String, L"abc");
    EXPECT_TRUE(text->Equals(*factory::MakeString(L"abc")));

    // The storage type must be the one of the type.
    ExpectRuntimeError([] { MakeStoreValueFromStorageType<unsigned char>(StoreTypeInfo::Double, 1); },
                       ZelError::UnsupportedTypes, "double");
}

TEST(ScalarTest, ReadingAsAnotherTypeIsARuntimeError) {
    ExpectRuntimeError([] { FetchStoreValue<int>(factory::MakeInt64(1)); }, ZelError::UnsupportedTypes,
                       "int64");
    ExpectRuntimeError([] { FetchStoreValue<double>(factory::MakeString(L"1")); }, ZelError::UnsupportedTypes,
                       "as double");
    ExpectRuntimeError([] { FetchStoreValue<unsigned long long>(factory::MakeInt32(1)); },
                       ZelError::UnsupportedTypes, "uint64");
    ExpectRuntimeError([] { FetchStoreValue<int>(nullptr); }, ZelError::UnsupportedTypes, "missing");
    ExpectRuntimeError(
        [] { FetchStoreValue<int>(factory::MakeSpecial(StoreTypeInfo::Int32, SpecialKind::Null)); },
        ZelError::UnsupportedTypes, "special int32");
}

TEST(ScalarTest, MakeStoreValueMakesOrdinaryValuesOfExactlyTheNamedType) {
    auto const values = {MakeStoreValue(StoreTypeInfo::Bool, false),
                         MakeStoreValue(StoreTypeInfo::Int32, 3),
                         MakeStoreValue(StoreTypeInfo::Int64, 3LL),
                         MakeStoreValue(StoreTypeInfo::Float, 3.0f),
                         MakeStoreValue(StoreTypeInfo::Double, 3.0),
                         MakeStoreValue(StoreTypeInfo::Date, ZelDateTime::DateTimeDefault)};
    for (auto const& value : values) {
        EXPECT_FALSE(value->IsSpecial());
        EXPECT_EQ(value->GetSpecialKind(), SpecialKind::None);
    }
    EXPECT_EQ(FetchStoreValue<double>(MakeStoreValue(StoreTypeInfo::Double, 3.0)), 3.0);

    // No numeric conversion: an int is no double.
    ExpectRuntimeError([] { MakeStoreValue(StoreTypeInfo::Double, 3); }, ZelError::UnsupportedTypes,
                       "double");
    ExpectRuntimeError([] { MakeStoreValue(StoreTypeInfo::Color, ZelDateTime()); },
                       ZelError::UnsupportedTypes, "color");
}

TEST(ScalarTest, NestedValuesAreObjectsOrThemselves) {
    auto const tuple = factory::MakeTuple({factory::MakeInt32(1)});
    auto const object = MakeStoreValue<std::shared_ptr<StoreValue> const&>(StoreTypeInfo::Object, tuple);
    EXPECT_EQ(object->GetStoreType(), StoreType::Object);
    EXPECT_EQ(FetchStoreValue<std::shared_ptr<StoreValue>>(object), tuple);

    // A tuple is its own storage form.
    EXPECT_EQ(MakeStoreValue<std::shared_ptr<StoreValue>>(StoreTypeInfo::Tuple, tuple), tuple);
    EXPECT_EQ(FetchStoreValue<std::shared_ptr<StoreValue>>(tuple), tuple);
    // An object is not wrapped twice.
    EXPECT_EQ(MakeStoreValueFromStorageType<std::shared_ptr<StoreValue>>(StoreTypeInfo::Object, object),
              object);
    // The null fill of a special slot of tuples reads back as a Null special.
    auto const nullTuple =
        MakeStoreValueFromStorageType<std::shared_ptr<StoreValue>>(StoreTypeInfo::Tuple, nullptr);
    EXPECT_EQ(nullTuple->GetSpecialKind(), SpecialKind::Null);

    ExpectRuntimeError([&] { MakeStoreValue<std::shared_ptr<StoreValue>>(StoreTypeInfo::KeyMap, tuple); },
                       ZelError::UnsupportedTypes, "keymap");
    ExpectRuntimeError([] { FetchStoreValue<std::shared_ptr<StoreValue>>(factory::MakeInt32(1)); },
                       ZelError::UnsupportedTypes, "int32");
}

TEST(ScalarTest, SpecialsCarryTheirKindAndOrderBeforeOrdinaryValues) {
    auto const null = factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Null);
    auto const error = factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Error);
    auto const custom = factory::MakeSpecial(StoreTypeInfo::Double, static_cast<SpecialKind>(12));
    auto const number = factory::MakeDouble(-1e300);

    EXPECT_TRUE(null->IsSpecial());
    EXPECT_EQ(custom->GetSpecialKind(), static_cast<SpecialKind>(12));
    EXPECT_EQ(null->GetStoreType(), StoreType::Double);
    EXPECT_TRUE(null->Equals(*factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Null)));
    EXPECT_EQ(null->Hash(), factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Null)->Hash());
    EXPECT_FALSE(null->Equals(*error));
    EXPECT_FALSE(null->Equals(*factory::MakeSpecial(StoreTypeInfo::Int32, SpecialKind::Null)));

    EXPECT_TRUE(null->IsLessThan(*error));
    EXPECT_TRUE(error->IsLessThan(*number));
    EXPECT_TRUE(number->IsGreaterThan(*custom));
    // The type decides first: a special double orders after any int32.
    EXPECT_TRUE(factory::MakeInt32(5)->IsLessThan(*null));

    EXPECT_EQ(SerializeValue(*null), L"null");
    EXPECT_EQ(SerializeValue(*error), L"error");
    EXPECT_EQ(SerializeValue(*custom), L"special(12)");

    ExpectRuntimeError([] { factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::None); },
                       ZelError::InvalidArgument, "kind");
    ExpectRuntimeError([] { factory::MakeSpecial(StoreTypeInfo::Empty, SpecialKind::Null); },
                       ZelError::InvalidArgument, "type");
}

TEST(ScalarTest, FloatingValuesHashAndOrderTotally) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    auto const zero = factory::MakeDouble(0.0);
    auto const negativeZero = factory::MakeDouble(-0.0);
    EXPECT_TRUE(zero->Equals(*negativeZero));
    EXPECT_EQ(zero->Hash(), negativeZero->Hash());

    auto const nanA = factory::MakeDouble(nan);
    auto const nanB = factory::MakeDouble(-nan);
    EXPECT_TRUE(nanA->Equals(*nanB));
    EXPECT_EQ(nanA->Hash(), nanB->Hash());
    EXPECT_TRUE(factory::MakeDouble(std::numeric_limits<double>::infinity())->IsLessThan(*nanA));
    EXPECT_TRUE(factory::MakeFloat(-1.0f)->IsLessThan(*factory::MakeFloat(0.5f)));
}

TEST(ScalarTest, StringsCompareUnderTheirCollation) {
    auto const nocase = core::Collation::Named(L"nocase");
    auto const upper = factory::MakeString(L"HELLO", nocase);
    auto const lower = factory::MakeString(L"hello", nocase);
    EXPECT_TRUE(upper->Equals(*lower));
    EXPECT_EQ(upper->Hash(), lower->Hash());
    EXPECT_EQ(upper->Compare(*lower), 0);
    EXPECT_EQ(upper->GetTypeInfo().GetCollation(), nocase);

    auto const binaryUpper = factory::MakeString(L"HELLO");
    auto const binaryLower = factory::MakeString(L"hello");
    EXPECT_FALSE(binaryUpper->Equals(*binaryLower));
    EXPECT_TRUE(binaryUpper->IsLessThan(*binaryLower));
    // Two collations never make equal values, and their order stays antisymmetric.
    EXPECT_FALSE(binaryLower->Equals(*lower));
    EXPECT_EQ(binaryLower->Compare(*lower), -lower->Compare(*binaryLower));
    EXPECT_NE(binaryLower->Compare(*lower), 0);
}

TEST(ScalarTest, ObjectsCompareByWhatTheyHold) {
    auto const a =
        factory::MakeObject(factory::MakeTuple({factory::MakeInt32(1), factory::MakeString(L"x")}));
    auto const b =
        factory::MakeObject(factory::MakeTuple({factory::MakeInt32(1), factory::MakeString(L"x")}));
    auto const c = factory::MakeObject(factory::MakeTuple({factory::MakeInt32(2)}));
    auto const empty = factory::MakeObject(nullptr);
    EXPECT_TRUE(a->Equals(*b));
    EXPECT_EQ(a->Hash(), b->Hash());
    EXPECT_TRUE(a->IsLessThan(*c));
    EXPECT_TRUE(empty->IsLessThan(*a));
    EXPECT_TRUE(empty->Equals(*factory::MakeObject(nullptr)));
    EXPECT_EQ(SerializeValue(*a), L"(1, \"x\")");
    EXPECT_EQ(SerializeValue(*empty), L"null");
}

TEST(ScalarTest, AskingAScalarForACollectionInterfaceIsALogicError) {
    auto const value = factory::MakeDouble(1.0);
    ExpectRefusal([&] { value->AsCollection(); }, "IStoreArray");
    ExpectRefusal([&] { value->AsArray(); }, "IStoreArrayOps");
    ExpectRefusal([&] { value->AsSet(); }, "IStoreSet");
    ExpectRefusal([&] { value->AsKeyMap(); }, "IStoreKeyMap");
    ExpectRefusal([&] { value->AsTable(); }, "IStoreTable");
    ExpectRefusal([&] { value->AsTuple(); }, "IStoreTuple");
    ExpectRefusal([&] { value->AsKeySet(); }, "IStoreKeySet");
    ExpectRefusal([&] { value->AsMemberLookup(); }, "IMemberLookup");
    ExpectRefusal([&] { value->AsTypedArray<unsigned long long>(); }, "IStoreArray");
    ExpectRefusal([&] { value->GetCount(); }, "GetCount");
    ExpectRefusal([&] { value->GetValueTypeInfo(); }, "double");
    // A special answers for its type but has no interface of it either.
    ExpectRefusal([] { factory::MakeSpecial(StoreTypeInfo::KeyMap, SpecialKind::Null)->AsKeyMap(); },
                  "special keymap");
}

TEST(ScalarTest, KeySegmentTypeAndCloneFollowTheValue) {
    auto const value = factory::MakeString(L"x", core::Collation::Named(L"nocase"));
    EXPECT_EQ(value->GetKeySegmentType().GetMainType(), value->GetTypeInfo());
    EXPECT_TRUE(value->GetKeySegmentType().GetChildType().IsEmpty());
    auto const clone = std::shared_ptr<StoreValue>(value->Clone());
    EXPECT_NE(clone, value);
    EXPECT_TRUE(clone->Equals(*value));
    EXPECT_EQ(clone->GetTypeInfo(), value->GetTypeInfo());
}

TEST(ScalarTest, SerializeValueWritesCompactLiterals) {
    EXPECT_EQ(SerializeValue(*factory::MakeBool(true)), L"true");
    EXPECT_EQ(SerializeValue(*factory::MakeInt32(-42)), L"-42");
    EXPECT_EQ(SerializeValue(*factory::MakeDouble(0.1)), L"0.1");
    EXPECT_EQ(SerializeValue(*factory::MakeFloat(1.5f)), L"1.5");
    EXPECT_EQ(SerializeValue(*factory::MakeString(L"say \"hi\"\n")), L"\"say \\\"hi\\\"\\n\"");
    EXPECT_EQ(SerializeValue(*factory::MakeDate(*ZelDateTime::FromFields(2024, 1, 31))), L"2024-01-31");
    EXPECT_EQ(SerializeValue(*factory::MakeDateTime(*ZelDateTime::FromFields(2024, 1, 31, 12))),
              L"2024-01-31T12:00:00");
    EXPECT_EQ(SerializeValue(*factory::MakeColor(ZelColor(0x0A0B0C0D))), L"#0A0B0C0D");
}

}  // namespace
}  // namespace zel::test
