#include "zel/core/spec/StatementSource.h"

#include <string>

namespace zel::core {

namespace {

// The excerpt shows at most this many characters on either side of the caret.
constexpr std::size_t c_excerptHalfWidth = 60;

}  // namespace

TStringCore DescribeAtSource(StatementSource const& source, TStringCore const& message) {
    std::wstring text = L"line " + std::to_wstring(source.line) + L", column " +
                        std::to_wstring(source.column) + L": " + message.str() + L"\n";
    std::wstring_view const line = source.lineText.view();
    std::size_t const caret = source.column == 0 ? 0 : source.column - 1;
    std::size_t first = 0;
    std::size_t last = line.size();
    std::wstring excerpt = L"  ";
    if (caret > c_excerptHalfWidth) {
        first = caret - c_excerptHalfWidth;
        excerpt += L"...";
    }
    if (last > caret + c_excerptHalfWidth) {
        last = caret + c_excerptHalfWidth;
    }
    std::size_t const caretColumn = excerpt.size() + (caret - first);
    for (std::size_t i = first; i < last; ++i) {
        wchar_t const c = line[i];
        // Controls would break the line or shift the caret: show them as spaces.
        excerpt += (static_cast<std::uint32_t>(c) < 0x20 || c == 0x7F) ? L' ' : c;
    }
    if (last < line.size()) {
        excerpt += L"...";
    }
    text += excerpt + L"\n" + std::wstring(caretColumn, L' ') + L"^";
    return TStringCore(std::move(text));
}

}  // namespace zel::core
