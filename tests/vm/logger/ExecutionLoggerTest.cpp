// ExecutionLogger: the lines of each operation with their indentation, values by sample size,
// missing keys and a missing store, and a depth that is kept up while the log is off.

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/ProgramSupport.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/vtl/VtlPrinter.h"
#include "zel/vm/host/ExecutionLogger.h"

namespace zel::test::logger {
namespace {

using core::KeyPath;
using core::ZelLogLevel;
using filter::Parse;
using vm::ExecutionLogger;

// The lines the log took while it lived, without their level; the threshold set for the test and
// put back after.
class TraceCapture {
public:
    explicit TraceCapture(ZelLogLevel threshold = ZelLogLevel::Info)
        : m_previous(core::GetZelLogger().GetThreshold()) {
        core::GetZelLogger().SetThreshold(threshold);
    }
    ~TraceCapture() { core::GetZelLogger().SetThreshold(m_previous); }

    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::string const text = m_capture.Text();
        for (std::size_t start = 0; start < text.size();) {
            std::size_t const end = text.find('\n', start);
            std::string line = text.substr(start, end - start);
            // "[info] " and the like.
            lines.push_back(line.substr(line.find("] ") + 2));
            start = end + 1;
        }
        return lines;
    }

private:
    ZelLogLevel m_previous;
    LogCapture m_capture;
};

std::unique_ptr<core::IDataStore> Store() {
    return core::factory::MakeDataStore(core::StoreValueMap{
        {L"~init",
         core::factory::MakeKeyMap(core::StoreValueMap{{L"a", Parse("[1, 2, 3]")}, {L"s", Parse("7")}})},
        {L"b", Parse("[2, 4, 6]")}});
}

core::TransformSpec Statement(std::string const& text) {
    return std::move(Statements(text).at(0));
}

using Lines = std::vector<std::string>;

TEST(ExecutionLogger, ShowsAStatementItsInputsAndItsOutputsBySampleSize) {
    core::TransformSpec const spec = Statement("b = Map(~init.a) fn multiply(2)");
    struct SampleCase {
        unsigned int sampleSize;
        std::string input;
        std::string output;
    };
    for (SampleCase const& c :
         std::vector<SampleCase>{{0, "", ""},
                                 {1, "[1]", "[2]"},
                                 {2, "[1, 2]", "[2, 4]"},
                                 {4294967294u, "[1, 2, 3]", "[2, 4, 6]"},
                                 {ExecutionLogger::c_allElements, "[1, 2, 3]", "[2, 4, 6]"}}) {
        auto store = Store();
        TraceCapture const trace;
        ExecutionLogger logger(ZelLogLevel::Info, c.sampleSize);
        logger.Execute(spec, store.get());
        logger.ExecutionResult(spec, store.get());
        EXPECT_EQ(trace.Lines(), (Lines{core::TransformToString(spec).ToUtf8(),
                                        "  Input: ~init.a: " + c.input, "  Output: b: " + c.output}))
            << c.sampleSize;
    }
}

TEST(ExecutionLogger, AMissingKeyIsNotFoundAndAMissingStoreLeavesTheStructure) {
    core::TransformSpec const spec = Statement("b = Concat(~init.a, ~init.nothing)");
    auto store = Store();
    TraceCapture const trace;
    ExecutionLogger logger(ZelLogLevel::Info, 10);
    logger.Execute(spec, store.get());
    logger.Execute(spec, nullptr);
    logger.ExecutionResult(spec, nullptr);
    Lines const lines = trace.Lines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "  Input: ~init.a: [1, 2, 3]");
    EXPECT_EQ(lines[2], "  Input: ~init.nothing: Not Found");
    EXPECT_EQ(lines[3], lines[0]);
}

