#pragma once

#include <memory>
#include <vector>

#include "zel/core/spec/OperatorType.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/execute/VMOptions.h"

namespace zel::vm {

using core::OperatorType;

// The strategy of an operator that calls no function: no collection input, no result type.
std::unique_ptr<IExecutionStrategy> MakeExecutionStrategy(VMOptions const& options, OperatorType type);

// The strategy of an operator that calls a function: it notes whether any input's main type is a
// collection, and the store type of the result's main type.
std::unique_ptr<IExecutionStrategy> MakeExecutionStrategy(VMOptions const& options, OperatorType type,
                                                          std::vector<core::KeySegmentType> const& inputTypes,
                                                          core::KeySegmentType const& outputType);

// Rows in one task: `baseBlockSize` scaled up for elements narrower than 8 bytes, so that a task
// covers about base * 8 bytes, at least 1 and at most `rowCount` (or 1 when there are no rows).
unsigned int ComputeBlockSize(unsigned int elementSize, unsigned int rowCount, unsigned int baseBlockSize);

}  // namespace zel::vm
