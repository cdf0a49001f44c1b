#include "zel/core/store/RIndirectString.h"

#include <functional>

namespace zel::core {

namespace {

TStringCore const& EmptyText() noexcept {
    static TStringCore const empty;
    return empty;
}

}  // namespace

// The empty text owns no block, so that default slots and empty strings cost nothing.
RIndirectString::RIndirectString(wchar_t const* text) {
    if (text != nullptr && *text != L'\0') {
        m_block = new Block(TStringCore(text));
    }
}

RIndirectString::RIndirectString(TStringCore text) {
    if (!text.isEmpty()) {
        m_block = new Block(std::move(text));
    }
}

bool RIndirectString::operator==(RIndirectString const& other) const noexcept {
    return m_block == other.m_block || View() == other.View();
}

TStringCore const& RIndirectString::Get() const noexcept {
    return m_block ? m_block->text : EmptyText();
}

std::size_t hash_value(RIndirectString const& text) noexcept {
    return std::hash<std::wstring_view>{}(text.View());
}

}  // namespace zel::core
