#include "vorsys/thread/AsyncTask.h"
#include "vorsys/thread/AsyncTaskTLS.h"
#include "vorsys/thread/IWaitHandler.h"
#include "vorsys/thread/TManualResetEvent.h"
#include "vorsys/thread/WaitForAll.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using AsyncTask::Future;
using AsyncTask::Launch;

namespace {

struct TaskFailure : std::runtime_error {
    TaskFailure(char const* text, int code) : std::runtime_error(text), code(code) {}
    int code;
};

// Removes the hooks a test installed, whatever the test's outcome.
struct HookReset {
    ~HookReset() {
        AsyncTask::SetExecutionHook({});
        AsyncTask::SetOnSharedStateCreatedHook({});
    }
};

}  // namespace

TEST(AsyncTask, AnExceptionCrossesThreadsOnceWithItsTypeIntact) {
    for (Launch const launch :
         {Launch::ThreadPool, Launch::DedicatedThread, Launch::ThreadPoolOrDedicatedThread}) {
        std::atomic<int> runs{0};
        auto const future = AsyncTask::Run(
            [&] {
                ++runs;
                throw TaskFailure("task failed", 17);
            },
            launch);
        future.Wait();
        EXPECT_TRUE(future.IsReady());
        try {
            future.CheckForException();
            ADD_FAILURE() << "no exception";
        } catch (TaskFailure const& failure) {
            EXPECT_EQ(failure.code, 17);
            EXPECT_STREQ(failure.what(), "task failed");
        }
        EXPECT_THROW(future.Get(), TaskFailure);  // still there for a second look
        EXPECT_EQ(runs.load(), 1);
    }
}

TEST(AsyncTask, ADeferredTaskRunsOnceInlineOnTheFirstWaiter) {
    std::atomic<int> runs{0};
    std::thread::id ranOn;
    auto const future = AsyncTask::Run(
        [&] {
            ++runs;
            ranOn = std::this_thread::get_id();
            return 42;
        },
        Launch::Deferred);
    EXPECT_TRUE(future.IsDeferred());
    EXPECT_FALSE(future.GetReadyEvent().WaitFor(1ms));  // nothing runs it but a wait on the future
    EXPECT_EQ(runs.load(), 0);
    EXPECT_EQ(future.Get(), 42);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_TRUE(future.WaitFor(0ms));
    EXPECT_EQ(runs.load(), 1);

    // Several waiters at once: exactly one runs it, the others wait for that one.
    auto const contested = AsyncTask::Run([&] { ++runs; }, Launch::Deferred);
    std::latch start(3);
    std::vector<std::jthread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            start.arrive_and_wait();
            contested.Wait();
            EXPECT_TRUE(contested.IsReady());
        });
    }
    waiters.clear();
    EXPECT_EQ(runs.load(), 2);
}

TEST(AsyncTask, ValuesAndTheEmptyFuture) {
    auto const text = AsyncTask::Run([] { return std::string("made on a pool thread"); }, Launch::ThreadPool);
    EXPECT_EQ(text.Get(), "made on a pool thread");

    Future<void> const empty;
    EXPECT_FALSE(empty.IsValid());
    EXPECT_THROW(empty.Wait(), AsyncTask::InvalidFutureException);
    EXPECT_THROW(empty.Cancel(), AsyncTask::InvalidFutureException);
    EXPECT_THROW(Future<int>().Get(), VorlaneException);
}

TEST(SharedStateBase, ReadyCallbacksRunOnceByKeyAndAtOnceWhenAlreadyReady) {
    auto const state = std::make_shared<AsyncTask::SharedState<void>>([] {});
    int before = 0;
    int removed = 0;
    int after = 0;
    state->AddOnReadyCallback(&before, [&] { ++removed; });
    state->AddOnReadyCallback(&before, [&] { ++before; });  // same key: replaces
    state->AddOnReadyCallback(&removed, [&] { ++removed; });
    state->RemoveOnReadyCallback(&removed);
    EXPECT_FALSE(state->IsReady());
    state->MarkAsReady();
    state->MarkAsReady();
    EXPECT_TRUE(state->IsReady());
    EXPECT_EQ(before, 1);
    EXPECT_EQ(removed, 0);
    state->AddOnReadyCallback(&after, [&] { ++after; });
    EXPECT_EQ(after, 1);
    state->SetException(std::make_exception_ptr(TaskFailure("late", 3)));
    EXPECT_THROW(state->CheckForException(), TaskFailure);
}

TEST(AsyncTask, EveryLaunchGoesThroughTheHooks) {
    HookReset const reset;
    std::atomic<int> created{0};
    std::atomic<int> onPool{0};
    std::atomic<int> offPool{0};
    std::atomic<int> wrappedRuns{0};
    AsyncTask::SetOnSharedStateCreatedHook([&](std::weak_ptr<AsyncTask::SharedStateBase>) { ++created; });
    AsyncTask::SetExecutionHook([&](std::function<void()> work, bool onThreadPool) {
        ++(onThreadPool ? onPool : offPool);
        return std::function<void()>([&wrappedRuns, work = std::move(work)] {
            ++wrappedRuns;
            work();
        });
    });
    AsyncTask::Run([] {}, Launch::ThreadPool).Get();
    AsyncTask::Run([] {}, Launch::DedicatedThread).Get();
    AsyncTask::Run([] {}, Launch::Deferred).Get();
    EXPECT_EQ(created.load(), 3);
    EXPECT_EQ(onPool.load(), 1);
    EXPECT_EQ(offPool.load(), 2);
    EXPECT_EQ(wrappedRuns.load(), 3);
}

TEST(AsyncTask, BlockingWaitsGoThroughTheThreadsWaitHandler) {
    // The task can only finish once the waiting thread has reached its handler.
    struct ReleasingHandler final : AsyncTask::IWaitHandler {
        bool WaitFor(IEvent const& event, std::chrono::milliseconds timeout) override {
            ++calls;
            release.Signal();
            return event.WaitFor(timeout);
        }
        int calls = 0;
        TManualResetEvent release;
    } handler;
    AsyncTask::TLS& tls = AsyncTask::TLS::Get();
    tls.SetWaitHandler(&handler);
    auto const future = AsyncTask::Run([&] { handler.release.Wait(); });
    future.Wait();
    EXPECT_EQ(handler.calls, 1);
    TManualResetEvent never;
    EXPECT_FALSE(WaitForAll({&never}, 0ms));
    EXPECT_EQ(handler.calls, 2);
    tls.SetWaitHandler(nullptr);
}
