#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <vector>

#include "vorsys/thread/IEvent.h"

// Waits until every event is signalled or `timeout` has passed, and returns whether all were
// signalled in time. milliseconds::max() waits for ever. The waits go through the thread's wait
// handler when it has one. No event may be null.
bool WaitForAll(std::vector<IEvent*> const& events, std::chrono::milliseconds timeout);

#pragma GCC visibility pop
