// CreateTable and InternalCreateKeyMap programs, the placement rule of key map inputs, and the
// argument lists of functions (CreatorValues).

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/CheckFailure.h"
#include "transform/CreateTableTransform.h"
#include "transform/CreatorValues.h"
#include "transform/InternalCreateKeyMapTransform.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::table {
namespace {

using core::KeyPath;
using core::ZelError;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

Value Table(std::string_view columnsJson) {
    return Parse(R"({"$type": "table", "columns": )" + std::string(columnsJson) + "}");
}

TEST(CreateTable, GathersArraysAndTheColumnsOfTablesWithoutCopying) {
    Value const t = Table(R"({"id": [1, 2], "name": ["a", "b"]})");
    Value const price = Parse("[0.5, 1.5]");
    Value const result = RunProgram(
        "input ~init.t : table, ~init.x.price : array<double>\nb : table = CreateTable(~init.t, "
        "~init.x.price)\n",
        {{L"t", t}, {L"x", core::factory::MakeKeyMap(core::StoreValueMap{{L"price", price}})}});
    EXPECT_EQ(Json(result), Json(Table(R"({"id": [1, 2], "name": ["a", "b"], "price": [0.5, 1.5]})")));
    EXPECT_EQ(result->AsTable().GetColumn(L"price"), price);
    EXPECT_EQ(result->AsTable().GetColumn(L"id"), t->AsTable().GetColumn(L"id"));
}

// The row count is set by the first column that comes, so a table without columns sets nothing.
TEST(CreateTable, AllColumnsHaveTheLengthOfTheFirst) {
    struct LengthCase {
        std::string_view table;
        std::string_view column;
        std::string_view expected;  // empty when the lengths differ
    };
    for (
        auto const& c : std::vector<LengthCase>{
            {R"({"id": {"$type": "array<int32>", "values": []}})",
             R"({"$type": "array<int32>", "values": []})",
             R"({"c": {"$type": "array<int32>", "values": []}, "id": {"$type": "array<int32>", "values": []}})"},
            {R"({"id": {"$type": "array<int32>", "values": []}})", "[1]", ""},
            {"{}", "[1, 2]", R"({"c": [1, 2]})"},
        }) {
        auto const run = [&] {
            return RunProgram(
                "input ~init.t : table, ~init.c : array<int32>\nb : table = CreateTable(~init.t, ~init.c)\n",
                {{L"t", Table(c.table)}, {L"c", Parse(c.column)}});
        };
        if (c.expected.empty()) {
            ExpectCheckFailure(run, ZelError::CreateTableFailure, "");
        } else {
            EXPECT_EQ(Json(run()), Json(Table(c.expected))) << c.table;
        }
    }
}

TEST(CreateTable, RefusesRepeatedNamesAndValuesThatAreNoColumns) {
    auto const inputs = std::vector<std::pair<wchar_t const*, Value>>{
        {L"x", core::factory::MakeKeyMap(core::StoreValueMap{{L"a", Parse("[1]")}})},
        {L"y", core::factory::MakeKeyMap(core::StoreValueMap{{L"a", Parse("[2]")}, {L"s", Parse("3")}})}};
    // The transform's own text is the name; the machine adds the statement around it.
    auto const spec = vm::OpCreateTableSpec::Create(
        {KeyPath::Parse(L"~init.x.a"), KeyPath::Parse(L"~init.y.a")}, KeyPath(L"b"));
    vm::TransformValues values;
    values.SetValue(KeyPath::Parse(L"~init.x.a"), Parse("[1]"));
    values.SetValue(KeyPath::Parse(L"~init.y.a"), Parse("[2]"));
    ExpectPlainThrow(
        [&] { vm::CreateTableTransform::Make(vm::OpCreateTableSpec(spec))->DoTransform(values, nullptr); },
        ZelError::DuplicateColumnName, "a");
    ExpectCheckFailure(
        [&] {
            RunProgram(
                "input ~init.x.a : array<int32>, ~init.y.s : int32\nb : table = CreateTable(~init.x.a, "
                "~init.y.s)\n",
                inputs);
        },
        ZelError::CreateTableInputInvalid, "");
}

TEST(InternalCreateKeyMap, GathersInputsUnderTheInitialFormOfItsOutput) {
    Value const result = RunProgram(
        "input ~init.b.a : int32, ~init.b.b : string\nb : keymap = InternalCreateKeyMap(~init.b.a, "
        "~init.b.b)\n",
        {{L"b",
          core::factory::MakeKeyMap(core::StoreValueMap{{L"a", Parse("1")}, {L"b", Parse(R"("x")")}})}});
    EXPECT_EQ(Json(result), R"({"a":1,"b":"x"})");
    ExpectCheckFailure(
        [] {
            RunProgram("input ~init.a : int32\nb : keymap = InternalCreateKeyMap(~init.a)\n",
                       {{L"a", Parse("1")}});
        },
        ZelError::KeyMapInputsInvalid, "(SaneInputs(m_inputs, m_output))");
}

TEST(InternalCreateKeyMap, InputsLieOneLevelUnderTheOutputOrItsInitialForm) {
    KeyPath const output = KeyPath::Parse(L"r.s");
    struct SaneCase {
        std::vector<KeyPath> inputs;
        bool sane;
    };
    for (auto const& c : std::vector<SaneCase>{
             {{}, true},
             {{KeyPath::Parse(L"r.s.a"), KeyPath::Parse(L"~init.r.s.b")}, true},
             {{KeyPath::Parse(L"r.s")}, false},
             {{KeyPath::Parse(L"r.s.a.b")}, false},
             {{KeyPath::Parse(L"r.t.a")}, false},
             {{KeyPath::Parse(L"~init.r.t.a")}, false},
             {{KeyPath(L"r")}, false},
         }) {
        EXPECT_EQ(vm::SaneInputs(c.inputs, output), c.sane) << c.inputs.size();
    }
    // Two inputs with one leaf: the first stays.
    auto const spec = vm::OpInternalCreateKeyMapSpec::Create(
        {KeyPath::Parse(L"r.s.a"), KeyPath::Parse(L"~init.r.s.a")}, output);
    auto const transform = vm::InternalCreateKeyMapTransform::Make(vm::OpInternalCreateKeyMapSpec(spec));
    vm::TransformValues inputs;
    inputs.SetValue(KeyPath::Parse(L"r.s.a"), Parse("1"));
    inputs.SetValue(KeyPath::Parse(L"~init.r.s.a"), Parse("2"));
    EXPECT_EQ(Json(transform->DoTransform(inputs, nullptr).GetValue(output)), R"({"a":1})");
}

TEST(CreatorValues, ListsKeysAndResolvesEveryArgumentInOrder) {
    auto const spec = core::FunctionSpec::Make(
        L"f",
        std::vector<core::ValueSpec>{KeyPath::Parse(L"~init.a"), core::ValueSpec(Parse("2")), KeyPath(L"c")});
    vm::CreatorValues const values(*spec);
    std::vector<KeyPath> keys;
    values.GetKeys(keys);
    EXPECT_EQ(keys, (std::vector<KeyPath>{KeyPath::Parse(L"~init.a"), KeyPath(L"c")}));
    vm::TransformValues inputs;
    inputs.SetValue(KeyPath::Parse(L"~init.a"), Parse("1"));
    inputs.SetValue(KeyPath(L"c"), Parse("3"));
    auto const resolved = values.GetValues(inputs);
    ASSERT_EQ(resolved.size(), 3u);
    EXPECT_EQ(Json(resolved[0]) + Json(resolved[1]) + Json(resolved[2]), "123");

    vm::CreatorValues const none(*core::FunctionSpec::Make(L"g", std::vector<core::ValueSpec>{}));
    keys.clear();
    none.GetKeys(keys);
    EXPECT_TRUE(keys.empty());
    EXPECT_TRUE(none.GetValues(inputs).empty());

    ExpectCheckFailure([] { vm::CreatorValues(KeyPath::Empty()); }, ZelError::CreatorArgumentEmpty,
                       "!(inputKey.IsEmpty())");
}

}  // namespace
}  // namespace zel::test::table
