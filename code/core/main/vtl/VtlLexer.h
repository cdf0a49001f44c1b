#pragma once

// The tokens of VTL and the failures that point into the program text.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zel/core/spec/StatementSource.h"
#include "zel/core/utility/ZelError.h"

namespace zel::core::vtl {

// A place in the program: 1-based line and column (in characters), and where its line starts.
struct SourceLocation {
    std::uint32_t line = 1;
    std::uint32_t column = 1;
    std::size_t lineStart = 0;
};

// Makes the text of a failure at `where`: "line L, column C: message", then the line (clipped
// around the column when it is long) and a caret under the column. Throws ZelRuntimeException.
[[noreturn]] void FailAt(ZelError error, std::wstring_view source, SourceLocation const& where,
                         std::wstring const& message);

// The place `where` in `source` with the text of its line, as a statement keeps it.
StatementSource SourceAt(std::wstring_view source, SourceLocation const& where);

enum class TokenKind : std::uint8_t {
    Word,         // a bare word: a key segment, an operator, a keyword, a type or function name
    Quoted,       // `a segment in backquotes`; text is the segment
    String,       // "a string"; text is the value
    Integer,      // 42, -7: text is the digits with the sign
    Integer64,    // 42L: text without the suffix
    Double,       // 1.5, 1e3: text as written
    Float,        // 1.5f: text without the suffix
    Hex,          // 0xFF00FFFF: text is the hex digits
    Punctuation,  // one of ( ) { } [ ] < > , . : = ;   text is the character
    End,
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::wstring text;
    SourceLocation where;

    bool Is(TokenKind k, std::wstring_view t) const noexcept { return kind == k && text == t; }
    bool IsPunct(wchar_t c) const noexcept {
        return kind == TokenKind::Punctuation && text.size() == 1 && text[0] == c;
    }
    bool IsWord(std::wstring_view t) const noexcept { return Is(TokenKind::Word, t); }
};

// How a token reads in a message: "\"fn\"", "the end of the program", "the string \"x\"".
std::wstring DescribeToken(Token const& token);

// The whole program as tokens, ending with one End token. Comments run from # to the end of the
// line. A character that starts no token, an unterminated string or a bad escape is a
// VtlSyntaxError.
std::vector<Token> Tokenize(std::wstring_view source);

}  // namespace zel::core::vtl
