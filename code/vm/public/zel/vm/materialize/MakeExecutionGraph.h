#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/vm/serialize/ExecutionGraphBuilderInstruction.h"

namespace zel::vm {

// Applies the instructions to `builder` in order and builds the graph over `store`.
std::unique_ptr<IExecutionGraph> MakeExecutionGraph(
    std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const& instructions,
    core::IDataStore const& store, OutputKeySet const& outputKeys, IExecutionGraphBuilder& builder,
    core::IFunctionLookup const& functions, core::ITypeLookup const& types, VMOptions const& options);

// The same from specs and edges: spec i becomes node i, then every edge is added in order.
std::unique_ptr<IExecutionGraph> MakeExecutionGraph(
    std::vector<core::TransformSpec> const& specs, std::vector<core::GraphEdge> const& edges,
    core::IDataStore const& store, OutputKeySet const& outputKeys, IExecutionGraphBuilder& builder,
    core::IFunctionLookup const& functions, core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm

#pragma GCC visibility pop
