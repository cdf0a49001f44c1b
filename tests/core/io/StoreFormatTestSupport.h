#pragma once

// A store that holds every type, layout and kind of special, and the checks of the format tests.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/ArrayTestSupport.h"
#include "zel/core/io/BinaryProtocolWriter.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test {

using core::SpecialKind;
using core::StoreTypeInfo;
using ValuePtr = std::shared_ptr<core::StoreValue>;

inline std::unique_ptr<std::vector<SpecialKind>> Kinds(std::initializer_list<int> kinds) {
    auto out = std::make_unique<std::vector<SpecialKind>>();
    for (int const kind : kinds) {
        out->push_back(static_cast<SpecialKind>(kind));
    }
    return out;
}

inline unsigned long long Day(int year, unsigned month, unsigned day) {
    return core::ZelDateTime::FromFields(year, month, day)->GetValue();
}

// Every type in every layout, with specials of three kinds, awkward numbers and texts, and nested
// values: the generated store of the round-trip tests.
inline core::StoreValueMap EveryKindOfValue() {
    using namespace core;
    using namespace core::factory;
    Collation const nocaseCollation = Collation::Named(L"nocase");
    StoreTypeInfo const nocase(StoreType::String, false, nocaseCollation);
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const inf = std::numeric_limits<double>::infinity();
    StoreValueMap m;
    // Scalars, including those that need the typed form.
    m[L"bool"] = MakeBool(true);
    m[L"int32"] = MakeInt32(-2147483647 - 1);
    m[L"int64 small"] = MakeInt64(7);
    m[L"int64 big"] = MakeInt64(-9223372036854775807LL - 1);
    m[L"float"] = MakeFloat(0.1f);
    m[L"double"] = MakeDouble(1.0);
    m[L"double nan"] = MakeDouble(nan);
    m[L"double -0"] = MakeDouble(-0.0);
    m[L"string"] = MakeString(L"tab\t\"quote\" \\ \u00e9\u4e2d\U0001F600\u0001");
    m[L"string nocase"] = MakeString(L"Apple", nocaseCollation);
    m[L"date"] = MakeDate(ZelDateTime(Day(2024, 1, 31)));
    m[L"datetime"] = MakeDateTime(ZelDateTime(Day(2024, 1, 31) + 43'200'500'000ULL));
    m[L"color"] = MakeColor(ZelColor(0x11AAff80));
    m[L"object"] = MakeObject(MakeInt32(5));
    m[L"object empty"] = MakeObject(nullptr);
    m[L"special int32"] = MakeSpecial(StoreTypeInfo::Int32, SpecialKind::Null);
    m[L"special string"] = MakeSpecial(nocase, SpecialKind::Error);
    m[L"special array"] = MakeSpecial(StoreTypeInfo::Array, static_cast<SpecialKind>(7));
    m[L"$dollar"] = MakeInt32(1);
    // Arrays of every element type, flat, with specials.
    m[L"a bool"] = MakeArray<unsigned char>(StoreTypeInfo::Bool, Vec<unsigned char>({1, 0, 0}), nullptr,
                                            Kinds({0, 0, 1}));
    m[L"a int32"] = MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned>({1, 0x80000000u, 3}), nullptr,
                                            Kinds({0, 0, 2}));
    m[L"a int64"] = MakeArray<unsigned long long>(StoreTypeInfo::Int64, Vec<unsigned long long>({1, ~0ULL}));
    m[L"a float"] = MakeArray<unsigned int>(
        StoreTypeInfo::Float,
        Vec<unsigned>({FloatToBits(1.0f), FloatToBits(-0.0f), FloatToBits(3.4028235e38f), FloatToBits(1e-45f),
                       FloatToBits(std::numeric_limits<float>::infinity()), 0x7fc00001u,
                       FloatToBits(16777217.0f)}));
    m[L"a double"] = MakeArray<unsigned long long>(
        StoreTypeInfo::Double,
        Vec<unsigned long long>({DoubleToBits(0.1), DoubleToBits(-0.0), DoubleToBits(5e-324),
                                 DoubleToBits(1.7976931348623157e308), DoubleToBits(nan), DoubleToBits(-inf),
                                 0xfff0000000000001ULL, DoubleToBits(1e21)}));
    m[L"a string"] = MakeArray<RIndirectString>(
        StoreTypeInfo::String,
        Vec<RIndirectString>({RIndirectString(L""), RIndirectString(L"x y"), RIndirectString(L"\u00fc")}),
        nullptr, Kinds({0, 1, 0}));
    m[L"a string nocase"] = MakeArray<RIndirectString>(
        nocase, Vec<RIndirectString>({RIndirectString(L"A"), RIndirectString(L"a")}));
    m[L"a date"] = MakeArray<unsigned long long>(
        StoreTypeInfo::Date, Vec<unsigned long long>({Day(1, 1, 1), Day(9999, 12, 31), ~0ULL}));
    m[L"a datetime"] = MakeArray<unsigned long long>(StoreTypeInfo::DateTime,
                                                     Vec<unsigned long long>({Day(2000, 2, 29) + 1}));
    m[L"a color"] = MakeArray<unsigned int>(StoreTypeInfo::Color, Vec<unsigned>({0u, 0xFFFFFFFFu}));
    m[L"a object"] = MakeArray<ValuePtr>(
        StoreTypeInfo::Object,
        Vec<ValuePtr>({MakeInt32(1), MakeString(L"s"), nullptr,
                       MakeSpecial(StoreTypeInfo::Double, SpecialKind::Null), MakeObject(MakeBool(false)),
                       MakeKeyMap(StoreValueMap{{L"$special", MakeInt32(2)}})}),
        nullptr, Kinds({0, 0, 0, 0, 0, 0}));
    m[L"a object specials"] = MakeArray<ValuePtr>(
        StoreTypeInfo::Object, Vec<ValuePtr>({MakeInt32(1), nullptr}), nullptr, Kinds({0, 1}));
    // Layouts.
    m[L"indexed"] = MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned>({10, 20, 0}),
                                            Vec<unsigned>({2, 0, 0, 1, 2}), Kinds({0, 0, 1}));
    m[L"constant"] =
        MakeConstantArray<unsigned long long>(StoreTypeInfo::Double, DoubleToBits(2.5), 1'000'000);
    m[L"constant special"] = core::MakeConstantArray(nocase, 3, SpecialKind::Error);
    m[L"constant empty"] =
        MakeConstantArray<RIndirectString>(StoreTypeInfo::String, RIndirectString(L"z"), 0);
    m[L"runs"] = MakeRunLengthArray<RIndirectString>(
        StoreTypeInfo::String,
        std::make_unique<std::vector<RunLengthEntry<RIndirectString>>>(
            std::vector<RunLengthEntry<RIndirectString>>{{RIndirectString(L"a"), SpecialKind::None, 3},
                                                         {RIndirectString(), SpecialKind::Null, 2}}));
    m[L"runs indexed"] = MakeRunLengthArray<unsigned char>(
        StoreTypeInfo::Bool,
        std::make_unique<std::vector<RunLengthEntry<unsigned char>>>(
            std::vector<RunLengthEntry<unsigned char>>{{1, SpecialKind::None, 2}, {0, SpecialKind::None, 1}}),
        Vec<unsigned>({2, 2, 0}));
    m[L"empty"] = MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned>({}));
    // Nested values, sets, tuples, tables, key maps, key sets.
    m[L"array of arrays"] =
        MakeArray<ValuePtr>(StoreTypeInfo::Array, StoreTypeInfo::Double,
                            Vec<ValuePtr>({m[L"a double"], m[L"constant"]}), nullptr, nullptr);
    m[L"set"] = MakeSet<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned>({3, 1, 2}), Kinds({0, 1, 0}));
    m[L"set of tuples"] = MakeSet<ValuePtr>(
        StoreTypeInfo::Tuple, Vec<ValuePtr>({MakeTuple({MakeInt32(1), nullptr}), MakeTuple({})}));
    m[L"tuple"] = MakeTuple({MakeInt32(1), nullptr, MakeSpecial(StoreTypeInfo::String, SpecialKind::Null),
                             MakeTuple({MakeString(L"deep")})});
    m[L"table"] = MakeTable(StoreValueMap{{L"id", m[L"indexed"]}, {L"name", m[L"runs"]}});
    m[L"table empty"] = MakeTable(StoreValueMap{});
    m[L"nested"] = MakeKeyMap(StoreValueMap{{L"inner", MakeKeyMap(StoreValueMap{{L"x", MakeDouble(0.5)}})},
                                            {L"", MakeString(L"empty name")},
                                            {L"a/b~c", MakeBool(false)}});
    auto keys = MakeKeySetMap<RIndirectString, unsigned long long>(nocase);
    keys->emplace(RIndirectString(L"one"), 1);
    keys->emplace(RIndirectString(L"Two"), 2);
    auto specialKeys = std::make_unique<KeySetSpecialMap<unsigned long long>>();
    specialKeys->emplace(SpecialKind::Null, 0);
    m[L"keyset"] = MakeKeySet<RIndirectString, unsigned long long>(
        nocase, StoreTypeInfo::Int64, StoreTypeInfo::Empty, std::move(keys), std::move(specialKeys));
    auto tupleKeys = MakeKeySetMap<ValuePtr, ValuePtr>(StoreTypeInfo::Tuple);
    tupleKeys->emplace(MakeTuple({MakeInt32(1)}), m[L"a double"]);
    m[L"keyset of tuples"] = MakeKeySet<ValuePtr, ValuePtr>(
        StoreTypeInfo::Tuple, StoreTypeInfo::Array, StoreTypeInfo::Double, std::move(tupleKeys), nullptr);
    return m;
}

// The store read back from its JSON text, and from its binary stream.
inline std::shared_ptr<core::IDataStore> ThroughJson(core::IDataStore const& store) {
    return core::StoreValueParser::MakeDataStore(std::string_view(core::JsonStoreWriter::WriteStore(store)));
}

inline std::shared_ptr<core::IDataStore> ThroughBinary(core::IDataStore const& store) {
    core::BinaryProtocolReader reader(core::BinaryProtocolWriter::WriteStore(store));
    return core::StoreValueParser::MakeDataStore(reader);
}

// Runs `action`, expecting a StoreFormatError whose text holds every one of `parts`.
template <class Action>
void ExpectFormatError(Action&& action, std::vector<std::string> const& parts) {
    try {
        action();
        ADD_FAILURE() << "no exception; expected one naming " << parts.front();
    } catch (core::ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), core::ZelError::StoreFormatError) << e.what();
        for (std::string const& part : parts) {
            EXPECT_NE(std::string(e.what()).find(part), std::string::npos)
                << "missing \"" << part << "\" in " << e.what();
        }
    }
}

}  // namespace zel::test
