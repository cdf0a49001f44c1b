#include "zel/core/store/StringChunk.h"

#include <cstdint>
#include <new>

namespace zel::core::detail {

StringChunk* StringChunk::Create(std::size_t capacity, std::size_t references) {
    void* const block = ::operator new(sizeof(StringChunk) + capacity);
    return new (block) StringChunk(capacity, references);
}

StringEntry* StringChunk::MakeSingle(std::size_t length) {
    return Create(NeedFor(length), 1)->Emplace(length);
}

StringEntry* StringChunk::Emplace(std::size_t length) {
    void* const place = allocate(sizeof(StringEntry), alignof(StringEntry));
    return new (place) StringEntry{TStringCore(length, L'\0', this), this};
}

// The entries are not destroyed one by one: their texts took all their memory from this block.
void StringChunk::Destroy() noexcept {
    this->~StringChunk();
    ::operator delete(static_cast<void*>(this));
}

void* StringChunk::do_allocate(std::size_t bytes, std::size_t alignment) {
    auto const base = reinterpret_cast<std::uintptr_t>(Storage());
    std::uintptr_t const start = (base + m_used + alignment - 1) & ~(static_cast<std::uintptr_t>(alignment) - 1);
    std::size_t const end = static_cast<std::size_t>(start - base) + bytes;
    // NeedFor bounds what an entry takes, and makers check the room first; running out here
    // means a text grew after it was made, which no caller does.
    if (end > m_capacity) {
        throw std::bad_alloc();
    }
    m_used = end;
    return reinterpret_cast<void*>(start);
}

}  // namespace zel::core::detail
