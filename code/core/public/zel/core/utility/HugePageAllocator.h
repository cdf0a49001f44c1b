#pragma once

#pragma GCC visibility push(default)

// Buffers that the kernel may back with 2 MiB pages.
//
// The first touch of fresh memory costs far more with 4 KiB pages than with 2 MiB ones, often
// more than the work done on the memory. A buffer of at least c_hugePageThreshold bytes is
// therefore allocated on a 2 MiB boundary, its size rounded up to whole huge pages, and marked
// with madvise(MADV_HUGEPAGE); smaller ones come from operator new.
//
// HugePageAllocator<T> serves std::vector. Its value-less construct() default-initialises, so
// that resize() of a vector of numbers does not write zeros that the caller overwrites anyway:
// after resize() such elements are indeterminate until written.

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace zel::core {

inline constexpr std::size_t c_hugePageSize = std::size_t{2} << 20;
inline constexpr std::size_t c_hugePageThreshold = c_hugePageSize;

// Raw buffers as above; FreeBuffer takes the same byte count and alignment as AllocateBuffer.
// AllocateBuffer throws std::bad_alloc when no memory is left.
void* AllocateBuffer(std::size_t bytes, std::size_t alignment);
void FreeBuffer(void* buffer, std::size_t bytes, std::size_t alignment) noexcept;

template <class T>
class HugePageAllocator {
public:
    using value_type = T;

    HugePageAllocator() noexcept = default;
    template <class U>
    HugePageAllocator(HugePageAllocator<U> const&) noexcept {}  // NOLINT: allocators convert implicitly

    T* allocate(std::size_t count) { return static_cast<T*>(AllocateBuffer(count * sizeof(T), alignof(T))); }
    void deallocate(T* buffer, std::size_t count) noexcept {
        FreeBuffer(buffer, count * sizeof(T), alignof(T));
    }

    template <class U>
    void construct(U* slot) noexcept(std::is_nothrow_default_constructible_v<U>) {
        ::new (static_cast<void*>(slot)) U;
    }
    template <class U, class... Args>
    void construct(U* slot, Args&&... args) {
        ::new (static_cast<void*>(slot)) U(std::forward<Args>(args)...);
    }

    template <class U>
    friend bool operator==(HugePageAllocator const&, HugePageAllocator<U> const&) noexcept {
        return true;
    }
};

template <class T>
using HugePageVector = std::vector<T, HugePageAllocator<T>>;

}  // namespace zel::core

#pragma GCC visibility pop
