#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <memory>
#include <type_traits>
#include <utility>

#include "vorsys/thread/IEvent.h"
#include "vorsys/thread/SharedState.h"

namespace AsyncTask {

// What every future offers, whatever its value type. Copies of a future share one task. Every
// operation but IsValid throws InvalidFutureException on a future without a task.
class IWrappedFuture {
public:
    virtual ~IWrappedFuture() = default;

    virtual bool IsValid() const noexcept = 0;
    virtual bool IsReady() const = 0;
    virtual bool IsDeferred() const = 0;
    // Blocks until the task is done; a deferred task runs inline, on this thread.
    virtual void Wait() const = 0;
    virtual bool WaitFor(std::chrono::milliseconds const& timeout) const = 0;
    // Rethrows what the task threw, if anything; it does not wait.
    virtual void CheckForException() const = 0;
    // The event signalled when the task is done. A deferred task never signals it unless someone
    // waits on the future itself.
    virtual IEvent& GetReadyEvent() const = 0;
    // Cancels the task and the work it launched; its launcher is left alone.
    virtual void Cancel() const = 0;
};

// The part of a future that does not depend on the value type.
class FutureBase : public IWrappedFuture {
public:
    bool IsValid() const noexcept override { return m_state != nullptr; }
    bool IsReady() const override { return State().IsReady(); }
    bool IsDeferred() const override { return State().IsDeferred(); }
    void Wait() const override { State().Wait(); }
    bool WaitFor(std::chrono::milliseconds const& timeout) const override { return State().WaitFor(timeout); }
    void CheckForException() const override { State().CheckForException(); }
    IEvent& GetReadyEvent() const override { return State().GetRawReadyEvent(); }
    void Cancel() const override { State().SignalCancelEventIfSet(); }

protected:
    FutureBase() = default;
    explicit FutureBase(std::shared_ptr<SharedStateBase> state) noexcept : m_state(std::move(state)) {}

    SharedStateBase& State() const;

private:
    std::shared_ptr<SharedStateBase> m_state;
};

// The future of a task that makes a T, or nothing for void. Get waits, rethrows what the task
// threw, and gives the value.
template <class T>
class Future final : public FutureBase {
public:
    Future() = default;
    explicit Future(std::shared_ptr<SharedState<T>> state) noexcept : FutureBase(std::move(state)) {}

    using GetResult =
        std::conditional_t<std::is_void_v<T>, void, std::add_lvalue_reference_t<std::add_const_t<T>>>;

    GetResult Get() const {
        Wait();
        CheckForException();
        if constexpr (!std::is_void_v<T>) {
            return static_cast<SharedState<T>&>(State()).GetValue();
        }
    }
};

}  // namespace AsyncTask

#pragma GCC visibility pop
