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
    // Reading each entry's chunk is the cost, a cache miss each once a column outgrows the cache:
    // fetch entries a little ahead so that the misses overlap.
    constexpr std::size_t c_ahead = 16;
    detail::StringChunk* run = nullptr;
    std::size_t references = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (i + c_ahead < count && texts[i + c_ahead].m_entry != nullptr) {
            __builtin_prefetch(&texts[i + c_ahead].m_entry->chunk);
        }
        detail::StringEntry* const entry = std::exchange(texts[i].m_entry, nullptr);
        if (entry == nullptr) {
            continue;
        }
        if (entry->chunk != run) {
            if (run != nullptr) {
                run->Release(references);
            }
            run = entry->chunk;
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
