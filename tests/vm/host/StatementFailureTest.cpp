// Every failure that a program can cause, while the machine is made or while it runs, names its
// statement: "line L, column C: Operator: what is wrong", the statement's line with a caret, and
// the failure's own text beside the sentence. The code, the exception's kind and the one debug
// report stay those of the check that failed.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/CheckFailure.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/materialize/MakeExecutionGraph.h"
#include "zel/vm/vtl/OpMapSpec.h"

namespace zel::vm {
namespace {

using core::ZelError;

// Every statement stands on line 2, behind the inputs that the cases read.
constexpr std::string_view c_inputs =
    "input ~init.x : array<int32>, ~init.d : array<double>, ~init.c : array<color>, ~init.n : int32, "
    "~init.k : keymap\n";

struct Case {
    char const* statement;
    ZelError error;
    // The text after "line L, column 1: ", or its start.
    char const* says;
    // The line of the failing statement.
    int line = 2;
};

class StatementFailureTest : public ::testing::Test {
protected:
    // The failure of making (or, with `run`, of running) the program over the store.
    void ExpectFailure(Case const& c, std::string_view store = "{}", bool run = false) {
        SCOPED_TRACE(c.statement);
        std::string const statement = c.statement;
        test::ReportCollector reports;
        try {
            auto vm = VMFactory::Make(TStringCore::FromUtf8(std::string(c_inputs) + statement),
                                      TStringCore::FromUtf8(store), *m_functions, VMOptions());
            ASSERT_TRUE(run) << "made";
            vm->Execute();
            ADD_FAILURE() << "ran";
        } catch (core::ZelRuntimeException const& e) {
            EXPECT_EQ(e.GetError(), c.error) << e.what();
            std::string const text = e.GetText().ToUtf8();
            std::string excerpt = statement;
            for (int line = 2; line < c.line; ++line) {
                excerpt.erase(0, excerpt.find('\n') + 1);
            }
            // The excerpt shows the statement's line, clipped when it is long.
            excerpt = "\n  " + excerpt.substr(0, std::min<std::size_t>(excerpt.find('\n'), 40));
            EXPECT_TRUE(text.starts_with("line " + std::to_string(c.line) + ", column 1: " + c.says)) << text;
            EXPECT_NE(text.find(excerpt), std::string::npos) << text;
        }
        // A failed check reports once; a plain throw (a type the maker has no instance for) not at all.
        ASSERT_LE(reports.Reports().size(), 1u);
        for (auto const& report : reports.Reports()) {
            EXPECT_EQ(report.error, c.error);
        }
    }

