#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

// Memory that texts take their characters from front to back, freed as a whole by its owner and
// never text by text. Taking from a region is a few inlined instructions, which is what makes a
// column of short texts cheap to build.
class TextRegion {
public:
    TextRegion(TextRegion const&) = delete;
    TextRegion& operator=(TextRegion const&) = delete;

    // `bytes` aligned to `alignment` (a power of two). The owner sized the region for what it puts
    // there; running out means a text grew after it was made, which throws std::bad_alloc.
    void* Take(std::size_t bytes, std::size_t alignment) {
        std::uintptr_t const start = (m_next + alignment - 1) & ~(static_cast<std::uintptr_t>(alignment) - 1);
        if (start > m_end || bytes > m_end - start) {
            throw std::bad_alloc();
        }
        m_next = start + bytes;
        return reinterpret_cast<void*>(start);
    }
    // Whether `bytes` more, at any alignment up to `slack`, fit for sure.
    bool HasRoom(std::size_t bytes, std::size_t slack) const noexcept { return m_end - m_next >= bytes + slack; }

protected:
    TextRegion(void* storage, std::size_t capacity) noexcept
        : m_next(reinterpret_cast<std::uintptr_t>(storage)), m_end(m_next + capacity) {}
    ~TextRegion() = default;

private:
    std::uintptr_t m_next;
    std::uintptr_t m_end;
};

// The allocator of TStringCore's characters: from a region when it holds one, else from the heap.
// A copy of a text takes the heap (select_on_container_copy_construction), and assignment and swap
// never carry a region over, so only a text made in a region refers into it.
template <class T>
class TextAllocator {
public:
    using value_type = T;
    using propagate_on_container_copy_assignment = std::false_type;
    using propagate_on_container_move_assignment = std::false_type;
    using propagate_on_container_swap = std::false_type;
    using is_always_equal = std::false_type;

    TextAllocator() noexcept = default;
    explicit TextAllocator(TextRegion* region) noexcept : m_region(region) {}
    template <class U>
    TextAllocator(TextAllocator<U> const& other) noexcept : m_region(other.Region()) {}  // NOLINT: rebinding

    T* allocate(std::size_t count) {
        if (m_region != nullptr) {
            return static_cast<T*>(m_region->Take(count * sizeof(T), alignof(T)));
        }
        return std::allocator<T>().allocate(count);
    }
    void deallocate(T* pointer, std::size_t count) noexcept {
        if (m_region == nullptr) {
            std::allocator<T>().deallocate(pointer, count);
        }
    }
    TextAllocator select_on_container_copy_construction() const noexcept { return TextAllocator(); }

    TextRegion* Region() const noexcept { return m_region; }

    template <class U>
    friend bool operator==(TextAllocator const& a, TextAllocator<U> const& b) noexcept {
        return a.Region() == b.Region();
    }

private:
    TextRegion* m_region = nullptr;
};

#pragma GCC visibility pop
