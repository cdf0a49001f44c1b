// MultiSort as a program meets it: every element type in both directions with specials and ties,
// several keys, the array form, the shortcuts that return the input itself, and the failures.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/CheckFailure.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::multisort {
namespace {

using core::KeyPath;
using core::ZelError;
using filter::Json;
using filter::MakeFirst;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

// The JSON the writer gives for the value that `json` reads as.
std::string Values(std::string_view json) {
    return Json(Parse(json));
}

// A table of a key column k of `type` and the column pos = 0, 1, 2, ..., which shows the order of
// the rows after a sort.
Value KeyTable(std::string_view type, std::string_view values) {
    std::string pos;
    unsigned int const count = Parse(std::string(R"({"$type": ")") + std::string(type) + R"(", "values": )" +
                                     std::string(values) + "}")
                                   ->GetCount();
    for (unsigned int i = 0; i < count; ++i) {
        pos += (i == 0 ? "" : ", ") + std::to_string(i);
    }
    return Parse(R"({"$type": "table", "columns": {"k": {"$type": ")" + std::string(type) +
                 R"(", "values": )" + std::string(values) + R"(}, "pos": [)" + pos + "]}}");
}

std::string SortProgram(std::string_view order) {
    return "input ~init.t : table\nb : table = MultiSort(~init.t.k, ~init.t) fn sort(\"" +
           std::string(order) + "\") value true\n";
}

std::string Positions(Value const& table) {
    return Json(table->AsTable().GetColumn(L"pos"));
}

struct TypeCase {
    std::string_view type;
    std::string_view values;
    std::string_view ascending;   // pos after an ascending sort
    std::string_view descending;  // pos after a descending sort
};

// Every element type of the order, each with a tie (kept in row order both ways) and specials
// (first ascending, last descending; of two kinds, the greater first ascending).
// clang-format off
std::vector<TypeCase> const c_typeCases{
    {"array<bool>", "[true, false, null, true, false]", "[2,1,4,0,3]", "[0,3,1,4,2]"},
    {"array<int32>", "[3, -1, null, 3, 0, -2147483648]", "[2,5,1,4,0,3]", "[0,3,4,1,5,2]"},
    {"array<int64>", "[5000000000, -5000000000, null, 5000000000, 0]", "[2,1,4,0,3]", "[0,3,4,1,2]"},
    // -0 and +0 tie; the sign of a number orders it.
    {"array<float>", "[0.0, -2.5, null, 1.5, -0.0]", "[2,1,0,4,3]", "[3,0,4,1,2]"},
    {"array<double>", R"([0.0, -2.5, {"$special": "error"}, 1.5, -0.0, null, -1e300])", "[2,5,6,1,0,4,3]", "[3,0,4,1,6,5,2]"},
    {"array<string>", R"(["b", "a", null, "b", "A", "ab"])", "[2,4,1,5,0,3]", "[0,3,5,1,4,2]"},
    {"array<string(nocase)>", R"(["b", "a", null, "B", "A"])", "[2,1,4,0,3]", "[0,3,1,4,2]"},
    // German: a, ä, b, B (lower case first); code point order would put ä last.
    {"array<string(de)>", R"(["b", "a", null, "B", "ä"])", "[2,1,4,0,3]", "[3,0,4,1,2]"},
    // Keys longer than a radix prefix, equal in their first bytes: settled by the whole key.
    {"array<string(de)>", R"(["Müller", "Mueller", "Muller", "Müllerin", "Mülle"])", "[1,4,2,0,3]", "[3,0,2,4,1]"},
    {"array<date>", R"(["2024-02-01", "2023-12-31", null, "2024-02-01"])", "[2,1,0,3]", "[0,3,1,2]"},
    {"array<datetime>", R"(["2024-02-01T00:00:01", "2024-02-01T00:00:00", null])", "[2,1,0]", "[0,1,2]"},
    {"array<color>", R"(["#000000FF", "#00000000", null, "#FF000000"])", "[2,1,0,3]", "[3,0,1,2]"},
    {"array<object>", R"([3, 1, null, 3, 2])", "[2,1,4,0,3]", "[0,3,4,1,2]"},
    // Specials of several kinds: ascending puts the greater kind first, descending the lesser.
    {"array<int32>", R"([1, {"$special": 7}, null, {"$special": "error"}, null, 0])", "[1,3,2,4,5,0]", "[0,5,2,4,3,1]"},
    // A NaN stands above every number: after them ascending, before them descending.
    {"array<double>", R"([1.0, "nan", -1.0, "inf", null])", "[4,2,0,3,1]", "[1,3,0,2,4]"},
    {"array<tuple>", R"([{"$type": "tuple", "values": [1, "b"]}, {"$type": "tuple", "values": [1, "a"]}, null,
                       {"$type": "tuple", "values": [0, "z"]}])", "[2,3,1,0]", "[0,1,3,2]"},
};
// clang-format on

