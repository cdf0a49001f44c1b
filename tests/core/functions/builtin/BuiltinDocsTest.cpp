// docs/functions.md ends with the list that PrintBuiltinFunctions() writes; the test fails when a
// function is added, removed or retyped without the page following. With VOR_UPDATE_DOCS=1 in the
// environment it writes the list into the page instead:
//
//   VOR_UPDATE_DOCS=1 ctest --preset dev -R BuiltinDocs

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "support/DocsPage.h"
#include "zel/core/functions/BuiltinFunctions.h"

namespace zel::test::builtin {
namespace {

constexpr char c_begin[] = "<!-- BEGIN GENERATED: PrintBuiltinFunctions() -->\n```text\n";
constexpr char c_end[] = "```\n<!-- END GENERATED -->";

TEST(BuiltinDocs, PageListsExactlyTheRegisteredFunctions) {
    auto const path = FindDocsPage("functions.md", __FILE__);
    ASSERT_FALSE(path.empty()) << "docs/functions.md not found above " << std::filesystem::current_path();
    std::string const page = ReadTextFile(path);
    auto const begin = page.find(c_begin);
    auto const end = page.find(c_end);
    ASSERT_NE(begin, std::string::npos);
    ASSERT_NE(end, std::string::npos);
    std::string const listed = page.substr(begin + sizeof(c_begin) - 1, end - begin - (sizeof(c_begin) - 1));
    std::string const printed = core::PrintBuiltinFunctions();
    if (std::getenv("VOR_UPDATE_DOCS") != nullptr && listed != printed) {
        std::ofstream(path) << page.substr(0, begin + sizeof(c_begin) - 1) << printed << page.substr(end);
        return;
    }
    EXPECT_EQ(listed, printed)
        << "regenerate the list at the end of docs/functions.md from PrintBuiltinFunctions()";
}

}  // namespace
}  // namespace zel::test::builtin
