#pragma once

#pragma GCC visibility push(default)

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace zel::core {

class StoreValue;
class RIndirectString;

// The type of a store value, one byte. 12 is unused; Empty stands for "no type" (the child type of
// a value whose elements have no children, or an untyped key segment).
enum class StoreType : std::uint8_t {
    Bool = 0,
    Int32 = 1,
    Int64 = 2,
    Float = 3,
    Double = 4,
    String = 5,
    Date = 6,
    DateTime = 7,
    Color = 8,
    Object = 9,
    Array = 10,
    Set = 11,
    Tuple = 13,
    KeyMap = 14,
    Table = 15,
    Empty = 255,
};

// Why an element holds no readable value. 0 is an ordinary value; any other byte marks a special,
// and kinds beyond those named here pass through the system unchanged.
enum class SpecialKind : std::uint8_t {
    None = 0,
    Null = 1,   // no value, e.g. an unmatched row of a left outer join
    Error = 2,  // a computation failed for this element
};

// Array, Set, Tuple, KeyMap and Table.
constexpr bool IsCollectionStoreType(StoreType type) noexcept {
    return type == StoreType::Array || type == StoreType::Set || type == StoreType::Tuple ||
           type == StoreType::KeyMap || type == StoreType::Table;
}

// The collections built from one flat vector of elements: Array and Set.
constexpr bool IsUniformCollectionStoreType(StoreType type) noexcept {
    return type == StoreType::Array || type == StoreType::Set;
}

// The lower-case name used in VTL types, store formats and messages ("double", "array", "keymap";
// "empty" for Empty). An empty view for a byte that names no type (12, 16 to 254).
std::string_view StoreTypeName(StoreType type) noexcept;
// The type of a name of StoreTypeName (exact, lower case); nullopt for any other text and for "empty".
std::optional<StoreType> ParseStoreTypeName(std::string_view name) noexcept;

}  // namespace zel::core

#pragma GCC visibility pop