TEST(MultiSortTypes, EveryElementTypeSortsBothWaysWithSpecialsAndTies) {
    std::set<core::StoreType> reached;
    for (TypeCase const& c : c_typeCases) {
        SCOPED_TRACE(c.type);
        Value const table = KeyTable(c.type, c.values);
        reached.insert(table->AsTable().GetColumn(L"k")->GetValueTypeInfo().GetStoreType());
        EXPECT_EQ(Positions(RunProgram(SortProgram("ASC"), {{L"t", table}})), Values(c.ascending));
        EXPECT_EQ(Positions(RunProgram(SortProgram("DESC"), {{L"t", table}})), Values(c.descending));
    }
    EXPECT_EQ(reached.size(), 11u);
}

// The first key decides first; ties go to the next key; rows equal under all keys keep their
// order. A constant key orders nothing and is left out, and the next key keeps its own order.
TEST(MultiSort, KeysDecideInTheirOrderAndConstantKeysAreLeftOut) {
    Value const table = Parse(R"({"$type": "table", "columns": {
        "a": [2, 1, 2, 1, 2, 1],
        "b": ["x", "y", "y", "x", "x", "y"],
        "c": {"$type": "array<int32>", "constant": 5, "count": 6},
        "pos": [0, 1, 2, 3, 4, 5]}})");
    struct KeyCase {
        std::string_view keys;
        std::string_view orders;
        std::string_view expected;
    };
    for (KeyCase const& c : std::vector<KeyCase>{
             {"~init.t.a, ~init.t.b", R"("ASC", "DESC")", "[1,5,3,2,0,4]"},
             {"~init.t.a, ~init.t.b", R"("DESC", "ASC")", "[0,4,2,3,1,5]"},
             {"~init.t.b, ~init.t.a", R"("ASC", "ASC")", "[3,0,4,1,5,2]"},
             {"~init.t.c, ~init.t.a", R"("ASC", "DESC")", "[0,2,4,1,3,5]"},
             {"~init.t.a, ~init.t.c, ~init.t.b", R"("ASC", "DESC", "DESC")", "[1,5,3,2,0,4]"},
         }) {
        SCOPED_TRACE(std::string(c.keys) + " " + std::string(c.orders));
        Value const result =
            RunProgram("input ~init.t : table\nb : table = MultiSort(" + std::string(c.keys) +
                           ", ~init.t) fn sort(" + std::string(c.orders) + ") value true\n",
                       {{L"t", table}});
        EXPECT_EQ(Positions(result), Values(c.expected));
        // Every column travels with its row.
        EXPECT_EQ(result->AsTable().GetColumns().size(), 4u);
        EXPECT_EQ(Json(result->AsTable().GetColumn(L"c")),
                  R"({"$type":"array<int32>","constant":5,"count":6})");
    }
}

TEST(MultiSort, TheArrayFormSortsItsArray) {
    for (auto const& [order, expected] :
         {std::pair{"ASC", R"([null,"A","a","b","b"])"}, std::pair{"DESC", R"(["b","b","a","A",null])"}}) {
        SCOPED_TRACE(order);
        Value const result =
            RunProgram("input ~init.a : array<string>\nb : array<string> = MultiSort(~init.a) fn sort(\"" +
                           std::string(order) + "\") value false\n",
                       {{L"a", Parse(R"(["b", null, "a", "b", "A"])")}});
        EXPECT_EQ(Json(result), Values(expected));
    }
}

