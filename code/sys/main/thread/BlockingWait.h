#pragma once

#include <chrono>

#include "vorsys/thread/AsyncTaskTLS.h"
#include "vorsys/thread/IEvent.h"
#include "vorsys/thread/IWaitHandler.h"

namespace vorsys_detail {

// A blocking wait of the calling thread: through its wait handler when it installed one.
inline bool BlockOn(IEvent const& event, std::chrono::milliseconds timeout) {
    if (event.IsSignalled()) {
        return true;
    }
    if (AsyncTask::IWaitHandler* handler = AsyncTask::TLS::Get().GetWaitHandler(); handler != nullptr) {
        return handler->WaitFor(event, timeout);
    }
    return event.WaitFor(timeout);
}

}  // namespace vorsys_detail
