// The examples of docs/vtl.md are programs that parse, and together they use every operator.

#include <set>

#include "VtlTestSupport.h"
#include "support/DocsPage.h"

namespace zel::test {
namespace {

using core::OperatorType;

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
    auto const page = FindDocsPage("vtl.md", __FILE__);
    ASSERT_FALSE(page.empty()) << "docs/vtl.md not found";
    auto const blocks = VtlBlocks(ReadTextFile(page));
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
