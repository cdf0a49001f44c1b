#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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
    EXPECT_EQ(FetchStoreValue<double>(MakeStoreValue(StoreTypeInfo::Double, 3.0)), 3.0);
    EXPECT_FALSE(MakeStoreValue(StoreTypeInfo::Date, ZelDateTime::DateTimeDefault)->IsSpecial());

    // Storage forms are the bits of the logical value.
    EXPECT_EQ(FetchStoreValue<unsigned int>(factory::MakeFloat(1.5f)), std::bit_cast<unsigned int>(1.5f));
    EXPECT_EQ(FetchStoreValue<unsigned int>(factory::MakeInt32(-1)), 0xFFFFFFFFu);
    EXPECT_EQ(FetchStoreValue<unsigned long long>(factory::MakeDouble(2.0)),
              std::bit_cast<unsigned long long>(2.0));
    auto const fromBits =
        MakeStoreValueFromStorageType<unsigned int>(StoreTypeInfo::Float, std::bit_cast<unsigned int>(0.75f));
    EXPECT_EQ(fromBits->GetStoreType(), StoreType::Float);
    EXPECT_EQ(FetchStoreValue<float>(fromBits), 0.75f);
    EXPECT_TRUE(MakeStoreValueFromStorageType<core::RIndirectString>(StoreTypeInfo::String, L"abc")
                    ->Equals(*factory::MakeString(L"abc")));
}

TEST(ScalarTest, TypesAreNeverConvertedWhenMadeOrRead) {
    struct Case {
        std::function<void()> action;
        char const* text;
    };
    Case const cases[] = {
        {[] { FetchStoreValue<int>(factory::MakeInt64(1)); }, "int64"},
        {[] { FetchStoreValue<double>(factory::MakeString(L"1")); }, "as double"},
        {[] { FetchStoreValue<unsigned long long>(factory::MakeInt32(1)); }, "uint64"},
        {[] { FetchStoreValue<int>(nullptr); }, "missing"},
        {[] { FetchStoreValue<int>(factory::MakeSpecial(StoreTypeInfo::Int32, SpecialKind::Null)); },
         "special int32"},
        {[] { MakeStoreValue(StoreTypeInfo::Double, 3); }, "double"},
        {[] { MakeStoreValue(StoreTypeInfo::Color, ZelDateTime()); }, "color"},
        {[] { MakeStoreValueFromStorageType<unsigned char>(StoreTypeInfo::Double, 1); }, "double"},
        {[] { MakeStoreValue<Value>(StoreTypeInfo::KeyMap, factory::MakeTuple({})); }, "keymap"},
        {[] { FetchStoreValue<Value>(factory::MakeInt32(1)); }, "int32"},
    };
    for (auto const& c : cases) {
        ExpectRuntimeError(c.action, ZelError::UnsupportedTypes, c.text);
    }
}

TEST(ScalarTest, NestedValuesAreObjectsOrThemselves) {
    auto const tuple = factory::MakeTuple({factory::MakeInt32(1)});
    auto const object = MakeStoreValue<Value const&>(StoreTypeInfo::Object, tuple);
    EXPECT_EQ(object->GetStoreType(), StoreType::Object);
    EXPECT_EQ(FetchStoreValue<Value>(object), tuple);
    // A tuple is its own storage form, and an object is not wrapped twice.
    EXPECT_EQ(MakeStoreValue<Value>(StoreTypeInfo::Tuple, tuple), tuple);
    EXPECT_EQ(FetchStoreValue<Value>(tuple), tuple);
    EXPECT_EQ(MakeStoreValueFromStorageType<Value>(StoreTypeInfo::Object, object), object);
    // The null fill of a special slot of tuples reads back as a Null special.
    EXPECT_EQ(MakeStoreValueFromStorageType<Value>(StoreTypeInfo::Tuple, nullptr)->GetSpecialKind(),
              SpecialKind::Null);

    auto const a =
        factory::MakeObject(factory::MakeTuple({factory::MakeInt32(1), factory::MakeString(L"x")}));
    auto const b =
        factory::MakeObject(factory::MakeTuple({factory::MakeInt32(1), factory::MakeString(L"x")}));
    auto const empty = factory::MakeObject(nullptr);
    EXPECT_TRUE(a->Equals(*b));
    EXPECT_EQ(a->Hash(), b->Hash());
    EXPECT_TRUE(a->IsLessThan(*factory::MakeObject(factory::MakeTuple({factory::MakeInt32(2)}))));
    EXPECT_TRUE(empty->IsLessThan(*a));
    EXPECT_TRUE(empty->Equals(*factory::MakeObject(nullptr)));
    EXPECT_EQ(SerializeValue(*a), L"(1, \"x\")");
    EXPECT_EQ(SerializeValue(*empty), L"null");
}

TEST(ScalarTest, SpecialsCarryTheirKindAndOrderBeforeOrdinaryValues) {
    auto const null = factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Null);
    auto const error = factory::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Error);
    auto const custom = factory::MakeSpecial(StoreTypeInfo::Double, static_cast<SpecialKind>(12));
    auto const number = factory::MakeDouble(-1e300);

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
    EXPECT_TRUE(factory::MakeDouble(0.0)->Equals(*factory::MakeDouble(-0.0)));
    EXPECT_EQ(factory::MakeDouble(0.0)->Hash(), factory::MakeDouble(-0.0)->Hash());
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
    EXPECT_EQ(upper->GetKeySegmentType().GetMainType(), upper->GetTypeInfo());
    EXPECT_TRUE(Value(upper->Clone())->Equals(*upper));

    auto const binaryUpper = factory::MakeString(L"HELLO");
    auto const binaryLower = factory::MakeString(L"hello");
    EXPECT_FALSE(binaryUpper->Equals(*binaryLower));
    EXPECT_TRUE(binaryUpper->IsLessThan(*binaryLower));
    // Two collations never make equal values, and their order stays antisymmetric.
    EXPECT_FALSE(binaryLower->Equals(*lower));
    EXPECT_EQ(binaryLower->Compare(*lower), -lower->Compare(*binaryLower));
    EXPECT_NE(binaryLower->Compare(*lower), 0);
}

TEST(ScalarTest, AskingAScalarForACollectionInterfaceIsALogicError) {
    // Every interface is refused by one function that names it; a few stand for all.
    auto const value = factory::MakeDouble(1.0);
    ExpectRefusal([&] { value->AsKeyMap(); }, "a value of type double has no IStoreKeyMap");
    ExpectRefusal([&] { value->AsTypedArray<unsigned long long>(); }, "IStoreArray");
    ExpectRefusal([&] { value->GetCount(); }, "GetCount");
    ExpectRefusal([&] { value->GetValueTypeInfo(); }, "double");
    // A special answers for its type but has no interface of it either.
    ExpectRefusal([] { factory::MakeSpecial(StoreTypeInfo::KeyMap, SpecialKind::Null)->AsKeyMap(); },
                  "special keymap");
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
