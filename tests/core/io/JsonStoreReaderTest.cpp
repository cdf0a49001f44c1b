#include <gtest/gtest.h>

#include <bit>
#include <string>

#include "core/io/StoreFormatTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/vtl/VtlParser.h"

namespace zel::test {
namespace {

using namespace core;

ValuePtr Read(std::string const& json) {
    return StoreValueParser::MakeValue(json);
}

TEST(JsonStoreReader, PlainJsonInfersTheNarrowestType) {
    struct Case {
        char const* json;
        StoreType type;
        StoreType element;
    };
    for (Case const& c :
         {Case{"true", StoreType::Bool, StoreType::Empty},
          Case{"-2147483648", StoreType::Int32, StoreType::Empty},
          Case{"2147483648", StoreType::Int64, StoreType::Empty},
          Case{"1.0", StoreType::Double, StoreType::Empty}, Case{"1e2", StoreType::Double, StoreType::Empty},
          Case{"\"2024-01-31\"", StoreType::String, StoreType::Empty},
          Case{"{}", StoreType::KeyMap, StoreType::Empty},
          Case{"[true, null]", StoreType::Array, StoreType::Bool},
          Case{"[1, null, 2]", StoreType::Array, StoreType::Int32},
          Case{"[1, 5000000000]", StoreType::Array, StoreType::Int64},
          Case{"[1, 2.5, 5000000000]", StoreType::Array, StoreType::Double},
          Case{"[{\"$special\": 9}, \"x\"]", StoreType::Array, StoreType::String}}) {
        ValuePtr const value = Read(c.json);
        EXPECT_EQ(value->GetStoreType(), c.type) << c.json;
        if (c.element != StoreType::Empty) {
            EXPECT_EQ(value->GetValueTypeInfo().GetStoreType(), c.element) << c.json;
        }
    }
    ValuePtr const mixed = Read("[1, null, 2.5, {\"$special\": \"error\"}]");
    EXPECT_TRUE(
        mixed->Equals(*Read(R"({"$type": "array<double>", "values": [1.0, null, 2.5, {"$special": 2}]})")));
    EXPECT_EQ(mixed->AsTypedArray<unsigned long long>().GetSpecial(1), SpecialKind::Null);
}

// A program's declared input types guide plain JSON: numbers are read exactly into the declared
// type, or refused naming the element; a value with "$type" and undeclared keys are read as ever.
TEST(JsonStoreReader, DeclaredTypesGuidePlainValuesExactly) {
    std::vector<TransformSpec> specs;
    std::vector<GraphEdge> edges;
    OutputKeySet outputs;
    ParseVtlPayload(
        std::string_view("input ~init.x : array<double>, ~init.n : int64, ~init.m.k : set<int32>, "
                         "~init.t : array<double>\n"
                         "y = Zip(~init.x, ~init.n, ~init.m.k, ~init.t)\n"),
        specs, edges, outputs);
    StoreValueParser::ReadOptions options;
    options.declaredTypes = DeclaredInputTypes(edges);
    auto const store = StoreValueParser::MakeDataStore(
        std::string_view(R"({"x": [1, -2], "n": 7, "m": {"k": [3, 1]}, "other": [1],
                             "t": {"$type": "array<int32>", "values": [1]}})"),
        options);
    auto const value = [&](KeyPath const& path) { return store->GetValue(path); };
    EXPECT_TRUE(value(KeyPath(L"x"))->Equals(*Read(R"({"$type": "array<double>", "values": [1.0, -2.0]})")));
    EXPECT_TRUE(value(KeyPath(L"n"))->Equals(*factory::MakeInt64(7)));
    EXPECT_TRUE(value(KeyPath::FromTexts({L"m", L"k"}))
                    ->Equals(*Read(R"({"$type": "set<int32>", "values": [3, 1]})")));
    EXPECT_EQ(value(KeyPath(L"other"))->GetValueTypeInfo().GetStoreType(), StoreType::Int32);
    EXPECT_EQ(value(KeyPath(L"t"))->GetValueTypeInfo().GetStoreType(), StoreType::Int32);

