#pragma once

#pragma GCC visibility push(default)

#include <functional>
#include <mutex>

#include "vorsys/base/RefCntObject.h"
#include "vorsys/base/RefCntPtr.h"
#include "vorsys/thread/IEvent.h"
#include "vorsys/thread/TManualResetEvent.h"
#include "vorsys/thread/TOneShotCallbacks.h"

// A cancellation token: signalled once, never reset. An event made as the child of another is
// signalled when its parent is (at once if the parent already was), so that cancelling a thread
// cancels all the work it started, transitively, while cancelling a child leaves its parent and
// siblings alone. A child holds its parent alive until it is detached or destroyed.
class TCancelEvent final : public RefCntObject, public IEvent {
public:
    // A root event, or the child of `parent` when it is not null.
    explicit TCancelEvent(RefCntPtr<TCancelEvent, RefCntObject> parent = {});
    ~TCancelEvent() override;
    TCancelEvent(TCancelEvent const&) = delete;
    TCancelEvent& operator=(TCancelEvent const&) = delete;

    // Signals the event, then runs its on-signal callbacks, children included.
    void Signal();

    bool IsSignalled() const override { return m_event.IsSignalled(); }
    void Wait() const override { m_event.Wait(); }
    bool WaitFor(std::chrono::milliseconds timeout) const override { return m_event.WaitFor(timeout); }

    // Runs `callback` once when the event is signalled, or at once if it already is; see
    // TOneShotCallbacks for the rules a callback keeps.
    void AddOnSignalCallback(void* key, std::function<void()> callback);
    // Once this returns the callback under `key` will not run.
    void RemoveOnSignalCallback(void* key);

    // Cuts the link to the parent: a later signal of the parent no longer reaches this event.
    void DetachFromParent();

private:
    TManualResetEvent m_event;
    TOneShotCallbacks m_callbacks;
    std::mutex m_parentMutex;
    RefCntPtr<TCancelEvent, RefCntObject> m_parent;
};

#pragma GCC visibility pop
