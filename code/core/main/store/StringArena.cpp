#include "zel/core/store/StringArena.h"

// The chunks, the arena, and the handle's writable maker share this file so that the path that
// makes one text (the current arena, its open chunk, the entry) compiles into one piece.

#include <algorithm>
#include <cstdint>
#include <new>

#include "zel/core/utility/HugePageAllocator.h"

namespace zel::core::detail {

// A chunk of a huge page or more comes from the buffer pool and goes back to it.
StringChunk* StringChunk::Create(std::size_t capacity, std::size_t references) {
    void* const block = AllocateBuffer(sizeof(StringChunk) + capacity, alignof(StringChunk));
    return new (block) StringChunk(capacity, references);
}

StringEntry* StringChunk::MakeSingle(std::size_t length) {
    return Create(NeedFor(length), 1)->Emplace(length);
}

// The entries are not destroyed one by one: their texts took all their memory from this block.
void StringChunk::Destroy() noexcept {
    std::size_t const bytes = GetAllocatedBytes();
    this->~StringChunk();
    FreeBuffer(this, bytes, alignof(StringChunk));
}

}  // namespace zel::core::detail

namespace zel::core {

namespace {

// The references an arena holds back on a chunk it opens: far more than the entries that fit.
constexpr std::size_t c_heldBack = std::size_t{1} << 40;

thread_local StringArena* t_current = nullptr;

}  // namespace

StringArena::~StringArena() {
    Retire();
}

RIndirectString StringArena::Make(std::wstring_view text) {
    return MakeCopy(text.begin(), text.size());
}

detail::StringChunk* StringArena::OtherChunkFor(std::size_t length) {
    // A text too large to share a chunk gets one of its own, and the open chunk stays open.
    if (detail::StringChunk::NeedFor(length) > m_chunkBytes / 4) {
        return detail::StringChunk::Create(detail::StringChunk::NeedFor(length), 1);
    }
    if (m_chunk != nullptr) {
        m_chunkBytes = std::min(2 * m_chunkBytes, m_largestChunkBytes);
    }
    Retire();
    m_chunk = detail::StringChunk::Create(m_chunkBytes - sizeof(detail::StringChunk), c_heldBack);
    m_heldBack = c_heldBack - 1;
    return m_chunk;
}

void StringArena::Retire() noexcept {
    if (m_chunk != nullptr) {
        std::exchange(m_chunk, nullptr)->Release(std::exchange(m_heldBack, 0));
    }
}

RIndirectString RIndirectString::MakeWritable(std::size_t length, wchar_t*& characters) {
    if (StringArena* const arena = StringArena::Current()) {
        return arena->MakeWritable(length, characters);
    }
    if (length == 0) {
        characters = nullptr;
        return {};
    }
    RIndirectString text(detail::StringChunk::MakeSingle(length));
    characters = text.m_entry->text.data();
    return text;
}

StringArena* StringArena::Current() noexcept {
    return t_current;
}

StringArena::Scope::Scope(StringArena& arena) noexcept : m_previous(std::exchange(t_current, &arena)) {}

StringArena::Scope::~Scope() {
    t_current = m_previous;
}

}  // namespace zel::core
