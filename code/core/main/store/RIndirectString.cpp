#include "zel/core/store/RIndirectString.h"

#include <algorithm>
#include <array>
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
    *this = MakeCopy(text.begin(), text.size());
}

void RIndirectString::ReleaseAll(RIndirectString* texts, std::size_t count) noexcept {
    // A chunk is one block and its entries lie inside it, so an entry whose address falls inside
    // the block of a chunk seen lately belongs to that chunk: the entry itself is read only when
    // none matches. A few chunks are kept, since a column made by a function mixes the chunks of
    // its results with those of the inputs it passed through unchanged.
    struct Run {
        detail::StringChunk* chunk = nullptr;
        std::byte const* begin = nullptr;
        std::byte const* end = nullptr;
        std::size_t references = 0;
    };
    constexpr std::size_t c_runs = 4;
    std::array<Run, c_runs> runs{};
    std::size_t next = 0;
    for (std::size_t i = 0; i < count; ++i) {
        detail::StringEntry* const entry = std::exchange(texts[i].m_entry, nullptr);
        if (entry == nullptr) {
            continue;
        }
        auto const* const address = reinterpret_cast<std::byte const*>(entry);
        Run* run = std::find_if(runs.begin(), runs.end(),
                                [address](Run const& r) { return address >= r.begin && address < r.end; });
        if (run == runs.end()) {
            run = &runs[next];
            next = (next + 1) % c_runs;
            if (run->chunk != nullptr) {
                run->chunk->Release(run->references);
            }
            run->chunk = entry->Chunk();
            run->begin = reinterpret_cast<std::byte const*>(run->chunk);
            run->end = run->begin + run->chunk->GetAllocatedBytes();
            run->references = 0;
        }
        ++run->references;
    }
    for (Run const& run : runs) {
        if (run.chunk != nullptr) {
            run.chunk->Release(run.references);
        }
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
