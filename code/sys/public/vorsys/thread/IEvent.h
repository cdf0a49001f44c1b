#pragma once

#pragma GCC visibility push(default)

#include <chrono>

// Something a thread can wait for. Once signalled, an event of this interface may stay signalled
// (a manual-reset event) or be reset by its owner; waiting never resets it.
class IEvent {
public:
    virtual ~IEvent() = default;

    virtual bool IsSignalled() const = 0;
    // Blocks until the event is signalled.
    virtual void Wait() const = 0;
    // Blocks until the event is signalled or `timeout` has passed, and returns whether it was
    // signalled. std::chrono::milliseconds::max() waits for ever; a timeout of zero or less
    // only looks.
    virtual bool WaitFor(std::chrono::milliseconds timeout) const = 0;
};

#pragma GCC visibility pop
