#include "functions/builtin/BuiltinSupport.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <charconv>
#include <iterator>
#include <cwctype>
#include <string>

#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/StringArena.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core::builtin {

bool IsTruthy(std::shared_ptr<StoreValue> const& value) noexcept {
    if (!value || value->IsSpecial() || value->GetStoreType() != StoreType::Tuple) {
        return false;
    }
    return !value->AsTuple().GetElements().empty();
}

void ThrowNotKeySet(char const* function, StorageType key, StorageType value) {
    ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument,
                       TStringCore::FromUtf8(std::string(function) + ": the argument is no key set of " +
                                             std::string(StorageTypeName(key)) + " keys and " +
                                             std::string(StorageTypeName(value)) + " values"));
}

// ---- text -------------------------------------------------------------------------------------------

namespace {

icu::UnicodeString ToIcu(std::wstring_view text) {
    static_assert(sizeof(wchar_t) == sizeof(UChar32), "wide text is UTF-32");
    return icu::UnicodeString::fromUTF32(reinterpret_cast<UChar32 const*>(text.data()),
                                         static_cast<int32_t>(text.size()));
}

RIndirectString FromIcu(icu::UnicodeString const& text) {
    int32_t const length = text.countChar32();
    wchar_t* characters = nullptr;
    RIndirectString result = RIndirectString::MakeWritable(static_cast<std::size_t>(length), characters);
    if (length > 0) {
        UErrorCode status = U_ZERO_ERROR;
        text.toUTF32(reinterpret_cast<UChar32*>(characters), length, status);
    }
    return result;
}

std::wstring_view TrimView(std::wstring_view text) noexcept {
    auto const isSpace = [](wchar_t c) { return u_isUWhiteSpace(static_cast<UChar32>(c)) != 0; };
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// The text as ASCII bytes, or nullopt when a character is not ASCII.
std::optional<std::string> AsciiOf(std::wstring_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (wchar_t c : text) {
        if (c < 0 || c > 0x7F) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(c));
    }
    return bytes;
}

RIndirectString FromAscii(std::string_view text) {
    return RIndirectString::MakeCopy(text.begin(), text.size());
}

template <class T>
RIndirectString FormatShortest(T value) {
    char buffer[64];
    auto const result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return FromAscii(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
}

}  // namespace

namespace {

// Case mapping of ASCII text without ICU: the root locale's full mapping sends the letters of one
// ASCII case to the other and leaves every other ASCII character alone, so for such text the two
// give the same result. Text that the mapping leaves unchanged is returned shared, without a copy.
// Returns nullopt when the text holds a character outside ASCII.
// Reads characters through a mapping, so that a new text is built from the mapped characters in
// one pass with nothing in between. It walks forward only, which is all a text's constructor needs
// to size the text once.
template <class Map>
class MappingIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = wchar_t;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = wchar_t;

    MappingIterator(wchar_t const* at, Map const& map) : m_at(at), m_map(&map) {}
    wchar_t operator*() const { return (*m_map)(*m_at); }
    MappingIterator& operator++() {
        ++m_at;
        return *this;
    }
    MappingIterator operator++(int) {
        MappingIterator const before = *this;
        ++m_at;
        return before;
    }
    MappingIterator operator+(difference_type count) const { return MappingIterator(m_at + count, *m_map); }
    bool operator==(MappingIterator const& other) const { return m_at == other.m_at; }

private:
    wchar_t const* m_at;
    Map const* m_map;
};

std::optional<RIndirectString> MapAsciiCase(RIndirectString const& text, wchar_t from, wchar_t to) {
    std::wstring_view const view = text.View();
    // Branch-free tests over the whole text: short texts of random letters defeat prediction.
    std::uint32_t high = 0;
    bool changes = false;
    for (wchar_t const c : view) {
        auto const code = static_cast<std::uint32_t>(c);
        high |= code;
        changes |= code - static_cast<std::uint32_t>(from) < 26;
    }
    if (high > 0x7F) {
        return std::nullopt;
    }
    if (!changes) {
        return text;
    }
    // Branch-free too: the shift is added under a mask that is all ones for a letter of the case
    // `from`.
    auto const shift = static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
    auto const map = [from, shift](wchar_t c) {
        auto const code = static_cast<std::uint32_t>(c);
        std::uint32_t const isLetter = code - static_cast<std::uint32_t>(from) < 26;
        return static_cast<wchar_t>(code + (shift & (0u - isLetter)));
    };
    return RIndirectString::MakeCopy(MappingIterator(view.data(), map), view.size());
}

}  // namespace

RIndirectString ToUpper(RIndirectString const& text) {
    if (auto ascii = MapAsciiCase(text, L'a', L'A')) {
        return std::move(*ascii);
    }
    icu::UnicodeString unicode = ToIcu(text.View());
    unicode.toUpper(icu::Locale::getRoot());
    return FromIcu(unicode);
}

