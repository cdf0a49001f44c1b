#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/io/BinaryProtocolReader.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/host/VM.h"
#include "zel/vm/materialize/IExecutionGraphBuilder.h"
#include "zel/vm/serialize/ExecutionGraphBuilderInstruction.h"

// Every way of making a VM. A VM never holds the caller's store: it works on a clone of it, so the
// caller's store is unchanged by runs and updates. Anything that fails while parsing or building
// reaches the caller, and no VM is made.
namespace zel::vm::VMFactory {

// A VTL program over a JSON store text.
std::unique_ptr<VM> Make(TStringCore const& vtl, TStringCore const& storeText,
                         core::IFunctionLookup const& functions, VMOptions const& options);
// A VTL program over a store.
std::unique_ptr<VM> Make(TStringCore const& vtl, std::shared_ptr<core::IDataStore> store,
                         core::IFunctionLookup const& functions, VMOptions const& options);
// The same with default options.
std::unique_ptr<VM> Make(TStringCore const& vtl, std::shared_ptr<core::IDataStore> store,
                         core::IFunctionLookup const& functions);
// Instructions over a JSON store text, built by the caller's builder.
std::unique_ptr<VM> Make(std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const& instructions,
                         TStringCore const& storeText, OutputKeySet const& outputKeys,
                         IExecutionGraphBuilder& builder, core::IFunctionLookup const& functions,
                         core::ITypeLookup const& types, VMOptions const& options);
// Instructions over a binary store.
std::unique_ptr<VM> Make(std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const& instructions,
                         core::BinaryProtocolReader& reader, OutputKeySet const& outputKeys,
                         IExecutionGraphBuilder& builder, core::IFunctionLookup const& functions,
                         core::ITypeLookup const& types, VMOptions const& options);
// A finished graph over the store it was built for.
std::unique_ptr<VM> Make(std::unique_ptr<IExecutionGraph> graph, core::IDataStore const& store);

}  // namespace zel::vm::VMFactory

#pragma GCC visibility pop
