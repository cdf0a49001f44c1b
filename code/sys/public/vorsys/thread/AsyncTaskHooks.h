#pragma once

#pragma GCC visibility push(default)

#include <functional>
#include <memory>

namespace AsyncTask {

class SharedStateBase;

// Wraps the work of every launched task, for a host that must set up each thread that runs one
// (logging context, profiling). `onThreadPool` says whether the result will run on a pool thread;
// otherwise it runs on a dedicated thread or, for a deferred task, on the thread that waits.
using ExecutionHook = std::function<std::function<void()>(std::function<void()> work, bool onThreadPool)>;
// Sees every task state as it is made, for a host that tracks the tasks alive.
using SharedStateCreatedHook = std::function<void(std::weak_ptr<SharedStateBase> state)>;

// Installs a hook, in place of the one before; an empty function removes it. Launches that are
// under way may still use the old one.
void SetExecutionHook(ExecutionHook hook);
void SetOnSharedStateCreatedHook(SharedStateCreatedHook hook);

// What the launches call: the work as the hook wraps it, or unchanged without a hook.
std::function<void()> _ApplyExecutionHook(std::function<void()> work, bool onThreadPool);
// Tells the hook, if any, about a new state; called once for each.
void _ApplyOnSharedStateCreatedHook(std::weak_ptr<SharedStateBase> state);

}  // namespace AsyncTask

#pragma GCC visibility pop
