#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "vorsys/base/VorlaneException.h"
#include "vorsys/string/TextRegion.h"

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
// It is three words: the characters, their count and capacity (up to 2^32 - 2 characters), and
// the region they were taken from. A string column holds one per text, so its size is what a
// column of short texts costs beyond their characters.
//
// The characters can live in a TextRegion, so that the texts of a string column sit in a few shared
// blocks rather than a heap block each. A copy always takes the heap, and assignment never carries
// a region over, so only a text constructed with a region uses it.
class TStringCore {
public:
    // Marks a text made with room for its characters but without them: its maker writes every one
    // through data() before the text is read or shared.
    struct Unwritten {};

    TStringCore() noexcept = default;
    TStringCore(TStringCore const& other) : TStringCore(other.m_data, other.m_size, nullptr) {}
    TStringCore(TStringCore&& other) noexcept
        : m_data(other.m_data), m_size(other.m_size), m_capacity(other.m_capacity), m_region(other.m_region) {
        other.Forget();
    }
    // A terminated text when length is -1, else exactly length characters. A null pointer is the
    // empty string.
    TStringCore(wchar_t const* text, int length = -1);  // NOLINT: implicit on purpose, for L"" literals
    TStringCore(wchar_t character, int count);
    explicit TStringCore(std::wstring const& text) : TStringCore(text.data(), text.size(), nullptr) {}
    explicit TStringCore(std::wstring_view text) : TStringCore(text.data(), text.size(), nullptr) {}
    // `length` characters, all `fill`, in memory taken from `region` (the heap when null).
    TStringCore(std::size_t length, wchar_t fill, TextRegion* region) : TStringCore(length, Unwritten(), region) {
        std::fill_n(m_data, length, fill);
    }
    // `length` characters for the maker to write, in memory taken from `region` (the heap when null).
    TStringCore(std::size_t length, Unwritten, TextRegion* region) : m_region(region) {
        if (length != 0) {
            m_data = Allocate(length, region);
            m_data[length] = L'\0';
            m_size = static_cast<std::uint32_t>(length);
            m_capacity = m_size;
        }
    }
    // The characters from `first` to `last` (a forward range whose elements convert to wchar_t),
    // in memory taken from `region` (the heap when null), written once.
    template <class Iterator>
    TStringCore(Iterator first, Iterator last, TextRegion* region)
        : TStringCore(static_cast<std::size_t>(std::distance(first, last)), Unwritten(), region) {
        static_assert(std::is_base_of_v<std::forward_iterator_tag,
                                        typename std::iterator_traits<Iterator>::iterator_category>,
                      "a text is made from a forward range");
        std::copy(first, last, m_data);
    }
    ~TStringCore() { Free(); }

    TStringCore& operator=(TStringCore const& other);
    // Takes over the storage of a text of the same region, and copies from any other (which may
    // allocate, and so throw).
    TStringCore& operator=(TStringCore&& other);
    TStringCore& operator=(wchar_t const* text);

    TStringCore& operator+=(TStringCore const& other) { return Append(other.m_data, other.m_size); }
    TStringCore& operator+=(wchar_t character) { return Append(&character, 1); }
    TStringCore& operator+=(wchar_t const* text);

    bool isEmpty() const noexcept { return m_size == 0; }
    std::size_t size() const noexcept { return m_size; }
    std::size_t length() const noexcept { return m_size; }
    // The characters the storage holds without growing; 0 for a text that has none of its own.
    std::size_t capacity() const noexcept { return m_capacity; }
    wchar_t operator[](std::size_t index) const noexcept { return m_data[index]; }
    // The characters, to be written in place by whoever made the text and has not shared it yet.
    wchar_t* data() noexcept { return m_data; }
    // The region the characters were taken from, or null for the heap.
    TextRegion* region() const noexcept { return m_region; }

    // Whether the first character is `character`; false on an empty string. The case-insensitive
    // form compares simple Unicode case folds.
    bool startsWith(wchar_t character, CaseSensitivity cs = CaseSensitivity::CaseSensitive) const;
    // Replaces every occurrence of `before` by `after`, in place.
    TStringCore& replace(wchar_t before, wchar_t after, CaseSensitivity cs = CaseSensitivity::CaseSensitive);

    explicit operator wchar_t const*() const noexcept { return m_data; }
    wchar_t const* c_str() const noexcept { return m_data; }
    std::wstring_view view() const noexcept { return {m_data, m_size}; }
    // A copy in a plain std::wstring, for code that builds messages.
    std::wstring str() const { return std::wstring(view()); }
    wchar_t const* begin() const noexcept { return m_data; }
    wchar_t const* end() const noexcept { return m_data + m_size; }

    // Strict: malformed UTF-8 throws TStringEncodingException with the byte offset.
    static TStringCore FromUtf8(std::string_view utf8);
    // Total: a character that is no Unicode scalar value is written as U+FFFD, so that logging and
    // error paths never fail.
    std::string ToUtf8() const;

    friend bool operator==(TStringCore const& a, TStringCore const& b) noexcept { return a.view() == b.view(); }
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
    // The characters from `text` on, in memory taken from `region`.
    TStringCore(wchar_t const* text, std::size_t length, TextRegion* region)
        : TStringCore(length, Unwritten(), region) {
        std::copy_n(text, length, m_data);
    }

    // Room for `length` characters and a terminator, from `region` or the heap. Throws
    // std::length_error beyond 2^32 - 2 characters.
    static wchar_t* Allocate(std::size_t length, TextRegion* region) {
        if (length > c_maxLength) {
            ThrowTooLong();
        }
        if (region != nullptr) {
            return static_cast<wchar_t*>(region->Take((length + 1) * sizeof(wchar_t), alignof(wchar_t)));
        }
        return std::allocator<wchar_t>().allocate(length + 1);
    }
    [[noreturn]] static void ThrowTooLong();
    void Free() noexcept {
        if (m_capacity != 0 && m_region == nullptr) {
            std::allocator<wchar_t>().deallocate(m_data, std::size_t{m_capacity} + 1);
        }
    }
    // Empty, owning nothing; the region stays, as it does for a moved-from standard string.
    void Forget() noexcept {
        m_data = const_cast<wchar_t*>(L"");
        m_size = 0;
        m_capacity = 0;
    }
    // The text becomes `length` characters from `text` (which may lie in this text's own storage).
    TStringCore& Assign(wchar_t const* text, std::size_t length);
    TStringCore& Append(wchar_t const* text, std::size_t length);

    static constexpr std::size_t c_maxLength = 0xFFFFFFFEu;

    // Never null: an empty text without storage points at a constant terminator, never written.
    wchar_t* m_data = const_cast<wchar_t*>(L"");
    std::uint32_t m_size = 0;
    std::uint32_t m_capacity = 0;
    TextRegion* m_region = nullptr;
};

static_assert(sizeof(TStringCore) == 3 * sizeof(void*), "a text is three words");

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
