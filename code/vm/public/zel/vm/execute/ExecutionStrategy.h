#pragma once

#pragma GCC visibility push(default)

#include <memory>

namespace zel::vm {

// How a transform runs a given number of rows: the answer of IExecutionStrategy.
struct ExecutionParameters {
    // VMOptions::UseVectorizedTransforms, passed through.
    bool useVectorized = true;
    // Rows in one task.
    unsigned int blockSize = 1;
    // Whether the rows go to a parallel work queue.
    bool runInParallel = false;
    // VMOptions::GetMaxWorkerThreadsToUse, passed through.
    unsigned int maxWorkerThreads = 0;
};

// Decides, for a transform that can split its rows into tasks, the block size and whether the
// tasks run on several threads. A transform owns its strategy and clones it with itself.
class IExecutionStrategy {
public:
    virtual ~IExecutionStrategy() = default;

    virtual std::unique_ptr<IExecutionStrategy> Clone() const = 0;
    // `elementSize` is the width in bytes of one stored element of the data in question (1, 4, 8
    // or 16); `canRunInParallel` false keeps the work on the calling thread whatever the size.
    virtual ExecutionParameters GetExecutionParameters(bool canRunInParallel, unsigned int elementSize,
                                                       unsigned int rowCount) const = 0;
};

}  // namespace zel::vm

#pragma GCC visibility pop
