// The examples of docs/vtl.md are programs that parse, and together they use every operator.

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "VtlTestSupport.h"

namespace zel::test {
namespace {

using core::OperatorType;

// The page, found from the working directory of the test upwards (the build tree lies inside the
// source tree) or from this source file's own path.
std::string ReadVtlPage() {
    std::vector<std::filesystem::path> starts = {std::filesystem::current_path(),
                                                 std::filesystem::path(__FILE__).parent_path()};
    for (auto dir : starts) {
        for (; !dir.empty(); dir = dir.parent_path()) {
            auto const page = dir / "docs" / "vtl.md";
            if (std::filesystem::exists(page) && std::filesystem::exists(dir / "tests" / "core" / "vtl")) {
                std::ifstream in(page);
                std::stringstream text;
                text << in.rdbuf();
                return text.str();
            }
            if (dir == dir.parent_path()) {
                break;
            }
        }
    }
    ADD_FAILURE() << "docs/vtl.md not found";
    return {};
}

std::vector<std::string> VtlBlocks(std::string const& page) {
    std::vector<std::string> blocks;
    std::size_t pos = 0;
    while ((pos = page.find("```vtl\n", pos)) != std::string::npos) {
        pos += 7;
        std::size_t const end = page.find("```", pos);
        blocks.push_back(page.substr(pos, end - pos));
        pos = end + 3;
    }
    return blocks;
}

void CollectOperators(std::vector<core::TransformSpec> const& specs, std::set<OperatorType>& seen) {
    for (auto const& spec : specs) {
        seen.insert(spec.GetOperatorType());
        CollectOperators(spec.GetChildTransforms(), seen);
    }
}

TEST(VtlDocsTest, EveryExampleParsesAndPrintsBackAndAllOperatorsAppear) {
    auto const blocks = VtlBlocks(ReadVtlPage());
    ASSERT_GE(blocks.size(), 20u);
    std::set<OperatorType> seen;
    for (auto const& block : blocks) {
        SCOPED_TRACE(block);
        VtlProgram const program = ParseVtl(block);
        ASSERT_FALSE(program.specs.empty());
        CollectOperators(program.specs, seen);
        // The printed program is the same program.
        bool const explicitEdges = block.find("edge ") != std::string::npos;
        auto const printed = core::ProgramToString(program.specs, explicitEdges ? &program.edges : nullptr,
                                                   program.outputKeys);
        VtlProgram const again = ParseVtl(printed.ToUtf8());
        EXPECT_EQ(again.specs, program.specs) << printed;
        EXPECT_EQ(again.edges, program.edges) << printed;
        EXPECT_EQ(again.outputKeys, program.outputKeys) << printed;
    }
    for (unsigned int i = 0; i < core::c_operatorTypeCount; ++i) {
        EXPECT_TRUE(seen.contains(static_cast<OperatorType>(i)))
            << "no example of " << core::OperatorTypeToString(static_cast<OperatorType>(i));
    }
}

}  // namespace
}  // namespace zel::test
