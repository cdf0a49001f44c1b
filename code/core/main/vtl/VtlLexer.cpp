#include "VtlLexer.h"

#include <algorithm>

#include "VtlText.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core::vtl {
namespace {

class Lexer {
public:
    explicit Lexer(std::wstring_view source) : m_source(source) {}

    std::vector<Token> Run() {
        std::vector<Token> tokens;
        for (;;) {
            SkipSpaceAndComments();
            Token token;
            token.where = Here();
            if (m_pos >= m_source.size()) {
                tokens.push_back(std::move(token));
                return tokens;
            }
            wchar_t const c = m_source[m_pos];
            if (IsWordStart(c)) {
                token.kind = TokenKind::Word;
                while (m_pos < m_source.size() && IsWordPart(m_source[m_pos])) {
                    token.text += m_source[m_pos];
                    Advance();
                }
            } else if (IsDigit(c) ||
                       (c == L'-' && m_pos + 1 < m_source.size() && IsDigit(m_source[m_pos + 1]))) {
                LexNumber(token);
            } else if (c == L'"' || c == L'`') {
                token.kind = c == L'"' ? TokenKind::String : TokenKind::Quoted;
                LexQuoted(token, c);
            } else if (std::wstring_view(L"(){}[]<>,.:=;").find(c) != std::wstring_view::npos) {
                token.kind = TokenKind::Punctuation;
                token.text = c;
                Advance();
            } else {
                std::wstring shown;
                AppendQuoted(shown, std::wstring_view(&c, 1), L'"');
                FailAt(ZelError::VtlSyntaxError, m_source, token.where,
                       L"unexpected character " + shown +
                           L"; expected a key, an operator, a literal or punctuation");
            }
            tokens.push_back(std::move(token));
        }
    }

private:
    static bool IsDigit(wchar_t c) noexcept { return c >= L'0' && c <= L'9'; }
    static bool IsHexDigit(wchar_t c) noexcept {
        return IsDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
    }

    SourceLocation Here() const {
        return {m_line, static_cast<std::uint32_t>(m_pos - m_lineStart + 1), m_lineStart};
    }

    void Advance() {
        if (m_source[m_pos] == L'\n') {
            ++m_line;
            m_lineStart = m_pos + 1;
        }
        ++m_pos;
    }

    bool At(wchar_t c) const { return m_pos < m_source.size() && m_source[m_pos] == c; }

    void SkipSpaceAndComments() {
        while (m_pos < m_source.size()) {
            wchar_t const c = m_source[m_pos];
            if (c == L' ' || c == L'\t' || c == L'\n' || c == L'\r') {
                Advance();
            } else if (c == L'#') {
                while (m_pos < m_source.size() && m_source[m_pos] != L'\n') {
                    Advance();
                }
            } else {
                return;
            }
        }
    }

    void TakeDigits(std::wstring& text) {
        while (m_pos < m_source.size() && IsDigit(m_source[m_pos])) {
            text += m_source[m_pos];
            Advance();
        }
    }

    void LexNumber(Token& token) {
        std::wstring& text = token.text;
        if (At(L'-')) {
            text += L'-';
            Advance();
        }
        if (At(L'0') && m_pos + 1 < m_source.size() &&
            (m_source[m_pos + 1] == L'x' || m_source[m_pos + 1] == L'X') && text.empty()) {
            Advance();
            Advance();
            token.kind = TokenKind::Hex;
            while (m_pos < m_source.size() && IsHexDigit(m_source[m_pos])) {
                text += m_source[m_pos];
                Advance();
            }
            if (text.empty()) {
                FailAt(ZelError::VtlSyntaxError, m_source, token.where, L"expected hex digits after 0x");
            }
            return;
        }
        TakeDigits(text);
        bool floating = false;
        if (At(L'.') && m_pos + 1 < m_source.size() && IsDigit(m_source[m_pos + 1])) {
            floating = true;
            text += L'.';
            Advance();
            TakeDigits(text);
        }
        if (At(L'e') || At(L'E')) {
            std::size_t next = m_pos + 1;
            if (next < m_source.size() && (m_source[next] == L'+' || m_source[next] == L'-')) {
                ++next;
            }
            if (next < m_source.size() && IsDigit(m_source[next])) {
                floating = true;
                while (m_pos < next) {
                    text += m_source[m_pos];
                    Advance();
                }
                TakeDigits(text);
            }
        }
        token.kind = floating ? TokenKind::Double : TokenKind::Integer;
        if (At(L'f') || At(L'F')) {
            token.kind = TokenKind::Float;
            Advance();
        } else if (At(L'L') && !floating) {
            token.kind = TokenKind::Integer64;
            Advance();
        }
        if (m_pos < m_source.size() && IsWordPart(m_source[m_pos])) {
            FailAt(ZelError::VtlSyntaxError, m_source, Here(),
                   L"unexpected character after a number; expected L (int64), f (float) or a separator");
        }
    }