TEST(ExecutionLogger, IndentsACaseAndItsBranchAndClosesBoth) {
    auto store = Store();
    core::FunctionSpec const condition(
        L"gt", {core::ValueSpec(KeyPath::Parse(L"~init.s")), core::ValueSpec(Parse("5"))});
    ExecutionLogger::ReturnKeyMap const returns{{KeyPath(L"b"), KeyPath::Parse(L"~init.a")}};
    TraceCapture const trace;
    ExecutionLogger logger(ZelLogLevel::Info, 10);
    logger.StartCase({KeyPath::Parse(L"~init.a"), KeyPath::Parse(L"~init.s")}, {KeyPath(L"b")}, store.get());
    logger.StartWhen(condition, store.get());
    logger.Execute(Statement("b = Copy(~init.a)"), store.get());
    logger.EndCase(returns, store.get());
    logger.StartCase({}, {}, store.get());
    logger.StartElse();
    logger.EndCase({}, store.get());
    logger.Execute(Statement("b = Copy(~init.s)"), nullptr);
    EXPECT_EQ(trace.Lines(), (Lines{
                                 "~init.a ~init.s -> case -> b",
                                 "  Input: ~init.a: [1, 2, 3]",
                                 "  Input: ~init.s: 7",
                                 "  -> when (" + core::FunctionToString(condition).ToUtf8() + ") ->",
                                 "    Input: ~init.s: 7",
                                 "    Input: 5",
                                 "    b = Copy(~init.a)",
                                 "      Input: ~init.a: [1, 2, 3]",
                                 "Output: b --> ~init.a",
                                 "  ~init.a: [1, 2, 3]",
                                 " -> case -> ",
                                 "  -> else ->",
                                 "b = Copy(~init.s)",
                             }));
}

TEST(ExecutionLogger, ABlockShowsItsInputsUnderTheirLocalPaths) {
    auto store = Store();
    core::TransformSpec const block = Statement("y = Concat(~init.a, ~init.s)");
    TraceCapture const trace;
    ExecutionLogger logger(ZelLogLevel::Info, 2);
    logger.StartBlock(block, {KeyPath(L"x")}, store.get());
    logger.Return({{KeyPath(L"y"), KeyPath(L"b")}}, store.get());
    logger.EndBlock();
    logger.Execute(block, nullptr);
    EXPECT_EQ(trace.Lines(),
              (Lines{core::TransformToString(block).ToUtf8(), "  Input: ~init.a --> x", "    ~init.a: [1, 2]",
                     "  Output: y --> b", "    b: [2, 4]", core::TransformToString(block).ToUtf8()}));

    // More local paths than inputs: the lines up to the bad index, then the failure.
    TraceCapture const second;
    try {
        logger.StartBlock(block, {KeyPath(L"x"), KeyPath(L"t"), KeyPath(L"u")}, store.get());
        ADD_FAILURE() << "no failure";
    } catch (std::out_of_range const& e) {
        EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
    }
    EXPECT_EQ(second.Lines().size(), 5u);
}

// The depth counts while the log is off, so that the layout holds when it is turned on mid-run.
TEST(ExecutionLogger, KeepsTheDepthWhileTheLogIsOff) {
    auto store = Store();
    core::TransformSpec const statement = Statement("y = Copy(~init.a)");
    ExecutionLogger logger(ZelLogLevel::Debug, 10);
    {
        TraceCapture const off(ZelLogLevel::Info);
        logger.StartBlock(statement, {KeyPath(L"x")}, store.get());
        logger.StartCase({}, {}, store.get());
        logger.StartWhen(core::FunctionSpec(L"always", {}), store.get());
        logger.Execute(statement, store.get());
        logger.Return({{KeyPath(L"y"), KeyPath(L"b")}}, store.get());
        EXPECT_TRUE(off.Lines().empty());
    }
    TraceCapture const on(ZelLogLevel::Debug);
    logger.Execute(statement, nullptr);
    logger.EndCase({}, store.get());
    logger.EndBlock();
    logger.Execute(statement, nullptr);
    EXPECT_EQ(on.Lines(), (Lines{"      y = Copy(~init.a)", "y = Copy(~init.a)"}));
}

}  // namespace
}  // namespace zel::test::logger
