// The failures that docs/vtlrun.md shows are real: each documented line is printed by one of the
// cases here, run in a directory holding the files the doc names, and no case prints a line that
// the doc does not show. Line numbers of checks ("File.cpp:42") may differ.

#include <gtest/gtest.h>

#include <cctype>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "e2e/E2eSupport.h"

namespace zel::test::e2e {
namespace {

struct DocumentedRun {
    char const* name;
    std::vector<std::pair<std::string, std::string>> files;
    std::vector<std::string> arguments;
};

// A check's line number is not part of what the doc promises.
std::string WithoutLineNumbers(std::string line) {
    std::string const marker = ".cpp:";
    for (std::size_t at = line.find(marker); at != std::string::npos; at = line.find(marker, at + 1)) {
        std::size_t const digits = at + marker.size();
        std::size_t end = digits;
        while (end < line.size() && std::isdigit(static_cast<unsigned char>(line[end]))) {
            ++end;
        }
        line.replace(digits, end - digits, "N");
    }
    return line;
}

std::string const c_sumProgram =
    "input ~init.amounts : array<double>\ntotal : array<double> = Copy(~init.amounts)\n";

TEST(VtlrunDocs, EveryDocumentedFailureIsPrinted) {
    std::vector<DocumentedRun> const runs = {
        {"a number out of range in the store",
         {{"sales.vtl", "input ~init.a : array<int32>\nb : array<int32> = Copy(~init.a)\n"},
          {"sales.json", R"({"a": {"$type": "array<int32>", "values": [1, 3000000000]}})"}},
         {"sales.vtl", "sales.json"}},
        {"an input the store lacks",
         {{"sum.vtl", c_sumProgram}, {"sales.json", R"({"a": [1.5]})"}},
         {"sum.vtl", "sales.json"}},
        {"a pair of types that Map does not serve",
         {{"colours.vtl", "input ~init.a : array<int32>\nb : array<color> = Map(~init.a) fn to_color()\n"},
          {"sales.json", R"({"a": [1]})"}},
         {"colours.vtl", "sales.json"}},
        {"a statement whose declared type its operator does not make",
         {{"prices.vtl",
           "input ~init.prices : array<double>\nnet : array<int32> = Map(~init.prices) fn multiply(0.8)\n"},
          {"sales.json", R"({"prices": [1.5]})"}},
         {"prices.vtl", "sales.json"}},
        {"a syntax error",
         {{"report.vtl", "input ~init.a : int32\nb = Copy(~init.a fn f())\n"}, {"s.json", "{}"}},
         {"report.vtl", "s.json"}},
        {"a store that is not there", {{"sum.vtl", c_sumProgram}}, {"sum.vtl", "sales.json"}},
        {"a result that cannot be written",
         {{"sum.vtl", c_sumProgram}, {"sales.json", R"({"amounts": [1.5]})"}},
         {"sum.vtl", "sales.json", "-o", "out/result.json"}},
        {"a debug report",
         {{"sum.vtl", c_sumProgram}, {"sales.json", R"({"a": [1.5]})"}},
         {"sum.vtl", "sales.json", "--log-level", "debug"}},
    };

    // Every code block of the section, however many there are.
    constexpr int c_everyBlock = std::numeric_limits<int>::max();
    std::set<std::string> documented;
    for (std::string const& line : VtlrunDocBlockLines("### Failures", c_everyBlock)) {
        documented.insert(WithoutLineNumbers(line));
    }
    ASSERT_FALSE(documented.empty());
    std::set<std::string> printed;
    for (DocumentedRun const& run : runs) {
        SCOPED_TRACE(run.name);
        ScratchDir scratch;
        for (auto const& [name, bytes] : run.files) {
            scratch.Write(name, bytes);
        }
        ProcessResult const result = RunVtlrunIn(scratch.Path(), run.arguments);
        EXPECT_EQ(result.exitCode, 1) << result.err;
        for (std::string const& line : SplitLines(result.err)) {
            std::string const normalised = WithoutLineNumbers(line);
            EXPECT_TRUE(documented.contains(normalised)) << "not in docs/vtlrun.md: " << line;
            printed.insert(normalised);
        }
    }
    for (std::string const& line : documented) {
        EXPECT_TRUE(printed.contains(line)) << "shown in docs/vtlrun.md but printed by no case: " << line;
    }
}

}  // namespace
}  // namespace zel::test::e2e
