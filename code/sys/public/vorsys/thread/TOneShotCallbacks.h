#pragma once

#pragma GCC visibility push(default)

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "vorsys/thread/TRecursiveMutex.h"

// Callbacks, keyed by an opaque pointer, that run once when their owner fires them: the owner of
// an event that is signalled once. A callback added after the firing runs at once, on the adding
// thread. Removal is synchronous: once Remove returns, the callback is not running on another
// thread and never will, so a callback may capture what its remover is about to destroy.
// Callbacks run under the list's lock, so they must be short and must not wait for a thread that
// could touch the same list.
class TOneShotCallbacks {
public:
    TOneShotCallbacks() = default;
    TOneShotCallbacks(TOneShotCallbacks const&) = delete;
    TOneShotCallbacks& operator=(TOneShotCallbacks const&) = delete;

    // Adds `callback` under `key`, in place of any callback already under that key.
    void Add(void* key, std::function<void()> callback);
    void Remove(void* key);
    // Runs and drops every callback, in the order added. Only the first call does anything.
    void Fire();
    bool HasFired() const noexcept { return m_fired.load(std::memory_order_acquire); }

private:
    TRecursiveMutex m_mutex;
    std::atomic<bool> m_fired{false};
    std::vector<std::pair<void*, std::function<void()>>> m_callbacks;
};

#pragma GCC visibility pop
