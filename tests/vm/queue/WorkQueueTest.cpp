#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

#include "execute/ParallelTransformWorkQueueImpl.h"
#include "execute/WorkQueue.h"
#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/TThreadPool.h"

using namespace zel::vm;

namespace {

using Tasks = std::vector<std::unique_ptr<ITransformTask>>;
// What task `index` does on `threadIndex`.
using TaskBody = std::function<bool(std::size_t index, unsigned int threadIndex)>;

struct FunctionTask final : ITransformTask {
    FunctionTask(TaskBody body, std::size_t index) : body(std::move(body)), index(index) {}
    bool Run(unsigned int threadIndex) override { return body(index, threadIndex); }
    TaskBody body;
    std::size_t index;
};

Tasks MakeTasks(std::size_t count, TaskBody const& body) {
    Tasks tasks;
    for (std::size_t i = 0; i < count; ++i) {
        tasks.push_back(std::make_unique<FunctionTask>(body, i));
    }
    return tasks;
}

std::vector<std::size_t> FirstIndices(std::size_t count) {
    std::vector<std::size_t> indices(count);
    std::iota(indices.begin(), indices.end(), std::size_t{0});
    return indices;
}

void Raise(std::atomic<bool>& flag) {
    flag = true;
    flag.notify_all();
}

void WaitUntilRaised(std::atomic<bool> const& flag) {
    while (!flag.load()) {
        flag.wait(false);
    }
}

struct WorkerError : std::exception {};
struct CallerError : std::exception {};

// While it lives, keeps the state of every task launched, on the thread that launches it.
class SeeLaunches {
public:
    explicit SeeLaunches(std::vector<std::weak_ptr<AsyncTask::SharedStateBase>>& states) {
        AsyncTask::SetOnSharedStateCreatedHook([&states](std::weak_ptr<AsyncTask::SharedStateBase> state) {
            states.push_back(std::move(state));
        });
    }
    ~SeeLaunches() { AsyncTask::SetOnSharedStateCreatedHook({}); }
};

ExecutionParameters ParallelParameters(unsigned int maxWorkerThreads, bool runInParallel = true) {
    ExecutionParameters parameters;
    parameters.runInParallel = runInParallel;
    parameters.maxWorkerThreads = maxWorkerThreads;
    return parameters;
}

// The thread count of the queue chosen for a pool of `total` threads with `inUse` busy; 1 must
// come with a serial queue, more with a parallel one.
unsigned int ThreadsChosen(ExecutionParameters const& parameters, unsigned int total,
                           unsigned long long inUse) {
    auto const queue = MakeWorkQueue(parameters, total, inUse);
    unsigned int const threads = queue->GetThreadCount();
    bool const serial = dynamic_cast<SerialTransformWorkQueue*>(queue.get()) != nullptr;
    EXPECT_EQ(serial, threads == 1) << "pool " << total << ", in use " << inUse;
    return threads;
}

}  // namespace

TEST(WorkQueueChoice, WorkersTakeAtMostHalfThePoolAndBackOffUnderLoad) {
    EXPECT_EQ(ThreadsChosen(ParallelParameters(4, false), 64, 0), 1u);

    ExecutionParameters const four = ParallelParameters(4);
    EXPECT_EQ(ThreadsChosen(four, 16, 0), 5u);  // the caller works beside its workers
    EXPECT_EQ(ThreadsChosen(four, 8, 0), 5u);
    EXPECT_EQ(ThreadsChosen(four, 6, 0), 4u);  // half the pool
    EXPECT_EQ(ThreadsChosen(four, 1, 0), 1u);  // no worker in a pool of one
    EXPECT_EQ(ThreadsChosen(four, 8, 4), 5u);  // all four fit
    EXPECT_EQ(ThreadsChosen(four, 8, 5), 3u);  // halved
    EXPECT_EQ(ThreadsChosen(four, 8, 7), 2u);  // quartered
    EXPECT_EQ(ThreadsChosen(four, 8, 8), 1u);  // 4, 2 and 1 all too many

    EXPECT_EQ(ThreadsChosen(ParallelParameters(3), 8, 7), 2u);  // 3 / 2 fits no better than 3 / 4
    EXPECT_EQ(ThreadsChosen(ParallelParameters(2), 8, 8), 1u);  // quartered to none
    EXPECT_EQ(ThreadsChosen(ParallelParameters(0), 8, 0), 1u);
}

