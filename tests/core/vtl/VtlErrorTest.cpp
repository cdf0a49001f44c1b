// Every malformed program fails with its code, and the text says where: line, column, the line
// itself and a caret under the column.

#include "VtlTestSupport.h"

namespace zel::test {
namespace {

using core::ZelError;

struct ErrorCase {
    char const* name;
    std::string program;
    ZelError error;
    unsigned int line;
    unsigned int column;
    char const* says;
};

// The first line of the text is "line L, column C: ..."; the last two are the excerpt and the
// caret, and the caret stands under the character at that place of the program.
void ExpectPointsAt(ErrorCase const& c, VtlFailure const& failure) {
    std::wstring const text = TStringCore::FromUtf8(failure.text).str();
    std::wstring const head =
        L"line " + std::to_wstring(c.line) + L", column " + std::to_wstring(c.column) + L": ";
    ASSERT_EQ(text.rfind(head, 0), 0u) << failure.text;
    std::size_t const caretLine = text.rfind(L'\n');
    std::size_t const excerptLine = text.rfind(L'\n', caretLine - 1);
    std::wstring const caret = text.substr(caretLine + 1);
    std::wstring const excerpt = text.substr(excerptLine + 1, caretLine - excerptLine - 1);
    ASSERT_EQ(caret.find_first_not_of(L' '), caret.size() - 1) << failure.text;
    ASSERT_EQ(caret.back(), L'^');
    std::size_t const at = caret.size() - 1;
    ASSERT_LE(at, excerpt.size()) << failure.text;  // equal: the end of the line
    if (failure.error == ZelError::VtlSyntaxError && c.says == std::string("not valid UTF-8")) {
        EXPECT_EQ(excerpt[at], L'\uFFFD');
        return;
    }
    // The character of the program at the reported line and column.
    std::wstring const program = TStringCore::FromUtf8(c.program).str();
    std::size_t lineStart = 0;
    for (unsigned int l = 1; l < c.line; ++l) {
        lineStart = program.find(L'\n', lineStart) + 1;
    }
    if (at < excerpt.size() && lineStart + c.column - 1 < program.size()) {
        EXPECT_EQ(excerpt[at], program[lineStart + c.column - 1]) << failure.text;
    }
}

class VtlErrorTest : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(VtlErrorTest, FailsWithCodePlaceAndExpectation) {
    ErrorCase const& c = GetParam();
    VtlFailure const failure = ParseVtlFailure(c.program);
    EXPECT_EQ(failure.error, c.error) << failure.text;
    EXPECT_NE(failure.text.find(c.says), std::string::npos) << failure.text;
    ExpectPointsAt(c, failure);
}

std::string Nested(unsigned int depth) {
    std::string text;
    for (unsigned int i = 0; i < depth; ++i) {
        text += "Block() value \"b\" {\n";
    }
    return text + std::string(depth, '}');
}

std::string LongPath(unsigned int segments) {
    std::string text = "x = Copy(~init";
    for (unsigned int i = 0; i < segments; ++i) {
        text += ".s";
    }
    return text + ")";
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, VtlErrorTest,
    ::testing::Values(
        ErrorCase{"MissingParen", "# doubling\nx = Map(a fn f())", ZelError::VtlSyntaxError, 2, 11,
                  "expected \")\" after the inputs, found \"fn\""},
        ErrorCase{"UnknownOperator", "x = Mapp(~init.a)", ZelError::VtlSyntaxError, 1, 5,
                  "expected an operator name"},
        ErrorCase{"NoEquals", "x y = Map(~init.a)", ZelError::VtlSyntaxError, 1, 3,
                  "expected \"=\" after the outputs"},
        ErrorCase{"KeywordAsKey", "x = Map(~init.a)\ntrue = Copy(~init.a)", ZelError::VtlSyntaxError, 2, 1,
                  "found \"true\" (a keyword: write `true` for a key of that name)"},
        ErrorCase{"UnterminatedString", "x = SetValue() fn f(\"abc\ny = 1", ZelError::VtlSyntaxError, 1, 21,
                  "unterminated string"},
        ErrorCase{"BadEscape", "x = SetValue() fn f(\"a\\q\")", ZelError::VtlSyntaxError, 1, 23,
                  "unknown escape"},
        ErrorCase{"StrayCharacter", "x = Copy(~init.a) @", ZelError::VtlSyntaxError, 1, 19,
                  "unexpected character"},
        ErrorCase{"Int32Range", "x = SetValue() fn f(2147483648)", ZelError::VtlSyntaxError, 1, 21,
                  "out of the range of int32"},
        ErrorCase{"DoubleRange", "x = SetValue() fn f(1e999)", ZelError::VtlSyntaxError, 1, 21,
                  "out of the range of double"},
        ErrorCase{"UnknownType", "x : dbl = Copy(~init.a)", ZelError::VtlSyntaxError, 1, 5,
                  "expected a type"},
        ErrorCase{"UnknownCollation", "x : string(klingon) = Copy(~init.a)", ZelError::VtlSyntaxError, 1, 12,
                  "unknown collation"},
        ErrorCase{"NestedElementType", "x : array<array<int32>> = Copy(~init.a)", ZelError::VtlSyntaxError, 1,
                  16, "an element type is one name"},
        ErrorCase{"LiteralWithElementType", "x = SetValue() fn f(null : array<int32>)",
                  ZelError::VtlSyntaxError, 1, 28, "no element type"},
        ErrorCase{"BadDate", "x = SetValue() fn f(date(\"2024-02-30\"))", ZelError::VtlSyntaxError, 1, 26,
                  "expected an ISO date"},
        ErrorCase{"BadSpecialKind", "x = SetValue() fn f(special(0) : int32)", ZelError::VtlSyntaxError, 1,
                  29, "special kind from 1 to 255"},
        ErrorCase{"ValueWithoutLiteral", "x = Reduce(~init.a) fn add() value ~init.b",
                  ZelError::VtlSyntaxError, 1, 36, "expected a literal after value"},
        ErrorCase{"UnclosedChildren", "x = Case(~init.a) {\n  when f() { x = Copy(~init.a) }",
                  ZelError::VtlSyntaxError, 2, 33, "expected \"}\" to close the children"},
        ErrorCase{"DeclarationInChildren", "x = Block() value \"b\" { output x }", ZelError::VtlSyntaxError,
                  1, 25, "top of the program only"},
        ErrorCase{"TooDeep", Nested(40), ZelError::VtlSyntaxError, 33, 1, "nesting deeper than 64"},
        ErrorCase{"TooLong", LongPath(200), ZelError::VtlSyntaxError, 1, 10, "at most 128 segments"},
        ErrorCase{"NotUtf8", "x = Copy(~init.\xc3\xa4)\ny = Copy(\xff)", ZelError::VtlSyntaxError, 2, 10,
                  "not valid UTF-8"}),
    [](auto const& info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Program, VtlErrorTest,
    ::testing::Values(
        ErrorCase{"TwoWriters", "x = Copy(~init.a)\ny = Copy(~init.a)\n  x = Copy(~init.b)",
                  ZelError::VtlProgramError, 3, 3,
                  "x has two writers: the statement at line 1, column 1 and this one"},
        ErrorCase{"OneStatementTwice", "x, x = Zip(~init.a, ~init.b)", ZelError::VtlProgramError, 1, 4,
                  "two writers"},
        ErrorCase{"WriteUnderInit", "y = Copy(~init.a)\n~init.a.b = Copy(y)", ZelError::VtlProgramError, 2, 1,
                  "cannot write ~init.a.b"},
        ErrorCase{"UndefinedRead", "y = Map(~init.a) fn f(x.z)", ZelError::VtlProgramError, 1, 23,
                  "nothing writes x.z"},
        ErrorCase{"ChildWriteIsNoWriter", "t = Block() value \"b\" { u = Copy(~init.a) }\nv = Copy(u)",
                  ZelError::VtlProgramError, 2, 10, "nothing writes u"},
        ErrorCase{"DescendantWriteIsNoWriter", "t.a = Copy(~init.a)\nv = Copy(t)", ZelError::VtlProgramError,
                  2, 10, "nothing writes t as a whole, only keys under it"},
        ErrorCase{"PartOfAWrittenValue", "r = Copy(~init.a)\nr.b = Map(~init.b) fn f()",
                  ZelError::VtlProgramError, 2, 1,
                  "this statement writes r.b, inside r, which the statement at line 1, column 1 writes"},
        ErrorCase{"ValueAroundAWrittenPart", "r.x.y = Copy(~init.a)\nq = Copy(~init.b)\nr = Copy(~init.c)",
                  ZelError::VtlProgramError, 3, 1, "writes r, around r.x.y, which the statement at line 1"},
        ErrorCase{"Cycle", "a = Copy(~init.x)\nb = Zip(a, c)\nc = Copy(b)", ZelError::VtlProgramError, 3, 10,
                  "closes a cycle through b -> c -> b"},
        ErrorCase{"ReadsOwnOutput", "x = Map(x) fn f()", ZelError::VtlProgramError, 1, 9,
                  "cycle through x -> x"},
        ErrorCase{"CycleThroughAncestor", "t = Copy(t.a)", ZelError::VtlProgramError, 1, 10,
                  "cycle through t.a -> t.a"},
        ErrorCase{"TwoTypes", "x : double = Copy(~init.a)\ny = Copy(x : int32)", ZelError::VtlProgramError, 2,
                  14, "x has two types: double at line 1, column 5, and int32 here"},
        ErrorCase{"TwoCollations",
                  "input ~init.s : table { c : array<string> }\nx = Copy(~init.s.c : array<string(nocase)>)",
                  ZelError::VtlProgramError, 2, 22, "two types"},
        ErrorCase{"InputOutsideInit", "input x : double", ZelError::VtlProgramError, 1, 7, "not under ~init"},
        ErrorCase{"InputWithoutType", "input ~init.x", ZelError::VtlProgramError, 1, 7, "needs a type"},
        ErrorCase{"OutputNotWritten", "output x, nothing\nx = Copy(~init.a)", ZelError::VtlProgramError, 1,
                  11, "output nothing is written by no statement"},
        ErrorCase{"EdgeToNoStatement", "edge ~init.a from [] to [0, 3]\nx = Copy(~init.a)",
                  ZelError::VtlProgramError, 1, 29, "no statement 3: the program has 1 statements"},
        ErrorCase{"ExplicitCycle", "edge a from [1] to [0]\nedge b from [0] to [1]\na = Copy(b)\nb = Copy(a)",
                  ZelError::VtlProgramError, 2, 6, "cycle"}),
    [](auto const& info) { return std::string(info.param.name); });

TEST(VtlErrorTextTest, ShowsTheLineWithACaretAndClipsLongLines) {
    VtlFailure const failure = ParseVtlFailure("# doubling\nx = Map(a fn f())");
    EXPECT_EQ(failure.text,
              "line 2, column 11: expected \")\" after the inputs, found \"fn\"\n"
              "  x = Map(a fn f())\n"
              "            ^");

    // A long line is shown around the column only, marked by dots on both sides.
    std::string const program =
        "x = SetValue() fn f(" + std::string(200, '1') + "L, @, " + std::string(200, '2') + ")";
    VtlFailure const clipped = ParseVtlFailure(program);
    std::size_t const excerptStart = clipped.text.find('\n') + 1;
    std::string const excerpt = clipped.text.substr(excerptStart, clipped.text.rfind('\n') - excerptStart);
    EXPECT_EQ(excerpt.rfind("  ...", 0), 0u) << clipped.text;
    EXPECT_EQ(excerpt.substr(excerpt.size() - 3), "...");
    EXPECT_LT(excerpt.size(), 140u);
    std::string const caret = clipped.text.substr(clipped.text.rfind('\n') + 1);
    EXPECT_EQ(excerpt[caret.size() - 1], '@');
}

// Each statement, a child too, keeps its place for the failures of the machine; the place is not
// part of the TransformSpec's value.
TEST(VtlErrorTextTest, StatementsKeepTheirPlace) {
    VtlProgram const program = ParseVtl(
        "input ~init.a : array<int32>\n\n  b = Case(~init.a) {\n"
        "    when always() { b = Copy(~init.a) }\n  else { b = Copy(~init.a) } }");
    core::TransformSpec const& statement = program.specs.at(0);
    ASSERT_NE(statement.GetSource(), nullptr);
    EXPECT_EQ(statement.GetSource()->line, 3u);
    EXPECT_EQ(statement.GetSource()->column, 3u);
    core::TransformSpec const& when = statement.GetChildTransforms().at(0);
    EXPECT_EQ(when.GetChildTransforms().at(0).GetSource()->column, 21u);
    EXPECT_EQ(core::DescribeAtSource(*when.GetSource(), L"Case: what is wrong").ToUtf8(),
              "line 4, column 5: Case: what is wrong\n"
              "      when always() { b = Copy(~init.a) }\n"
              "      ^");
    core::TransformSpec moved = statement;
    moved.SetSource(nullptr);
    EXPECT_EQ(moved, statement);
}

TEST(VtlErrorTextTest, MalformedProgramAppendsNothing) {
    std::vector<core::TransformSpec> specs;
    std::vector<core::GraphEdge> edges;
    core::OutputKeySet outputs;
    EXPECT_THROW(
        core::ParseVtlPayload(std::string_view("x = Copy(~init.a)\ny = Copy(z)"), specs, edges, outputs),
        core::ZelRuntimeException);
    EXPECT_TRUE(specs.empty());
    EXPECT_TRUE(edges.empty());
    EXPECT_TRUE(outputs.empty());
}

}  // namespace
}  // namespace zel::test
