#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <string_view>
#include <utility>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/StringChunk.h"

namespace zel::core {

class StringArena;

// The string element of arrays: an 8-byte handle on shared, immutable text. Copies share the text;
// a default-constructed handle is the empty string and owns nothing.
//
// The text sits in a chunk shared with other texts (see StringArena): made under an arena, a
// column's texts cost a few large blocks rather than one heap block each. A handle keeps its
// whole chunk alive, so a value taken out of a column outlives the column safely. Made without
// an arena, a text is a chunk of its own: one block.
class RIndirectString {
public:
    RIndirectString() noexcept = default;
    RIndirectString(wchar_t const* text);  // NOLINT: implicit, like TStringCore
    explicit RIndirectString(TStringCore const& text) : RIndirectString(text.view()) {}
    explicit RIndirectString(std::wstring_view text);
    RIndirectString(RIndirectString const& other) noexcept : m_entry(other.m_entry) {
        if (m_entry != nullptr) {
            m_entry->Chunk()->AddReference();
        }
    }
    RIndirectString(RIndirectString&& other) noexcept : m_entry(std::exchange(other.m_entry, nullptr)) {}
    RIndirectString& operator=(RIndirectString const& other) noexcept {
        RIndirectString(other).Swap(*this);
        return *this;
    }
    RIndirectString& operator=(RIndirectString&& other) noexcept {
        RIndirectString(std::move(other)).Swap(*this);
        return *this;
    }
    ~RIndirectString() {
        if (m_entry != nullptr) {
            m_entry->Chunk()->Release();
        }
    }

    // A handle on `length` characters, in the current arena of this thread if there is one: the
    // maker writes every one through `characters` before the handle is read, copied or shared.
    static RIndirectString MakeWritable(std::size_t length, wchar_t*& characters);
    // A handle on the `length` characters from `first` on (a random-access iterator whose elements
    // convert to wchar_t), in the current arena of this thread if there is one. Defined in
    // StringArena.h.
    template <class Iterator>
    static RIndirectString MakeCopy(Iterator first, std::size_t length);

    // Plain equality of the texts (binary collation); the same entry compares equal at once.
    bool operator==(RIndirectString const& other) const noexcept;

    operator TStringCore const&() const noexcept { return Get(); }  // NOLINT: implicit by design
    TStringCore const& Get() const noexcept;
    std::wstring_view View() const noexcept { return m_entry != nullptr ? m_entry->text.view() : std::wstring_view(); }
    bool IsEmpty() const noexcept { return m_entry == nullptr || m_entry->text.isEmpty(); }

    // The block that holds the text (null for the empty string) and its size in bytes, so that a
    // memory report counts a shared chunk once.
    void const* GetStorageIdentity() const noexcept { return m_entry != nullptr ? m_entry->Chunk() : nullptr; }
    std::size_t GetStorageBytes() const noexcept {
        return m_entry != nullptr ? m_entry->Chunk()->GetAllocatedBytes() : 0;
    }

    void Swap(RIndirectString& other) noexcept { std::swap(m_entry, other.m_entry); }

    // Empties `count` handles, giving back the references of a run of handles on one chunk in a
    // single step: a column made under an arena is freed at a few atomic operations per chunk.
    static void ReleaseAll(RIndirectString* texts, std::size_t count) noexcept;

private:
    friend class StringArena;
    // Adopts one reference on the entry's chunk.
    explicit RIndirectString(detail::StringEntry* entry) noexcept : m_entry(entry) {}

    detail::StringEntry* m_entry = nullptr;
};

static_assert(sizeof(RIndirectString) == 8, "RIndirectString is one pointer");

std::size_t hash_value(RIndirectString const& text) noexcept;

}  // namespace zel::core

template <>
struct std::hash<zel::core::RIndirectString> {
    std::size_t operator()(zel::core::RIndirectString const& text) const noexcept { return hash_value(text); }
};

#pragma GCC visibility pop
