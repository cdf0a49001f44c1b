// vtlrun --explain: every example traced statement by statement (each statement once, its inputs
// found, its outputs after it) with the result of a normal run; sampling; print's lines; the
// failures of a traced run; and the trace that docs/vtlrun.md shows.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "e2e/E2eSupport.h"
#include "support/ProgramSupport.h"
#include "zel/core/vtl/VtlPrinter.h"

namespace zel::test::e2e {
namespace {

namespace fs = std::filesystem;

// The trace holds, for each statement, its text as a line of its own, then one line per input
// with the input's value, and after the lines the statement itself wrote (print's) one line per
// output with the value it made.
void ExpectTraceOf(std::string const& program, std::string const& err) {
    std::vector<core::TransformSpec> const specs = Statements(program);
    ASSERT_FALSE(specs.empty());
    std::vector<std::string> const lines = SplitLines(err);
    std::set<std::size_t> statementLines;
    for (core::TransformSpec const& spec : specs) {
        std::string const text = "[info] " + core::TransformToString(spec).ToUtf8();
        std::vector<std::string> const textLines = SplitLines(text);
        auto const at = std::search(lines.begin(), lines.end(), textLines.begin(), textLines.end());
        ASSERT_NE(at, lines.end()) << "no trace of " << text << " in\n" << err;
        EXPECT_EQ(std::search(at + 1, lines.end(), textLines.begin(), textLines.end()), lines.end())
            << "traced twice: " << text;
        std::size_t line = static_cast<std::size_t>(at - lines.begin()) + textLines.size();
        statementLines.insert(line);
        for (auto const& [label, paths] :
             {std::pair{"Input", spec.GetInputs()}, std::pair{"Output", spec.GetOutputs()}}) {
            while (label == std::string("Output") && line < lines.size() &&
                   !lines[line].starts_with("[info]")) {
                ++line;  // what the statement wrote itself
            }
            for (core::KeyPath const& path : paths) {
                ASSERT_LT(line, lines.size()) << text;
                std::string const prefix =
                    "[info]   " + std::string(label) + ": " + path.ToString().ToUtf8() + ": ";
                EXPECT_TRUE(lines[line].starts_with(prefix)) << lines[line] << " after " << text;
                EXPECT_EQ(lines[line].find("Not Found"), std::string::npos) << lines[line];
                ++line;
            }
        }
    }
    EXPECT_EQ(statementLines.size(), specs.size());
}

// The first statement of a program as the trace shows it.
std::string StatementText(std::string const& program) {
    return core::TransformToString(Statements(program).at(0)).ToUtf8();
}

TEST(VtlrunExplain, TracesEveryExampleAndGivesTheResultOfANormalRun) {
    std::vector<fs::path> const dirs = ExampleDirs();
    ASSERT_FALSE(dirs.empty());
    for (fs::path const& dir : dirs) {
        SCOPED_TRACE(dir.filename().string());
        ProcessResult const run =
            RunVtlrun({(dir / "program.vtl").string(), (dir / "store.json").string(), "--explain"});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.out, ReadFile(dir / "expected.json"));
        ExpectTraceOf(ReadFile(dir / "program.vtl"), run.err);
        // What the program writes itself is there too, in its order.
        if (fs::exists(dir / "stderr.txt")) {
            std::vector<std::string> own;
            for (std::string const& line : SplitLines(run.err)) {
                if (!line.starts_with("[info]") && !line.starts_with("[warning]")) {
                    own.push_back(line);
                }
            }
            EXPECT_EQ(own, SplitLines(ReadFile(dir / "stderr.txt")));
        }
    }
}

class VtlrunExplainOf : public ::testing::Test {
protected:
    ScratchDir m_scratch;
    std::string m_store = m_scratch.Write("store.json", R"({"a": [1, 2, 3]})").string();

