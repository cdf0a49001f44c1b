#pragma once

#pragma GCC visibility push(default)

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "vorsys/thread/IEvent.h"

// An event that stays signalled, releasing every waiter present and future, until Reset().
class TManualResetEvent final : public IEvent {
public:
    explicit TManualResetEvent(bool signalled = false) noexcept : m_signalled(signalled) {}
    TManualResetEvent(TManualResetEvent const&) = delete;
    TManualResetEvent& operator=(TManualResetEvent const&) = delete;

    // Signals the event; returns false when it already was.
    bool Signal();
    void Reset();

    bool IsSignalled() const override { return m_signalled.load(std::memory_order_acquire); }
    void Wait() const override;
    bool WaitFor(std::chrono::milliseconds timeout) const override;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    // Written under m_mutex; atomic so that IsSignalled needs no lock.
    std::atomic<bool> m_signalled;
};

#pragma GCC visibility pop
