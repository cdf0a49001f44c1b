#include "zel/core/store/StringArena.h"

#include <algorithm>

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
    if (text.empty()) {
        return {};
    }
    detail::StringEntry* const entry = Emplace(text.size());
    text.copy(entry->text.data(), text.size());
    return RIndirectString(entry);
}

RIndirectString StringArena::MakeWritable(std::size_t length, wchar_t*& characters) {
    if (length == 0) {
        characters = nullptr;
        return {};
    }
    detail::StringEntry* const entry = Emplace(length);
    characters = entry->text.data();
    return RIndirectString(entry);
}

detail::StringEntry* StringArena::Emplace(std::size_t length) {
    // A text too large to share a chunk gets one of its own, and the open chunk stays open.
    if (detail::StringChunk::NeedFor(length) > m_chunkBytes / 4) {
        return detail::StringChunk::MakeSingle(length);
    }
    if (m_chunk == nullptr || !m_chunk->HasRoomFor(length)) {
        Retire();
        m_chunk = detail::StringChunk::Create(m_chunkBytes, c_heldBack);
        m_heldBack = c_heldBack;
    }
    --m_heldBack;
    return m_chunk->Emplace(length);
}

void StringArena::Retire() noexcept {
    if (m_chunk != nullptr) {
        std::exchange(m_chunk, nullptr)->Release(std::exchange(m_heldBack, 0));
    }
}

StringArena* StringArena::Current() noexcept {
    return t_current;
}

StringArena::Scope::Scope(StringArena& arena) noexcept : m_previous(std::exchange(t_current, &arena)) {}

StringArena::Scope::~Scope() {
    t_current = m_previous;
}

}  // namespace zel::core
