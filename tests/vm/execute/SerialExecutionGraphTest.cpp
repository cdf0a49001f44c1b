// Graphs made by the serial builder: which node runs when, how values travel through buffers,
// second runs, cancellation, metric scopes, and the shapes that the builder refuses.

#include <gtest/gtest.h>

#include <cstdint>

#include "metrics/MetricsFixture.h"
#include "vm/execute/GraphTestSupport.h"
#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"

namespace zel::vm::test {
namespace {

using core::ZelError;

TEST_F(GraphTest, TheReadyNodeWithTheLowestIdRunsFirstAndAnUnfedNodeNeverRuns) {
    // 3 and 7 are ready at first, 5 once 3 has run; the rest wait on a buffer that only 6 writes.
    for (unsigned int id = 0; id < 8; ++id) {
        Node(id, Yield({{P(L"x"), Int(3)}, {P(L"blocked"), Int(0)}}));
    }
    Edge({3}, {5}, L"x", false);
    Edge({6}, {0, 1, 2, 4, 6}, L"blocked");
    auto graph = Build();
    EXPECT_EQ(graph->ExecuteNext(), TransformStatus::Running);
    EXPECT_EQ(graph->GetRemainingNodeCount(), 7u);
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(*m_log, (RunLog{3, 5, 7}));
    EXPECT_EQ(graph->GetRemainingNodeCount(), 5u);
    EXPECT_EQ(Result(*graph), "{}");
    ExpectCheckFailure([&] { graph->ExecuteNext(); }, ZelError::LogicFailure, "!(m_work.empty())");
}

// A diamond joins once after both arms; its intermediates are released, and a second run reads
// every external input afresh from the working store.
TEST_F(GraphTest, ADiamondRunsAgainOnUpdatedInputs) {
    Node(0, Sum({L"~init.x", L"~init.y"}, L"a"));
    Node(1, Sum({L"a"}, L"b"));
    Node(2, Sum({L"a", L"a"}, L"c"));
    Node(3, Sum({L"b", L"c"}, L"d"));
    Edge({}, {0}, L"~init.x");
    Edge({}, {0}, L"~init.y");
    Edge({0}, {1, 2}, L"a", false);
    Edge({1}, {3}, L"b", false);
    Edge({2}, {3}, L"c", false);
    Edge({3}, {}, L"d");
    auto graph = Build(R"({"x": 2, "y": 3, "untouched": "u"})");
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"d":15,"untouched":"u","x":2,"y":3})");
    Feed(*graph, R"({"x": 20, "y": 30, "untouched": "v"})");
    EXPECT_EQ(graph->GetStatus(), TransformStatus::Running);
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(*m_log, (RunLog{0, 1, 2, 3, 0, 1, 2, 3}));
    EXPECT_EQ(Result(*graph), R"({"d":150,"untouched":"v","x":20,"y":30})");
    EXPECT_EQ(graph->GetRemainingNodeCount(), std::uint64_t{0} - 4)
        << "4 nodes less 8 runs over the graph's life";
}

TEST_F(GraphTest, ASelfResettingBufferEmptiesAtTheLastExpectedReadSinceItsLastWrite) {
    Node(0, Yield({{P(L"x"), Int(1)}, {P(L"solo"), Int(2)}}));
    Node(1, Sum({L"x"}, L"y"));
    Node(2, Sum({L"x"}, L"z"));
    Edge({0}, {1, 2}, L"x", false);
    Edge({0}, {}, L"solo", false);  // no readers: a read never empties it
    Edge({1}, {}, L"y");
    Edge({2}, {}, L"z");
    auto graph = Build();
    graph->ExecuteNext();
    graph->ExecuteNext();
    graph->GetMemoryUsage();  // peeks: no read
    EXPECT_EQ(graph->ExecuteNext(), TransformStatus::Complete);
    EXPECT_EQ(Result(*graph), R"({"solo":2,"y":1,"z":1})");
    EXPECT_EQ(Result(*graph), R"({"solo":2,"y":1,"z":1})");

    graph->ClearBuffers({});
    EXPECT_EQ(Result(*graph), "{}") << "a null write empties both kinds";
    // A run that stops after the first reader, then one more: its write resets the count.
    Feed(*graph);
    graph->ExecuteNext();
    graph->ExecuteNext();
    Feed(*graph);
    EXPECT_EQ(graph->Execute(), TransformStatus::Complete);
    EXPECT_EQ(*m_log, (RunLog{0, 1, 2, 0, 1, 0, 1, 2}));
    EXPECT_EQ(Result(*graph), R"({"solo":2,"y":1,"z":1})");
}

