#pragma once

#include <memory>

#include "execute/DataFlowExecutionGraph.h"

namespace zel::vm {

// A graph over the given parts that runs one ready node at a time on the calling thread, always
// the ready node with the lowest id, so that a run is the same whatever the order of hash maps.
// The nodes that are ready at construction are already in its work set.
std::unique_ptr<IExecutionGraph> MakeSerialExecutionGraph(NodeMap&& nodes, SuccessorSets&& edges,
                                                          std::unique_ptr<ExternalInputMap> externalInputs,
                                                          BufferMap const& bufferMap,
                                                          core::OutputKeySet const& outputKeys);

}  // namespace zel::vm
