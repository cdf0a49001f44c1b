#pragma once

#pragma GCC visibility push(default)

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "vorsys/thread/AsyncTaskCancel.h"
#include "vorsys/thread/AsyncTaskExceptions.h"
#include "vorsys/thread/AsyncTaskHooks.h"
#include "vorsys/thread/AsyncTaskLaunch.h"
#include "vorsys/thread/Future.h"
#include "vorsys/thread/SharedState.h"

namespace AsyncTask {

// Starts a task made by Run: gives it a cancel event of its own, the child of the launching
// thread's, tells the state-created hook, and hands its work, wrapped by the execution hook, to
// where `launch` says. A launch that the pool refuses runs on a dedicated thread.
void _Launch(std::shared_ptr<SharedStateBase> const& state, Launch launch, WhenCanceled whenCanceled);

// Runs `function` as a task and returns the future of its result. What it throws reaches the
// future; cancelling the launching thread, or the future, cancels it and all it launches.
template <class F>
auto Run(F&& function, Launch launch = Launch::ThreadPoolOrDedicatedThread,
         WhenCanceled whenCanceled = WhenCanceled::DoNotRun)
    -> Future<std::invoke_result_t<std::decay_t<F>&>> {
    using T = std::invoke_result_t<std::decay_t<F>&>;
    auto state = std::make_shared<SharedState<T>>(std::forward<F>(function));
    _Launch(state, launch, whenCanceled);
    return Future<T>(std::move(state));
}

}  // namespace AsyncTask

#pragma GCC visibility pop
