#pragma once

// What the JSON and binary store formats share: the failure they throw, the text form of types and
// special kinds, and access to the layout of an array for the writers.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/array/ArrayValue.h"
#include "utility/AsciiText.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StringArena.h"
#include "zel/core/store/StoreTypeDispatcher.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core::io_detail {

// Reports and throws a ZelRuntimeException (StoreFormatError) with `text` (UTF-8; bytes that are no
// UTF-8 are shown as '?').
[[noreturn, gnu::cold]] void ThrowFormatError(std::string const& text);

// The failure text for an array that declares `rows` rows without listing them, beyond `bound`.
std::string ExpandedRowsText(std::string_view layout, std::uint64_t rows, std::uint32_t bound);

// Where a writer stands in the value it writes ("/a/values/1"), so that a value it cannot write is
// reported with its place. A Scope adds one segment for its lifetime.
class WriterPath {
public:
    explicit WriterPath(char const* writerName) : m_writerName(writerName) {}

    [[noreturn]] void Fail(std::string const& what) const;

    class Scope {
    public:
        Scope(WriterPath& path, std::string segment) : m_path(path) {
            path.m_segments.push_back(std::move(segment));
        }
        ~Scope() { m_path.m_segments.pop_back(); }
        Scope(Scope const&) = delete;
        Scope& operator=(Scope const&) = delete;

    private:
        WriterPath& m_path;
    };

private:
    char const* m_writerName;
    std::vector<std::string> m_segments;
};

// The text of UTF-8 bytes; TStringEncodingException with the offset when they are no UTF-8. ASCII,
// the common case of store strings, is widened without decoding.
TStringCore TextOfUtf8(std::string_view utf8);
// Whether every byte is below 0x80.
inline bool IsAscii(std::string_view utf8) noexcept {
    return ascii::IsAscii(utf8.data(), utf8.size());
}
// The same as a string handle. ASCII, most of what the readers read, is inlined into their loops
// and widened straight into the text's characters in `arena`; other text is decoded into the
// thread's current arena when one is open.
RIndirectString StringOfNonAsciiUtf8(std::string_view utf8);
inline RIndirectString StringOfUtf8(std::string_view utf8, StringArena& arena) {
    if (!IsAscii(utf8)) {
        return StringOfNonAsciiUtf8(utf8);
    }
    wchar_t* characters = nullptr;
    RIndirectString text = arena.MakeWritable(utf8.size(), characters);
    ascii::Widen(utf8.data(), utf8.size(), characters);
    return text;
}

// A parsed type text: "int32", "string(nocase)", "array<array<double>>", "keyset<string,int64>",
// "none". Each node is a type and its arguments: the element type of an array or set (whose own
// argument is the child type), the key and value types of a key set.
struct TypeNode {
    enum class Kind : unsigned char { Plain, KeySet, None };
    Kind kind = Kind::Plain;
    StoreTypeInfo info;
    std::vector<TypeNode> args;

    // The type of this node's first argument's argument, Empty when there is none: the child type
    // of an element type.
    StoreTypeInfo const& ChildOfArg(std::size_t index) const {
        return args.size() > index && !args[index].args.empty() ? args[index].args[0].info
                                                                : StoreTypeInfo::Empty;
    }
};

// The type of a type text, or the reason why there is none in `error`.
std::optional<TypeNode> ParseTypeText(std::string_view text, std::string& error);
// "int32", "string(nocase)"; the collation is named only when it is not binary.
std::string FormatType(StoreTypeInfo const& type);
// The type with its child as argument when it has one: "array<double>" for an element type Array
// whose elements are doubles.
std::string FormatType(StoreTypeInfo const& type, StoreTypeInfo const& child);

// The JSON form of a special kind: "null" and "error" as strings, any other kind as its number.
std::string SpecialKindText(SpecialKind kind);

// The array value behind an array or set of storage T, flattening a value of a kind the writers do
// not know; null when the value is no array of T.
template <class T>
std::shared_ptr<detail::ArrayValue<T> const> ArrayOf(std::shared_ptr<StoreValue const> const& value) {
    if (auto array = std::dynamic_pointer_cast<detail::ArrayValue<T> const>(value)) {
        return array;
    }
    return std::dynamic_pointer_cast<detail::ArrayValue<T> const>(value->AsArray().Flatten());
}

// Set members and key set keys are hashed and compared while a store loads, which costs time in
// their logical elements: a constant array of a billion elements is a few bytes of input and a
// billion elements to hash. The readers refuse such members and keys beyond this many elements in
// one set or key set, so that no small input takes long to load.
inline constexpr std::uint64_t c_maxHashedElements = std::uint64_t(1) << 24;

// The logical elements of `values` (arrays and sets by their count, tuples, key maps and tables by
// their members, recursively), counted up to just past c_maxHashedElements.
std::uint64_t CountHashedElements(std::vector<std::shared_ptr<StoreValue>> const& values);

// The element T with its special kind, as the readers collect a column.
template <class T>
struct Column {
    std::unique_ptr<std::vector<T>> values = std::make_unique<std::vector<T>>();
    std::unique_ptr<std::vector<SpecialKind>> specials;  // null until the first special

    void Push(T value, SpecialKind special) {
        if (special != SpecialKind::None && !specials) {
            specials = std::make_unique<std::vector<SpecialKind>>(values->size(), SpecialKind::None);
        }
        values->push_back(std::move(value));
        if (specials) {
            specials->push_back(special);
        }
    }
    // An ordinary value: no special kind to note unless specials came before.
    void PushValue(T value) {
        values->push_back(std::move(value));
        if (specials) [[unlikely]] {
            specials->push_back(SpecialKind::None);
        }
    }
    std::size_t size() const { return values->size(); }
    SpecialKind SpecialAt(std::size_t index) const {
        return specials ? (*specials)[index] : SpecialKind::None;
    }
};

}  // namespace zel::core::io_detail
