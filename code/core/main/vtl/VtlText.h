#pragma once

// What the VTL parser and printer share: the words that a bare key cannot be, the shape of a bare
// word, and the text of a type.

#include <string>
#include <string_view>

#include "zel/core/store/KeySegmentType.h"

namespace zel::core::vtl {

// The longest key path and the deepest nesting (children, types, parenthesised paths) that a
// program may use; beyond them the parser stops with a syntax error instead of exhausting time or
// the stack.
inline constexpr unsigned int c_maxPathSegments = 128;
inline constexpr unsigned int c_maxNesting = 64;

// Words with a meaning of their own where a key path may stand; a key of that name is written in
// backquotes.
bool IsReservedWord(std::wstring_view word) noexcept;

bool IsWordStart(wchar_t c) noexcept;
bool IsWordPart(wchar_t c) noexcept;
// A bare word: a word start followed by word parts.
bool IsWord(std::wstring_view text) noexcept;

// Appends text in the quotes `quote` (the double quote of strings or the backquote of segments),
// escaping the quote, the backslash, tab, line feed and carriage return, and as \u{hex} every
// other character below U+0020, U+007F to U+009F and the characters that are no scalar value.
void AppendQuoted(std::wstring& out, std::wstring_view text, wchar_t quote);

// A key segment: bare when it is a word (and not reserved, when `first`), else in backquotes.
void AppendSegment(std::wstring& out, std::wstring_view text, bool first);

// "double", "string(nocase)", "array<int32>", "set<string(\"de-u-ks-level2\")>".
void AppendType(std::wstring& out, KeySegmentType const& type);
void AppendTypeInfo(std::wstring& out, StoreTypeInfo const& info);

}  // namespace zel::core::vtl
