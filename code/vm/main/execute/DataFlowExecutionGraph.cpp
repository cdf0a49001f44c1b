#include "execute/DataFlowExecutionGraph.h"

#include <utility>

#include "execute/ExternalInputValue.h"
#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsScope.h"
#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

namespace {

std::vector<std::shared_ptr<StoreValueTransformBuffer>> BuffersOf(BufferMap const& bufferMap) {
    std::vector<std::shared_ptr<StoreValueTransformBuffer>> buffers;
    buffers.reserve(bufferMap.size());
    for (auto const& entry : bufferMap) {
        buffers.push_back(entry.second);
    }
    return buffers;
}

// The scope "RunNode_" + the transform's metrics string, or none when metrics are off or the
// transform has no metrics string. "|" would split the name in reports, so it becomes "?".
std::unique_ptr<Metrics::Scope> OpenNodeScope(Transform const& transform) {
    if (!MetricsFilter::PassesFilter(MetricsFilter::c_allBits)) {
        return nullptr;
    }
    TStringCore name = transform.GetMetricsString();
    if (name.isEmpty()) {
        return nullptr;
    }
    name.replace(L'|', L'?', CaseSensitivity::CaseSensitive);
    return Metrics::OpenScope(Metrics::MetricsValue(L"RunNode_" + name), MetricsFilter::c_allBits);
}

}  // namespace

DataFlowExecutionGraph::DataFlowExecutionGraph(NodeMap&& nodes, SuccessorSets&& edges,
                                               std::unique_ptr<ExternalInputMap> externalInputs,
                                               BufferMap const& bufferMap,
                                               core::OutputKeySet const& outputKeys)
    : m_nodes(std::move(nodes)),
      m_edges(std::move(edges)),
      m_buffers(BuffersOf(bufferMap)),
      m_externalInputs(externalInputs != nullptr ? std::move(externalInputs)
                                                 : std::make_unique<ExternalInputMap>()),
      m_vmStore(bufferMap, outputKeys),
      m_inputPathTree(core::KeyPathPrefixTree::Make()) {
    ZEL_CHECK(m_edges.size() == m_nodes.size(), core::ZelError::GraphShapeInvalid);
    // Successor sets are indexed by node id, so the ids must be 0 to n - 1.
    for (auto const& entry : m_nodes) {
        unsigned int const id = entry.first;
        ZEL_CHECK(id < m_edges.size(), core::ZelError::GraphShapeInvalid);
    }
    for (auto const& entry : *m_externalInputs) {
        m_inputPathTree->Add(entry.first, true);
    }
}

void DataFlowExecutionGraph::SetCancellationTokenSource(std::shared_ptr<ICancellationTokenSource> source) {
    m_cancellationSource = std::move(source);
}

void DataFlowExecutionGraph::ClearBuffers(ChangedKeySet const& /*changedKeys*/) {
    for (auto const& buffer : m_buffers) {
        buffer->Write(nullptr);
    }
}

void DataFlowExecutionGraph::UpdateInputs(ChangedKeySet const& /*changedKeys*/, core::IDataStore& store) {
    // Every external input is written again, changed or not: ClearBuffers emptied them all.
    for (auto const& [key, input] : *m_externalInputs) {
        input.buffer->Write(ReadExternalInput(store, key, key));
    }
    EnqueueReadyNodes();
}

void DataFlowExecutionGraph::CheckInputs(core::IDataStore const& store) const {
    // The same reads as UpdateInputs, with nothing written.
    for (auto const& entry : *m_externalInputs) {
        ReadExternalInput(store, entry.first, entry.first);
    }
}

std::uint64_t DataFlowExecutionGraph::GetRemainingNodeCount() const {
    return GetNodeCount() - GetCompletedNodeCount();
}

std::uint64_t DataFlowExecutionGraph::GetNodeCount() const {
    return m_nodes.size();
}

std::unique_ptr<core::IDataStore> DataFlowExecutionGraph::MaterializeDataStore() const {
    return m_vmStore.MaterializeDataStore();
}

std::unique_ptr<core::MemoryUsage> DataFlowExecutionGraph::GetMemoryUsage() const {
    core::MemoryUsageBuilder builder;
    for (auto const& buffer : m_buffers) {
        if (buffer->CanRead()) {
            buffer->Peek()->CollectMemoryUsage(builder);
        }
    }
    return builder.Build();
}

bool DataFlowExecutionGraph::IsCancelled() const {
    return vm::IsCancelled(m_cancellationSource.get());
}

void DataFlowExecutionGraph::EnqueueReadyNodes() {
    for (auto const& [id, node] : m_nodes) {
        if (node->InputsReady()) {
            EnqueueNode(id);
        }
    }
}

DataFlowExecutionGraph::NodeRunResult DataFlowExecutionGraph::RunNode(unsigned int id) {
    ZEL_CHECK(m_nodes.find(id) != m_nodes.cend(), core::ZelError::LogicFailure);
    std::shared_ptr<TransformNode> const& node = m_nodes.find(id)->second;
    if (IsCancelled()) {
        return NodeRunResult::Stopped;
    }

    auto const scope = OpenNodeScope(*node->GetTransform());
    if (!node->Execute(m_cancellationSource.get())) {
        return NodeRunResult::Stopped;
    }

    IncrementCompletedNodeCount();
    // Only the successors can have become ready; a join becomes ready with its last predecessor.
    for (unsigned int const successor : m_edges[id]) {
        auto const found = m_nodes.find(successor);
        if (found != m_nodes.cend() && found->second->InputsReady()) {
            EnqueueNode(successor);
        }
    }
    return NodeRunResult::Ran;
}

}  // namespace zel::vm
