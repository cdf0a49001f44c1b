#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "vorsys/thread/Future.h"
#include "zel/core/utility/ArrayView.h"
#include "zel/vm/execute/TransformWorkQueue.h"

namespace zel::vm {

// What a worker sees of a parallel run: batches of tasks to take, and ways to end the run early.
// Workers hold the queue by shared pointer, so that it outlives the last of them even when the
// caller of the run has already returned.
class IParallelWorkQueue : public std::enable_shared_from_this<IParallelWorkQueue> {
public:
    virtual ~IParallelWorkQueue() = default;

    // The next tasks to run; an empty view once nothing is left or the run was stopped.
    virtual core::ArrayView<std::unique_ptr<ITransformTask>> GetNextBatch() = 0;
    // Counts `count` more tasks as done.
    virtual void AddCompleted(unsigned long long count) = 0;
    // Hands out no more batches: a task threw.
    virtual void Stop() = 0;
    // Hands out no more batches and makes the run return false: a task asked to stop.
    virtual void Cancel() = 0;
};

// Takes batches from `queue` and runs their tasks with `threadIndex` until none is left. A task
// that returns false cancels the queue and ends the loop; an exception stops the queue and goes on
// to the caller. The queue is taken by value so that the loop keeps it alive.
void WorkerLoop(unsigned int threadIndex, std::shared_ptr<IParallelWorkQueue> queue);

// One parallel run: the tasks, cut into batches of about a fifth of a thread's fair share, taken
// by the calling thread and by up to `workerCount` pool workers. Nothing here locks: the batch
// counter hands every batch to exactly one thread, and the task vector does not change during the
// run. Made by std::make_shared only, since workers share it.
class ParallelTransformWorkQueueImpl final : public IParallelWorkQueue {
public:
    ParallelTransformWorkQueueImpl(std::vector<std::unique_ptr<ITransformTask>> tasks,
                                   unsigned int workerCount);

    core::ArrayView<std::unique_ptr<ITransformTask>> GetNextBatch() override;
    void AddCompleted(unsigned long long count) override;
    void Stop() override;
    void Cancel() override;

    // Starts the workers, works on this thread too and waits for every worker, so that none holds
    // the queue afterwards. Throws the first worker's exception if a task was left undone, else
    // this thread's own, if any. False if a task asked to stop. Once per queue, from the thread
    // that made it.
    bool Run();

private:
    // Launches one more worker if the limit allows and a batch is left beyond one for each worker
    // already started; returns whether it did.
    bool StartWorker();
    // Waits for every worker; with `rethrow`, rethrows the first exception among them, in launch
    // order.
    void WaitForWorkers(bool rethrow);

    unsigned int m_workerLimit;
    unsigned int m_threadCount;
    unsigned int m_startedCount = 0;  // the next thread index; the calling thread's alone
    std::atomic<bool> m_running{true};
    std::atomic<bool> m_cancelled{false};
    std::vector<std::unique_ptr<ITransformTask>> m_tasks;
    unsigned long long m_batchSize;
    std::atomic<unsigned long long> m_nextBatch{0};
    std::atomic<unsigned long long> m_completedCount{0};
    std::vector<AsyncTask::Future<void>> m_futures;
};

}  // namespace zel::vm
