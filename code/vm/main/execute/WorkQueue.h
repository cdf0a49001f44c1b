#pragma once

#include <memory>
#include <vector>

#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/execute/TransformWorkQueue.h"

namespace zel::vm {

// The queue that fits `parameters`: serial unless they ask for parallel work and the process-wide
// thread pool has room for at least one worker.
std::unique_ptr<TransformWorkQueue> MakeWorkQueue(ExecutionParameters const& parameters);

// As above, with the pool's thread count and the number of its threads in use given rather than
// read, so that the choice can be checked without a pool of that shape. Workers are at most
// maxWorkerThreads and half the pool; under load they are halved, then quartered, to fit in the
// free threads, and the queue is serial if even that does not fit or no worker is left.
std::unique_ptr<TransformWorkQueue> MakeWorkQueue(ExecutionParameters const& parameters,
                                                  unsigned int poolThreadCount,
                                                  unsigned long long poolUseCount);

// The rows of one task of a parallel run over `rangeLength` rows cut into blocks of `blockSize`:
// a whole number of blocks, so that a run has 16 tasks for each of `threadCount` threads (or one
// a block, when there are fewer blocks). Enough tasks that a thread which starts late or runs
// slower takes fewer; few enough that making and handing out tasks costs nothing next to them.
unsigned int RowsPerTask(unsigned int rangeLength, unsigned int blockSize, unsigned int threadCount);

// Runs every task on the calling thread, in order, with thread index 0.
class SerialTransformWorkQueue final : public TransformWorkQueue {
public:
    unsigned int GetThreadCount() const override;
    bool Run(std::vector<std::unique_ptr<ITransformTask>>& tasks) override;
};

// Runs the tasks on the calling thread and on up to `workerCount` workers launched on the thread
// pool (or on threads of their own when the pool has no free thread). Takes the tasks out of the
// caller's vector. A worker inherits the calling thread's cancel event: if that is signalled, the
// worker does not run and Run throws AsyncTask::CancelException, unless the caller finished every
// task itself.
class ParallelTransformWorkQueue final : public TransformWorkQueue {
public:
    explicit ParallelTransformWorkQueue(unsigned int workerCount) : m_workerCount(workerCount) {}

    unsigned int GetThreadCount() const override;
    bool Run(std::vector<std::unique_ptr<ITransformTask>>& tasks) override;

private:
    unsigned int m_workerCount;
};

}  // namespace zel::vm
