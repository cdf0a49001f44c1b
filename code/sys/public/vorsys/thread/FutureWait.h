#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <vector>

#include "vorsys/base/VorlaneException.h"
#include "vorsys/thread/Future.h"
#include "vorsys/thread/IEvent.h"
#include "vorsys/thread/WaitForAll.h"

namespace AsyncTask {

// Waits until every future is done or `timeout` has passed, and returns whether all are done.
// It only waits: each future's exception stays for its CheckForException. A deferred future
// signals its ready event only when waited on itself, so a set holding one could wait for
// ever: that is a logic failure.
template <class T>
bool WaitForAllFutures(std::vector<Future<T>> const& futures,
                       std::chrono::milliseconds timeout = std::chrono::milliseconds::max()) {
    bool anyDeferred = false;
    std::vector<IEvent*> events;
    events.reserve(futures.size());
    for (Future<T> const& future : futures) {
        anyDeferred = anyDeferred || future.IsDeferred();
        events.push_back(&future.GetReadyEvent());
    }
    if (!(!anyDeferred || 0 == futures.size())) {
        ThrowLogicException(__FILE__, __LINE__, "!anyDeferred || 0 == futures.size()");
    }
    return ::WaitForAll(events, timeout);
}

}  // namespace AsyncTask

#pragma GCC visibility pop
