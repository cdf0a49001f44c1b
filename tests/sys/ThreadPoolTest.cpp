#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/FutureWait.h"
#include "vorsys/thread/TManualResetEvent.h"
#include "vorsys/thread/TThreadPool.h"

#include <gtest/gtest.h>

#include <latch>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

// Each test runs in a process of its own under ctest, so the size set here is the pool's; run
// together in one process the pool may already exist, and the tests use whatever size it has.

TEST(TThreadPool, TakesItsSizeOnlyBeforeFirstUse) {
    EXPECT_FALSE(TThreadPool::SetNumberOfThreads(0));
    bool const accepted = TThreadPool::SetNumberOfThreads(3);
    unsigned int const count = TThreadPool::Get().GetNumberOfThreads();
    if (accepted) {
        EXPECT_EQ(count, 3u);
    }
    EXPECT_GE(count, 1u);
    EXPECT_FALSE(TThreadPool::SetNumberOfThreads(5));
    EXPECT_EQ(TThreadPool::Get().GetNumberOfThreads(), count);
}

TEST(TThreadPool, AFullPoolRefusesLaunch4WhichThenRunsOnADedicatedThread) {
    TThreadPool::SetNumberOfThreads(2);
    TThreadPool& pool = TThreadPool::Get();
    unsigned int const threads = pool.GetNumberOfThreads();

    std::latch started(threads);
    TManualResetEvent release;
    std::mutex idsMutex;
    std::set<std::thread::id> poolThreads;
    std::vector<AsyncTask::Future<void>> blockers;
    for (unsigned int i = 0; i < threads; ++i) {
        blockers.push_back(AsyncTask::Run(
            [&] {
                {
                    std::lock_guard lock(idsMutex);
                    poolThreads.insert(std::this_thread::get_id());
                }
                started.count_down();
                release.Wait();
            },
            AsyncTask::Launch::ThreadPool));
    }
    started.wait();
    EXPECT_EQ(pool.GetThreadPoolUseCount(), threads);
    EXPECT_EQ(poolThreads.size(), threads);

    std::function<void()> refused = [] {};
    EXPECT_FALSE(
        AsyncTask::ScheduleOnThreadPool(std::move(refused), AsyncTask::Launch::ThreadPoolOrDedicatedThread));
    EXPECT_TRUE(refused) << "refused work stays with the caller";
    std::function<void()> notForThePool = [] {};
    EXPECT_FALSE(AsyncTask::ScheduleOnThreadPool(std::move(notForThePool), AsyncTask::Launch::Deferred));

    // Completes although every pool thread is blocked.
    std::thread::id ranOn;
    AsyncTask::Run([&] { ranOn = std::this_thread::get_id(); },
                   AsyncTask::Launch::ThreadPoolOrDedicatedThread)
        .Get();
    EXPECT_EQ(poolThreads.count(ranOn), 0u);
    EXPECT_NE(ranOn, std::this_thread::get_id());

    // A plain pool launch queues behind the blocked work instead.
    TManualResetEvent queuedRan;
    auto queued = AsyncTask::Run([&] { queuedRan.Signal(); }, AsyncTask::Launch::ThreadPool);
    EXPECT_FALSE(queued.IsReady());
    EXPECT_FALSE(queuedRan.IsSignalled());
    release.Signal();
    for (auto const& blocker : blockers) {
        blocker.Get();
    }
    queued.Get();
}

TEST(TThreadPool, ManyTasksAllRunExactlyOnce) {
    std::atomic<int> sum{0};
    std::vector<AsyncTask::Future<void>> futures;
    for (int i = 1; i <= 200; ++i) {
        auto const launch =
            i % 2 ? AsyncTask::Launch::ThreadPool : AsyncTask::Launch::ThreadPoolOrDedicatedThread;
        futures.push_back(AsyncTask::Run([i, &sum] { sum += i; }, launch));
    }
    EXPECT_TRUE(AsyncTask::WaitForAllFutures(futures));
    EXPECT_EQ(sum.load(), 200 * 201 / 2);
}
