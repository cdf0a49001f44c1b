#include "vorsys/thread/TManualResetEvent.h"

#include "Deadline.h"

bool TManualResetEvent::Signal() {
    {
        std::lock_guard lock(m_mutex);
        if (m_signalled.load(std::memory_order_relaxed)) {
            return false;
        }
        m_signalled.store(true, std::memory_order_release);
    }
    m_changed.notify_all();
    return true;
}

void TManualResetEvent::Reset() {
    std::lock_guard lock(m_mutex);
    m_signalled.store(false, std::memory_order_release);
}

void TManualResetEvent::Wait() const {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_signalled.load(std::memory_order_relaxed); });
}

bool TManualResetEvent::WaitFor(std::chrono::milliseconds timeout) const {
    auto const deadline = vorsys_detail::DeadlineAfter(timeout);
    std::unique_lock lock(m_mutex);
    auto const signalled = [this] { return m_signalled.load(std::memory_order_relaxed); };
    if (!deadline) {
        m_changed.wait(lock, signalled);
        return true;
    }
    return m_changed.wait_until(lock, *deadline, signalled);
}
