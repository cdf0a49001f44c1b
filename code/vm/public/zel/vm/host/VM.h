#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "zel/core/store/DataStore.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/vm/execute/IExecutionGraph.h"
#include "zel/vm/host/DataStoreUpdater.h"
#include "zel/vm/transform/ICancellationTokenSource.h"
#include "zel/vm/transform/TransformStatus.h"

namespace zel::vm {

// One compiled program bound to one set of input values. Used from one thread; only the
// cancellation source may be flipped from another.
class VM {
public:
    virtual ~VM() = default;

    // Polled before and between nodes; may be set or replaced before or between runs.
    virtual void SetCancellationTokenSource(std::shared_ptr<ICancellationTokenSource> source) = 0;
    virtual IExecutionGraph* GetExecutionGraph() = 0;
    // One node, only while Running; in any other state nothing runs and the status is returned.
    virtual TransformStatus ExecuteNext() = 0;
    // Runs until Complete or Cancelled. Calling it again after ApplyUpdater runs the changed inputs.
    virtual TransformStatus Execute() = 0;
    virtual std::unique_ptr<DataStoreUpdater> MakeDataStoreUpdater() = 0;
    // Writes the changes to the working store, empties the buffers (unless nothing ran yet) and
    // feeds the inputs again. The status does not change.
    virtual void ApplyUpdater(std::unique_ptr<DataStoreUpdater> updater) = 0;
    // The result store: the outputs of the program and the inputs it did not shadow, cloned. Only
    // after a Complete run; otherwise GraphNotComplete (357).
    virtual std::unique_ptr<core::IDataStore> MaterializeDataStore() = 0;
    virtual std::unique_ptr<core::MemoryUsage> GetMemoryUsage() = 0;

protected:
    VM() = default;
};

}  // namespace zel::vm

#pragma GCC visibility pop
