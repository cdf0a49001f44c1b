// Graphs built by the serial builder: which node runs when, how values travel through buffers,
// cancellation, metric scopes, second runs, and the shapes that the builder refuses.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "vm/execute/GraphTestSupport.h"
#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"

namespace zel::vm::test {
namespace {

using core::ZelError;

TEST_F(GraphTest, TheReadyNodeWithTheLowestIdRunsFirstAndAnUnfedNodeNeverRuns) {
    // Only 3 and 7 are ready at first; 5 becomes ready when 3 has run. The others wait on a
    // buffer that only one of them writes, and that one reads it too.
    for (unsigned int id = 0; id < 8; ++id) {
        Node(id, Yield({{L"x3", Int(3)}, {L"blocked", Int(0)}}));
    }
    Edge({3}, {5}, L"x3", false);
    Edge({6}, {0, 1, 2, 4, 6}, L"blocked");
    auto graph = Build();
    EXPECT_EQ(graph->GetStatus(), TransformStatus::Running);
    EXPECT_EQ(graph->GetNodeCount(), 8u);

    EXPECT_EQ(graph->ExecuteNext(), TransformStatus::Running);
    EXPECT_EQ(graph->GetRemainingNodeCount(), 7u);
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(*m_log, (RunLog{3, 5, 7}));
    EXPECT_EQ(graph->GetRemainingNodeCount(), 5u);
    EXPECT_EQ(Result(*graph), "{}") << "the self-resetting x3 was consumed; blocked was never written";

    ExpectCheckFailure([&] { graph->ExecuteNext(); }, ZelError::LogicFailure, "!(m_work.empty())");
}

TEST_F(GraphTest, ADiamondJoinsOnceAfterBothArmsAndIntermediatesAreReleased) {
    Node(0, Sum({L"~init.x"}, L"a"));
    Node(1, Sum({L"a"}, L"b"));
    Node(2, Sum({L"a", L"a"}, L"c"));
    Node(3, Sum({L"b", L"c"}, L"d"));
    Edge({}, {0}, L"~init.x");
    Edge({0}, {1, 2}, L"a", false);
    Edge({1}, {3}, L"b", false);
    Edge({2}, {3}, L"c", false);
    Edge({3}, {}, L"d");
    auto graph = Build(R"({"x": 5, "untouched": "u"})");

    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(*m_log, (RunLog{0, 1, 2, 3}));
    EXPECT_EQ(graph->GetRemainingNodeCount(), 0u);
    EXPECT_EQ(Result(*graph), R"({"d":15,"untouched":"u","x":5})");
}

TEST_F(GraphTest, AnEmptyGraphIsCompleteAndStillPassesTheStoreThrough) {
    auto graph = Build(R"({"a": 1, "b": {"c": true}})");
    EXPECT_EQ(graph->GetStatus(), TransformStatus::Complete);
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"a":1,"b":{"c":true}})");
}

TEST_F(GraphTest, SelfResettingBuffersCountConsumingReadsSinceTheirLastWrite) {
    Node(0, Yield({{L"x", Int(1)}, {L"solo", Int(2)}}));
    Node(1, Sum({L"x"}, L"y"));
    Node(2, Sum({L"x"}, L"z"));
    Edge({0}, {1, 2}, L"x", false);
    Edge({0}, {}, L"solo", false);  // no readers: never emptied by a read
    Edge({1}, {}, L"y");
    Edge({2}, {}, L"z");
    auto graph = Build();

    // After one of two reads x is still there; a Peek (memory usage) does not count.
    graph->ExecuteNext();
    graph->ExecuteNext();
    graph->GetMemoryUsage();
    EXPECT_EQ(graph->ExecuteNext(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"solo":2,"y":1,"z":1})");
    EXPECT_EQ(Result(*graph), R"({"solo":2,"y":1,"z":1})") << "materialising twice";

    // A second run stops after the first reader. The write of the third run resets the count, so
    // that both readers find x again.
    ChangedKeySet const none;
    graph->ClearBuffers(none);
    EXPECT_EQ(Result(*graph), "{}") << "a null write empties both kinds of buffer";
    graph->UpdateInputs(none, *core::StoreValueParser::MakeDataStore("{}"));
    graph->ExecuteNext();
    graph->ExecuteNext();
    graph->ClearBuffers(none);
    graph->UpdateInputs(none, *core::StoreValueParser::MakeDataStore("{}"));
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(*m_log, (RunLog{0, 1, 2, 0, 1, 0, 1, 2}));
    EXPECT_EQ(Result(*graph), R"({"solo":2,"y":1,"z":1})") << "the last read emptied x";
}

TEST_F(GraphTest, MaterialisingCountsAsAReadOfASelfResettingBuffer) {
    Node(0, Yield({{L"x", Int(1)}}));
    Node(1, Sum({L"x"}, L"y"));
    Node(2, Sum({L"x"}, L"z"));
    Edge({0}, {1, 2}, L"x", false);
    auto graph = Build();
    graph->ExecuteNext();
    graph->ExecuteNext();
    EXPECT_EQ(Result(*graph), R"({"x":1})");
    ExpectCheckFailure([&] { graph->Execute(); }, ZelError::LogicFailure, "(inputBuffer->CanRead())");
}

