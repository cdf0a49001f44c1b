#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <cstdint>
#include <new>

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

#pragma GCC visibility pop
