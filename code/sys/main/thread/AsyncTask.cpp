#include "vorsys/thread/AsyncTask.h"

#include "vorsys/base/VorlaneException.h"

void AsyncTask::_Launch(std::shared_ptr<SharedStateBase> const& state, Launch launch,
                        WhenCanceled whenCanceled) {
    state->SetCancelEvent(RefCntPtr<TCancelEvent, RefCntObject>(new TCancelEvent(Cancel::Get())));
    state->SetWhenCanceled(whenCanceled);
    _ApplyOnSharedStateCreatedHook(state);

    std::function<void()> const execute = [state] { state->Execute(); };
    switch (launch) {
        case Launch::Deferred: {
            // The state keeps its own runner, so the runner must not own the state: whoever
            // waits, and so runs it, holds the state alive.
            SharedStateBase* const raw = state.get();
            state->m_deferredRun = _ApplyExecutionHook([raw] { raw->Execute(); }, false);
            state->SetDeferred();
            return;
        }
        case Launch::ThreadPool:
        case Launch::ThreadPoolOrDedicatedThread:
            if (ScheduleOnThreadPool(_ApplyExecutionHook(execute, true), launch)) {
                return;
            }
            break;  // refused: a thread of its own
        case Launch::DedicatedThread:
            break;
        default:
            ThrowLogicException(__FILE__, __LINE__, "launch is a Launch enumerator");
    }
    RunOnDedicatedThread(_ApplyExecutionHook(execute, false));
}
