#include "zel/core/store/KeyPath.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <string>

#include <boost/container_hash/hash.hpp>

#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core {

namespace {

std::size_t HashTypeInfo(StoreTypeInfo const& info) noexcept {
    // Collations compare equal by name, so the name is what is hashed.
    std::size_t seed = static_cast<std::size_t>(info.GetStoreType());
    boost::hash_combine(seed, info.IsOptional());
    boost::hash_combine(seed, hash_value(info.GetCollation().GetName()));
    return seed;
}

std::size_t HashSegmentType(KeySegmentType const& type) noexcept {
    std::size_t seed = HashTypeInfo(type.GetMainType());
    boost::hash_combine(seed, HashTypeInfo(type.GetChildType()));
    return seed;
}

std::size_t TypedSegmentHash(std::size_t textHash, KeySegmentType const& type) noexcept {
    std::size_t seed = textHash;
    boost::hash_combine(seed, HashSegmentType(type));
    return seed;
}

bool IsScalarValue(wchar_t c) noexcept {
    auto const value = static_cast<std::uint32_t>(c);
    return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

// Written as \u{hex} inside quotes: controls, format characters, line and paragraph separators, and
// wide characters that are no Unicode scalar value.
bool NeedsEscape(wchar_t c) noexcept {
    if (!IsScalarValue(c)) {
        return true;
    }
    switch (u_charType(static_cast<UChar32>(c))) {
        case U_CONTROL_CHAR:
        case U_FORMAT_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
            return true;
        default:
            return false;
    }
}

bool NeedsQuotes(std::wstring_view text) noexcept {
    if (text.empty()) {
        return true;
    }
    return std::any_of(text.begin(), text.end(), [](wchar_t c) {
        return c == L'.' || c == L'"' || c == L'\\' || NeedsEscape(c) ||
               u_isUWhiteSpace(static_cast<UChar32>(c));
    });
}

void AppendSegment(std::wstring& out, std::wstring_view text) {
    if (!NeedsQuotes(text)) {
        out.append(text);
        return;
    }
    out += L'"';
    for (wchar_t c : text) {
        switch (c) {
            case L'"':
                out += L"\\\"";
                break;
            case L'\\':
                out += L"\\\\";
                break;
            case L'\t':
                out += L"\\t";
                break;
            case L'\n':
                out += L"\\n";
                break;
            case L'\r':
                out += L"\\r";
                break;
            default:
                if (NeedsEscape(c)) {
                    wchar_t buffer[16];
                    std::swprintf(buffer, 16, L"\\u{%X}",
                                  static_cast<unsigned>(static_cast<std::uint32_t>(c)));
                    out += buffer;
                } else {
                    out += c;
                }
        }
    }
    out += L'"';
}

[[noreturn]] void ThrowBadPathText(TStringCore const& text, std::size_t offset, wchar_t const* what,
                                   int line) {
    TStringCore const message = TStringCore(L"key path text \"") + text + L"\": " + what + L" at offset " +
                                TStringCore::FromUtf8(std::to_string(offset));
    detail::ReportAndThrowRuntimeText(__FILE__, line, ZelError::KeyPathSyntaxError, message);
}

int HexDigit(wchar_t c) noexcept {
    if (c >= L'0' && c <= L'9') {
        return c - L'0';
    }
    if (c >= L'a' && c <= L'f') {
        return c - L'a' + 10;
    }
    if (c >= L'A' && c <= L'F') {
        return c - L'A' + 10;
    }
    return -1;
}

}  // namespace

KeySegment::KeySegment(TStringCore const& text, KeySegmentType const& type)
    : m_text(text),
      m_type(type),
      m_textHash(hash_value(m_text)),
      m_typedHash(TypedSegmentHash(m_textHash, m_type)) {}

KeySegment::KeySegment(TStringCore const& text) : KeySegment(text, KeySegmentType()) {}

KeySegment::~KeySegment() = default;

std::shared_ptr<KeySegment> KeySegment::Make(TStringCore const& text, KeySegmentType const& type) {
    return std::make_shared<KeySegment>(text, type);
}

KeyPath::KeyPath(TStringCore const& text) {
    m_segments.push_back(KeySegment::Make(text));
}

KeyPath::KeyPath(TStringCore const& text, KeySegmentType const& type) {
    m_segments.push_back(KeySegment::Make(text, type));
}

KeyPath::KeyPath(SegmentPtr const& segment) {
    ZEL_CHECK_LOGIC_NOT_NULL(segment, ZelError::LogicFailure);
    m_segments.push_back(segment);
}

KeyPath::KeyPath(Segments&& segments) : m_segments(std::move(segments)) {
    for (auto const& segment : m_segments) {
        ZEL_CHECK_LOGIC_NOT_NULL(segment, ZelError::LogicFailure);
    }
}

KeyPath KeyPath::FromTexts(std::initializer_list<TStringCore> texts) {
    return FromTexts(std::span<TStringCore const>(texts.begin(), texts.size()));
}

KeyPath KeyPath::FromTexts(std::span<TStringCore const> texts) {
    Segments segments;
    segments.reserve(texts.size());
    for (auto const& text : texts) {
        segments.push_back(KeySegment::Make(text));
    }
    return KeyPath(std::move(segments));
}

KeyPath KeyPath::Parse(TStringCore const& text) {
    Segments segments;
    std::wstring_view const input = text.view();
    std::size_t pos = 0;
    if (input.empty()) {
        return KeyPath();
    }
    while (true) {
        std::wstring segment;
        if (pos < input.size() && input[pos] == L'"') {
            std::size_t const open = pos++;
            bool closed = false;
            while (pos < input.size()) {
                wchar_t const c = input[pos++];
                if (c == L'"') {
                    closed = true;
                    break;
                }
                if (c != L'\\') {
                    segment += c;
                    continue;
                }
                if (pos >= input.size()) {
                    break;
                }
                std::size_t const escape = pos - 1;
                switch (input[pos++]) {
                    case L'"':
                        segment += L'"';
                        break;
                    case L'\\':
                        segment += L'\\';
                        break;
                    case L't':
                        segment += L'\t';
                        break;
                    case L'n':
                        segment += L'\n';
                        break;
                    case L'r':
                        segment += L'\r';
                        break;
                    case L'u': {
                        if (pos >= input.size() || input[pos] != L'{') {
                            ThrowBadPathText(text, escape, L"\\u without {", __LINE__);
                        }
                        ++pos;
                        std::uint32_t value = 0;
                        std::size_t digits = 0;
                        while (pos < input.size() && HexDigit(input[pos]) >= 0 && digits < 8) {
                            value = value * 16 + static_cast<std::uint32_t>(HexDigit(input[pos]));
                            ++pos;
                            ++digits;
                        }
                        if (digits == 0 || pos >= input.size() || input[pos] != L'}') {
                            ThrowBadPathText(text, escape, L"bad \\u{hex} escape", __LINE__);
                        }
                        ++pos;
                        segment += static_cast<wchar_t>(value);
                        break;
                    }
                    default:
                        ThrowBadPathText(text, escape, L"unknown escape", __LINE__);
                }
            }
            if (!closed) {
                ThrowBadPathText(text, open, L"unterminated quote", __LINE__);
            }
            if (pos < input.size() && input[pos] != L'.') {
                ThrowBadPathText(text, pos, L"text after a closing quote", __LINE__);
            }
        } else {
            std::size_t const start = pos;
            while (pos < input.size() && input[pos] != L'.') {
                if (input[pos] == L'"' || input[pos] == L'\\') {
                    ThrowBadPathText(text, pos, L"quote or backslash in an unquoted segment", __LINE__);
                }
                ++pos;
            }
            if (pos == start) {
                ThrowBadPathText(text, start, L"empty unquoted segment", __LINE__);
            }
            segment.assign(input.substr(start, pos - start));
        }
        segments.push_back(KeySegment::Make(TStringCore(std::move(segment))));
        if (pos >= input.size()) {
            break;
        }
        ++pos;  // the separator
        if (pos >= input.size()) {
            ThrowBadPathText(text, pos, L"empty unquoted segment", __LINE__);
        }
    }
    return KeyPath(std::move(segments));
}

KeyPath const& KeyPath::Empty() noexcept {
    static KeyPath const empty;
    return empty;
}

KeySegment const& KeyPath::GetSegment(unsigned int index) const {
    ZEL_CHECK(index < m_segments.size(), ZelError::RangeViolation);
    return *m_segments[index];
}

TStringCore const& KeyPath::GetLeaf() const {
    return GetLeafSegment()->GetSegment();
}

KeyPath::SegmentPtr const& KeyPath::GetLeafSegment() const {
    ZEL_CHECK(!m_segments.empty(), ZelError::RangeViolation);
    return m_segments.back();
}

KeySegmentType const& KeyPath::GetLeafSegmentType() const {
    return GetLeafSegment()->GetType();
}

KeyPath KeyPath::GetParent() const {
    ZEL_CHECK(!m_segments.empty(), ZelError::RangeViolation);
    return Slice(0, GetCount() - 1);
}

KeyPath KeyPath::Add(TStringCore const& text) const {
    return Add(KeySegment::Make(text));
}

KeyPath KeyPath::Add(TStringCore const& text, KeySegmentType const& type) const {
    return Add(KeySegment::Make(text, type));
}

KeyPath KeyPath::Add(SegmentPtr const& segment) const {
    ZEL_CHECK_LOGIC_NOT_NULL(segment, ZelError::LogicFailure);
    Segments segments;
    segments.reserve(m_segments.size() + 1);
    segments.assign(m_segments.begin(), m_segments.end());
    segments.push_back(segment);
    KeyPath result;
    result.m_segments = std::move(segments);
    return result;
}

KeyPath KeyPath::Append(KeyPath const& tail) const {
    Segments segments;
    segments.reserve(m_segments.size() + tail.m_segments.size());
    segments.assign(m_segments.begin(), m_segments.end());
    segments.insert(segments.end(), tail.m_segments.begin(), tail.m_segments.end());
    KeyPath result;
    result.m_segments = std::move(segments);
    return result;
}

KeyPath KeyPath::Slice(unsigned int first, unsigned int count) const {
    std::size_t const begin = std::min<std::size_t>(first, m_segments.size());
    std::size_t const end = begin + std::min<std::size_t>(count, m_segments.size() - begin);
    KeyPath result;
    result.m_segments.assign(m_segments.begin() + static_cast<std::ptrdiff_t>(begin),
                             m_segments.begin() + static_cast<std::ptrdiff_t>(end));
    return result;
}

bool KeyPath::IsPrefixOf(KeyPath const& other) const noexcept {
    if (m_segments.size() > other.m_segments.size()) {
        return false;
    }
    return std::equal(m_segments.begin(), m_segments.end(), other.m_segments.begin(),
                      [](SegmentPtr const& a, SegmentPtr const& b) { return a->TextEquals(*b); });
}

bool KeyPath::operator==(KeyPath const& other) const noexcept {
    return std::equal(m_segments.begin(), m_segments.end(), other.m_segments.begin(), other.m_segments.end(),
                      [](SegmentPtr const& a, SegmentPtr const& b) { return a->TypedEquals(*b); });
}

std::size_t KeyPath::Hash() const noexcept {
    std::size_t seed = m_segments.size();
    for (auto const& segment : m_segments) {
        boost::hash_combine(seed, segment->GetTypedHash());
    }
    return seed;
}

bool KeyPath::TypeAgnosticEquals(KeyPath const& other) const noexcept {
    return std::equal(m_segments.begin(), m_segments.end(), other.m_segments.begin(), other.m_segments.end(),
                      [](SegmentPtr const& a, SegmentPtr const& b) { return a->TextEquals(*b); });
}

std::size_t KeyPath::TypeAgnosticHash() const noexcept {
    std::size_t seed = m_segments.size();
    for (auto const& segment : m_segments) {
        boost::hash_combine(seed, segment->GetTextHash());
    }
    return seed;
}

TStringCore KeyPath::ToString() const {
    std::wstring out;
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        if (i != 0) {
            out += L'.';
        }
        AppendSegment(out, m_segments[i]->GetSegment().view());
    }
    return TStringCore(std::move(out));
}

std::ostream& operator<<(std::ostream& out, KeyPath const& path) {
    return out << path.ToString();
}

void PrintTo(KeyPath const& path, std::ostream* out) {
    *out << path.ToString();
}

}  // namespace zel::core