TEST(WorkQueueChoice, TheProcessPoolIsLeftHalfFree) {
    auto const queue = MakeWorkQueue(ParallelParameters(1000));
    EXPECT_GE(queue->GetThreadCount(), 1u);
    EXPECT_LE(queue->GetThreadCount() - 1, TThreadPool::Get().GetNumberOfThreads() / 2);
}

// The serial queue, and a parallel one without workers, run everything on the caller in order.
// A task that stops, or throws, ends the run there: neither the rest of its batch nor a later
// batch runs.
// A parallel run's tasks are whole blocks, about 16 for each thread, and cover every row, also at
// the extremes of the row count and the block size.
TEST(WorkQueueChoice, TasksAreRunsOfWholeBlocksSixteenForEachThread) {
    struct Case {
        unsigned int rows, blockSize, threads;
        unsigned long long tasks;  // expected
    };
    for (Case const c : {Case{10'000'000, 1024, 2, 32}, Case{10'000'000, 1024, 3, 48}, Case{100, 1024, 2, 1},
                         Case{5000, 1024, 2, 5}, Case{0, 1024, 2, 1}, Case{4'294'967'295u, 1u << 31, 2, 2},
                         Case{4'294'967'295u, 1, 4, 64}, Case{7, 0, 0, 7}}) {
        SCOPED_TRACE(testing::Message() << c.rows << " rows in blocks of " << c.blockSize << " on "
                                        << c.threads << " threads");
        unsigned int const rows = RowsPerTask(c.rows, c.blockSize, c.threads);
        ASSERT_GE(rows, 1u);
        EXPECT_TRUE(rows % std::max(c.blockSize, 1u) == 0 || rows == std::max(c.rows, 1u));
        EXPECT_EQ(std::max((1ull * c.rows + rows - 1) / rows, 1ull), c.tasks);
    }
}

TEST(WorkQueue, OnTheCallerAloneTasksRunInOrderUntilOneStopsOrThrows) {
    SerialTransformWorkQueue serial;
    ParallelTransformWorkQueue noWorkers(0);
    for (TransformWorkQueue* queue : std::initializer_list<TransformWorkQueue*>{&serial, &noWorkers}) {
        EXPECT_EQ(queue->GetThreadCount(), 1u);
        std::vector<std::size_t> ran;
        std::size_t stopAt = 100;
        std::size_t throwAt = 100;
        auto const run = [&] {
            ran.clear();
            Tasks tasks = MakeTasks(50, [&](std::size_t index, unsigned int threadIndex) {  // batches of 10
                EXPECT_EQ(threadIndex, 0u);
                ran.push_back(index);
                if (index == throwAt) {
                    throw WorkerError();
                }
                return index != stopAt;
            });
            return queue->Run(tasks);
        };
        EXPECT_TRUE(run());
        EXPECT_EQ(ran, FirstIndices(50));
        stopAt = 13;
        EXPECT_FALSE(run());
        EXPECT_EQ(ran, FirstIndices(14));
        stopAt = 100;
        throwAt = 27;
        EXPECT_THROW(run(), WorkerError);
        EXPECT_EQ(ran, FirstIndices(28));
        Tasks none;
        EXPECT_TRUE(queue->Run(none));
    }
}

TEST(ParallelWorkQueueBatches, EachThreadTakesAFifthOfItsShareAtATime) {
    auto const firstBatch = [](std::size_t taskCount, unsigned int workers) {
        auto const queue = std::make_shared<ParallelTransformWorkQueueImpl>(
            MakeTasks(taskCount, [](std::size_t, unsigned int) { return true; }), workers);
        return queue->GetNextBatch().size();
    };
    EXPECT_EQ(firstBatch(10, 1), 1u);
    EXPECT_EQ(firstBatch(3, 4), 1u);  // fewer tasks than threads
    EXPECT_EQ(firstBatch(0, 2), 0u);

    // Batches are consecutive, do not overlap, and the last is cut to the end of the tasks.
    // Each task knows its index, so the batches show which tasks they hand out.
    std::vector<std::size_t> handedOut;
    auto const queue = std::make_shared<ParallelTransformWorkQueueImpl>(
        MakeTasks(1010, [&](std::size_t index, unsigned int) { return handedOut.push_back(index), true; }),
        4);
    std::vector<unsigned int> sizes;
    for (auto batch = queue->GetNextBatch(); !batch.empty(); batch = queue->GetNextBatch()) {
        sizes.push_back(batch.size());
        for (auto const& task : batch) {
            task->Run(0);
        }
    }
    std::vector<unsigned int> expected(25, 40);
    expected.push_back(10);
    EXPECT_EQ(sizes, expected);
    EXPECT_EQ(handedOut, FirstIndices(1010));
}

TEST(ParallelWorkQueueBatches, StopAndCancelHandOutNoMoreBatches) {
    for (bool const cancel : {false, true}) {
        auto const queue = std::make_shared<ParallelTransformWorkQueueImpl>(
            MakeTasks(100, [](std::size_t, unsigned int) { return true; }), 1);
        EXPECT_FALSE(queue->GetNextBatch().empty());
        cancel ? queue->Cancel() : queue->Stop();
        EXPECT_TRUE(queue->GetNextBatch().empty());
    }
}

// No two threads share an index, and no more workers start than there are batches: the caller,
// whose index follows the workers', shows how many started.
TEST(ParallelWorkQueue, EveryTaskRunsOnceOnThreadsOfTheirOwnIndex) {
    constexpr unsigned int c_workers = 3;
    for (std::size_t const taskCount : {2000u, 37u, 2u, 1u}) {  // batches of one below 40 tasks
        for (int round = 0; round < 10; ++round) {
            std::vector<std::atomic<int>> runs(taskCount);
            std::array<std::atomic<bool>, c_workers + 1> busy{};
            std::atomic<unsigned int> highestIndex{0};
            std::atomic<int> sharedIndex{0};
            Tasks tasks = MakeTasks(taskCount, [&](std::size_t index, unsigned int threadIndex) {
                unsigned int seen = highestIndex.load();
                while (threadIndex > seen && !highestIndex.compare_exchange_weak(seen, threadIndex)) {
                }
                auto& mine = busy[std::min(threadIndex, c_workers)];  // a wrong index fails the bound below
                if (mine.exchange(true)) {
                    ++sharedIndex;
                }
                ++runs[index];
                mine = false;
                return true;
            });
            ParallelTransformWorkQueue queue(c_workers);
            ASSERT_EQ(queue.GetThreadCount(), c_workers + 1);
            EXPECT_TRUE(queue.Run(tasks));
            EXPECT_TRUE(tasks.empty());
            EXPECT_LE(highestIndex.load(), std::min<std::size_t>(taskCount, c_workers));
            EXPECT_EQ(sharedIndex.load(), 0);
            EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](auto const& n) { return n.load() == 1; }))
                << taskCount << " tasks";
        }
    }
}

