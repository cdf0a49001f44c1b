// Concat programs: arrays, sets and tables end to end, earlier inputs first, and a table followed
// by an array, which the library's concatenation of tables refuses.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vm/filter/FilterTestSupport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::concat {
namespace {

using core::KeyPath;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Texts;
using filter::Value;

Value Table(std::string const& columnsJson) {
    return Parse(R"({"$type": "table", "columns": )" + columnsJson + "}");
}

TEST(Concat, PutsTheRowsOfEarlierInputsFirst) {
    struct ConcatCase {
        char const* name;
        std::string program;
        std::vector<std::pair<wchar_t const*, Value>> inputs;
        Value expected;
    };
    std::vector<ConcatCase> const cases = {
        {"two arrays",
         "input ~init.a : array<int32>, ~init.c : array<int32>\nb : array<int32> = Concat(~init.a, "
         "~init.c)\n",
         {{L"a", Parse("[1, 2]")}, {L"c", Parse("[3]")}},
         Parse("[1, 2, 3]")},
        {"three arrays with an empty one and a special",
         "input ~init.a : array<string>, ~init.c : array<string>, ~init.d : array<string>\n"
         "b : array<string> = Concat(~init.a, ~init.c, ~init.d)\n",
         {{L"a", Parse(R"(["x"])")},
          {L"c", Parse(R"({"$type": "array<string>", "values": []})")},
          {L"d", Parse(R"([null, "y"])")}},
         Parse(R"(["x", null, "y"])")},
        {"two sets",
         "input ~init.a : set<int32>, ~init.c : set<int32>\nb : set<int32> = Concat(~init.a, ~init.c)\n",
         {{L"a", Parse(R"({"$type": "set<int32>", "values": [1, 2]})")},
          {L"c", Parse(R"({"$type": "set<int32>", "values": [3]})")}},
         Parse(R"({"$type": "set<int32>", "values": [1, 2, 3]})")},
        {"two tables",
         "input ~init.a : table, ~init.c : table\nb : table = Concat(~init.a, ~init.c)\n",
         {{L"a", Table(R"({"id": [1, 2], "name": ["p", "q"]})")},
          {L"c", Table(R"({"id": [3], "name": ["r"]})")}},
         Table(R"({"id": [1, 2, 3], "name": ["p", "q", "r"]})")},
    };
    for (ConcatCase const& c : cases) {
        EXPECT_EQ(Json(RunProgram(c.program, c.inputs)), Json(c.expected)) << c.name;
    }
}

// The first input decides: a table makes it a concatenation of tables, and a later array is for
// that function to refuse; an array first makes it one of arrays, which refuses the table.
TEST(Concat, ATableBesideAnArrayReachesTheLibrarysRefusal) {
    Value const table = Table(R"({"id": [1]})");
    Value const array = Parse("[2]");
    for (bool tableFirst : {true, false}) {
        auto const transform = filter::MakeFirst("b : table = Concat(~init.a, ~init.c)\n");
        vm::TransformValues values;
        values.SetValue(KeyPath::Parse(L"~init.a"), tableFirst ? table : array);
        values.SetValue(KeyPath::Parse(L"~init.c"), tableFirst ? array : table);
        try {
            transform->DoTransform(values, nullptr);
            ADD_FAILURE() << "no failure, table first: " << tableFirst;
        } catch (core::ZelRuntimeException const& e) {
            EXPECT_EQ(e.GetError(), core::ZelError::UnsupportedTypes) << e.what();
        }
    }
}

TEST(Concat, ReadsItsInputsAndWritesOneOutput) {
    auto const transform = filter::MakeFirst("b : array<int32> = Concat(~init.a, ~init.c, ~init.a)\n");
    EXPECT_EQ(transform->GetOperatorType(), vm::OperatorType::Concat);
    EXPECT_EQ(Texts(transform->GetInputPaths()), "~init.a ~init.c ~init.a");
    EXPECT_EQ(Texts(transform->GetOutputPaths()), "b");
    EXPECT_EQ(transform->GetMetricsString().ToUtf8(), "Concat");
    vm::TransformValues values;
    values.SetValue(KeyPath::Parse(L"~init.a"), Parse("[1]"));
    values.SetValue(KeyPath::Parse(L"~init.c"), Parse("[2]"));
    EXPECT_EQ(Json(transform->Clone()->DoTransform(values, nullptr).GetValue(KeyPath(L"b"))),
              Json(Parse("[1, 2, 1]")));
}

}  // namespace
}  // namespace zel::test::concat
