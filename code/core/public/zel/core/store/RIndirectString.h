#pragma once

#pragma GCC visibility push(default)

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "vorsys/string/TStringCore.h"

namespace zel::core {

// The string element of arrays: an 8-byte handle on shared, immutable text. Copies share the text;
// a default-constructed handle is the empty string and owns nothing.
class RIndirectString {
public:
    RIndirectString() noexcept = default;
    RIndirectString(wchar_t const* text);  // NOLINT: implicit, like TStringCore
    explicit RIndirectString(TStringCore text);
    RIndirectString(RIndirectString const&) noexcept = default;
    RIndirectString(RIndirectString&&) noexcept = default;
    RIndirectString& operator=(RIndirectString const&) noexcept = default;
    RIndirectString& operator=(RIndirectString&&) noexcept = default;
    ~RIndirectString() = default;

    // Plain equality of the texts (binary collation); the same block compares equal at once.
    bool operator==(RIndirectString const& other) const noexcept;

    operator TStringCore const&() const noexcept { return Get(); }  // NOLINT: implicit by design
    TStringCore const& Get() const noexcept;
    std::wstring_view View() const noexcept { return Get().view(); }
    bool IsEmpty() const noexcept { return !m_block || m_block->text.isEmpty(); }

private:
    struct Block : boost::intrusive_ref_counter<Block, boost::thread_safe_counter> {
        explicit Block(TStringCore t) : text(std::move(t)) {}
        TStringCore const text;
    };
    boost::intrusive_ptr<Block const> m_block;
};

static_assert(sizeof(RIndirectString) == 8, "RIndirectString is one pointer");

std::size_t hash_value(RIndirectString const& text) noexcept;

}  // namespace zel::core

template <>
struct std::hash<zel::core::RIndirectString> {
    std::size_t operator()(zel::core::RIndirectString const& text) const noexcept { return hash_value(text); }
};

#pragma GCC visibility pop
