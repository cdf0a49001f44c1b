#include "vorsys/thread/TThreadPool.h"

#include <algorithm>
#include <cstdlib>

namespace {

std::mutex g_configMutex;
unsigned int g_configuredThreads = 0;  // 0: one per hardware thread
bool g_poolMade = false;

unsigned int TakeThreadCount() {
    std::lock_guard lock(g_configMutex);
    g_poolMade = true;
    return g_configuredThreads != 0 ? g_configuredThreads : std::max(1u, std::thread::hardware_concurrency());
}

}  // namespace

TThreadPool& TThreadPool::Get() {
    // Never destroyed: work still running at exit, or a detached thread, may reach the pool after
    // the static destructors ran. Exit only stops and joins the threads.
    static TThreadPool* const pool = [] {
        auto* made = new TThreadPool(TakeThreadCount());
        std::atexit([] { Get().Shutdown(); });
        return made;
    }();
    return *pool;
}

bool TThreadPool::SetNumberOfThreads(unsigned int count) {
    std::lock_guard lock(g_configMutex);
    if (g_poolMade || count == 0) {
        return false;
    }
    g_configuredThreads = count;
    return true;
}

TThreadPool::TThreadPool(unsigned int threadCount) {
    m_threads.reserve(threadCount);
    for (unsigned int i = 0; i < threadCount; ++i) {
        m_threads.emplace_back([this] { WorkerLoop(); });
    }
}

bool TThreadPool::Enqueue(std::function<void()>&& work) {
    return Push(work, false);
}

bool TThreadPool::TryStartNow(std::function<void()>&& work) {
    return Push(work, true);
}

bool TThreadPool::Push(std::function<void()>& work, bool onlyIfIdle) {
    {
        std::lock_guard lock(m_mutex);
        if (m_stopping) {
            return false;
        }
        if (onlyIfIdle && m_busy.load(std::memory_order_relaxed) + m_queue.size() >= m_threads.size()) {
            return false;
        }
        m_queue.push_back(std::move(work));
    }
    m_wake.notify_one();
    return true;
}

void TThreadPool::WorkerLoop() {
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
            if (m_stopping) {
                return;
            }
            work = std::move(m_queue.front());
            m_queue.pop_front();
            m_busy.fetch_add(1, std::memory_order_release);
        }
        work();
        work = nullptr;  // what the work holds goes while the thread still counts as busy
        std::lock_guard lock(m_mutex);
        m_busy.fetch_sub(1, std::memory_order_release);
    }
}

void TThreadPool::Shutdown() {
    std::deque<std::function<void()>> dropped;
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        dropped.swap(m_queue);
    }
    m_wake.notify_all();
    dropped.clear();
    for (std::thread& thread : m_threads) {
        // exit() called from work on a pool thread cannot join that thread.
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else if (thread.joinable()) {
            thread.join();
        }
    }
}
