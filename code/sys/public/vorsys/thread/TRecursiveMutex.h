#pragma once

#pragma GCC visibility push(default)

#include <mutex>

// A mutex that the thread holding it may lock again; it is free once unlocked as often as locked.
// The lower-case members make it usable with std::lock_guard and std::unique_lock.
class TRecursiveMutex {
public:
    TRecursiveMutex() = default;
    TRecursiveMutex(TRecursiveMutex const&) = delete;
    TRecursiveMutex& operator=(TRecursiveMutex const&) = delete;

    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }
    bool TryLock() { return m_mutex.try_lock(); }

    void lock() { Lock(); }
    void unlock() { Unlock(); }
    bool try_lock() { return TryLock(); }

private:
    std::recursive_mutex m_mutex;
};

#pragma GCC visibility pop
