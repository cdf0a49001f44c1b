#include "vorsys/thread/SharedState.h"

#include "vorsys/thread/AsyncTaskCancel.h"
#include "vorsys/thread/AsyncTaskExceptions.h"

#include "BlockingWait.h"

AsyncTask::SharedStateBase::~SharedStateBase() = default;

bool AsyncTask::SharedStateBase::IsReady() const {
    return m_ready.IsSignalled();
}

bool AsyncTask::SharedStateBase::RunDeferredIfOwned() {
    if (!IsDeferred() || !TryTakingDeferredOwnership()) {
        return false;
    }
    std::function<void()> run = std::move(m_deferredRun);
    run();
    return true;
}

void AsyncTask::SharedStateBase::Wait() {
    RunDeferredIfOwned();
    vorsys_detail::BlockOn(m_ready, std::chrono::milliseconds::max());
}

bool AsyncTask::SharedStateBase::WaitFor(std::chrono::milliseconds const& timeout) {
    RunDeferredIfOwned();
    return vorsys_detail::BlockOn(m_ready, timeout);
}

void AsyncTask::SharedStateBase::MarkAsReady() {
    if (m_ready.Signal()) {
        m_onReady.Fire();
    }
}

void AsyncTask::SharedStateBase::SetException(std::exception_ptr exception) {
    std::lock_guard lock(m_mutex);
    m_exception = std::move(exception);
}

void AsyncTask::SharedStateBase::CheckForException() const {
    std::exception_ptr exception;
    {
        std::lock_guard lock(m_mutex);
        exception = m_exception;
    }
    if (exception) {
        std::rethrow_exception(exception);
    }
}

void AsyncTask::SharedStateBase::AddOnReadyCallback(void* key, std::function<void()> callback) {
    m_onReady.Add(key, std::move(callback));
}

void AsyncTask::SharedStateBase::RemoveOnReadyCallback(void* key) {
    m_onReady.Remove(key);
}

void AsyncTask::SharedStateBase::SetCancelEvent(RefCntPtr<TCancelEvent, RefCntObject> event) {
    std::lock_guard lock(m_mutex);
    m_cancelEvent = std::move(event);
}

void AsyncTask::SharedStateBase::SignalCancelEventIfSet() {
    RefCntPtr<TCancelEvent, RefCntObject> event;
    {
        std::lock_guard lock(m_mutex);
        event = m_cancelEvent;
    }
    if (event) {
        event->Signal();
    }
}

void AsyncTask::SharedStateBase::RemoveCancelOnSignalCallback() {
    RefCntPtr<TCancelEvent, RefCntObject> event;
    {
        std::lock_guard lock(m_mutex);
        event = m_cancelEvent;
    }
    if (event) {
        event->DetachFromParent();
    }
}

void AsyncTask::SharedStateBase::SetWhenCanceled(WhenCanceled whenCanceled) {
    std::lock_guard lock(m_mutex);
    m_whenCanceled = whenCanceled;
}

void AsyncTask::SharedStateBase::Execute() {
    RefCntPtr<TCancelEvent, RefCntObject> event;
    WhenCanceled whenCanceled;
    {
        std::lock_guard lock(m_mutex);
        event = m_cancelEvent;
        whenCanceled = m_whenCanceled;
    }
    if (event && event->IsSignalled() && whenCanceled == WhenCanceled::DoNotRun) {
        SetException(std::make_exception_ptr(CancelException()));
    } else {
        ScopedCancelImpersonation const asTask(true, event, shared_from_this());
        try {
            m_work();
        } catch (...) {
            SetException(std::current_exception());
        }
    }
    m_work = nullptr;
    RemoveCancelOnSignalCallback();
    MarkAsReady();
}
