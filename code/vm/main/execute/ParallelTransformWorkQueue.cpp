#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "execute/ParallelTransformWorkQueueImpl.h"
#include "execute/WorkQueue.h"
#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/TThreadPool.h"
#include "vorsys/thread/WaitForAll.h"
#include "zel/core/utility/StreamingStore.h"

namespace zel::vm {

std::unique_ptr<TransformWorkQueue> MakeWorkQueue(ExecutionParameters const& parameters) {
    if (!parameters.runInParallel) {
        return std::make_unique<SerialTransformWorkQueue>();
    }
    TThreadPool& pool = TThreadPool::Get();
    return MakeWorkQueue(parameters, pool.GetNumberOfThreads(), pool.GetThreadPoolUseCount());
}

std::unique_ptr<TransformWorkQueue> MakeWorkQueue(ExecutionParameters const& parameters,
                                                  unsigned int poolThreadCount,
                                                  unsigned long long poolUseCount) {
    if (!parameters.runInParallel) {
        return std::make_unique<SerialTransformWorkQueue>();
    }
    // Half the pool at most, so that other work always finds threads; fewer when the pool is busy,
    // since the calling thread works too and a full pool only slows it down.
    unsigned long long const total = poolThreadCount;
    unsigned long long workers = std::min<unsigned long long>(parameters.maxWorkerThreads, total / 2);
    if (workers + poolUseCount <= total) {
        // All of them fit.
    } else if (workers / 2 + poolUseCount <= total) {
        workers /= 2;
    } else if (workers / 4 + poolUseCount <= total) {
        workers /= 4;
    } else {
        return std::make_unique<SerialTransformWorkQueue>();
    }
    if (workers == 0) {
        return std::make_unique<SerialTransformWorkQueue>();
    }
    return std::make_unique<ParallelTransformWorkQueue>(static_cast<unsigned int>(workers));
}

unsigned int RowsPerTask(unsigned int rangeLength, unsigned int blockSize, unsigned int threadCount) {
    constexpr unsigned long long c_tasksPerThread = 16;
    unsigned long long const block = std::max(blockSize, 1u);
    unsigned long long const blocks = (rangeLength + block - 1) / block;
    unsigned long long const tasks = std::max(1ull, std::min(blocks, c_tasksPerThread * std::max(threadCount, 1u)));
    unsigned long long const blocksPerTask = (blocks + tasks - 1) / tasks;
    return static_cast<unsigned int>(std::clamp(blocksPerTask * block, 1ull, std::max(1ull, 1ull * rangeLength)));
}

unsigned int ParallelTransformWorkQueue::GetThreadCount() const {
    return m_workerCount + 1;
}

bool ParallelTransformWorkQueue::Run(std::vector<std::unique_ptr<ITransformTask>>& tasks) {
    auto const queue = std::make_shared<ParallelTransformWorkQueueImpl>(std::move(tasks), m_workerCount);
    tasks.clear();  // a moved-from vector is valid but unspecified: leave it empty for sure
    return queue->Run();
}

void WorkerLoop(unsigned int threadIndex, std::shared_ptr<IParallelWorkQueue> queue) {
    // A task may write its results with streaming stores: they are fenced after each batch, and on
    // the way out whichever way that is, so that what a thread wrote is visible once counted.
    core::StreamingStoreFence const fence;
    try {
        for (;;) {
            auto const batch = queue->GetNextBatch();
            if (batch.empty()) {
                return;
            }
            for (auto const& task : batch) {
                if (!task->Run(threadIndex)) {
                    queue->Cancel();
                    return;
                }
            }
            core::FenceStreamingStores();
            queue->AddCompleted(batch.size());
        }
    } catch (...) {
        queue->Stop();
        throw;
    }
}

ParallelTransformWorkQueueImpl::ParallelTransformWorkQueueImpl(
    std::vector<std::unique_ptr<ITransformTask>> tasks, unsigned int workerCount)
    : m_workerLimit(workerCount), m_threadCount(workerCount + 1), m_tasks(std::move(tasks)) {
    // A fifth of a thread's fair share per batch: small enough that threads that run slower (or
    // start later) get less, large enough that the batch counter is touched rarely.
    auto const share = static_cast<float>(m_tasks.size() / m_threadCount);
    m_batchSize = std::max(1ull, static_cast<unsigned long long>(share * 0.2f));
}

core::ArrayView<std::unique_ptr<ITransformTask>> ParallelTransformWorkQueueImpl::GetNextBatch() {
    if (!m_running) {
        return {};
    }
    unsigned long long const batch = m_nextBatch.fetch_add(1);
    unsigned long long const start = m_batchSize * batch;
    if (start >= m_tasks.size()) {
        return {};
    }
    auto const count = std::min<unsigned long long>(m_batchSize, m_tasks.size() - start);
    return core::ArrayView<std::unique_ptr<ITransformTask>>(m_tasks).SubView(
        static_cast<unsigned int>(start), static_cast<unsigned int>(count));
}

void ParallelTransformWorkQueueImpl::AddCompleted(unsigned long long count) {
    m_completedCount += count;
}

void ParallelTransformWorkQueueImpl::Stop() {
    m_running = false;
}

void ParallelTransformWorkQueueImpl::Cancel() {
    m_running = false;
    m_cancelled = true;
}

bool ParallelTransformWorkQueueImpl::StartWorker() {
    // Each worker started counts as a batch already taken, whether or not it has reached the
    // counter yet: no more workers start than there are batches left for them.
    if (m_startedCount >= m_workerLimit || m_batchSize * (m_nextBatch + m_startedCount) >= m_tasks.size() ||
        !m_running) {
        return false;
    }
    unsigned int const threadIndex = m_startedCount++;
    std::shared_ptr<IParallelWorkQueue> self = shared_from_this();
    // Launched so that the worker never waits behind other work in the pool's queue, and with
    // the calling thread's cancel event as its parent: once that is signalled, a worker not yet
    // started does not run, and its future carries AsyncTask::CancelException.
    m_futures.push_back(
        AsyncTask::Run([threadIndex, self = std::move(self)] { WorkerLoop(threadIndex, self); },
                       AsyncTask::Launch::ThreadPoolOrDedicatedThread, AsyncTask::WhenCanceled::DoNotRun));
    return true;
}

bool ParallelTransformWorkQueueImpl::Run() {
    std::exception_ptr kept;
    try {
        while (StartWorker()) {
        }
        unsigned int const threadIndex = m_startedCount++;
        WorkerLoop(threadIndex, shared_from_this());
    } catch (...) {
        kept = std::current_exception();
    }
    m_running = false;
    // The workers are waited for even when every task is done and they have nothing left but to
    // find no batch: otherwise a worker may still be on its way out, holding the queue, when the
    // host's process ends, and the queue and its tasks would outlive the run that made them. What
    // they carry matters only to an unfinished run: once all tasks are done, a worker that never
    // started (its cancel event was signalled) took nothing from the result.
    if (!m_futures.empty()) {
        WaitForWorkers(m_completedCount < m_tasks.size());
    }
    if (kept) {
        std::rethrow_exception(kept);
    }
    return !m_cancelled;
}

void ParallelTransformWorkQueueImpl::WaitForWorkers(bool rethrow) {
    std::vector<IEvent*> events;
    events.reserve(m_futures.size());
    for (auto const& future : m_futures) {
        events.push_back(&future.GetReadyEvent());
    }
    WaitForAll(events, std::chrono::milliseconds::max());
    if (!rethrow) {
        return;
    }
    for (auto const& future : m_futures) {
        future.Wait();
        future.CheckForException();
    }
}

}  // namespace zel::vm
