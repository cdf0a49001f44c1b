#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/materialize/IExecutionGraphBuilder.h"

namespace zel::vm {

// One step of building a graph: add a node for a spec, or add an edge. A host that builds a
// program without VTL makes a list of these through the two factories.
class ExecutionGraphBuilderInstruction {
public:
    ExecutionGraphBuilderInstruction() = default;
    virtual ~ExecutionGraphBuilderInstruction() = default;

    virtual void Apply(IExecutionGraphBuilder& builder, core::IFunctionLookup const& functions,
                       core::ITypeLookup const& types, VMOptions const& options) = 0;

    // Makes the TransformSpec's transform (MakeTransform) and adds it as node `nodeId`.
    static std::unique_ptr<ExecutionGraphBuilderInstruction> AddNode(unsigned int nodeId,
                                                                     core::TransformSpec const& spec);
    static std::unique_ptr<ExecutionGraphBuilderInstruction> AddEdge(std::vector<unsigned int> const& sources,
                                                                     std::vector<unsigned int> const& sinks,
                                                                     core::KeyPath const& key,
                                                                     bool retainValue);
};

}  // namespace zel::vm

#pragma GCC visibility pop