    ProcessResult Run(std::string const& program, std::vector<std::string> const& options) const {
        std::vector<std::string> arguments = {m_scratch.Write("p.vtl", program).string(), m_store};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return RunVtlrun(arguments);
    }
};

TEST_F(VtlrunExplainOf, ShowsAsManyElementsAsTheSampleSays) {
    std::string const program = "input ~init.a : array<int32>\nb : array<int32> = Copy(~init.a)\n";
    struct SampleCase {
        std::vector<std::string> options;
        std::string input;
    };
    for (SampleCase const& c :
         std::vector<SampleCase>{{{"--explain"}, "[1, 2, 3]"},
                                 {{"--explain", "--sample", "2"}, "[1, 2]"},
                                 {{"--explain", "--sample=0"}, ""},
                                 {{"--explain", "--sample", "4294967295"}, "[1, 2, 3]"}}) {
        ProcessResult const run = Run(program, c.options);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(SplitLines(run.err), (std::vector<std::string>{"[info] " + StatementText(program),
                                                                 "[info]   Input: ~init.a: " + c.input,
                                                                 "[info]   Output: b: " + c.input}))
            << c.options.back();
    }
}

TEST_F(VtlrunExplainOf, ATracedRunFailsAsANormalRunDoes) {
    // Made: the statement is refused before anything is traced.
    std::string const badType =
        "input ~init.a : array<int32>\nb : array<color> = Map(~init.a) fn to_color()\n";
    ProcessResult const made = Run(badType, {"--explain"});
    EXPECT_EQ(made.exitCode, 1);
    EXPECT_EQ(FirstLine(made.err), FirstLine(Run(badType, {}).err));
    // Run: the trace stops at the statement that failed, and the failure is the normal run's.
    std::string const badIndex =
        "input ~init.a : array<int32>\ns : int32 = Reduce(~init.a) fn add() value 0\n"
        "i : array<int32> = Index(s) value 0\n";
    ProcessResult const ran = Run(badIndex, {"--explain"});
    EXPECT_EQ(ran.exitCode, 1);
    std::vector<std::string> trace;
    std::string failure;
    for (std::string const& line : SplitLines(ran.err)) {
        if (line.starts_with("[info]")) {
            trace.push_back(line);
        } else {
            failure += line + "\n";
        }
    }
    ASSERT_EQ(trace.size(), 5u) << ran.err;
    EXPECT_EQ(trace[4], "[info]   Input: s: 6");
    EXPECT_EQ(failure, Run(badIndex, {}).err);
    EXPECT_TRUE(failure.starts_with("error 313 (IndexInputInvalid): ")) << failure;
}

// Statements run in the order they stand in, except that one waits for the one that writes what
// it reads.
TEST_F(VtlrunExplainOf, AStatementWaitsForTheStatementThatWritesWhatItReads) {
    std::string const program =
        "input ~init.a : array<int32>\nd : array<int32> = Copy(~init.a)\nc : array<int32> = Copy(b)\n"
        "b : array<int32> = Copy(~init.a)\n";
    ProcessResult const run = Run(program, {"--explain"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::vector<std::string> statements;
    for (std::string const& line : SplitLines(run.err)) {
        if (!line.starts_with("[info]  ")) {
            statements.push_back(line.substr(std::string("[info] ").size(), 1));
        }
    }
    EXPECT_EQ(statements, (std::vector<std::string>{"d", "b", "c"}));
}

TEST_F(VtlrunExplainOf, SampleAndUpdateAreRefusedWhereTheyDoNotApply) {
    for (auto const& options : std::vector<std::vector<std::string>>{
             {"--sample", "3"}, {"--explain", "--sample", "-1"}, {"--explain", "--update", m_store}}) {
        ProcessResult const run =
            Run("input ~init.a : array<int32>\nb : array<int32> = Copy(~init.a)\n", options);
        EXPECT_EQ(run.exitCode, 2) << run.err;
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(VtlrunExplainOf, PrintWritesOneJsonLineACall) {
    ProcessResult const run =
        Run("input ~init.a : array<int32>\nOutput() fn print(\"rows\", ~init.a, 2.5, null : "
            "double)\nOutput() fn print()\n",
            {});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err,
              "[\"rows\",{\"$type\":\"array<int32>\",\"values\":[1,2,3]},2.5,{\"$type\":\"double\","
              "\"special\":\"null\"}]\n[]\n");
}

TEST(VtlrunExplainDocs, TheDocumentedTraceIsPrinted) {
    fs::path const dir = fs::path(VOR_EXAMPLES_DIR) / "output";
    ProcessResult const run =
        RunVtlrun({(dir / "program.vtl").string(), (dir / "store.json").string(), "--explain"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::vector<std::string> const documented = VtlrunDocBlockLines("## Explaining a run", 1);
    ASSERT_FALSE(documented.empty());
    std::vector<std::string> printed = SplitLines(run.err);
    std::vector<std::string> const result = SplitLines(run.out);
    printed.insert(printed.end(), result.begin(), result.end());
    EXPECT_EQ(documented, printed);
}

}  // namespace
}  // namespace zel::test::e2e
