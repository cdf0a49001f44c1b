#pragma once

#include <cstddef>

namespace zel::core {

// The pool's two ends for AllocateBuffer and FreeBuffer: `bytes` is a whole number of huge pages;
// a buffer goes back by its address alone, since the pool may have served a larger one.
void* TakePooledBuffer(std::size_t bytes);
void GivePooledBuffer(void* buffer) noexcept;

// Other memory kept for reuse follows the pool's bound. A keeper frees what it keeps beyond a
// bound when the host sets one, and everything when the host releases the cached buffers; it
// tells what it keeps for the statistics.
struct CacheKeeper {
    void (*release)(std::size_t bound) noexcept;
    std::size_t (*keptBytes)() noexcept;
};
void AddCacheKeeper(CacheKeeper keeper);

}  // namespace zel::core
