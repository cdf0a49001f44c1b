#pragma once

#pragma GCC visibility push(default)

class TCancelEvent;

namespace AsyncTask {

class IWaitHandler;

// What the task machinery knows about the calling thread: how deep in tasks it runs (0 outside
// any task), the cancel event that the work it launches inherits, and the handler its blocking
// waits go through. The record holds plain pointers: whoever sets them keeps them alive, as
// ScopedCancelImpersonation does for the cancel event.
class TLS {
public:
    static TLS& Get() noexcept;

    unsigned long long GetDepth() const noexcept { return m_depth; }
    void SetDepth(unsigned long long depth) noexcept { m_depth = depth; }

    TCancelEvent* GetCancelEvent() const noexcept { return m_cancelEvent; }
    void SetCancelEvent(TCancelEvent* event) noexcept { m_cancelEvent = event; }

    IWaitHandler* GetWaitHandler() const noexcept { return m_waitHandler; }
    void SetWaitHandler(IWaitHandler* handler) noexcept { m_waitHandler = handler; }

private:
    unsigned long long m_depth = 0;
    TCancelEvent* m_cancelEvent = nullptr;
    IWaitHandler* m_waitHandler = nullptr;
};

}  // namespace AsyncTask

#pragma GCC visibility pop
