#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/AsyncTaskTLS.h"
#include "vorsys/thread/TManualResetEvent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>

using AsyncTask::CancelException;
using AsyncTask::Launch;
using AsyncTask::ScopedCancelImpersonation;
using AsyncTask::WhenCanceled;
using CancelPtr = RefCntPtr<TCancelEvent, RefCntObject>;

TEST(Cancellation, ImpersonationSetsAndRestoresTheThreadsEventAndDepth) {
    EXPECT_FALSE(AsyncTask::Cancel::Get());  // outside any task: no event, depth zero
    EXPECT_EQ(AsyncTask::TLS::Get().GetDepth(), 0u);
    {
        ScopedCancelImpersonation const nothing(false, CancelPtr(new TCancelEvent()), nullptr);
        EXPECT_FALSE(AsyncTask::Cancel::Get());
    }
    CancelPtr const outer(new TCancelEvent());
    CancelPtr const inner(new TCancelEvent());
    {
        ScopedCancelImpersonation const a(true, outer, nullptr);
        EXPECT_EQ(AsyncTask::Cancel::Get(), outer);
        {
            ScopedCancelImpersonation const b(true, inner, nullptr);
            EXPECT_EQ(AsyncTask::TLS::Get().GetDepth(), 2u);
            inner->Signal();
            EXPECT_THROW(AsyncTask::Cancel::ThrowIfCancelled(), CancelException);
        }
        EXPECT_EQ(AsyncTask::Cancel::Get(), outer);
        EXPECT_EQ(AsyncTask::TLS::Get().GetDepth(), 1u);
        EXPECT_NO_THROW(AsyncTask::Cancel::ThrowIfCancelled());
    }
    EXPECT_FALSE(AsyncTask::Cancel::Get());
}

TEST(Cancellation, CancellingTheLauncherReachesWorkStartedByItsTasks) {
    CancelPtr const host(new TCancelEvent());
    ScopedCancelImpersonation const asHost(true, host, nullptr);
    std::latch innerWaiting(1);
    std::atomic<unsigned long long> innerDepth{0};
    std::atomic<unsigned long long> inlineDepth{0};
    auto const outer = AsyncTask::Run([&] {
        CancelPtr const own = AsyncTask::Cancel::Get();
        EXPECT_TRUE(own && own != host);
        // The depth counts the tasks running on one thread: a deferred task runs inside this one.
        AsyncTask::Run([&] { inlineDepth = AsyncTask::TLS::Get().GetDepth(); }, Launch::Deferred).Get();
        auto const inner = AsyncTask::Run([&] {
            innerDepth = AsyncTask::TLS::Get().GetDepth();
            innerWaiting.count_down();
            AsyncTask::Cancel::Get()->Wait();
            AsyncTask::Cancel::ThrowIfCancelled();
        });
        inner.Get();
    });
    innerWaiting.wait();
    EXPECT_FALSE(outer.IsReady());
    host->Signal();
    EXPECT_THROW(outer.Get(), CancelException);
    EXPECT_EQ(innerDepth.load(), 1u);
    EXPECT_EQ(inlineDepth.load(), 2u);
}

TEST(Cancellation, FutureCancelReachesOnlyThatTaskAndWhatItStarted) {
    CancelPtr const host(new TCancelEvent());
    ScopedCancelImpersonation const asHost(true, host, nullptr);
    std::latch running(2);
    CancelPtr events[2];
    TManualResetEvent release;
    auto const task = [&](int index) {
        return AsyncTask::Run(
            [&, index] {
                events[index] = AsyncTask::Cancel::Get();
                running.count_down();
                release.Wait();
                AsyncTask::Cancel::ThrowIfCancelled();
            },
            Launch::DedicatedThread);
    };
    auto const cancelled = task(0);
    auto const sibling = task(1);
    running.wait();
    cancelled.Cancel();
    EXPECT_TRUE(events[0]->IsSignalled());
    EXPECT_FALSE(events[1]->IsSignalled());
    EXPECT_FALSE(host->IsSignalled());
    release.Signal();
    EXPECT_THROW(cancelled.Get(), CancelException);
    EXPECT_NO_THROW(sibling.Get());
    // A finished task's event is cut from its launcher's.
    host->Signal();
    EXPECT_FALSE(events[1]->IsSignalled());
}

TEST(Cancellation, ATaskCancelledBeforeItStartsDoesNotRunUnlessToldTo) {
    CancelPtr const host(new TCancelEvent());
    ScopedCancelImpersonation const asHost(true, host, nullptr);
    host->Signal();
    for (Launch const launch : {Launch::ThreadPoolOrDedicatedThread, Launch::ThreadPool,
                                Launch::DedicatedThread, Launch::Deferred}) {
        std::atomic<bool> ran{false};
        auto const skipped = AsyncTask::Run([&] { ran = true; }, launch, WhenCanceled::DoNotRun);
        EXPECT_THROW(skipped.Get(), CancelException);
        EXPECT_FALSE(ran.load());

        auto const forced = AsyncTask::Run(
            [&] {
                ran = true;
                return AsyncTask::Cancel::Get()->IsSignalled();
            },
            launch, WhenCanceled::RunAnyway);
        EXPECT_TRUE(forced.Get());
        EXPECT_TRUE(ran.load());
    }
}

TEST(Cancellation, ADeferredTaskChecksItsEventWhenItIsRunNotWhenLaunched) {
    CancelPtr const host(new TCancelEvent());
    ScopedCancelImpersonation const asHost(true, host, nullptr);
    bool ran = false;
    auto const future = AsyncTask::Run([&] { ran = true; }, Launch::Deferred);
    future.Cancel();
    EXPECT_FALSE(host->IsSignalled());
    EXPECT_THROW(future.Get(), CancelException);
    EXPECT_FALSE(ran);
}
