#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <boost/unordered/unordered_map.hpp>
#include <boost/unordered/unordered_set.hpp>

#include "execute/BufferMaps.h"
#include "execute/VMStore.h"
#include "zel/core/store/KeyPathPrefixTree.h"
#include "zel/vm/execute/IExecutionGraph.h"
#include "zel/vm/execute/TransformNode.h"

namespace zel::vm {

using NodeMap = boost::unordered::unordered_map<unsigned int, std::shared_ptr<TransformNode>>;
// Indexed by node id: the successors of each node.
using SuccessorSets = std::vector<boost::unordered_set<unsigned int>>;

// The rules of data flow: a node is ready when all its input buffers can be read, and running a
// node may make its successors ready. Which ready node runs, and when, is left to the child.
class DataFlowExecutionGraph : public IExecutionGraph {
public:
    void SetCancellationTokenSource(std::shared_ptr<ICancellationTokenSource> source) override;
    void ClearBuffers(ChangedKeySet const& changedKeys) override;
    void UpdateInputs(ChangedKeySet const& changedKeys, core::IDataStore& store) override;
    std::uint64_t GetRemainingNodeCount() const override;
    std::uint64_t GetNodeCount() const override;
    std::unique_ptr<core::IDataStore> MaterializeDataStore() const override;
    std::unique_ptr<core::MemoryUsage> GetMemoryUsage() const override;
    void CheckInputs(core::IDataStore const& store) const override;

protected:
    enum class NodeRunResult { Ran = 1, Stopped = 2 };

    DataFlowExecutionGraph(NodeMap&& nodes, SuccessorSets&& edges,
                           std::unique_ptr<ExternalInputMap> externalInputs, BufferMap const& bufferMap,
                           core::OutputKeySet const& outputKeys);

    virtual void EnqueueNode(unsigned int id) = 0;
    virtual unsigned int DequeueNode() = 0;
    virtual std::uint64_t GetCompletedNodeCount() const = 0;
    virtual void IncrementCompletedNodeCount() = 0;
    virtual void SetCompletedNodeCount(std::uint64_t count) = 0;

    bool IsCancelled() const;
    void EnqueueReadyNodes();
    NodeRunResult RunNode(unsigned int id);

private:
    std::shared_ptr<ICancellationTokenSource> m_cancellationSource;
    NodeMap m_nodes;
    SuccessorSets m_edges;
    std::vector<std::shared_ptr<StoreValueTransformBuffer>> m_buffers;
    std::unique_ptr<ExternalInputMap> m_externalInputs;
    VMStore m_vmStore;
    std::shared_ptr<core::KeyPathPrefixTree> m_inputPathTree;
};

}  // namespace zel::vm
