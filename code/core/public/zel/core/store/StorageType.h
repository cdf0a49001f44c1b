#pragma once

#pragma GCC visibility push(default)

// The five storage types: how the elements of arrays, sets and buffers are held in memory.
//
//   StorageType  C++ type                      StoreTypes
//   UInt8        unsigned char                 Bool (0 or 1)
//   UInt32       unsigned int                  Int32 (two's complement), Float (its bits), Color
//   UInt64       unsigned long long            Int64, Double (its bits), Date, DateTime
//   String       RIndirectString               String
//   Value        std::shared_ptr<StoreValue>   Object, Tuple, and nested collections
//
// A float never lives in a float-typed array: ITypedArray<unsigned int> serves Int32, Float and
// Color alike, and the logical type (GetElementTypeInfo) says how to read the bits.

#include <bit>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>

#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreType.h"

namespace zel::core {

class StoreValue;

// The storage types with their C++ types, in the order of StorageType. Expand with a macro of
// two arguments (enumerator, C++ type), e.g. to instantiate a template for each storage type.
#define ZEL_STORAGE_TYPE_LIST(X)            \
    X(UInt8, unsigned char)                 \
    X(UInt32, unsigned int)                 \
    X(UInt64, unsigned long long)           \
    X(String, ::zel::core::RIndirectString) \
    X(Value, ::std::shared_ptr<::zel::core::StoreValue>)

enum class StorageType : std::uint8_t {
#define ZEL_STORAGE_TYPE_ENUMERATOR(name, type) name,
    ZEL_STORAGE_TYPE_LIST(ZEL_STORAGE_TYPE_ENUMERATOR)
#undef ZEL_STORAGE_TYPE_ENUMERATOR
};

// "uint8", "uint32", "uint64", "string", "value".
std::string_view StorageTypeName(StorageType type) noexcept;

// The tag a generic maker is called with: maker(StorageTag<unsigned int>{}) makes the unsigned int
// instance of whatever the maker makes.
template <class T>
struct StorageTag {
    using type = T;
};

// What the system knows of each storage type at compile time. Only the five storage types have
// a specialisation; StorageElement<T> tells them apart from everything else.
template <class T>
struct StorageTraits;

template <>
struct StorageTraits<unsigned char> {
    static constexpr StorageType c_storageType = StorageType::UInt8;
    static constexpr char const* c_name = "uint8";
};
template <>
struct StorageTraits<unsigned int> {
    static constexpr StorageType c_storageType = StorageType::UInt32;
    static constexpr char const* c_name = "uint32";
};
template <>
struct StorageTraits<unsigned long long> {
    static constexpr StorageType c_storageType = StorageType::UInt64;
    static constexpr char const* c_name = "uint64";
};
template <>
struct StorageTraits<RIndirectString> {
    static constexpr StorageType c_storageType = StorageType::String;
    static constexpr char const* c_name = "string";
};
template <>
struct StorageTraits<std::shared_ptr<StoreValue>> {
    static constexpr StorageType c_storageType = StorageType::Value;
    static constexpr char const* c_name = "value";
};

template <class T>
concept StorageElement = requires {
    StorageTraits<T>::c_storageType;
};

// The C++ type of a storage type.
template <StorageType S>
struct StorageTypeOf;
#define ZEL_STORAGE_TYPE_OF(name, cxxType)    \
    template <>                               \
    struct StorageTypeOf<StorageType::name> { \
        using type = cxxType;                 \
    };
ZEL_STORAGE_TYPE_LIST(ZEL_STORAGE_TYPE_OF)
#undef ZEL_STORAGE_TYPE_OF
template <StorageType S>
using StorageTypeOfT = typename StorageTypeOf<S>::type;

// The storage type of a logical type: Bool, the numbers, dates and colours as above; Object,
// Tuple and the collections as shared values. Empty and the unused numbers have none.
constexpr std::optional<StorageType> GetStorageType(StoreType type) noexcept {
    switch (type) {
        case StoreType::Bool:
            return StorageType::UInt8;
        case StoreType::Int32:
        case StoreType::Float:
        case StoreType::Color:
            return StorageType::UInt32;
        case StoreType::Int64:
        case StoreType::Double:
        case StoreType::Date:
        case StoreType::DateTime:
            return StorageType::UInt64;
        case StoreType::String:
            return StorageType::String;
        case StoreType::Object:
        case StoreType::Array:
        case StoreType::Set:
        case StoreType::Tuple:
        case StoreType::KeyMap:
        case StoreType::Table:
            return StorageType::Value;
        case StoreType::Empty:
            break;
    }
    return std::nullopt;
}

// Whether elements of storage type T may have the logical type `type`.
template <StorageElement T>
constexpr bool IsStorageOf(StoreType type) noexcept {
    auto const storage = GetStorageType(type);
    return storage && *storage == StorageTraits<T>::c_storageType;
}

// The value a special slot holds, so that the flat values stay dense: 0 for the numbers (which
// is also the bits of ZelDateTime::DateTimeDefault), the empty string, the null pointer.
template <StorageElement T>
inline T SpecialFill() {
    return T{};
}

// The bits of a float or double and back, for the storage of Float and Double.
inline unsigned int FloatToBits(float value) noexcept {
    return std::bit_cast<unsigned int>(value);
}
inline float BitsToFloat(unsigned int bits) noexcept {
    return std::bit_cast<float>(bits);
}
inline unsigned long long DoubleToBits(double value) noexcept {
    return std::bit_cast<unsigned long long>(value);
}
inline double BitsToDouble(unsigned long long bits) noexcept {
    return std::bit_cast<double>(bits);
}

}  // namespace zel::core

#pragma GCC visibility pop