TEST_F(GraphTest, UpdateInputsWritesEveryExternalInputFromTheWorkingStore) {
    Node(0, Sum({L"~init.a", L"~init.b"}, L"s"));
    Edge({}, {0}, L"~init.a");
    Edge({}, {0}, L"~init.b");
    Edge({0}, {}, L"s");
    auto graph = Build(R"({"a": 1, "b": 2, "c": 3})");
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"a":1,"b":2,"c":3,"s":3})");

    ChangedKeySet const none;
    graph->ClearBuffers(none);
    graph->UpdateInputs(none, *core::StoreValueParser::MakeDataStore(R"({"~init": {"a": 10, "b": 20, "c": 30}})"));
    EXPECT_EQ(graph->GetStatus(), TransformStatus::Running);
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"a":10,"b":20,"c":30,"s":30})");
    EXPECT_EQ(graph->GetRemainingNodeCount(), std::numeric_limits<std::uint64_t>::max())
        << "runs are counted over the graph's life";
}

TEST_F(GraphTest, ACancelledSourceStopsBeforeAnyNode) {
    Node(0, Yield({{L"x", Int(1)}}));
    Edge({0}, {}, L"x");
    auto graph = Build();
    auto cancel = std::make_shared<FlagSource>();
    cancel->cancelled = true;
    graph->SetCancellationTokenSource(cancel);
    EXPECT_EQ(graph->Execute(), TransformStatus::Cancelled);
    EXPECT_EQ(graph->ExecuteNext(), TransformStatus::Cancelled);
    EXPECT_TRUE(m_log->empty());

    cancel->cancelled = false;
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"x":1})");
}

TEST_F(GraphTest, CancellingDuringATransformDropsItsOutputsAndStopsTheRun) {
    auto cancel = std::make_shared<FlagSource>();
    Node(0, Yield({{L"x", Int(1)}}));
    Node(1, [&](TransformValues const&, ICancellationTokenSource const*) {
        cancel->cancelled = true;
        return TransformValues{{P(L"y"), Int(2)}};
    });
    Node(2, Sum({L"y"}, L"z"));
    Edge({0}, {1}, L"x");
    Edge({1}, {2}, L"y");
    Edge({2}, {}, L"z");
    auto graph = Build();
    graph->SetCancellationTokenSource(cancel);

    EXPECT_EQ(graph->Execute(), TransformStatus::Cancelled);
    EXPECT_EQ(*m_log, (RunLog{0, 1}));
    EXPECT_EQ(graph->GetRemainingNodeCount(), 2u) << "the cancelled node is not counted";
    EXPECT_EQ(Result(*graph), R"({"x":1})");
}

TEST_F(GraphTest, TheBuilderRefusesDuplicatesAndUnknownEnds) {
    Node(0);
    Node(1);
    ExpectCheckFailure([&] { Node(1); }, ZelError::DuplicateNode, "(m_nodes.find(nodeId) == m_nodes.end())");
    Edge({0}, {1}, L"x");
    ExpectCheckFailure([&] { Edge({1}, {0}, L"x", false); }, ZelError::DuplicateBuffer, "(result.second)");
    ExpectCheckFailure([&] { Edge({}, {0}, L"input"); }, ZelError::InitialKeyExpected,
                       "(KeyPathUtil::Initial().IsPrefixOf(key))");
    ExpectCheckFailure([&] { Edge({2}, {0}, L"y"); }, ZelError::EdgeSourceMissing, "(source != m_nodes.end())");
    ExpectCheckFailure([&] { Edge({0}, {2}, L"z"); }, ZelError::EdgeSinkMissing, "(sink != m_nodes.end())");
}

TEST_F(GraphTest, AnEdgeFromAnIdBeyondTheNodesGivesAGraphOfTheWrongShape) {
    Node(5);
    Edge({5}, {}, L"x");
    ExpectCheckFailure([&] { Build(); }, ZelError::GraphShapeInvalid, "(m_edges.size() == m_nodes.size())");
}

TEST_F(GraphTest, AnInputThatTheStoreLacksFailsTheBuild) {
    Node(0);
    Edge({}, {0}, L"~init.missing");
    EXPECT_THROW(Build(R"({"a": 1})"), core::ZelRuntimeException);
}

// Every test starts and ends with metrics off and an empty registry.
class GraphMetricsTest : public GraphTest {
protected:
    void SetUp() override { Restore(); }
    void TearDown() override { Restore(); }
    static void Restore() {
        MetricsFilter::SetFilter(MetricsFilter::c_noBits);
        Metrics::GetRegistry().SetCollecting(true);
        Metrics::GetRegistry().Reset();
    }
    static std::vector<TStringCore> ScopeNames() {
        std::vector<TStringCore> names;
        for (auto const& statistics : Metrics::GetRegistry().Snapshot()) {
            names.push_back(statistics.name);
        }
        return names;
    }
};

TEST_F(GraphMetricsTest, EachNodeRunsInAScopeNamedAfterItsMetricsStringUnlessThatIsEmpty) {
    Node(0, Yield({}), L"Map|add|x");
    Node(1, Yield({}), L"");
    auto graph = Build();
    graph->Execute();
    EXPECT_TRUE(ScopeNames().empty()) << "metrics are off";

    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    graph->UpdateInputs({}, *core::StoreValueParser::MakeDataStore("{}"));
    graph->Execute();
    EXPECT_EQ(ScopeNames(), std::vector<TStringCore>{L"RunNode_Map?add?x"});
    EXPECT_EQ(*m_log, (RunLog{0, 1, 0, 1}));
}

}  // namespace
}  // namespace zel::vm::test