// The shortcuts hand back the input value itself, not a copy: a constant array in the array form,
// and the table when every key is constant. A table of no rows is sorted all the same.
TEST(MultiSort, ShortcutsReturnTheInputItself) {
    auto const array = MakeFirst(
        "input ~init.a : array<int32>\nb : array<int32> = MultiSort(~init.a) fn "
        "sort(\"DESC\") value false\n");
    Value const constant = Parse(R"({"$type": "array<int32>", "constant": 5, "count": 3})");
    vm::TransformValues inputs;
    inputs.SetValue(KeyPath::Parse(L"~init.a"), constant);
    EXPECT_EQ(array->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b")), constant);

    auto const table = MakeFirst(
        "input ~init.t : table\nb : table = MultiSort(~init.t.c, ~init.t) fn "
        "sort(\"ASC\") value true\n");
    Value const constantKeys = Parse(R"({"$type": "table", "columns": {
        "c": {"$type": "array<int32>", "constant": 5, "count": 2}, "d": [2, 1]}})");
    Value const noRows = Parse(R"({"$type": "table", "columns": {
        "c": {"$type": "array<int32>", "values": []}, "d": {"$type": "array<int32>", "values": []}}})");
    for (Value const& t : {constantKeys, noRows}) {
        vm::TransformValues tableInputs;
        tableInputs.SetValue(KeyPath::Parse(L"~init.t.c"), t->AsTable().GetColumn(L"c"));
        tableInputs.SetValue(KeyPath::Parse(L"~init.t"), t);
        Value const result = table->DoTransform(tableInputs, nullptr).GetValue(KeyPath(L"b"));
        EXPECT_EQ(result == t, t == constantKeys);
        EXPECT_EQ(Json(result), Json(t));
    }
    auto const paths = table->GetInputPaths();
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_TRUE(paths[0].TypeAgnosticEquals(KeyPath::Parse(L"~init.t.c")));
    EXPECT_TRUE(paths[1].TypeAgnosticEquals(KeyPath::Parse(L"~init.t")));
    EXPECT_EQ(table->Clone()->GetOperatorType(), core::OperatorType::MultiSort);
}

TEST(MultiSort, RefusesWhatItCannotSort) {
    Value const table = Parse(R"({"$type": "table", "columns": {"a": [2, 1]}})");
    Value const other = Parse(R"({"$type": "table", "columns": {"a": [2, 1, 3]}})");
    struct RefusalCase {
        std::string program;
        std::vector<std::pair<wchar_t const*, Value>> inputs;
        ZelError error;
        char const* condition;
    };
    for (RefusalCase const& c : std::vector<RefusalCase>{
             {"input ~init.a : array<int32>, ~init.c : array<int32>\nb : array<int32> = "
              "MultiSort(~init.a, ~init.c) fn sort(\"ASC\") value false\n",
              {{L"a", Parse("[2, 1]")}, {L"c", Parse("[1, 2]")}},
              ZelError::SpecError226,
              "(m_inputs.size() == m_sortOrders.size() == 1)"},
             {"input ~init.a : array<int32>\nb : table = MultiSort(~init.a) fn sort(\"ASC\") value true\n",
              {{L"a", Parse("[2, 1]")}},
              ZelError::SortInputInvalid,
              "(inputTable) != nullptr"},
             {"input ~init.t : table, ~init.u : table\nb : table = MultiSort(~init.u.a, ~init.t.a, ~init.t) "
              "fn "
              "sort(\"ASC\", \"ASC\") value true\n",
              {{L"t", table}, {L"u", other}},
              ZelError::RangeViolation,
              "(keyCount == count)"},
             {"input ~init.a : array<keymap>\nb : array<keymap> = MultiSort(~init.a) fn sort(\"ASC\") value "
              "false\n",
              {{L"a", Parse(R"({"$type": "array<keymap>", "values": [{"x": 1}, {"x": 0}]})")}},
              ZelError::UnsortableType,
              ""},
         }) {
        ExpectCheckFailure([&] { RunProgram(c.program, c.inputs); }, c.error, c.condition);
    }
    ExpectCheckFailure<core::ZelLogicException>(
        [&] {
            RunProgram(
                "input ~init.t : table, ~init.u : table\nb : table = MultiSort(~init.t, ~init.u, ~init.t.a) "
                "fn sort(\"ASC\", \"ASC\", \"ASC\") value true\n",
                {{L"t", table}, {L"u", table}});
        },
        ZelError::LogicFailure, "(inputTable == nullptr)");
}

}  // namespace
}  // namespace zel::test::multisort
