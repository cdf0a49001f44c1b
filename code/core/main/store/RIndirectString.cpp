#include "zel/core/store/RIndirectString.h"

#include <functional>

#include "zel/core/store/StringArena.h"

namespace zel::core {

namespace {

TStringCore const& EmptyText() noexcept {
    static TStringCore const empty;
    return empty;
}

}  // namespace

RIndirectString::RIndirectString(wchar_t const* text)
    : RIndirectString(text != nullptr ? std::wstring_view(text) : std::wstring_view()) {}

// The empty text owns nothing, so that default slots and empty strings cost nothing.
RIndirectString::RIndirectString(std::wstring_view text) {
    if (text.empty()) {
        return;
    }
    if (StringArena* const arena = StringArena::Current()) {
        *this = arena->Make(text);
    } else {
        m_entry = detail::StringChunk::MakeSingle(text.size());
        text.copy(m_entry->text.data(), text.size());
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

void RIndirectString::ReleaseAll(RIndirectString* texts, std::size_t count) noexcept {
    // A chunk is one block and entries lie inside their chunk's block, so an entry whose address
    // falls inside the block of the run's chunk belongs to it: the entry itself is read only when
    // a run ends, once a chunk for a column made in order.
    detail::StringChunk* run = nullptr;
    std::byte const* runBegin = nullptr;
    std::byte const* runEnd = nullptr;
    std::size_t references = 0;
    for (std::size_t i = 0; i < count; ++i) {
        detail::StringEntry* const entry = std::exchange(texts[i].m_entry, nullptr);
        if (entry == nullptr) {
            continue;
        }
        auto const* const address = reinterpret_cast<std::byte const*>(entry);
        if (address < runBegin || address >= runEnd) {
            if (run != nullptr) {
                run->Release(references);
            }
            run = entry->chunk;
            runBegin = reinterpret_cast<std::byte const*>(run);
            runEnd = runBegin + run->GetAllocatedBytes();
            references = 0;
        }
        ++references;
    }
    if (run != nullptr) {
        run->Release(references);
    }
}

bool RIndirectString::operator==(RIndirectString const& other) const noexcept {
    return m_entry == other.m_entry || View() == other.View();
}

TStringCore const& RIndirectString::Get() const noexcept {
    return m_entry != nullptr ? m_entry->text : EmptyText();
}

std::size_t hash_value(RIndirectString const& text) noexcept {
    return std::hash<std::wstring_view>{}(text.View());
}

}  // namespace zel::core