// In the tests below one worker starts, with index 0, and the caller has index 1. Each thread's
// first task waits for the other thread to reach a task, so that both surely work.

TEST(ParallelWorkQueue, AWorkersFailureEndsTheRunForEveryThread) {
    enum class Failure { Throw, Stop, ThrowWithTheCallerThrowingToo };
    for (Failure const failure : {Failure::Throw, Failure::Stop, Failure::ThrowWithTheCallerThrowingToo}) {
        SCOPED_TRACE(static_cast<int>(failure));
        // The worker's task state, seen as it is launched, tells when the worker has ended.
        std::vector<std::weak_ptr<AsyncTask::SharedStateBase>> launched;
        SeeLaunches const seeLaunches(launched);
        std::atomic<bool> callerEntered{false};
        std::atomic<int> workerRuns{0};
        std::atomic<int> callerRuns{0};
        Tasks tasks = MakeTasks(20, [&](std::size_t, unsigned int threadIndex) {  // batches of 2
            if (threadIndex == 0) {
                ++workerRuns;
                WaitUntilRaised(callerEntered);
                if (failure == Failure::Stop) {
                    return false;
                }
                throw WorkerError();
            }
            if (callerRuns++ == 0) {
                Raise(callerEntered);
                // Launched from this thread before it started working: the one worker.
                launched.at(0).lock()->GetRawReadyEvent().Wait();
                if (failure == Failure::ThrowWithTheCallerThrowingToo) {
                    throw CallerError();
                }
            }
            return true;
        });
        ParallelTransformWorkQueue queue(1);
        if (failure == Failure::Stop) {
            EXPECT_FALSE(queue.Run(tasks));
        } else {
            // The worker's exception, once, and before the caller's own.
            EXPECT_THROW(queue.Run(tasks), WorkerError);
        }
        EXPECT_EQ(launched.size(), 1u);
        EXPECT_EQ(workerRuns.load(), 1);
        // The caller finished the batch it held when the worker failed, and took no other.
        EXPECT_EQ(callerRuns.load(), failure == Failure::ThrowWithTheCallerThrowingToo ? 1 : 2);
    }
}

