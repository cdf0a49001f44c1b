#pragma once

#include <memory>

#include "vorsys/string/TStringCore.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/DataStore.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/ICancellationTokenSource.h"

namespace vtlrun {

// Runs the program one statement at a time over one store, without a graph, tracing each step
// through the system log at level info with ExecutionLogger: the statement, its inputs before it
// runs and its outputs after, each value sampled to `sampleSize` elements. Statements run in the
// order they stand in, except that a statement waits for the statements that write what it reads.
// Returns the result store, selected by the program's output keys as the machine selects it, or
// null when `cancel` asked to stop. A failure names its statement, as in a normal run.
std::unique_ptr<zel::core::IDataStore> RunStepwise(TStringCore const& program,
                                                   zel::core::IDataStore const& input,
                                                   zel::core::IFunctionLookup const& functions,
                                                   zel::vm::VMOptions const& options, unsigned int sampleSize,
                                                   zel::vm::ICancellationTokenSource const* cancel);

}  // namespace vtlrun
