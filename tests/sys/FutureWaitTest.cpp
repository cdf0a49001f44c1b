#include "vorsys/thread/FutureWait.h"

#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/TManualResetEvent.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::chrono_literals;
using AsyncTask::Future;
using AsyncTask::Launch;

TEST(FutureWait, WaitsForEveryFutureWithinTheTimeout) {
    EXPECT_TRUE(AsyncTask::WaitForAllFutures(std::vector<Future<void>>{}, 0ms));
    TManualResetEvent release;
    std::vector<Future<int>> futures;
    futures.push_back(AsyncTask::Run([] { return 1; }));
    futures.push_back(AsyncTask::Run([&] {
        release.Wait();
        return 2;
    }));
    EXPECT_FALSE(AsyncTask::WaitForAllFutures(futures, 5ms));
    release.Signal();
    EXPECT_TRUE(AsyncTask::WaitForAllFutures(futures));
    EXPECT_TRUE(futures[0].IsReady());
    EXPECT_EQ(futures[1].Get(), 2);
}

TEST(FutureWait, ADeferredFutureInTheSetIsALogicFailure) {
    std::vector<Future<void>> futures;
    futures.push_back(AsyncTask::Run([] {}, Launch::DedicatedThread));
    futures.push_back(AsyncTask::Run([] {}, Launch::Deferred));
    try {
        AsyncTask::WaitForAllFutures(futures);
        ADD_FAILURE() << "no exception";
    } catch (VorlaneLogicException const& failure) {
        EXPECT_EQ(failure.GetConditionText(), "!anyDeferred || 0 == futures.size()");
        EXPECT_TRUE(failure.GetSourcePath().ends_with("vorsys/thread/FutureWait.h"))
            << failure.GetSourcePath();
        EXPECT_GT(failure.GetLine(), 0);
    }
    EXPECT_FALSE(futures[1].IsReady());  // refused before running anything
    futures[1].Get();
}
