#pragma once

#pragma GCC visibility push(default)

#include "zel/core/store/DataStore.h"
#include "zel/vm/transform/ICancellationTokenSource.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm::Execution {

// Runs one transform against a store without a graph: reads the transform's input paths from the
// store, runs it, and writes its results back. Returns false, with the store untouched, when
// `cancel` asks to stop before or after the transform. An exception of the transform leaves the
// store as it was.
bool TransformInPlace(Transform const& transform, core::IDataStore& store,
                      ICancellationTokenSource const* cancel);

// The range form: the results of rows [rangeStartIndex, rangeStartIndex + rangeLength) go to
// `output`, and the store is only read. Returns false when cancelled at entry.
bool TransformOverRangeInPlace(Transform const& transform, core::IDataStore const& store,
                               unsigned int rangeStartIndex, unsigned int rangeLength, RawDataView& output,
                               ICancellationTokenSource const* cancel);

}  // namespace zel::vm::Execution

#pragma GCC visibility pop
