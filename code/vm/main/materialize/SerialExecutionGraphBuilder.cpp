#include <memory>
#include <utility>
#include <vector>

#include <boost/unordered/unordered_map.hpp>
#include <boost/unordered/unordered_set.hpp>

#include "execute/SerialExecutionGraph.h"
#include "execute/StoreValueTransformBufferFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/execute/TransformNode.h"
#include "zel/vm/materialize/IExecutionGraphBuilder.h"

namespace zel::vm {

namespace {

class SerialExecutionGraphBuilderImpl final : public SerialExecutionGraphBuilder {
public:
    void AddNode(unsigned int nodeId, std::shared_ptr<Transform> transform) override {
        ZEL_CHECK(m_nodes.find(nodeId) == m_nodes.end(), core::ZelError::DuplicateNode);
        m_nodes.emplace(nodeId, std::make_shared<TransformNode>(std::move(transform)));
        // Successor sets are indexed by id: ids are expected to come as 0, 1, 2, ...
        m_edges.emplace_back();
    }

    void AddEdge(std::vector<unsigned int> const& sources, std::vector<unsigned int> const& sinks,
                 core::KeyPath const& key, bool retainValue) override {
        std::shared_ptr<StoreValueTransformBuffer> buffer;
        if (retainValue) {
            buffer = m_bufferFactory.MakeBuffer(key, sources, sinks);
            ++m_retainedEdgeCount;
        } else {
            buffer = m_bufferFactory.MakeSelfResettingBuffer(key, sources, sinks);
            ++m_selfResettingEdgeCount;
        }

        // Several sources share the one buffer.
        for (unsigned int const id : sources) {
            auto const source = m_nodes.find(id);
            ZEL_CHECK(source != m_nodes.end(), core::ZelError::EdgeSourceMissing);
            source->second->AddOutput(key, buffer);
        }
        for (unsigned int const id : sinks) {
            auto const sink = m_nodes.find(id);
            ZEL_CHECK(sink != m_nodes.end(), core::ZelError::EdgeSinkMissing);
            sink->second->AddInput(key, buffer);
        }
        for (unsigned int const source : sources) {
            if (source >= m_edges.size()) {
                // An id beyond 0..n-1: the graph refuses the shape (GraphShapeInvalid) when built.
                m_edges.resize(std::size_t{source} + 1);
            }
            m_edges[source].insert(sinks.begin(), sinks.end());
        }
    }

    std::unique_ptr<IExecutionGraph> Build(core::IDataStore const& store,
                                           OutputKeySet const& outputKeys) override {
        // From here on the external inputs' buffers hold the store's values.
        std::unique_ptr<ExternalInputMap> inputs = m_bufferFactory.BindStoreValues(store);
        std::unique_ptr<BufferMap> const buffers = m_bufferFactory.TakeBufferMap();
        return MakeSerialExecutionGraph(std::move(m_nodes), std::move(m_edges), std::move(inputs), *buffers,
                                        outputKeys);
    }

private:
    // Counted for inspection in a debugger; nothing reads them.
    unsigned int m_retainedEdgeCount = 0;
    unsigned int m_selfResettingEdgeCount = 0;
    boost::unordered::unordered_map<unsigned int, std::shared_ptr<TransformNode>> m_nodes;
    std::vector<boost::unordered_set<unsigned int>> m_edges;
    StoreValueTransformBufferFactory m_bufferFactory;
};

}  // namespace

std::unique_ptr<SerialExecutionGraphBuilder> SerialExecutionGraphBuilder::Make() {
    return std::make_unique<SerialExecutionGraphBuilderImpl>();
}

}  // namespace zel::vm
