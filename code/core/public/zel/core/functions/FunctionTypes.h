#pragma once

#pragma GCC visibility push(default)

// The C++ types that registered functions see, and how they map to store types.
//
//   C++ type                      StoreTypes it serves
//   bool                          Bool
//   int                           Int32
//   long long                     Int64
//   float                         Float
//   double                        Double
//   RIndirectString               String
//   ZelDateTime                   Date, DateTime
//   ZelColor                      Color
//   std::shared_ptr<StoreValue>   Object, Tuple, Array, Set, KeyMap, Table
//
// These are logical types: a double function is called with doubles although a Double column
// stores their bits as unsigned long long. Each logical type has the size and layout of its storage
// type, so that a block of storage can be read as a block of logical values.

#include <concepts>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreType.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::core {

class StoreValue;

// The resolved arguments of a creator function, in the order of the function spec.
using CreatorArguments = std::vector<std::shared_ptr<StoreValue>>;

// The arity of a function, which is also the registry that holds it.
enum class FunctionKind : std::uint8_t {
    Unary,
    Binary,
    Multinary,
};

// "unary", "binary", "multinary".
std::string_view FunctionKindName(FunctionKind kind) noexcept;

template <class T>
struct LogicalTypeTraits;

template <>
struct LogicalTypeTraits<bool> {
    static constexpr StoreType c_defaultType = StoreType::Bool;
};
template <>
struct LogicalTypeTraits<int> {
    static constexpr StoreType c_defaultType = StoreType::Int32;
};
template <>
struct LogicalTypeTraits<long long> {
    static constexpr StoreType c_defaultType = StoreType::Int64;
};
template <>
struct LogicalTypeTraits<float> {
    static constexpr StoreType c_defaultType = StoreType::Float;
};
template <>
struct LogicalTypeTraits<double> {
    static constexpr StoreType c_defaultType = StoreType::Double;
};
template <>
struct LogicalTypeTraits<RIndirectString> {
    static constexpr StoreType c_defaultType = StoreType::String;
};
template <>
struct LogicalTypeTraits<ZelDateTime> {
    static constexpr StoreType c_defaultType = StoreType::DateTime;
};
template <>
struct LogicalTypeTraits<ZelColor> {
    static constexpr StoreType c_defaultType = StoreType::Color;
};
template <>
struct LogicalTypeTraits<std::shared_ptr<StoreValue>> {
    static constexpr StoreType c_defaultType = StoreType::Object;
};

// One of the nine logical types above.
template <class T>
concept LogicalType = requires {
    LogicalTypeTraits<T>::c_defaultType;
};

// Whether values of `type` reach a function as T.
template <LogicalType T>
constexpr bool IsLogicalTypeOf(StoreType type) noexcept {
    if constexpr (std::is_same_v<T, ZelDateTime>) {
        return type == StoreType::Date || type == StoreType::DateTime;
    } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        return type == StoreType::Object || IsCollectionStoreType(type);
    } else {
        return type == LogicalTypeTraits<T>::c_defaultType;
    }
}

// How a row call takes a value: small trivially copyable values by value, strings and shared
// values by reference, so that a row call costs no reference count.
template <class T>
using FunctionArg = std::conditional_t<std::is_trivially_copyable_v<T> && sizeof(T) <= 16, T, T const&>;

// A type as VTL writes it: "double", "array<int32>", "string(de)" for a collated string, with a
// trailing "?" when optional; "none" for a segment without a type.
std::string FormatKeySegmentType(KeySegmentType const& type);
// The types of a key, comma-separated: "double, int32".
std::string FormatKeySegmentTypes(std::vector<KeySegmentType> const& types);

}  // namespace zel::core

#pragma GCC visibility pop
