#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/store/DataStore.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/execute/IExecutionGraph.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

using core::OutputKeySet;

// Collects nodes and edges and makes a graph of them. A host may bring a builder of its own to
// MakeExecutionGraph.
class IExecutionGraphBuilder {
public:
    IExecutionGraphBuilder() = default;
    virtual ~IExecutionGraphBuilder() = default;

    virtual void AddNode(unsigned int nodeId, std::shared_ptr<Transform> transform) = 0;
    // One buffer for `key`, written by the nodes `sources` and read by the nodes `sinks`. No
    // sources marks an external input, whose key lies under "~init". A retained buffer keeps its
    // value; any other empties itself after its last expected read.
    virtual void AddEdge(std::vector<unsigned int> const& sources, std::vector<unsigned int> const& sinks,
                         core::KeyPath const& key, bool retainValue) = 0;
    // The graph, fed with the store's values. `outputKeys` selects the result (empty: all).
    virtual std::unique_ptr<IExecutionGraph> Build(core::IDataStore const& store,
                                                   OutputKeySet const& outputKeys) = 0;
};

// The builder of the library: it builds a graph that runs one ready node at a time on the calling
// thread, lowest id first. Node ids must be 0, 1, 2, ... in the order of AddNode. A builder is
// spent by Build.
class SerialExecutionGraphBuilder : public IExecutionGraphBuilder {
public:
    static std::unique_ptr<SerialExecutionGraphBuilder> Make();

protected:
    SerialExecutionGraphBuilder() = default;
};

}  // namespace zel::vm

#pragma GCC visibility pop
