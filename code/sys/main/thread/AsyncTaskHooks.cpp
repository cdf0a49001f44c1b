#include "vorsys/thread/AsyncTaskHooks.h"

#include <mutex>

namespace {

// Never destroyed, so that tasks still running at exit can reach them. A hook is called on a copy
// taken under the lock, so a hook may launch tasks of its own.
struct Hooks {
    std::mutex mutex;
    std::shared_ptr<AsyncTask::ExecutionHook const> execution;
    std::shared_ptr<AsyncTask::SharedStateCreatedHook const> stateCreated;
};

Hooks& TheHooks() {
    static Hooks* const hooks = new Hooks;
    return *hooks;
}

template <class Hook>
std::shared_ptr<Hook const> Load(std::shared_ptr<Hook const> Hooks::*slot) {
    Hooks& hooks = TheHooks();
    std::lock_guard lock(hooks.mutex);
    return hooks.*slot;
}

template <class Hook>
void Store(std::shared_ptr<Hook const> Hooks::*slot, Hook hook) {
    auto made = hook ? std::make_shared<Hook const>(std::move(hook)) : nullptr;
    Hooks& hooks = TheHooks();
    std::lock_guard lock(hooks.mutex);
    (hooks.*slot).swap(made);
}

}  // namespace

void AsyncTask::SetExecutionHook(ExecutionHook hook) {
    Store(&Hooks::execution, std::move(hook));
}

void AsyncTask::SetOnSharedStateCreatedHook(SharedStateCreatedHook hook) {
    Store(&Hooks::stateCreated, std::move(hook));
}

std::function<void()> AsyncTask::_ApplyExecutionHook(std::function<void()> work, bool onThreadPool) {
    if (auto const hook = Load(&Hooks::execution)) {
        return (*hook)(std::move(work), onThreadPool);
    }
    return work;
}

void AsyncTask::_ApplyOnSharedStateCreatedHook(std::weak_ptr<SharedStateBase> state) {
    if (auto const hook = Load(&Hooks::stateCreated)) {
        (*hook)(std::move(state));
    }
}
