#pragma once

#pragma GCC visibility push(default)

#include <cstdint>
#include <memory>

#include "zel/core/store/DataStore.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/vm/execute/ChangedKeySet.h"
#include "zel/vm/transform/ICancellationTokenSource.h"
#include "zel/vm/transform/TransformStatus.h"

namespace zel::vm {

// Transform nodes joined through buffers, and the bookkeeping of which node runs next. Made once
// by a builder; driven by one thread at a time.
class IExecutionGraph {
public:
    virtual ~IExecutionGraph() = default;

    // Polled at the start of a run and before each node; replaces an earlier source.
    virtual void SetCancellationTokenSource(std::shared_ptr<ICancellationTokenSource> source) = 0;
    // Runs the next ready node (lowest id first). Needs a ready node.
    virtual TransformStatus ExecuteNext() = 0;
    // Runs ready nodes until none is left (Complete) or the source says stop (Cancelled).
    virtual TransformStatus Execute() = 0;
    // Empties every buffer.
    virtual void ClearBuffers(ChangedKeySet const& changedKeys) = 0;
    // Writes every external input again from the working `store` and enqueues the ready nodes.
    virtual void UpdateInputs(ChangedKeySet const& changedKeys, core::IDataStore& store) = 0;
    // Nodes minus nodes run over the graph's life (wraps around in a second run).
    virtual std::uint64_t GetRemainingNodeCount() const = 0;
    virtual std::uint64_t GetNodeCount() const = 0;
    virtual TransformStatus GetStatus() const = 0;
    // A new store of the selected results, cloned so that it is independent of the graph.
    virtual std::unique_ptr<core::IDataStore> MaterializeDataStore() const = 0;
    // What the values in the buffers hold.
    virtual std::unique_ptr<core::MemoryUsage> GetMemoryUsage() const = 0;
    // Fails, as UpdateInputs would, if `store` holds a value that an external input cannot take
    // (a missing value, or one unlike the input's declared type), and changes nothing. VM::ApplyUpdater
    // asks this before it clears a buffer, so that a refused update leaves the machine as it was.
    // A graph that reads its inputs without checks accepts every store.
    virtual void CheckInputs(core::IDataStore const& store) const { (void)store; }

protected:
    IExecutionGraph() = default;
};

}  // namespace zel::vm

#pragma GCC visibility pop