TEST_F(GraphTest, MaterialisingCountsAsAReadOfASelfResettingBuffer) {
    Node(0, Yield({{P(L"x"), Int(1)}}));
    Node(1, Sum({L"x"}, L"y"));
    Node(2, Sum({L"x"}, L"z"));
    Edge({0}, {1, 2}, L"x", false);
    auto graph = Build();
    graph->ExecuteNext();
    graph->ExecuteNext();
    EXPECT_EQ(Result(*graph), R"({"x":1})");
    ExpectCheckFailure([&] { graph->Execute(); }, ZelError::LogicFailure, "(inputBuffer->CanRead())");
}

TEST_F(GraphTest, CancellationStopsBeforeAnyNodeOrDropsTheOutputsOfTheRunningOne) {
    auto cancel = std::make_shared<FlagSource>();
    Node(0, Yield({{P(L"x"), Int(1)}}));
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
    cancel->cancelled = true;
    EXPECT_EQ(graph->Execute(), TransformStatus::Cancelled);
    EXPECT_EQ(graph->ExecuteNext(), TransformStatus::Cancelled);
    EXPECT_TRUE(m_log->empty());

    cancel->cancelled = false;
    EXPECT_EQ(graph->Execute(), TransformStatus::Cancelled);
    EXPECT_EQ(*m_log, (RunLog{0, 1}));
    EXPECT_EQ(graph->GetRemainingNodeCount(), 2u) << "the cancelled node is not counted";
    EXPECT_EQ(Result(*graph), R"({"x":1})");
}

TEST_F(GraphTest, TheBuilderRefusesDuplicatesUnknownEndsAndAWrongShape) {
    Node(0);
    Node(1);
    ExpectCheckFailure([&] { Node(1); }, ZelError::DuplicateNode, "(m_nodes.find(nodeId) == m_nodes.end())");
    Edge({0}, {1}, L"x");
    ExpectCheckFailure([&] { Edge({1}, {0}, L"x", false); }, ZelError::DuplicateBuffer, "(result.second)");
    ExpectCheckFailure([&] { Edge({}, {0}, L"input"); }, ZelError::InitialKeyExpected,
                       "(KeyPathUtil::Initial().IsPrefixOf(key))");
    ExpectCheckFailure([&] { Edge({2}, {0}, L"y"); }, ZelError::EdgeSourceMissing,
                       "(source != m_nodes.end())");
    ExpectCheckFailure([&] { Edge({0}, {2}, L"z"); }, ZelError::EdgeSinkMissing, "(sink != m_nodes.end())");

    m_builder = SerialExecutionGraphBuilder::Make();
    Node(5);
    Edge({5}, {}, L"x");
    ExpectCheckFailure([&] { Build(); }, ZelError::GraphShapeInvalid, "(m_edges.size() == m_nodes.size())");
}

class GraphMetricsTest : public GraphTest {
protected:
    void SetUp() override { Restore(); }
    void TearDown() override { Restore(); }
    static void Restore() { metrics_test::RestoreMetricsDefaults(); }
};

TEST_F(GraphMetricsTest, ANodeRunsInAScopeNamedAfterItsMetricsStringUnlessThatIsEmpty) {
    Node(0, Yield(), L"Map|add|x");
    Node(1, Yield(), L"");
    auto graph = Build();
    graph->Execute();
    EXPECT_TRUE(Metrics::GetRegistry().Snapshot().empty()) << "metrics are off";

    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    Feed(*graph);
    graph->Execute();
    auto const scopes = Metrics::GetRegistry().Snapshot();
    ASSERT_EQ(scopes.size(), 1u);
    EXPECT_EQ(scopes[0].name, L"RunNode_Map?add?x");
    EXPECT_EQ(*m_log, (RunLog{0, 1, 0, 1}));
}

}  // namespace
}  // namespace zel::vm::test
