#pragma once

#pragma GCC visibility push(default)

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// The process-wide pool of worker threads. It is made on first use, with as many threads as the
// hardware runs at once unless the host chose a number before, and it stops at process exit:
// work already running finishes and is joined, work still queued is dropped unrun.
class TThreadPool {
public:
    static TThreadPool& Get();

    // Sets the number of threads of the pool to come. Returns false, changing nothing, once the
    // pool exists or for a count of 0.
    static bool SetNumberOfThreads(unsigned int count);

    TThreadPool(TThreadPool const&) = delete;
    TThreadPool& operator=(TThreadPool const&) = delete;

    unsigned int GetNumberOfThreads() const noexcept { return static_cast<unsigned int>(m_threads.size()); }
    // The number of threads running work (or about to: taken from the queue) right now.
    unsigned long long GetThreadPoolUseCount() const noexcept {
        return m_busy.load(std::memory_order_acquire);
    }

    // Queues `work` for the next free thread. False only once the pool is stopping; `work` is
    // left untouched then.
    bool Enqueue(std::function<void()>&& work);
    // Takes `work` only when a thread is free to start it now: more threads are idle than work
    // is queued. Otherwise returns false and leaves `work` untouched.
    bool TryStartNow(std::function<void()>&& work);

private:
    explicit TThreadPool(unsigned int threadCount);
    ~TThreadPool() = default;

    bool Push(std::function<void()>& work, bool onlyIfIdle);
    void WorkerLoop();
    void Shutdown();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_queue;
    bool m_stopping = false;
    // Changed under m_mutex; atomic so that GetThreadPoolUseCount needs no lock.
    std::atomic<unsigned long long> m_busy{0};
    std::vector<std::thread> m_threads;
};

#pragma GCC visibility pop
