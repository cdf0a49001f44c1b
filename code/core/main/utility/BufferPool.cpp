#include "zel/core/utility/BufferPool.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#include <boost/unordered/unordered_flat_map.hpp>

#include "utility/BufferPoolInternal.h"
#include "zel/core/utility/HugePageAllocator.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define VOR_POISON(address, bytes) ASAN_POISON_MEMORY_REGION(address, bytes)
#define VOR_UNPOISON(address, bytes) ASAN_UNPOISON_MEMORY_REGION(address, bytes)
#else
#define VOR_POISON(address, bytes) ((void)(address), (void)(bytes))
#define VOR_UNPOISON(address, bytes) ((void)(address), (void)(bytes))
#endif

namespace zel::core {

namespace {

class BufferPool {
public:
    // A buffer of `bytes` (a whole number of huge pages), from the cache when one fits.
    void* Take(std::size_t bytes) {
        {
            std::lock_guard const lock(m_mutex);
            if (void* buffer = TakeCached(bytes)) {
                ++m_hits;
                return buffer;
            }
            ++m_misses;
        }
        void* buffer = std::aligned_alloc(c_hugePageSize, bytes);
        if (buffer == nullptr) {
            // Memory kept for reuse is memory the system lacks: give it back and try once more.
            ReleaseCached(0);
            buffer = std::aligned_alloc(c_hugePageSize, bytes);
            if (buffer == nullptr) {
                throw std::bad_alloc();
            }
        }
        // Only advice: where transparent huge pages are off the buffer works with small pages.
        ::madvise(buffer, bytes, MADV_HUGEPAGE);
        std::lock_guard const lock(m_mutex);
        m_inUse.emplace(buffer, bytes);
        m_inUseBytes += bytes;
        return buffer;
    }

    void Give(void* buffer) noexcept {
        std::unique_lock lock(m_mutex);
        auto const it = m_inUse.find(buffer);
        std::size_t const bytes = it->second;
        m_inUse.erase(it);
        m_inUseBytes -= bytes;
        if (bytes > m_bound) {
            lock.unlock();
            std::free(buffer);
            return;
        }
        VOR_POISON(buffer, bytes);
        m_cached.push_back(Cached{buffer, bytes, m_clock++});
        m_cachedBytes += bytes;
        auto evicted = EvictBeyond(m_bound);
        lock.unlock();
        FreeAll(evicted);
    }

    void SetBound(std::size_t bytes) {
        std::unique_lock lock(m_mutex);
        m_bound = bytes;
        auto evicted = EvictBeyond(m_bound);
        lock.unlock();
        FreeAll(evicted);
    }

    void ReleaseCached(std::size_t keep) {
        std::unique_lock lock(m_mutex);
        auto evicted = EvictBeyond(keep);
        lock.unlock();
        FreeAll(evicted);
    }

    BufferPoolStatistics Statistics() const {
        std::lock_guard const lock(m_mutex);
        return BufferPoolStatistics{m_cachedBytes, m_inUseBytes, m_cached.size(), m_hits, m_misses, m_bound};
    }

private:
    struct Cached {
        void* buffer;
        std::size_t bytes;
        std::uint64_t age;  // the clock when it was returned: lower is older
    };

    // The smallest cached buffer of at least `bytes` and at most a third more, so that a large
    // buffer does not serve a much smaller request while a request of its size waits.
    void* TakeCached(std::size_t bytes) {
        auto best = m_cached.end();
        for (auto it = m_cached.begin(); it != m_cached.end(); ++it) {
            if (it->bytes >= bytes && it->bytes <= bytes + bytes / 3 &&
                (best == m_cached.end() || it->bytes < best->bytes)) {
                best = it;
            }
        }
        if (best == m_cached.end()) {
            return nullptr;
        }
        Cached const taken = *best;
        *best = m_cached.back();
        m_cached.pop_back();
        m_cachedBytes -= taken.bytes;
        VOR_UNPOISON(taken.buffer, taken.bytes);
        m_inUse.emplace(taken.buffer, taken.bytes);
        m_inUseBytes += taken.bytes;
        return taken.buffer;
    }

    // Removes the oldest cached buffers until at most `bytes` stay cached; the caller frees them
    // outside the lock.
    std::vector<Cached> EvictBeyond(std::size_t bytes) {
        std::vector<Cached> evicted;
        if (m_cachedBytes <= bytes) {
            return evicted;
        }
        std::sort(m_cached.begin(), m_cached.end(),
                  [](Cached const& a, Cached const& b) { return a.age < b.age; });
        std::size_t count = 0;
        while (m_cachedBytes > bytes) {
            m_cachedBytes -= m_cached[count].bytes;
            ++count;
        }
        evicted.assign(m_cached.begin(), m_cached.begin() + static_cast<std::ptrdiff_t>(count));
        m_cached.erase(m_cached.begin(), m_cached.begin() + static_cast<std::ptrdiff_t>(count));
        return evicted;
    }

    static void FreeAll(std::vector<Cached> const& buffers) noexcept {
        for (Cached const& cached : buffers) {
            VOR_UNPOISON(cached.buffer, cached.bytes);
            std::free(cached.buffer);
        }
    }

    mutable std::mutex m_mutex;
    boost::unordered_flat_map<void*, std::size_t> m_inUse;
    std::vector<Cached> m_cached;
    std::size_t m_cachedBytes = 0;
    std::size_t m_inUseBytes = 0;
    std::size_t m_bound = c_defaultBufferCacheBound;
    std::uint64_t m_clock = 0;
    std::uint64_t m_hits = 0;
    std::uint64_t m_misses = 0;
};

// Never destroyed: buffers of static values may return to it while the process exits.
BufferPool& Pool() {
    static BufferPool* const pool = new BufferPool();
    return *pool;
}

}  // namespace

void* TakePooledBuffer(std::size_t bytes) {
    return Pool().Take(bytes);
}

void GivePooledBuffer(void* buffer) noexcept {
    Pool().Give(buffer);
}

namespace {

struct Keepers {
    std::mutex mutex;
    std::vector<CacheKeeper> list;
};

Keepers& TheKeepers() {
    static Keepers* const keepers = new Keepers();
    return *keepers;
}

std::vector<CacheKeeper> AllKeepers() {
    std::lock_guard const lock(TheKeepers().mutex);
    return TheKeepers().list;
}

void ReleaseKeptBeyond(std::size_t bound) {
    for (CacheKeeper const& keeper : AllKeepers()) {
        keeper.release(bound);
    }
}

}  // namespace

void AddCacheKeeper(CacheKeeper keeper) {
    std::lock_guard const lock(TheKeepers().mutex);
    TheKeepers().list.push_back(keeper);
}

void SetBufferCacheBound(std::size_t bytes) {
    Pool().SetBound(bytes);
    ReleaseKeptBeyond(bytes);
}

BufferPoolStatistics GetBufferPoolStatistics() {
    BufferPoolStatistics statistics = Pool().Statistics();
    for (CacheKeeper const& keeper : AllKeepers()) {
        statistics.readerBytes += keeper.keptBytes();
    }
    return statistics;
}

void ReleaseCachedBuffers() {
    Pool().ReleaseCached(0);
    ReleaseKeptBeyond(0);
}

}  // namespace zel::core
