#pragma once

#pragma GCC visibility push(default)

#include <functional>

namespace AsyncTask {

// Where and when a launched task runs.
enum class Launch {
    // On a thread of its own.
    DedicatedThread = 1,
    // Not until someone waits for it, and then on the waiting thread.
    Deferred = 2,
    // Queued on the pool, however busy; on a thread of its own only if the pool is stopping.
    ThreadPool = 3,
    // On the pool if a thread of it is free to start the task now, else on a thread of its own:
    // the task never waits in a queue behind other work.
    ThreadPoolOrDedicatedThread = 4,
};

// What a task does when its cancel event is signalled before it starts.
enum class WhenCanceled {
    // It does not run, and its future carries CancelException.
    DoNotRun = 0,
    // It runs all the same; it may still poll Cancel::ThrowIfCancelled.
    RunAnyway = 1,
};

// Hands `work` to the process-wide pool. With Launch::ThreadPool the pool queues it and refuses
// only while stopping; with Launch::ThreadPoolOrDedicatedThread it takes it only when a thread is
// free to start it now. Other launches are not the pool's. Returns whether the pool took the work;
// when it did not, `work` is left untouched for the caller to run elsewhere.
bool ScheduleOnThreadPool(std::function<void()>&& work, Launch launch);

// Runs `work` on a new detached thread, which touches nothing but `work` and so may still run
// while the process exits. `work` must not throw.
void RunOnDedicatedThread(std::function<void()>&& work);

}  // namespace AsyncTask

#pragma GCC visibility pop
