#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <span>
#include <string_view>

#include <boost/container/small_vector.hpp>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/KeySegmentType.h"

namespace zel::core {

// One named step of a key path: a text and the type of what it holds (possibly no type). Immutable
// once built and always held as std::shared_ptr<KeySegment>, so that paths share their segments.
// The hashes of the text and of the typed segment are computed once, here, so that hashing a path
// costs one combine per segment and allocates nothing.
class KeySegment {
public:
    KeySegment(TStringCore const& text, KeySegmentType const& type);
    explicit KeySegment(TStringCore const& text);  // untyped
    ~KeySegment();

    KeySegment(KeySegment const&) = delete;
    KeySegment& operator=(KeySegment const&) = delete;

    TStringCore const& GetSegment() const noexcept { return m_text; }
    KeySegmentType const& GetType() const noexcept { return m_type; }
    bool HasType() const noexcept { return m_type.HasType(); }

    // Hash of the text alone; equal texts hash alike whatever their types.
    std::size_t GetTextHash() const noexcept { return m_textHash; }
    // Hash of text and type; agrees with TypedEquals.
    std::size_t GetTypedHash() const noexcept { return m_typedHash; }

    bool TextEquals(KeySegment const& other) const noexcept {
        return this == &other || (m_textHash == other.m_textHash && m_text == other.m_text);
    }
    bool TypedEquals(KeySegment const& other) const noexcept {
        return this == &other ||
               (m_typedHash == other.m_typedHash && m_text == other.m_text && m_type == other.m_type);
    }

    static std::shared_ptr<KeySegment> Make(TStringCore const& text,
                                            KeySegmentType const& type = KeySegmentType());

private:
    TStringCore const m_text;
    KeySegmentType const m_type;
    std::size_t const m_textHash;
    std::size_t const m_typedHash;
};

// The address of a value in a data store: the segments from the root to the leaf. A value type,
// cheap to copy (paths share their segments). Up to eight segments live inside the object.
//
// Two equality and hash pairs:
//   typed          operator==, Hash(), std::hash<KeyPath>, hash_value: texts and segment types
//   type-agnostic  TypeAgnosticEquals, TypeAgnosticHash, KeyPathTypeAgnosticHash/EqualTo: texts only
// Paths written in a program carry no types, the store's own paths do; maps keyed by a program's
// paths use the type-agnostic pair so that both find each other.
//
// Text form (ToString, Parse): segments joined by ".". A segment is written in double quotes when it
// is empty or holds ".", a double quote, a backslash, whitespace, or a control, format or separator
// character. Inside quotes a double quote and a backslash are escaped with a backslash, tab, line
// feed and carriage return as \t \n \r, and the other characters that need it as \u{hex}. The
// empty path is the empty text. Types are not part of the text form.
class KeyPath {
public:
    using SegmentPtr = std::shared_ptr<KeySegment>;
    using Segments = boost::container::small_vector<SegmentPtr, 8>;
    using SegmentsBase = boost::container::small_vector_base<SegmentPtr>;

    KeyPath() noexcept = default;
    KeyPath(KeyPath const&) = default;
    KeyPath(KeyPath&&) noexcept = default;
    // One untyped segment with exactly that text (the text is not split; see Parse).
    explicit KeyPath(TStringCore const& text);
    // One typed segment.
    KeyPath(TStringCore const& text, KeySegmentType const& type);
    explicit KeyPath(SegmentPtr const& segment);
    // Takes the segments as they stand; null segments are refused (ZelLogicException).
    explicit KeyPath(Segments&& segments);
    ~KeyPath() = default;

    KeyPath& operator=(KeyPath const&) = default;
    KeyPath& operator=(KeyPath&&) noexcept = default;

    // A path of untyped segments, one for each text, in order; no text is split.
    static KeyPath FromTexts(std::initializer_list<TStringCore> texts);
    static KeyPath FromTexts(std::span<TStringCore const> texts);

    // Reads the text form back: the exact inverse of ToString for untyped paths. Unquoted text may
    // hold any character but ".", the double quote and the backslash. An empty bare segment
    // ("a..b", ".a", "a."), an unterminated quote, an unknown escape or text after a closing quote
    // throws ZelRuntimeException (KeyPathSyntaxError) naming the text and the offset.
    static KeyPath Parse(TStringCore const& text);

    // The shared empty path.
    static KeyPath const& Empty() noexcept;

    bool IsEmpty() const noexcept { return m_segments.empty(); }
    unsigned int GetCount() const noexcept { return static_cast<unsigned int>(m_segments.size()); }
    // From the root to the leaf.
    SegmentsBase const& GetSegments() const noexcept { return m_segments; }
    KeySegment const& GetSegment(unsigned int index) const;  // checked: RangeViolation

    // The leaf accessors and GetParent throw ZelRuntimeException (RangeViolation) on the empty path.
    TStringCore const& GetLeaf() const;
    SegmentPtr const& GetLeafSegment() const;
    KeySegmentType const& GetLeafSegmentType() const;
    KeyPath GetParent() const;

    // A new path with one more segment at the leaf end.
    KeyPath Add(TStringCore const& text) const;
    KeyPath Add(TStringCore const& text, KeySegmentType const& type) const;
    KeyPath Add(SegmentPtr const& segment) const;
    // A new path of the receiver's segments followed by those of `tail`.
    KeyPath Append(KeyPath const& tail) const;
    // The `count` segments from `first` (clamped to the end of the path).
    KeyPath Slice(unsigned int first, unsigned int count = ~0u) const;

    // True when the receiver's segment texts begin `other`'s (a path is a prefix of itself; the
    // empty path is a prefix of every path). Types are not compared, like the prefix tree.
    bool IsPrefixOf(KeyPath const& other) const noexcept;

    // The typed pair.
    bool operator==(KeyPath const& other) const noexcept;
    std::size_t Hash() const noexcept;

    // The type-agnostic pair.
    bool TypeAgnosticEquals(KeyPath const& other) const noexcept;
    std::size_t TypeAgnosticHash() const noexcept;

    struct KeyPathTypeAgnosticHash {
        std::size_t operator()(KeyPath const& path) const noexcept { return path.TypeAgnosticHash(); }
    };
    struct KeyPathTypeAgnosticEqualTo {
        bool operator()(KeyPath const& a, KeyPath const& b) const noexcept { return a.TypeAgnosticEquals(b); }
    };

    // The text form described above, for logs and messages.
    TStringCore ToString() const;

private:
    Segments m_segments;
};

// The typed hash, for boost::unordered containers.
inline std::size_t hash_value(KeyPath const& path) noexcept {
    return path.Hash();
}

// The text form, UTF-8, for test output and diagnostics.
std::ostream& operator<<(std::ostream& out, KeyPath const& path);
void PrintTo(KeyPath const& path, std::ostream* out);

}  // namespace zel::core

template <>
struct std::hash<zel::core::KeyPath> {
    std::size_t operator()(zel::core::KeyPath const& path) const noexcept { return path.Hash(); }
};

#pragma GCC visibility pop
