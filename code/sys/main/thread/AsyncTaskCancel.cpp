#include "vorsys/thread/AsyncTaskCancel.h"

#include "vorsys/thread/AsyncTaskExceptions.h"
#include "vorsys/thread/AsyncTaskTLS.h"

RefCntPtr<TCancelEvent, RefCntObject> AsyncTask::Cancel::Get() {
    return RefCntPtr<TCancelEvent, RefCntObject>(TLS::Get().GetCancelEvent());
}

void AsyncTask::Cancel::ThrowIfCancelled() {
    TCancelEvent const* event = TLS::Get().GetCancelEvent();
    if ((event) != nullptr && event->IsSignalled()) {
        throw CancelException();
    }
}

AsyncTask::ScopedCancelImpersonation::ScopedCancelImpersonation(bool impersonate,
                                                                RefCntPtr<TCancelEvent, RefCntObject> event,
                                                                std::shared_ptr<SharedStateBase> const& state)
    : m_impersonating(impersonate) {
    if (!m_impersonating) {
        return;
    }
    m_event = std::move(event);
    m_state = state;
    TLS& tls = TLS::Get();
    m_previousEvent = tls.GetCancelEvent();
    m_previousDepth = tls.GetDepth();
    tls.SetCancelEvent(m_event.get());
    tls.SetDepth(m_previousDepth + 1);
}

AsyncTask::ScopedCancelImpersonation::~ScopedCancelImpersonation() {
    if (!m_impersonating) {
        return;
    }
    TLS& tls = TLS::Get();
    tls.SetCancelEvent(m_previousEvent);
    tls.SetDepth(m_previousDepth);
}
