#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "vorsys/base/RefCntPtr.h"
#include "vorsys/thread/TCancelEvent.h"

namespace AsyncTask {

class SharedStateBase;

namespace Cancel {

// The calling thread's cancel event, which the work it launches inherits; null outside any task
// unless the host set one.
RefCntPtr<TCancelEvent, RefCntObject> Get();

// Throws CancelException when the calling thread's cancel event is signalled.
void ThrowIfCancelled();

}  // namespace Cancel

// For its lifetime the calling thread counts as the thread of a task: its TLS cancel event is
// `event` and its depth one more, both restored on destruction. The event and `state` (the
// task's, which may be null) are kept alive meanwhile. With `impersonate` false it does nothing.
class ScopedCancelImpersonation {
public:
    ScopedCancelImpersonation(bool impersonate, RefCntPtr<TCancelEvent, RefCntObject> event,
                              std::shared_ptr<SharedStateBase> const& state);
    ~ScopedCancelImpersonation();
    ScopedCancelImpersonation(ScopedCancelImpersonation const&) = delete;
    ScopedCancelImpersonation& operator=(ScopedCancelImpersonation const&) = delete;

private:
    bool m_impersonating;
    RefCntPtr<TCancelEvent, RefCntObject> m_event;
    std::shared_ptr<SharedStateBase> m_state;
    TCancelEvent* m_previousEvent = nullptr;
    unsigned long long m_previousDepth = 0;
};

}  // namespace AsyncTask

#pragma GCC visibility pop
