#include "vorsys/string/TStringCore.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cwchar>
#include <ostream>
#include <span>
#include <stdexcept>

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

TStringCore::TStringCore(wchar_t const* text, int length)
    : TStringCore(text, text == nullptr ? 0 : length < 0 ? std::wcslen(text) : static_cast<std::size_t>(length),
                  nullptr) {}

TStringCore::TStringCore(wchar_t character, int count)
    : TStringCore(static_cast<std::size_t>(std::max(count, 0)), character, nullptr) {}

void TStringCore::ThrowTooLong() {
    throw std::length_error("a text holds at most 2^32 - 2 characters");
}

TStringCore& TStringCore::operator=(TStringCore const& other) {
    return this == &other ? *this : Assign(other.m_data, other.m_size);
}

// A text of the same region (the heap for both, most often) hands its storage over; from another
// region the characters are copied, so that no region is carried over.
TStringCore& TStringCore::operator=(TStringCore&& other) {
    if (this == &other) {
        return *this;
    }
    if (m_region != other.m_region) {
        return Assign(other.m_data, other.m_size);
    }
    Free();
    m_data = other.m_data;
    m_size = other.m_size;
    m_capacity = other.m_capacity;
    other.Forget();
    return *this;
}

TStringCore& TStringCore::operator=(wchar_t const* text) {
    return Assign(text != nullptr ? text : L"", text != nullptr ? std::wcslen(text) : 0);
}

TStringCore& TStringCore::operator+=(wchar_t const* text) {
    return text != nullptr ? Append(text, std::wcslen(text)) : *this;
}

TStringCore& TStringCore::Assign(wchar_t const* text, std::size_t length) {
    if (length == 0 && m_capacity == 0) {
        // Nothing to keep, and the constant terminator of an empty text is never written.
        Forget();
        return *this;
    }
    if (length <= m_capacity) {
        // The text may be part of this one: move rather than copy.
        std::char_traits<wchar_t>::move(m_data, text, length);
        m_data[length] = L'\0';
        m_size = static_cast<std::uint32_t>(length);
        return *this;
    }
    // Made in this text's own region, so the move below hands the storage over.
    TStringCore made(length, Unwritten(), m_region);
    std::copy_n(text, length, made.m_data);
    return *this = std::move(made);
}

// Grows to twice the capacity at least, so that a text built by appends costs amortised constant
// time per character.
TStringCore& TStringCore::Append(wchar_t const* text, std::size_t length) {
    if (length == 0) {
        return *this;
    }
    std::size_t const size = m_size + length;
    if (size <= m_capacity) {
        std::char_traits<wchar_t>::move(m_data + m_size, text, length);
    } else {
        if (length > c_maxLength - m_size) {
            ThrowTooLong();
        }
        std::size_t const capacity = std::min(std::max<std::size_t>({size, 2 * std::size_t{m_capacity}, 15}), c_maxLength);
        wchar_t* const grown = Allocate(capacity, m_region);
        std::copy_n(m_data, m_size, grown);
        // The appended text may be part of this one, which is freed only after the copy.
        std::copy_n(text, length, grown + m_size);
        Free();
        m_data = grown;
        m_capacity = static_cast<std::uint32_t>(capacity);
    }
    m_size = static_cast<std::uint32_t>(size);
    m_data[size] = L'\0';
    return *this;
}

bool TStringCore::startsWith(wchar_t character, CaseSensitivity cs) const {
    return m_size != 0 && SameCharacter(m_data[0], character, cs);
}

TStringCore& TStringCore::replace(wchar_t before, wchar_t after, CaseSensitivity cs) {
    for (wchar_t& c : std::span(m_data, m_size)) {
        if (SameCharacter(c, before, cs)) {
            c = after;
        }
    }
    return *this;
}

TStringCore TStringCore::FromUtf8(std::string_view utf8) {
    if (utf8.size() > static_cast<std::size_t>(INT32_MAX)) {
        throw TStringEncodingException("UTF-8 text longer than 2 GiB", 0);
    }
    if (utf8.empty()) {
        return {};
    }
    // No more characters than bytes: decoded into room for as many, then cut to the count.
    TStringCore out(utf8.size(), Unwritten(), nullptr);
    auto const* bytes = reinterpret_cast<uint8_t const*>(utf8.data());
    int32_t const length = static_cast<int32_t>(utf8.size());
    std::uint32_t count = 0;
    for (int32_t i = 0; i < length;) {
        int32_t const start = i;
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            throw TStringEncodingException("invalid UTF-8 at byte " + std::to_string(start),
                                           static_cast<std::size_t>(start));
        }
        out.m_data[count++] = static_cast<wchar_t>(c);
    }
    out.m_size = count;
    out.m_data[count] = L'\0';
    return out;
}

std::string TStringCore::ToUtf8() const {
    std::string out;
    out.reserve(m_size);
    for (wchar_t w : view()) {
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
