#pragma once

#pragma GCC visibility push(default)

#include <atomic>
#include <cstddef>
#include <iterator>
#include <memory_resource>
#include <new>
#include <string_view>
#include <type_traits>

#include "vorsys/string/TStringCore.h"

namespace zel::core::detail {

class StringChunk;

// One text of a chunk: the text, whose characters follow it in the same chunk, and the chunk that
// holds both. A handle points at an entry.
struct StringEntry {
    TStringCore text;
    StringChunk* chunk;
};

// One block of memory holding the texts of many string handles: a reference count that every
// handle on one of its texts shares, then the entries and their characters, packed one after the
// other. A chunk is filled by one thread (an arena, or the maker of a single text) before any of
// its handles is shared, and is read-only from then on; it is freed when its last handle goes.
//
// The entries' texts allocate from the chunk itself, so freeing a chunk needs no destructor per
// text: their storage goes with the chunk, and nothing else was allocated for them.
class StringChunk final : public std::pmr::memory_resource {
public:
    // A chunk with room for `capacity` bytes of entries and characters, and `references` counted
    // references held by its maker.
    static StringChunk* Create(std::size_t capacity, std::size_t references);
    // A chunk of exactly one text of `length` zero characters, with one reference, which the
    // returned entry's handle holds.
    static StringEntry* MakeSingle(std::size_t length);

    // The bytes that an entry of `length` characters may take, alignment included.
    static constexpr std::size_t NeedFor(std::size_t length) noexcept {
        return sizeof(StringEntry) + alignof(StringEntry) + (length + 1) * sizeof(wchar_t) +
               2 * alignof(std::max_align_t);
    }

    bool HasRoomFor(std::size_t length) const noexcept { return m_used + NeedFor(length) <= m_capacity; }
    // A new entry of `length` characters, all zero, for the maker to write before it shares it.
    // The caller has checked the room.
    StringEntry* Emplace(std::size_t length);
    // A new entry holding the `length` characters from `first` on (a random-access iterator whose
    // elements convert to wchar_t), written once, with no zeroing first.
    template <class Iterator>
    StringEntry* EmplaceCopy(Iterator first, std::size_t length) {
        // The string takes its memory in one piece only from an iterator of the forward category;
        // from an input iterator it would grow step by step past the room that was checked.
        static_assert(std::is_base_of_v<std::forward_iterator_tag,
                                        typename std::iterator_traits<Iterator>::iterator_category>,
                      "EmplaceCopy reads a forward iterator");
        void* const place = do_allocate(sizeof(StringEntry), alignof(StringEntry));
        return new (place) StringEntry{
            TStringCore(TStringCore::Text(first, first + static_cast<std::ptrdiff_t>(length),
                                          TStringCore::Text::allocator_type(this))),
            this};
    }

    void AddReference() noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    void Release(std::size_t count = 1) noexcept {
        if (m_references.fetch_sub(count, std::memory_order_acq_rel) == count) {
            Destroy();
        }
    }

    // The bytes of the whole block, header included, for memory reports.
    std::size_t GetAllocatedBytes() const noexcept { return sizeof(StringChunk) + m_capacity; }

private:
    StringChunk(std::size_t capacity, std::size_t references) noexcept
        : m_references(references), m_capacity(capacity) {}
    ~StringChunk() override = default;
    void Destroy() noexcept;

    std::byte* Storage() noexcept { return reinterpret_cast<std::byte*>(this + 1); }
    void* do_allocate(std::size_t bytes, std::size_t alignment) override;
    void do_deallocate(void*, std::size_t, std::size_t) noexcept override {}
    bool do_is_equal(std::pmr::memory_resource const& other) const noexcept override { return this == &other; }

    std::atomic<std::size_t> m_references;
    std::size_t const m_capacity;
    std::size_t m_used = 0;
};

}  // namespace zel::core::detail

#pragma GCC visibility pop
