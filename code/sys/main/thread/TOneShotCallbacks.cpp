#include "vorsys/thread/TOneShotCallbacks.h"

#include <algorithm>
#include <mutex>

void TOneShotCallbacks::Add(void* key, std::function<void()> callback) {
    {
        std::lock_guard lock(m_mutex);
        if (!HasFired()) {
            auto const found = std::find_if(m_callbacks.begin(), m_callbacks.end(),
                                            [key](auto const& entry) { return entry.first == key; });
            if (found != m_callbacks.end()) {
                found->second = std::move(callback);
            } else {
                m_callbacks.emplace_back(key, std::move(callback));
            }
            return;
        }
    }
    callback();
}

void TOneShotCallbacks::Remove(void* key) {
    std::lock_guard lock(m_mutex);
    std::erase_if(m_callbacks, [key](auto const& entry) { return entry.first == key; });
}

void TOneShotCallbacks::Fire() {
    // Once fired, later calls return without the lock: a firing that reaches an owner already
    // fired (a parent event reaching a child cancelled on its own) must not wait for it.
    if (HasFired()) {
        return;
    }
    std::lock_guard lock(m_mutex);
    if (HasFired()) {
        return;
    }
    m_fired.store(true, std::memory_order_release);
    // Each callback leaves the list before it runs, so that a callback may remove itself or
    // others on this thread; the lock is recursive for that.
    while (!m_callbacks.empty()) {
        std::function<void()> callback = std::move(m_callbacks.front().second);
        m_callbacks.erase(m_callbacks.begin());
        callback();
    }
}
