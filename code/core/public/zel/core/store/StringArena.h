#pragma once

#pragma GCC visibility push(default)

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "zel/core/store/RIndirectString.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace zel::core {

// Makes string handles whose texts are packed into shared chunks: a column of a million short
// strings costs a few hundred blocks instead of a million. An arena belongs to one thread at a
// time; the handles it makes are ordinary handles, free to cross threads and to outlive the arena.
//
// Its chunk's references are taken in bulk: the arena holds back a large count when it opens a
// chunk, hands one to each handle it makes without touching the shared counter, and gives the
// rest back when it moves on. Making a text therefore costs no atomic operation.
//
// While a Scope is open on a thread, every handle made there from a text (RIndirectString's
// constructors, MakeWritable) goes into that scope's arena: this is how the texts that a function
// returns inside a columnar run land in the run's arena without the function knowing.
class StringArena {
public:
    // The first chunk of an arena takes `chunkBytes`; each next one twice its predecessor, up to
    // `largestChunkBytes`. A few texts cost little, and a large column takes chunks of a huge page,
    // which come from the buffer pool and so are already in place when a later run needs them.
    static constexpr std::size_t c_defaultChunkBytes = 64 * 1024;
    static constexpr std::size_t c_largestChunkBytes = c_hugePageSize;
    static constexpr std::size_t c_smallestChunkBytes = 1024;

    explicit StringArena(std::size_t chunkBytes = c_defaultChunkBytes,
                         std::size_t largestChunkBytes = c_largestChunkBytes) noexcept
        : m_chunkBytes(std::max(chunkBytes, c_smallestChunkBytes)),
          m_largestChunkBytes(std::max(m_chunkBytes, largestChunkBytes)) {}
    ~StringArena();
    StringArena(StringArena const&) = delete;
    StringArena& operator=(StringArena const&) = delete;

    RIndirectString Make(std::wstring_view text);
    // A handle on `length` characters, which the caller writes through `characters`, every one,
    // before it reads, copies or shares the handle.
    RIndirectString MakeWritable(std::size_t length, wchar_t*& characters) {
        if (length == 0) {
            characters = nullptr;
            return {};
        }
        detail::StringEntry* const entry = ChunkFor(length)->Emplace(length);
        characters = entry->text.data();
        return RIndirectString(entry);
    }
    // A handle on the `length` characters from `first` on, written once.
    template <class Iterator>
    RIndirectString MakeCopy(Iterator first, std::size_t length) {
        if (length == 0) {
            return {};
        }
        return RIndirectString(ChunkFor(length)->EmplaceCopy(first, length));
    }

    // The arena of the innermost open scope of this thread, or null.
    static StringArena* Current() noexcept;

    // Makes an arena the current one of this thread until the scope closes; scopes nest.
    class Scope {
    public:
        explicit Scope(StringArena& arena) noexcept;
        ~Scope();
        Scope(Scope const&) = delete;
        Scope& operator=(Scope const&) = delete;

    private:
        StringArena* m_previous;
    };

private:
    // A chunk with room for a text of `length` characters, whose reference the next entry takes:
    // the open chunk, a new one when it is full, or a chunk of its own for a large text. The
    // common case, the open chunk, is inlined into the maker.
    detail::StringChunk* ChunkFor(std::size_t length) {
        if (m_chunk != nullptr && detail::StringChunk::NeedFor(length) <= m_chunkBytes / 4 &&
            m_chunk->HasRoomFor(length)) {
            --m_heldBack;
            return m_chunk;
        }
        return OtherChunkFor(length);
    }
    detail::StringChunk* OtherChunkFor(std::size_t length);
    void Retire() noexcept;

    std::size_t m_chunkBytes;  // the block size of the open chunk, or of the first one
    std::size_t const m_largestChunkBytes;
    detail::StringChunk* m_chunk = nullptr;
    std::size_t m_heldBack = 0;  // references of m_chunk not yet handed to a handle
};

template <class Iterator>
RIndirectString RIndirectString::MakeCopy(Iterator first, std::size_t length) {
    if (length == 0) {
        return {};
    }
    if (StringArena* const arena = StringArena::Current()) {
        return arena->MakeCopy(first, length);
    }
    return RIndirectString(
        detail::StringChunk::Create(detail::StringChunk::NeedFor(length), 1)->EmplaceCopy(first, length));
}

}  // namespace zel::core

#pragma GCC visibility pop
