#pragma once

#pragma GCC visibility push(default)

#include <chrono>

class IEvent;

namespace AsyncTask {

// How a thread blocks. A thread that must keep doing something while it waits (pump a message
// loop, help with other work) installs one in its TLS record; from then on the blocking waits
// of that thread on futures and in WaitForAll go through it. A handler waits on the event's
// own Wait/WaitFor, which never go through a handler.
class IWaitHandler {
public:
    virtual ~IWaitHandler() = default;

    // Blocks until `event` is signalled or `timeout` has passed (milliseconds::max() waits for
    // ever) and returns whether it was signalled.
    virtual bool WaitFor(IEvent const& event, std::chrono::milliseconds timeout) = 0;
};

}  // namespace AsyncTask

#pragma GCC visibility pop