    void LexQuoted(Token& token, wchar_t quote) {
        Advance();
        for (;;) {
            if (m_pos >= m_source.size() || m_source[m_pos] == L'\n') {
                FailAt(ZelError::VtlSyntaxError, m_source, token.where,
                       quote == L'"' ? L"unterminated string; expected a closing \" on the same line"
                                     : L"unterminated key segment; expected a closing ` on the same line");
            }
            wchar_t const c = m_source[m_pos];
            if (c == quote) {
                Advance();
                return;
            }
            if (c != L'\\') {
                token.text += c;
                Advance();
                continue;
            }
            SourceLocation const escapeAt = Here();
            Advance();
            wchar_t const e = m_pos < m_source.size() ? m_source[m_pos] : L'\0';
            if (e == quote || e == L'\\') {
                token.text += e;
            } else if (e == L'n') {
                token.text += L'\n';
            } else if (e == L't') {
                token.text += L'\t';
            } else if (e == L'r') {
                token.text += L'\r';
            } else if (e == L'u' && m_pos + 1 < m_source.size() && m_source[m_pos + 1] == L'{') {
                Advance();
                std::uint32_t code = 0;
                unsigned int digits = 0;
                while (m_pos + 1 < m_source.size() && IsHexDigit(m_source[m_pos + 1]) && digits < 8) {
                    Advance();
                    wchar_t const h = m_source[m_pos];
                    code = code * 16 +
                           static_cast<std::uint32_t>(IsDigit(h) ? h - L'0' : (h | 0x20) - L'a' + 10);
                    ++digits;
                }
                if (digits == 0 || m_pos + 1 >= m_source.size() || m_source[m_pos + 1] != L'}') {
                    FailAt(ZelError::VtlSyntaxError, m_source, escapeAt,
                           L"bad escape; expected \\u{ followed by one to eight hex digits and }");
                }
                Advance();
                token.text += static_cast<wchar_t>(code);
            } else {
                FailAt(ZelError::VtlSyntaxError, m_source, escapeAt,
                       L"unknown escape; expected one of \\\\ \\\" \\` \\n \\t \\r \\u{hex}");
            }
            Advance();
        }
    }

    std::wstring_view m_source;
    std::size_t m_pos = 0;
    std::uint32_t m_line = 1;
    std::size_t m_lineStart = 0;
};

}  // namespace

void FailAt(ZelError error, std::wstring_view source, SourceLocation const& where,
            std::wstring const& message) {
    ZEL_FAIL_WITH_TEXT(error, DescribeAtSource(SourceAt(source, where), TStringCore(message)));
}

StatementSource SourceAt(std::wstring_view source, SourceLocation const& where) {
    std::size_t const start = std::min(where.lineStart, source.size());
    std::size_t end = source.find(L'\n', start);
    if (end == std::wstring_view::npos) {
        end = source.size();
    }
    return {where.line, where.column, TStringCore(source.substr(start, end - start))};
}

std::wstring DescribeToken(Token const& token) {
    std::wstring out;
    switch (token.kind) {
        case TokenKind::End:
            return L"the end of the program";
        case TokenKind::String:
            out = L"the string ";
            AppendQuoted(out, token.text, L'"');
            return out;
        case TokenKind::Quoted:
            AppendQuoted(out, token.text, L'`');
            return out;
        case TokenKind::Hex:
            return L"\"0x" + token.text + L"\"";
        case TokenKind::Integer64:
            return L"\"" + token.text + L"L\"";
        case TokenKind::Float:
            return L"\"" + token.text + L"f\"";
        default:
            return L"\"" + token.text + L"\"";
    }
}

std::vector<Token> Tokenize(std::wstring_view source) {
    return Lexer(source).Run();
}

}  // namespace zel::core::vtl