TEST(ParallelWorkQueue, ATaskStoppingOnTheCallerWaitsForTheWorkersBatch) {
    std::atomic<bool> workerEntered{false};
    std::atomic<bool> release{false};
    std::atomic<int> workerInTask{0};
    Tasks tasks = MakeTasks(20, [&](std::size_t, unsigned int threadIndex) {  // batches of 2
        if (threadIndex == 0) {
            ++workerInTask;
            Raise(workerEntered);
            WaitUntilRaised(release);
            --workerInTask;
            return true;
        }
        WaitUntilRaised(workerEntered);
        Raise(release);
        return false;
    });
    ParallelTransformWorkQueue queue(1);
    EXPECT_FALSE(queue.Run(tasks));
    EXPECT_EQ(workerInTask.load(), 0);  // no task runs once Run has returned
}

TEST(ParallelWorkQueue, WorkersOfACancelledTaskDoNotRunAndItsCancellationReachesTheCaller) {
    // The calling thread runs as a task whose cancel event is already signalled: the workers it
    // launches inherit the event and never start.
    using CancelPtr = RefCntPtr<TCancelEvent, RefCntObject>;
    CancelPtr const host(new TCancelEvent());
    host->Signal();
    AsyncTask::ScopedCancelImpersonation const asTask(true, host, nullptr);

    for (bool const callerStops : {false, true}) {
        std::atomic<int> workerRuns{0};
        std::atomic<int> callerRuns{0};
        Tasks tasks = MakeTasks(40, [&](std::size_t index, unsigned int threadIndex) {
            // Two workers start, with indices 0 and 1; the caller has index 2.
            ++(threadIndex == 2 ? callerRuns : workerRuns);
            return !(callerStops && index == 5);
        });
        ParallelTransformWorkQueue queue(2);
        if (callerStops) {
            // The run is unfinished, so the caller waits for its workers and meets their fate.
            EXPECT_THROW(queue.Run(tasks), AsyncTask::CancelException);
        } else {
            // The caller did all the work, so what the workers carry is not looked at: the run succeeds.
            EXPECT_TRUE(queue.Run(tasks));
            EXPECT_EQ(callerRuns.load(), 40);
        }
        EXPECT_EQ(workerRuns.load(), 0);
    }
}
