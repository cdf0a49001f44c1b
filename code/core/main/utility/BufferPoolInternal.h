#pragma once

#include <cstddef>

namespace zel::core {

// The pool's two ends for AllocateBuffer and FreeBuffer: `bytes` is a whole number of huge pages;
// a buffer goes back by its address alone, since the pool may have served a larger one.
void* TakePooledBuffer(std::size_t bytes);
void GivePooledBuffer(void* buffer) noexcept;

}  // namespace zel::core