    std::unique_ptr<core::IFunctionLookup> m_functions = core::MakeBuiltinFunctionLookup();
};

TEST_F(StatementFailureTest, EveryShapeCheckNamesItsStatement) {
    Case const cases[] = {
        {"b = Slice(~init.x) fn first(1)", ZelError::UnknownOperator,
         "Slice: Slice is read by the language, but the machine has no transform for it"},
        {"NoOp()", ZelError::SpecError216, "NoOp: NoOp makes nothing"},
        {"b = Block(~init.x) value \"b\" { b = Copy(~init.x) }", ZelError::OperatorNotMaterialised,
         "Block: the machine runs no blocks"},
        {"when always() { b = Copy(~init.x) }", ZelError::OperatorNotMaterialised,
         "When: a when or else branch stands inside a Case"},
        {"b, c = Copy(~init.x)", ZelError::SpecError219,
         "Copy: Copy writes one key, and the statement names 2 outputs"},
        {"Map(~init.x) fn negate()", ZelError::SpecError219,
         "Map: Map writes one key, and the statement names no outputs: write KEY = Map(...)"},
        {"b = CreateTable()", ZelError::SpecError220, "CreateTable: CreateTable takes at least one input"},
        {"b = Copy(~init.x, ~init.d)", ZelError::SpecError222,
         "Copy: Copy takes one input, and the statement gives 2 inputs"},
        {"b = Filter() fn is_null()", ZelError::SpecError223,
         "Filter: Filter takes at least one input, and the statement gives none"},
        {"b = CreateKeySet(~init.x)", ZelError::SpecError224,
         "CreateKeySet: CreateKeySet takes two inputs, and the statement gives one input"},
        {"b = Zip(~init.x)", ZelError::SpecError225, "Zip: Zip takes at least two inputs"},
        {"b = InnerJoin(~init.x, ~init.d)", ZelError::SpecError226,
         "InnerJoin: InnerJoin takes pairs of key columns and then the two tables, at least four inputs, and "
         "the statement gives 2 inputs"},
        {"b = MultiSort(~init.x) fn sort(\"ASC\", \"DESC\") value false", ZelError::SpecError226,
         "MultiSort: sort(...) gives one order for each column"},
        {"b = MultiSort(~init.x) fn order(\"ASC\") value false", ZelError::SpecError213,
         "MultiSort: the function of MultiSort is sort(...), with one order for each column, not order"},
        {"b = MultiSort(~init.x) fn sort(\"UP\") value false", ZelError::SpecError214,
         "MultiSort: each argument of sort(...) is the order of one column"},
        {"b = GroupBy(~init.k, ~init.n, ~init.k.a) { b.s = Copy(~init.k.a) }", ZelError::SpecError229,
         "GroupBy: the partition keys"},
        {"b = Case(~init.x) { else { b = Copy(~init.x) } }", ZelError::SpecError233,
         "Case: Case needs at least one when branch"},
        {"b = Case(~init.x) { NoOp(); else { b = Copy(~init.x) } }", ZelError::SpecError234,
         "Case: every branch of Case but the last is a when branch"},
        {"b = Case(~init.x) { when always() { b = Copy(~init.x) }; NoOp() }", ZelError::SpecError235,
         "Case: the last branch of Case is an else branch"},
        {"b = Case(~init.x) { When() { b = Copy(~init.x) }; else { b = Copy(~init.x) } }",
         ZelError::SpecError243, "Case: a when branch of Case needs its condition"},
        {"b = Case(~init.x) { when always() { b = Copy(~init.x) }; Else() fn f() { b = Copy(~init.x) } }",
         ZelError::SpecError244, "Case: the else branch of Case takes no function"},
        {"b = Map(~init.x)", ZelError::SpecError243, "Map: Map needs a function: add fn NAME(...)"},
        {"b = CreateKeySet(~init.x, ~init.d) fn f()", ZelError::SpecError244,
         "CreateKeySet: CreateKeySet takes no function, and the statement gives f(...)"},
        {"b = Reduce(~init.x) fn add()", ZelError::SpecError250,
         "Reduce: Reduce needs the initial value of its accumulator"},
        {"b = Filter(~init.x) fn is_null() value 3", ZelError::SpecError251,
         "Filter: the value of Filter is its table flag, true or false, and the statement gives an int32"},
        {"b = Distinct(~init.x) value 1", ZelError::SpecError252,
         "Distinct: the value of Distinct is whether specials count as values"},
        {"b = Index(~init.x) value true", ZelError::SpecError254,
         "Index: the value of Index is the number of its first row, an int32, and the statement gives a "
         "bool"},
        {"b = Constant(~init.x)", ZelError::SpecError255,
         "Constant: Constant takes one input and a value (the constant), or two inputs"},
        {"b = CreateKeySet(~init.x, ~init.d) value 1", ZelError::SpecError260,
         "CreateKeySet: CreateKeySet takes no value, and the statement gives an int32"},
    };
    for (Case const& c : cases) {
        ExpectFailure(c);
    }
}

// Functions and types: the sentence names them, and the failure's own text follows in parentheses.
TEST_F(StatementFailureTest, FunctionsAndTypesAreNamed) {
    Case const cases[] = {
        {"b = Map(~init.x) fn nosuch()", ZelError::FunctionMissing,
         "Map: no unary function nosuch(int32); none is registered under that name"},
        {"b = Map(~init.x) fn to_color()", ZelError::UnsupportedTypes,
         "Map: Map has no instance from a column of int32 to color, which to_color returns (unsupported "
         "types in Map)"},
        {"b = Filter(~init.c) fn eq(color(0x000000FF))", ZelError::UnsupportedTypes,
         "Filter: Filter has no instance over a column of color (unsupported types in Filter)"},
        {"b : double = Reduce(~init.d) fn add() value 0", ZelError::UnsupportedTypes,
         "Reduce: the accumulator is int32, the type of the value, and add returns double; the two must be "
         "one type (unsupported types in Aggregate)"},
        {"b = Filter(~init.x) fn negate()", ZelError::FunctionTypeMismatch,
         "Filter: negate returns int32, and Filter needs a predicate that returns bool (negate)"},
        {"Output() fn add(~init.n, 1)", ZelError::FunctionTypeMismatch,
         "Output: Output calls a function that returns nothing, and add returns a value (add)"},
        // A declared type is a promise that the operator must keep.
        {"b : array<double> = Map(~init.x) fn negate()", ZelError::OutputTypeMismatch,
         "Map: b is declared array<double>, and the statement makes array<int32>"},
        {"b : double = Reduce(~init.x) fn add() value 0", ZelError::OutputTypeMismatch,
         "Reduce: b is declared double, and the statement makes int32"},
        {"b : array<int32> = Copy(~init.d)", ZelError::OutputTypeMismatch,
         "Copy: b is declared array<int32>, and the statement makes array<double>"},
    };
    for (Case const& c : cases) {
        ExpectFailure(c);
    }
}

// A function that refuses its argument once it sees it, in the second statement.
TEST_F(StatementFailureTest, FailuresOfARunNameTheStatement) {
    ExpectFailure({"b : array<int32> = Copy(~init.x)\nc = Map(b) fn lookup(~init.n)",
                   ZelError::InvalidArgument, "Map: lookup: the argument is no key set", 3},
                  R"({"x": [1], "n": 1})", true);
    ExpectFailure(
        {"i = Index(~init.n) value 0", ZelError::IndexInputInvalid,
         "Index: Index numbers the rows of an array or a table, and its input ~init.n holds neither"},
        R"({"n": 1})", true);
}

// A spec built in code has no place in a program: its failures name the operator alone.
TEST_F(StatementFailureTest, ASpecBuiltInCodeNamesItsOperator) {
    core::KeyPath const input = core::KeyPath::FromTexts({L"~init", L"a"});
    auto const store = core::StoreValueParser::MakeDataStore(std::string_view(R"({"a": [1]})"));
    auto builder = SerialExecutionGraphBuilder::Make();
    core::KeyPathTypeLookup const types;
    std::vector<core::TransformSpec> const specs{OpMapSpec::Create(
        input, core::FunctionSpec::Make(L"negate", std::vector<core::ValueSpec>{}), core::KeyPath(L"b"))};
    test::ExpectRuntimeError(
        [&] {
            MakeExecutionGraph(specs, {}, *store, core::OutputKeySet{}, *builder, *m_functions, types,
                               VMOptions());
        },
        ZelError::FunctionMissing, "Map: no unary function negate(none)");
}

}  // namespace
}  // namespace zel::vm
