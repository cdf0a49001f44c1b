#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "vorsys/base/RefCntPtr.h"
#include "vorsys/thread/AsyncTaskLaunch.h"
#include "vorsys/thread/TCancelEvent.h"
#include "vorsys/thread/TManualResetEvent.h"
#include "vorsys/thread/TOneShotCallbacks.h"

namespace AsyncTask {

class SharedStateBase;
void _Launch(std::shared_ptr<SharedStateBase> const& state, Launch launch, WhenCanceled whenCanceled);

// The state that a task and its futures share: whether it is done, the exception it ended with,
// its cancel event, and for a deferred task who runs it. The typed state below adds the value.
class SharedStateBase : public std::enable_shared_from_this<SharedStateBase> {
public:
    SharedStateBase() = default;
    SharedStateBase(SharedStateBase const&) = delete;
    SharedStateBase& operator=(SharedStateBase const&) = delete;
    virtual ~SharedStateBase();

    virtual bool IsReady() const;

    // Blocks until the task is done. A deferred task that nobody runs yet runs here, inline.
    void Wait();
    // As Wait, for at most `timeout`; returns whether the task is done. A deferred task runs
    // inline whatever the timeout.
    bool WaitFor(std::chrono::milliseconds const& timeout);

    // Marks the task done: wakes its waiters, then runs its on-ready callbacks. Later calls do
    // nothing.
    void MarkAsReady();
    void SetException(std::exception_ptr exception);
    // Rethrows the exception the task ended with, if any. It does not wait.
    void CheckForException() const;
    IEvent& GetRawReadyEvent() noexcept { return m_ready; }

    // Runs `callback` once the task is done, at once if it already is; see TOneShotCallbacks for
    // the rules a callback keeps.
    void AddOnReadyCallback(void* key, std::function<void()> callback);
    void RemoveOnReadyCallback(void* key);

    void SetCancelEvent(RefCntPtr<TCancelEvent, RefCntObject> event);
    // Cancels this task and what it launched, not its launcher.
    void SignalCancelEventIfSet();
    // Detaches the task's cancel event from its launcher's, once the task has ended, so that a
    // long-lived launcher does not gather the events of finished tasks.
    void RemoveCancelOnSignalCallback();
    void SetWhenCanceled(WhenCanceled whenCanceled);

    void SetDeferred() noexcept { m_deferred.store(true, std::memory_order_release); }
    bool IsDeferred() const noexcept { return m_deferred.load(std::memory_order_acquire); }
    // Claims the running of a deferred task: true for exactly one caller.
    bool TryTakingDeferredOwnership() noexcept {
        return !m_deferredTaken.exchange(true, std::memory_order_acq_rel);
    }

protected:
    // The task's own work, set by the typed state before launch.
    void SetWork(std::function<void()> work) { m_work = std::move(work); }

private:
    friend VOR_PUBLIC void _Launch(std::shared_ptr<SharedStateBase> const& state, Launch launch,
                                   WhenCanceled whenCanceled);

    // Runs the task once: skips it when cancelled before the start (unless told to run anyway),
    // else runs the work as the task's thread and keeps what it throws; then lets go of the work,
    // detaches the cancel event and marks the task done.
    void Execute();
    bool RunDeferredIfOwned();

    TManualResetEvent m_ready;
    TOneShotCallbacks m_onReady;
    mutable std::mutex m_mutex;  // guards the three members below
    std::exception_ptr m_exception;
    RefCntPtr<TCancelEvent, RefCntObject> m_cancelEvent;
    WhenCanceled m_whenCanceled = WhenCanceled::DoNotRun;
    std::atomic<bool> m_deferred{false};
    std::atomic<bool> m_deferredTaken{false};
    std::function<void()> m_work;
    // For a deferred task: Execute as the execution hook wrapped it.
    std::function<void()> m_deferredRun;
};

// The state of a task that makes a value of type T.
template <class T>
class SharedState final : public SharedStateBase {
public:
    template <class F>
    explicit SharedState(F&& function) {
        SetWork([this, function = std::forward<F>(function)]() mutable { m_value.emplace(function()); });
    }

    // The value; only once the task is done without an exception.
    T const& GetValue() const { return *m_value; }

private:
    std::optional<T> m_value;
};

template <>
class SharedState<void> final : public SharedStateBase {
public:
    template <class F>
    explicit SharedState(F&& function) {
        SetWork(std::forward<F>(function));
    }
};

}  // namespace AsyncTask

#pragma GCC visibility pop
