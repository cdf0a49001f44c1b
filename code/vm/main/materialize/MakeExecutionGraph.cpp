#include "zel/vm/materialize/MakeExecutionGraph.h"

#include "materialize/OutputsBeneathInputs.h"
#include "vormetrics/MetricsScope.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

std::unique_ptr<IExecutionGraph> MakeExecutionGraph(
    std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const& instructions,
    core::IDataStore const& store, OutputKeySet const& outputKeys, IExecutionGraphBuilder& builder,
    core::IFunctionLookup const& functions, core::ITypeLookup const& types, VMOptions const& options) {
    auto const scope = Metrics::OpenScope(L"zel_vm_MakeExecutionGraph");
    for (auto const& instruction : instructions) {
        ZEL_CHECK_NOT_NULL(instruction, core::ZelError::InvalidArgument);
        instruction->Apply(builder, functions, types, options);
    }
    return builder.Build(store, outputKeys);
}

std::unique_ptr<IExecutionGraph> MakeExecutionGraph(
    std::vector<core::TransformSpec> const& specs, std::vector<core::GraphEdge> const& edges,
    core::IDataStore const& store, OutputKeySet const& outputKeys, IExecutionGraphBuilder& builder,
    core::IFunctionLookup const& functions, core::ITypeLookup const& types, VMOptions const& options) {
    WarnOfOutputsBeneathInputs(specs, store);
    std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> instructions;
    instructions.reserve(specs.size() + edges.size());
    for (unsigned int id = 0; id < specs.size(); ++id) {
        instructions.push_back(ExecutionGraphBuilderInstruction::AddNode(id, specs[id]));
    }
    for (auto const& edge : edges) {
        instructions.push_back(
            ExecutionGraphBuilderInstruction::AddEdge(edge.sources, edge.sinks, edge.key, edge.retainValue));
    }
    return MakeExecutionGraph(instructions, store, outputKeys, builder, functions, types, options);
}

}  // namespace zel::vm
