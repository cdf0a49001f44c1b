#include "VtlText.h"

#include <array>
#include <cstdio>

namespace zel::core::vtl {

bool IsReservedWord(std::wstring_view word) noexcept {
    static constexpr std::array<std::wstring_view, 11> c_reserved = {
        L"_", L"input", L"output", L"edge", L"when", L"else", L"fn", L"value", L"true", L"false", L"null"};
    for (std::wstring_view reserved : c_reserved) {
        if (word == reserved) {
            return true;
        }
    }
    return false;
}

bool IsWordStart(wchar_t c) noexcept {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c == L'~';
}

bool IsWordPart(wchar_t c) noexcept {
    return IsWordStart(c) || (c >= L'0' && c <= L'9');
}

bool IsWord(std::wstring_view text) noexcept {
    if (text.empty() || !IsWordStart(text[0])) {
        return false;
    }
    for (wchar_t c : text) {
        if (!IsWordPart(c)) {
            return false;
        }
    }
    return true;
}

void AppendQuoted(std::wstring& out, std::wstring_view text, wchar_t quote) {
    out += quote;
    for (wchar_t c : text) {
        auto const code = static_cast<std::uint32_t>(c);
        if (c == quote || c == L'\\') {
            out += L'\\';
            out += c;
        } else if (c == L'\t') {
            out += L"\\t";
        } else if (c == L'\n') {
            out += L"\\n";
        } else if (c == L'\r') {
            out += L"\\r";
        } else if (code < 0x20 || (code >= 0x7F && code <= 0x9F) || (code >= 0xD800 && code <= 0xDFFF) ||
                   code > 0x10FFFF) {
            char buffer[16];
            std::snprintf(buffer, sizeof buffer, "\\u{%X}", static_cast<unsigned int>(code));
            for (char const* p = buffer; *p != 0; ++p) {
                out += static_cast<wchar_t>(*p);
            }
        } else {
            out += c;
        }
    }
    out += quote;
}

void AppendSegment(std::wstring& out, std::wstring_view text, bool first) {
    if (IsWord(text) && !(first && IsReservedWord(text))) {
        out += text;
    } else {
        AppendQuoted(out, text, L'`');
    }
}

void AppendTypeInfo(std::wstring& out, StoreTypeInfo const& info) {
    for (char c : StoreTypeName(info.GetStoreType())) {
        out += static_cast<wchar_t>(c);
    }
    if (info.GetStoreType() == StoreType::String && !info.GetCollation().IsBinary()) {
        std::wstring_view const name = info.GetCollation().GetName().view();
        out += L'(';
        if (IsWord(name)) {
            out += name;
        } else {
            AppendQuoted(out, name, L'"');
        }
        out += L')';
    }
}

void AppendType(std::wstring& out, KeySegmentType const& type) {
    AppendTypeInfo(out, type.GetMainType());
    if (!type.GetChildType().IsEmpty()) {
        out += L'<';
        AppendTypeInfo(out, type.GetChildType());
        out += L'>';
    }
}

}  // namespace zel::core::vtl