    options.declaredTypes = {{KeyPath(L"x"), KeySegmentType(StoreTypeInfo::Array, StoreTypeInfo::Int32)}};
    for (char const* json : {R"({"x": [1, 1.5]})", R"({"x": [1, 3e9]})", R"({"x": [1, 3000000000]})"}) {
        SCOPED_TRACE(json);
        ExpectFormatError([&] { StoreValueParser::MakeDataStore(std::string_view(json), options); },
                          {"/x/1"});
    }
}

TEST(JsonStoreReader, TypedFormsGiveEveryLayoutAndSpecial) {
    ValuePtr const runs =
        Read(R"({"indices": [4, 0], "$type": "array<int32>", "runs": [{"value": 1, "count": 3},
        {"special": "null", "count": 2}]})");
    EXPECT_TRUE(runs->Equals(*Read(R"({"$type": "array<int32>", "values": [null, 1]})")));
    EXPECT_EQ(runs->AsCollection().GetLayout(), ArrayLayout::RunLength);
    ValuePtr const constant = Read(R"({"$type": "array<string(nocase)>", "constant": "A", "count": 2})");
    EXPECT_TRUE(constant->Equals(*Read(R"({"$type": "array<string(nocase)>", "values": ["a", "a"]})")));
    EXPECT_EQ(Read(R"({"$type": "keyset<int32,string>", "keys": [2, 1], "values": ["b", "a"],
        "specials": [{"special": "error", "value": "e"}]})")
                  ->AsKeySet()
                  .GetSpecialKeyCount(),
              1u);
    EXPECT_EQ(Read(R"({"$type": "date", "value": "2024-01-31"})")->GetStoreType(), StoreType::Date);
    EXPECT_EQ(FetchStoreValue<ZelColor>(Read(R"({"$type": "color", "value": "#ff000080"})")).GetValue(),
              0xFF000080u);
    EXPECT_EQ(Read(R"({"$type": "table", "columns": {"a": [1, 2], "b": ["x", "y"]}})")->GetCount(), 2u);
    EXPECT_EQ(Read(R"({"$type": "set<int32>", "special": "null"})")->GetSpecialKind(), SpecialKind::Null);
    // A root whose members could read as a typed value takes the keymap form.
    auto const store = StoreValueParser::MakeDataStore(
        std::string_view(R"({"$type": "keymap", "entries": {"$type": 1, "b": {"c": [1]}}})"));
    EXPECT_EQ(FetchStoreValue<int>(store->GetValue(KeyPath(L"$type"))), 1);
    EXPECT_EQ(store->GetValue(KeyPath::FromTexts({L"b", L"c"}))->GetCount(), 1u);
    EXPECT_EQ(StoreValueParser::MakeDataStore(L"{\"w\": \"\u00e9\"}")->GetRoot()->GetEntryCount(), 1u);
}

// Every class of bad input, with what is wrong and where: the JSON pointer, the element index and
// the line and column.
TEST(JsonStoreReader, BadInputNamesWhatAndWhere) {
    struct Case {
        char const* json;
        std::vector<std::string> parts;
    };
    std::vector<Case> const cases = {
        {"", {"an empty document"}},
        {"{\"a\": [1, 2,]}", {"malformed JSON", "line 1, column 13"}},
        {"{\"a\": 1} x", {"malformed JSON", "line 1, column 10"}},
        {"{\"a\":\n  \"\xff\"}", {"not UTF-8", "line 2, column 4"}},
        {"[1]", {"root of a store must be an object", "type array"}},
        {"{\"a\": null}", {"null has no type", "at /a (line 1, column 7)"}},
        {"{\"a\": [null, null]}", {"nothing but specials has no type", "/a"}},
        {"{\"a\": []}", {"an empty array has no type", "/a"}},
        {"{\"a\": [1, \"x\"]}", {"a string after a number", "/a/1 (element 1, line 1, column 11)"}},
        {"{\"a\": [true, 1]}", {"a number after a bool", "element 1"}},
        {"{\"a\": [[1]]}", {"nested array needs a typed form", "/a/0"}},
        {"{\"a\": [{\"b\": 1}]}", {"not a field \"b\"", "/a/0/b"}},
        {"{\"a\": 99999999999999999999}", {"malformed JSON"}},
        {"{\"a\": 10000000000000000000}", {"out of range for int64", "/a"}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"values\": [1, 2147483648]}}",
         {"out of range for int32", "/a/values/1 (element 1, line 1, column 47)"}},
        {"{\"a\": {\"$type\": \"array<int64>\", \"values\": [1.5]}}", {"expected an int64", "element 0"}},
        {"{\"a\": {\"$type\": \"array<float>\", \"values\": [1e39]}}",
         {"out of range for float", "element 0"}},
        {"{\"a\": {\"$type\": \"array<double>\", \"values\": [9007199254740993]}}",
         {"not exact as a double"}},
        {"{\"a\": {\"$type\": \"array<double>\", \"values\": [\"0x7ff0000000000000\"]}}", {"is no double"}},
        {"{\"a\": {\"$type\": \"array<date>\", \"values\": [\"2024-02-30\"]}}",
         {"is no date", "/a/values/0"}},
        {"{\"a\": {\"$type\": \"color\", \"value\": \"#12345\"}}", {"is no colour", "/a/value"}},
        {"{\"a\": {\"$type\": \"int32\", \"value\": null}}", {"a special scalar is written", "/a/value"}},
        {"{\"a\": {\"$type\": \"int32\"}}", {"needs \"value\" or \"special\"", "/a"}},
        {"{\"a\": {\"$type\": \"int32\", \"special\": 0}}", {"a special kind is", "/a/special"}},
        {"{\"a\": {\"$type\": \"vector<int32>\"}}", {"unknown type \"vector\"", "/a/$type"}},
        {"{\"a\": {\"$type\": \"string(klingon)\"}}", {"unknown collation \"klingon\""}},
        {"{\"a\": {\"$type\": \"array\", \"values\": []}}", {"needs 1 type arguments"}},
        {"{\"a\": {\"$type\": \"int32<int32>\", \"value\": 1}}", {"takes 0 type arguments"}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"value\": [1]}}",
         {"unknown field \"value\"", "\"values\", \"indices\""}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"values\": [1], \"values\": [2]}}",
         {"duplicate field \"values\""}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"values\": [1], \"runs\": []}}", {"exactly one of"}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"constant\": 1}}", {"\"count\" goes with \"constant\""}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"values\": [1], \"indices\": [0, 1]}}",
         {"index 1 is past the 1 values", "/a/indices/1 (element 1"}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"runs\": [{\"value\": 1, \"count\": 0}]}}",
         {"with n > 0", "/a/runs/0"}},
        {"{\"a\": {\"$type\": \"array<int32>\", \"runs\": [{\"value\": 1, \"count\": 4294967295}, "
         "{\"value\": 1, \"count\": 1}]}}",
         {"more than 4294967295"}},
        {"{\"a\": {\"$type\": \"set<int32>\", \"values\": [1, 1]}}",
         {"must be distinct", "2 values make 1 members"}},
        {"{\"a\": {\"$type\": \"array<tuple>\", \"values\": [1]}}",
         {"expected a tuple, not a int32", "/a/values/0"}},
        {"{\"a\": {\"$type\": \"table\", \"columns\": {\"x\": [1], \"y\": [1, 2]}}}", {"bad table", "/a"}},
        {"{\"a\": {\"$type\": \"keyset<int32,int32>\", \"keys\": [1, 1], \"values\": [1, 2]}}",
         {"duplicate key", "/a/keys/1"}},
        {"{\"a\": {\"$type\": \"keyset<string(nocase),int32>\", \"keys\": [\"a\", \"A\"], \"values\": [1, "
         "2]}}",
         {"duplicate key", "/a/keys/1"}},
        {"{\"a\": {\"$type\": \"keyset<int32,int32>\", \"keys\": [null], \"values\": [1]}}",
         {"belongs in \"specials\""}},
        {"{\"a\": {\"$type\": \"keyset<int32,int32>\", \"keys\": [1], \"values\": []}}",
         {"1 keys for 0 values"}},
        {"{\"a\": {\"$type\": \"none\"}}", {"\"none\" (no value) stands only"}},
        {"{\"a\": 1, \"a\": 2}", {"duplicate key \"a\""}},
        {"{\"a\\u0024\": {\"\\u0024type\": 1}}", {"expected a type name", "/a$/$type"}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.json);
        ExpectFormatError([&] { StoreValueParser::MakeDataStore(std::string_view(c.json)); }, c.parts);
    }
    // Members that expand to billions of elements to hash are refused even where a host lifts the
    // bound on expanded rows.
    std::string_view const hugeMember = R"({"a": {"$type": "set<array>", "values": [{"$type": "array<int32>",
        "constant": 1, "count": 4000000000}]}})";
    for (std::uint32_t const bound : {StoreValueParser::c_defaultMaxExpandedRows, ~std::uint32_t{0}}) {
        ExpectFormatError(
            [&] {
                StoreValueParser::ReadOptions options;
                options.maxExpandedRows = bound;
                StoreValueParser::MakeDataStore(hugeMember, options);
            },
            {bound == ~std::uint32_t{0} ? "elements to hash" : "rows a value may expand to", "/a"});
    }
}