RIndirectString ToLower(RIndirectString const& text) {
    if (auto ascii = MapAsciiCase(text, L'A', L'a')) {
        return std::move(*ascii);
    }
    icu::UnicodeString unicode = ToIcu(text.View());
    unicode.toLower(icu::Locale::getRoot());
    return FromIcu(unicode);
}

RIndirectString Trim(RIndirectString const& text) {
    std::wstring_view const trimmed = TrimView(text.View());
    if (trimmed.size() == text.View().size()) {
        return text;
    }
    return RIndirectString(TStringCore(trimmed));
}

namespace {

// A number written in full in `text`: surrounding white space and a leading '+' allowed, nothing
// else around it.
template <class Number>
std::optional<Number> ParseNumber(std::wstring_view text) noexcept {
    auto const ascii = AsciiOf(TrimView(text));
    if (!ascii || ascii->empty()) {
        return std::nullopt;
    }
    char const* begin = ascii->data();
    char const* const end = begin + ascii->size();
    if (*begin == '+') {
        ++begin;
    }
    Number value = 0;
    auto const result = std::from_chars(begin, end, value);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<long long> ParseInteger(std::wstring_view text) noexcept {
    return ParseNumber<long long>(text);
}

std::optional<double> ParseDouble(std::wstring_view text) noexcept {
    return ParseNumber<double>(text);
}

std::optional<bool> ParseBool(std::wstring_view text) noexcept {
    auto const ascii = AsciiOf(TrimView(text));
    if (!ascii) {
        return std::nullopt;
    }
    std::string lower;
    for (char c : *ascii) {
        lower.push_back(static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c));
    }
    if (lower == "true" || lower == "1") {
        return true;
    }
    if (lower == "false" || lower == "0") {
        return false;
    }
    return std::nullopt;
}

std::optional<ZelColor> ParseColor(std::wstring_view text) noexcept {
    auto const ascii = AsciiOf(TrimView(text));
    if (!ascii || (ascii->size() != 7 && ascii->size() != 9) || (*ascii)[0] != '#') {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    char const* const begin = ascii->data() + 1;
    char const* const end = ascii->data() + ascii->size();
    for (char const* p = begin; p != end; ++p) {
        if (!std::isxdigit(static_cast<unsigned char>(*p))) {
            return std::nullopt;
        }
    }
    std::from_chars(begin, end, value, 16);
    if (ascii->size() == 7) {
        value = (value << 8u) | 0xFFu;  // opaque when the alpha is not given
    }
    return ZelColor(value);
}

RIndirectString FormatText(bool value) {
    return RIndirectString(value ? L"true" : L"false");
}
RIndirectString FormatText(long long value) {
    return FormatShortest(value);
}
RIndirectString FormatText(double value) {
    return FormatShortest(value);
}
RIndirectString FormatText(float value) {
    return FormatShortest(value);
}
RIndirectString FormatText(ZelDateTime value) {
    return FromAscii(value.ToIsoString());
}
RIndirectString FormatText(ZelColor value) {
    static constexpr char c_digits[] = "0123456789ABCDEF";
    std::string text = "#";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text.push_back(c_digits[(value.GetValue() >> static_cast<unsigned>(shift)) & 0xFu]);
    }
    return FromAscii(text);
}

// ---- dates ---------------------------------------------------------------------------------------

std::optional<ZelDateTime> SecondsToDateTime(double seconds) noexcept {
    double const micros = seconds * 1e6 + static_cast<double>(c_unixEpochMicros);
    // NaN fails both comparisons.
    if (!(micros >= 0.0 && micros <= static_cast<double>(ZelDateTime::c_maxValue))) {
        return std::nullopt;
    }
    return ZelDateTime(static_cast<std::uint64_t>(micros));
}

std::optional<ZelDateTime> SecondsToDateTime(long long seconds) noexcept {
    constexpr long long c_min = -static_cast<long long>(c_unixEpochMicros / 1'000'000);
    constexpr long long c_max =
        static_cast<long long>((ZelDateTime::c_maxValue - c_unixEpochMicros) / 1'000'000);
    if (seconds < c_min || seconds > c_max) {
        return std::nullopt;
    }
    return ZelDateTime(
        static_cast<std::uint64_t>(static_cast<long long>(c_unixEpochMicros) + seconds * 1'000'000));
}

std::optional<ZelDateTime> AddDays(ZelDateTime value, long long days) noexcept {
    constexpr long long c_maxDays =
        static_cast<long long>(ZelDateTime::c_maxValue / ZelDateTime::c_microsPerDay) + 1;
    if (!value.IsValid() || days > c_maxDays || days < -c_maxDays) {
        return std::nullopt;
    }
    long long const delta = days * static_cast<long long>(ZelDateTime::c_microsPerDay);
    long long const result = static_cast<long long>(value.GetValue()) + delta;
    if (result < 0 || static_cast<std::uint64_t>(result) > ZelDateTime::c_maxValue) {
        return std::nullopt;
    }
    return ZelDateTime(static_cast<std::uint64_t>(result));
}

}  // namespace zel::core::builtin
