#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

namespace zel::vm {

// One piece of a transform's work, usually one block of rows.
class ITransformTask {
public:
    virtual ~ITransformTask() = default;

    // Does the work; false asks the queue to stop handing out work. `threadIndex` is below the
    // queue's GetThreadCount() and no two threads hold one index at the same time, so a task may
    // use it to pick per-thread scratch without a lock.
    virtual bool Run(unsigned int threadIndex) = 0;
};

// Runs a transform's tasks, on the calling thread alone or on it and some pool workers. When Run
// returns, by value or by exception, no task is running.
class TransformWorkQueue {
public:
    virtual ~TransformWorkQueue() = default;

    // The number of threads that may run tasks, the caller included: the bound of threadIndex.
    virtual unsigned int GetThreadCount() const = 0;
    // Runs every task once, unless one returns false (then the rest may not run and Run returns
    // false) or throws (then Run rethrows it once all threads are done). True if none asked to
    // stop. The queue may take the tasks: the vector is not to be used afterwards but to refill.
    virtual bool Run(std::vector<std::unique_ptr<ITransformTask>>& tasks) = 0;
};

}  // namespace zel::vm

#pragma GCC visibility pop
