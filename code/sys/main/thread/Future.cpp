#include "vorsys/thread/Future.h"

#include "vorsys/thread/AsyncTaskExceptions.h"

AsyncTask::SharedStateBase& AsyncTask::FutureBase::State() const {
    if (m_state == nullptr) {
        throw InvalidFutureException();
    }
    return *m_state;
}
