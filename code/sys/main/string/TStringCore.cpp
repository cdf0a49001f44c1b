#include "vorsys/string/TStringCore.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <ostream>

namespace {

bool SameCharacter(wchar_t a, wchar_t b, CaseSensitivity cs) {
    if (a == b) {
        return true;
    }
    return cs == CaseSensitivity::CaseInsensitive &&
           u_foldCase(static_cast<UChar32>(a), U_FOLD_CASE_DEFAULT) ==
               u_foldCase(static_cast<UChar32>(b), U_FOLD_CASE_DEFAULT);
}

bool IsScalarValue(UChar32 c) {
    return c >= 0 && c <= 0x10FFFF && !U_IS_SURROGATE(c);
}

}  // namespace

TStringCore::TStringCore(wchar_t const* text, int length) {
    if (text == nullptr) {
        return;
    }
    if (length < 0) {
        m_text.assign(text);
    } else {
        m_text.assign(text, static_cast<std::size_t>(length));
    }
}

TStringCore::TStringCore(wchar_t character, int count) {
    if (count > 0) {
        m_text.assign(static_cast<std::size_t>(count), character);
    }
}

TStringCore& TStringCore::operator=(wchar_t const* text) {
    m_text.assign(text ? text : L"");
    return *this;
}

TStringCore& TStringCore::operator+=(TStringCore const& other) {
    m_text += other.m_text;
    return *this;
}

TStringCore& TStringCore::operator+=(wchar_t character) {
    m_text += character;
    return *this;
}

TStringCore& TStringCore::operator+=(wchar_t const* text) {
    if (text != nullptr) {
        m_text += text;
    }
    return *this;
}

bool TStringCore::startsWith(wchar_t character, CaseSensitivity cs) const {
    return !m_text.empty() && SameCharacter(m_text.front(), character, cs);
}

TStringCore& TStringCore::replace(wchar_t before, wchar_t after, CaseSensitivity cs) {
    for (wchar_t& c : m_text) {
        if (SameCharacter(c, before, cs)) {
            c = after;
        }
    }
    return *this;
}

TStringCore TStringCore::FromUtf8(std::string_view utf8) {
    Text out;
    out.reserve(utf8.size());
    auto const* bytes = reinterpret_cast<uint8_t const*>(utf8.data());
    int32_t const length = static_cast<int32_t>(utf8.size());
    if (utf8.size() > static_cast<std::size_t>(INT32_MAX)) {
        throw TStringEncodingException("UTF-8 text longer than 2 GiB", 0);
    }
    for (int32_t i = 0; i < length;) {
        int32_t const start = i;
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            throw TStringEncodingException("invalid UTF-8 at byte " + std::to_string(start),
                                           static_cast<std::size_t>(start));
        }
        out.push_back(static_cast<wchar_t>(c));
    }
    return TStringCore(std::move(out));
}

std::string TStringCore::ToUtf8() const {
    std::string out;
    out.reserve(m_text.size());
    for (wchar_t w : m_text) {
        UChar32 c = static_cast<UChar32>(w);
        if (!IsScalarValue(c)) {
            c = 0xFFFD;
        }
        uint8_t buffer[U8_MAX_LENGTH];
        int32_t used = 0;
        U8_APPEND_UNSAFE(buffer, used, c);
        out.append(reinterpret_cast<char const*>(buffer), static_cast<std::size_t>(used));
    }
    return out;
}

TStringCore operator+(TStringCore const& a, TStringCore const& b) {
    TStringCore r(a);
    return r += b;
}
TStringCore operator+(TStringCore&& a, TStringCore const& b) {
    return std::move(a += b);
}
TStringCore operator+(TStringCore const& a, wchar_t const* b) {
    TStringCore r(a);
    return r += b;
}
TStringCore operator+(TStringCore&& a, wchar_t const* b) {
    return std::move(a += b);
}
TStringCore operator+(wchar_t const* a, TStringCore const& b) {
    TStringCore r(a);
    return r += b;
}
TStringCore operator+(TStringCore const& a, wchar_t b) {
    TStringCore r(a);
    return r += b;
}
TStringCore operator+(TStringCore&& a, wchar_t b) {
    return std::move(a += b);
}
TStringCore operator+(wchar_t a, TStringCore const& b) {
    TStringCore r(a, 1);
    return r += b;
}

std::size_t hash_value(TStringCore const& text) noexcept {
    return std::hash<std::wstring_view>{}(text.view());
}

std::ostream& operator<<(std::ostream& out, TStringCore const& text) {
    return out << text.ToUtf8();
}

void PrintTo(TStringCore const& text, std::ostream* out) {
    *out << '"' << text.ToUtf8() << '"';
}
