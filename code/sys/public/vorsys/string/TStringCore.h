#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "vorsys/base/VorlaneException.h"
#include "vorsys/string/TextAllocator.h"

enum class CaseSensitivity { CaseInsensitive = 0, CaseSensitive = 1 };

// Text that is not valid UTF-8 (or a wide text that holds no Unicode scalar value); the offset is
// the byte or character index at which decoding failed.
class TStringEncodingException : public VorlaneException {
public:
    TStringEncodingException(std::string text, std::size_t offset)
        : VorlaneException(std::move(text)), m_offset(offset) {}
    std::size_t GetOffset() const noexcept { return m_offset; }

private:
    std::size_t m_offset;
};

// The wide string of the system: every name, message, key segment and spec text. One wchar_t holds
// one Unicode code point (UTF-32 on the platforms we build for). A value type with the operations
// of std::wstring that the system needs, plus UTF-8 conversion for the edges of the process.
//
// The characters can live in a TextRegion, so that the texts of a string column sit in a few shared
// blocks rather than a heap block each. A copy always takes the heap, so a copied text never refers
// into a region; only a text constructed with one uses it.
class TStringCore {
public:
    using Text = std::basic_string<wchar_t, std::char_traits<wchar_t>, TextAllocator<wchar_t>>;

    TStringCore() noexcept = default;
    TStringCore(TStringCore const&) = default;
    TStringCore(TStringCore&&) noexcept = default;
    // A terminated text when length is -1, else exactly length characters. A null pointer is the
    // empty string.
    TStringCore(wchar_t const* text, int length = -1);  // NOLINT: implicit on purpose, for L"" literals
    TStringCore(wchar_t character, int count);
    explicit TStringCore(std::wstring const& text) : m_text(text.data(), text.size()) {}
    explicit TStringCore(std::wstring_view text) : m_text(text) {}
    explicit TStringCore(Text text) noexcept : m_text(std::move(text)) {}
    // `length` characters, all `fill`, in memory taken from `region`.
    TStringCore(std::size_t length, wchar_t fill, TextRegion* region)
        : m_text(length, fill, Text::allocator_type(region)) {}
    // The characters from `first` to `last`, in memory taken from `region`, written in place.
    template <class Iterator>
    TStringCore(Iterator first, Iterator last, TextRegion* region)
        : m_text(first, last, Text::allocator_type(region)) {}
    ~TStringCore() = default;

    TStringCore& operator=(TStringCore const&) = default;
    TStringCore& operator=(TStringCore&&) noexcept = default;
    TStringCore& operator=(wchar_t const* text);

    TStringCore& operator+=(TStringCore const& other);
    TStringCore& operator+=(wchar_t character);
    TStringCore& operator+=(wchar_t const* text);

    bool isEmpty() const noexcept { return m_text.empty(); }
    std::size_t size() const noexcept { return m_text.size(); }
    std::size_t length() const noexcept { return m_text.size(); }
    std::size_t capacity() const noexcept { return m_text.capacity(); }
    wchar_t operator[](std::size_t index) const noexcept { return m_text[index]; }
    // The characters, to be written in place by whoever made the text and has not shared it yet.
    wchar_t* data() noexcept { return m_text.data(); }
    // The region the characters were taken from, or null for the heap.
    TextRegion* region() const noexcept { return m_text.get_allocator().Region(); }

    // Whether the first character is `character`; false on an empty string. The case-insensitive
    // form compares simple Unicode case folds.
    bool startsWith(wchar_t character, CaseSensitivity cs = CaseSensitivity::CaseSensitive) const;
    // Replaces every occurrence of `before` by `after`, in place.
    TStringCore& replace(wchar_t before, wchar_t after, CaseSensitivity cs = CaseSensitivity::CaseSensitive);

    explicit operator wchar_t const*() const noexcept { return m_text.c_str(); }
    wchar_t const* c_str() const noexcept { return m_text.c_str(); }
    std::wstring_view view() const noexcept { return m_text; }
    // A copy in a plain std::wstring, for code that builds messages.
    std::wstring str() const { return std::wstring(m_text); }
    auto begin() const noexcept { return m_text.begin(); }
    auto end() const noexcept { return m_text.end(); }

    // Strict: malformed UTF-8 throws TStringEncodingException with the byte offset.
    static TStringCore FromUtf8(std::string_view utf8);
    // Total: a character that is no Unicode scalar value is written as U+FFFD, so that logging and
    // error paths never fail.
    std::string ToUtf8() const;

    friend bool operator==(TStringCore const& a, TStringCore const& b) noexcept {
        return a.m_text == b.m_text;
    }
    friend bool operator==(TStringCore const& a, wchar_t const* b) noexcept {
        return a.view() == std::wstring_view(b ? b : L"");
    }
    friend std::strong_ordering operator<=>(TStringCore const& a, TStringCore const& b) noexcept {
        return a.view().compare(b.view()) <=> 0;
    }

    friend VOR_PUBLIC TStringCore operator+(TStringCore const& a, TStringCore const& b);
    friend VOR_PUBLIC TStringCore operator+(TStringCore&& a, TStringCore const& b);
    friend VOR_PUBLIC TStringCore operator+(TStringCore const& a, wchar_t const* b);
    friend VOR_PUBLIC TStringCore operator+(TStringCore&& a, wchar_t const* b);
    friend VOR_PUBLIC TStringCore operator+(wchar_t const* a, TStringCore const& b);
    friend VOR_PUBLIC TStringCore operator+(TStringCore const& a, wchar_t b);
    friend VOR_PUBLIC TStringCore operator+(TStringCore&& a, wchar_t b);
    friend VOR_PUBLIC TStringCore operator+(wchar_t a, TStringCore const& b);

private:
    Text m_text;
};

// Hash for boost::unordered containers (found by argument-dependent lookup).
std::size_t hash_value(TStringCore const& text) noexcept;

// UTF-8 on streams, for test output and diagnostics.
std::ostream& operator<<(std::ostream& out, TStringCore const& text);
void PrintTo(TStringCore const& text, std::ostream* out);

template <>
struct std::hash<TStringCore> {
    std::size_t operator()(TStringCore const& text) const noexcept { return hash_value(text); }
};

#pragma GCC visibility pop
