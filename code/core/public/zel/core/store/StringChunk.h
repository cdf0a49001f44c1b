#pragma once

#pragma GCC visibility push(default)

#include <atomic>
#include <cstddef>
#include <iterator>
#include <new>
#include <string_view>
#include <type_traits>

#include "vorsys/string/TStringCore.h"

namespace zel::core::detail {

class StringChunk;

// One text of a chunk, whose characters follow it in the same chunk. A handle points at an entry.
struct StringEntry {
    TStringCore text;

    // The chunk that holds the entry: the region its text took its characters from.
    StringChunk* Chunk() const noexcept;
};

// One block of memory holding the texts of many string handles: a reference count that every
// handle on one of its texts shares, then the entries and their characters, packed one after the
// other. A chunk is filled by one thread (an arena, or the maker of a single text) before any of
// its handles is shared, and is read-only from then on; it is freed when its last handle goes.
//
// The entries' texts take their characters from the chunk itself, so freeing a chunk needs no
// destructor per text: their storage goes with the chunk, and nothing else was allocated for them.
class StringChunk final : public TextRegion {
public:
    // A chunk with room for `capacity` bytes of entries and characters, and `references` counted
    // references held by its maker.
    static StringChunk* Create(std::size_t capacity, std::size_t references);
    // A chunk of exactly one text of `length` characters for the maker to write, with one
    // reference, which the returned entry's handle holds.
    static StringEntry* MakeSingle(std::size_t length);

    // The bytes that an entry of `length` characters may take, alignment included.
    static constexpr std::size_t NeedFor(std::size_t length) noexcept {
        return c_slack + sizeof(StringEntry) + (length + 1) * sizeof(wchar_t);
    }

    bool HasRoomFor(std::size_t length) const noexcept {
        return HasRoom(sizeof(StringEntry) + (length + 1) * sizeof(wchar_t), c_slack);
    }
    // A new entry of `length` characters for the maker to write, every one, before it shares it.
    // The caller has checked the room.
    StringEntry* Emplace(std::size_t length) {
        return new (Take(sizeof(StringEntry), alignof(StringEntry)))
            StringEntry{TStringCore(length, TStringCore::Unwritten(), this)};
    }
    // A new entry holding the `length` characters from `first` on (a random-access iterator whose
    // elements convert to wchar_t), written once, with no zeroing first.
    template <class Iterator>
    StringEntry* EmplaceCopy(Iterator first, std::size_t length) {
        // The string takes its memory in one piece only from an iterator of the forward category;
        // from an input iterator it would grow step by step past the room that was checked.
        static_assert(std::is_base_of_v<std::forward_iterator_tag,
                                        typename std::iterator_traits<Iterator>::iterator_category>,
                      "EmplaceCopy reads a forward iterator");
        void* const place = Take(sizeof(StringEntry), alignof(StringEntry));
        return new (place) StringEntry{TStringCore(first, first + static_cast<std::ptrdiff_t>(length), this)};
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
    // What aligning an entry and then its characters may waste.
    static constexpr std::size_t c_slack = alignof(StringEntry) + alignof(wchar_t);

    StringChunk(std::size_t capacity, std::size_t references) noexcept
        : TextRegion(this + 1, capacity), m_references(references), m_capacity(capacity) {}
    ~StringChunk() = default;
    void Destroy() noexcept;

    std::atomic<std::size_t> m_references;
    std::size_t const m_capacity;
};

inline StringChunk* StringEntry::Chunk() const noexcept {
    return static_cast<StringChunk*>(text.region());
}

}  // namespace zel::core::detail

#pragma GCC visibility pop