// A long column's plain elements are read in pieces on several threads, each up to its first
// element that is not plain; the rest of the column is read in order from the first such element.
// Rows are exact whichever way they were read, and of several bad elements the first is named.
TEST(JsonStoreReader, ALongColumnIsExactAndNamesItsFirstBadElement) {
    constexpr std::size_t c_count = 200'000;
    // `element(i)` is the JSON text of row i of a column of `type`.
    auto const column = [&](char const* type, auto const& element) {
        std::string json = std::string("{\"a\": {\"$type\": \"array<") + type + ">\", \"values\": [";
        for (std::size_t i = 0; i < c_count; ++i) {
            json += (i == 0 ? "" : ",") + element(i);
        }
        return json + "]}}";
    };
    auto const text = [](std::size_t i) { return (i % 7 == 0 ? "\u00e9" : "s") + std::to_string(i); };
    auto const strings = [&](std::size_t i) { return "\"" + text(i) + "\""; };
    auto const read = [](std::string const& json) {
        return StoreValueParser::MakeDataStore(std::string_view(json))->GetValue(KeyPath(L"a"));
    };
    auto const expectStrings = [&](ValuePtr const& value, std::size_t nullRow) {
        auto const& rows = value->AsTypedArray<RIndirectString>();
        ASSERT_EQ(rows.GetCount(), c_count);
        for (unsigned int i = 0; i < c_count; ++i) {
            if (i == nullRow) {
                ASSERT_EQ(rows.GetSpecial(i), SpecialKind::Null);
                continue;
            }
            std::wstring const expected = (i % 7 == 0 ? L"\u00e9" : L"s") + std::to_wstring(i);
            ASSERT_EQ(rows.GetValue(i).View(), expected) << "row " << i;
            ASSERT_EQ(rows.GetSpecial(i), SpecialKind::None) << "row " << i;
        }
    };
    expectStrings(read(column("string", strings)), c_count);
    expectStrings(read(column("string", [&](std::size_t i) { return i == 150'000 ? "null" : strings(i); })), 150'000);
    ExpectFormatError(
        [&] {
            read(column("string", [&](std::size_t i) {
                return i == 90'000 || i == 170'000 ? std::to_string(i) : strings(i);
            }));
        },
        {"/a/values/90000 (element 90000"});

    // Numbers: an integer in a double column takes the general path and is exact; an int32 out of
    // range is named, the first of two.
    auto const doubles = read(column("double", [](std::size_t i) {
        return i == 140'000 ? std::string("3") : std::to_string(i) + ".5";
    }));
    auto const& rows = doubles->AsTypedArray<unsigned long long>();
    EXPECT_EQ(std::bit_cast<double>(rows.GetValue(140'000)), 3.0);
    EXPECT_EQ(std::bit_cast<double>(rows.GetValue(139'999)), 139'999.5);
    EXPECT_EQ(std::bit_cast<double>(rows.GetValue(c_count - 1)), c_count - 0.5);
    ExpectFormatError(
        [&] {
            read(column("int32", [](std::size_t i) {
                return i == 110'000 || i == 180'000 ? std::string("2147483648") : std::to_string(i);
            }));
        },
        {"out of range for int32", "/a/values/110000 (element 110000"});
}

TEST(JsonStoreReader, NestingIsLimitedWhateverTheInput) {
    std::string const deepObjects = [] {
        std::string text;
        for (unsigned i = 0; i <= StoreValueParser::c_maxJsonDepth; ++i) {
            text += "{\"a\":";
        }
        return text + "1" + std::string(StoreValueParser::c_maxJsonDepth + 1, '}');
    }();
    ExpectFormatError([&] { StoreValueParser::MakeDataStore(std::string_view(deepObjects)); },
                      {"nesting deeper than 128 levels", "/a/a/a"});
    std::string const veryDeep(100000, '[');
    ExpectFormatError([&] { StoreValueParser::MakeDataStore(std::string_view(veryDeep)); },
                      {"malformed JSON"});
}

}  // namespace
}  // namespace zel::test
