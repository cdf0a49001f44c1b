#include "zel/vm/host/VMFactory.h"

#include "host/MakeVM.h"
#include "vormetrics/MetricsScope.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/materialize/MakeExecutionGraph.h"

namespace zel::vm::VMFactory {

namespace {

struct ParsedProgram {
    std::vector<core::TransformSpec> specs;
    std::vector<core::GraphEdge> edges;
    OutputKeySet outputKeys;
};

ParsedProgram ParseProgram(TStringCore const& vtl) {
    ParsedProgram program;
    core::ParseVtlPayload(vtl, program.specs, program.edges, program.outputKeys);
    return program;
}

std::unique_ptr<VM> BuildVM(ParsedProgram const& program, core::IDataStore const& store,
                            core::IFunctionLookup const& functions, VMOptions const& options) {
    auto builder = SerialExecutionGraphBuilder::Make();
    core::KeyPathTypeLookup const types;
    auto graph = MakeExecutionGraph(program.specs, program.edges, store, program.outputKeys, *builder,
                                    functions, types, options);
    return MakeVM(std::move(graph), store);
}

}  // namespace

std::unique_ptr<VM> Make(TStringCore const& vtl, TStringCore const& storeText,
                         core::IFunctionLookup const& functions, VMOptions const& options) {
    auto const scope = Metrics::OpenScope(L"zel_VM_Make_slowWeb");
    // The program is read before the store, so that a bad program fails before a large store is.
    ParsedProgram const program = ParseProgram(vtl);
    // Plain JSON values are read as the program declares its inputs.
    core::StoreValueParser::ReadOptions readOptions;
    readOptions.declaredTypes = core::DeclaredInputTypes(program.edges);
    std::shared_ptr<core::IDataStore> const store =
        core::StoreValueParser::MakeDataStore(storeText, readOptions);
    return BuildVM(program, *store, functions, options);
}

std::unique_ptr<VM> Make(TStringCore const& vtl, std::shared_ptr<core::IDataStore> store,
                         core::IFunctionLookup const& functions, VMOptions const& options) {
    auto const scope = Metrics::OpenScope(L"zel_VM_Make_slowWeb");
    ZEL_CHECK_NOT_NULL(store, core::ZelError::InvalidArgument);
    return BuildVM(ParseProgram(vtl), *store, functions, options);
}

std::unique_ptr<VM> Make(TStringCore const& vtl, std::shared_ptr<core::IDataStore> store,
                         core::IFunctionLookup const& functions) {
    return Make(vtl, std::move(store), functions, VMOptions());
}

std::unique_ptr<VM> Make(std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const& instructions,
                         TStringCore const& storeText, OutputKeySet const& outputKeys,
                         IExecutionGraphBuilder& builder, core::IFunctionLookup const& functions,
                         core::ITypeLookup const& types, VMOptions const& options) {
    auto const scope = Metrics::OpenScope(L"zel_VM_Make_jsonStore");
    std::shared_ptr<core::IDataStore> const store = core::StoreValueParser::MakeDataStore(storeText);
    auto graph = MakeExecutionGraph(instructions, *store, outputKeys, builder, functions, types, options);
    return MakeVM(std::move(graph), *store);
}

std::unique_ptr<VM> Make(std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const& instructions,
                         core::BinaryProtocolReader& reader, OutputKeySet const& outputKeys,
                         IExecutionGraphBuilder& builder, core::IFunctionLookup const& functions,
                         core::ITypeLookup const& types, VMOptions const& options) {
    auto const scope = Metrics::OpenScope(L"zel_VM_Make_fastWeb");
    std::shared_ptr<core::IDataStore> const store = core::StoreValueParser::MakeDataStore(reader);
    auto graph = MakeExecutionGraph(instructions, *store, outputKeys, builder, functions, types, options);
    return MakeVM(std::move(graph), *store);
}

std::unique_ptr<VM> Make(std::unique_ptr<IExecutionGraph> graph, core::IDataStore const& store) {
    auto const scope = Metrics::OpenScope(L"zel_VM_Make_inProc");
    return MakeVM(std::move(graph), store);
}

}  // namespace zel::vm::VMFactory
