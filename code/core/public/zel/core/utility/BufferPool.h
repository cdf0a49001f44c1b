#pragma once

#pragma GCC visibility push(default)

// The process-wide pool of large column buffers.
//
// A buffer of at least c_hugePageThreshold bytes (see HugePageAllocator.h) comes from this pool
// and returns to it when its last owner frees it. Fresh memory costs a page fault and a page clear
// on its first touch, often more than the work done on it; a buffer that was used before is
// already faulted in. A returned buffer is kept while the cached bytes stay within a bound and
// serves a later request of the same or a slightly smaller size (at most a quarter smaller); the
// oldest kept buffers are released first when the bound is lowered or exceeded.
//
// Thread safe. Cached buffers are poisoned for AddressSanitizer, so that a use after free of a
// column is still caught.

#include <cstddef>
#include <cstdint>

namespace zel::core {

// What the pool holds and how well it served, at one moment.
struct BufferPoolStatistics {
    std::size_t cachedBytes = 0;  // kept for reuse, owned by nobody
    std::size_t inUseBytes = 0;   // handed out and not yet returned
    std::size_t cachedBuffers = 0;
    std::uint64_t hits = 0;    // requests served from the cache
    std::uint64_t misses = 0;  // requests that took fresh memory
    std::size_t bound = 0;     // the most bytes the cache keeps
    // Memory that the store readers keep for their next document (the JSON parser's, as reserved),
    // under the same bound and released with the cache, counted apart from the buffers.
    std::size_t readerBytes = 0;
};

inline constexpr std::size_t c_defaultBufferCacheBound = std::size_t{1} << 30;

// Sets the most bytes the cache keeps (0 keeps nothing), releasing the oldest cached buffers
// beyond it at once, and what a reader keeps beyond it. Buffers in use are not affected.
void SetBufferCacheBound(std::size_t bytes);
BufferPoolStatistics GetBufferPoolStatistics();
// Releases every cached buffer, and what the readers keep, to the system; the bound stays.
void ReleaseCachedBuffers();

}  // namespace zel::core

#pragma GCC visibility pop
