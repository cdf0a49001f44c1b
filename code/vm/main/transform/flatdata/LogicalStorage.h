#pragma once

// How the logical values that registered functions see sit in the storage of a column.
//
//   logical type                  storage               one value         a block
//   bool                          unsigned char         0 or 1            read in place
//   int, float, ZelColor          unsigned int          the same bits     read in place
//   long long, double, ZelDateTime unsigned long long   the same bits     read in place
//   RIndirectString               RIndirectString       itself            itself
//   std::shared_ptr<StoreValue>   the same              itself            itself
//
// Every logical type has the size and alignment of its storage, so a block of a column is handed
// to a function as a span of the logical type over the column's own memory, and a function writes
// its results straight into the result buffer: no conversion and no copy per row. The row paths
// convert one value at a time.

#include <bit>
#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>

#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::vm {

template <class L>
struct LogicalStorage;

template <>
struct LogicalStorage<bool> {
    using type = unsigned char;
};
template <>
struct LogicalStorage<int> {
    using type = unsigned int;
};
template <>
struct LogicalStorage<long long> {
    using type = unsigned long long;
};
template <>
struct LogicalStorage<float> {
    using type = unsigned int;
};
template <>
struct LogicalStorage<double> {
    using type = unsigned long long;
};
template <>
struct LogicalStorage<core::RIndirectString> {
    using type = core::RIndirectString;
};
template <>
struct LogicalStorage<core::ZelDateTime> {
    using type = unsigned long long;
};
template <>
struct LogicalStorage<core::ZelColor> {
    using type = unsigned int;
};
template <>
struct LogicalStorage<std::shared_ptr<core::StoreValue>> {
    using type = std::shared_ptr<core::StoreValue>;
};

// The storage type of the column that holds values of logical type L.
template <core::LogicalType L>
using StorageOf = typename LogicalStorage<L>::type;

namespace detail {

template <class L>
constexpr bool SharesStorageLayout() {
    using S = StorageOf<L>;
    if constexpr (std::is_same_v<L, S>) {
        return true;
    } else {
        return sizeof(L) == sizeof(S) && alignof(L) <= alignof(S) && std::is_trivially_copyable_v<L> &&
               std::is_trivially_copyable_v<S>;
    }
}

}  // namespace detail

// One stored value as the function sees it. Strings and shared values come back by reference.
template <core::LogicalType L>
decltype(auto) ToLogical(StorageOf<L> const& stored) {
    if constexpr (std::is_same_v<L, StorageOf<L>>) {
        return (stored);
    } else if constexpr (std::is_same_v<L, bool>) {
        return stored != 0;
    } else if constexpr (std::is_same_v<L, int> || std::is_same_v<L, long long>) {
        return static_cast<L>(stored);
    } else if constexpr (std::is_same_v<L, float> || std::is_same_v<L, double>) {
        return std::bit_cast<L>(stored);
    } else {
        return L(stored);  // ZelDateTime, ZelColor
    }
}

// One result as the column stores it.
template <core::LogicalType L>
StorageOf<L> ToStorage(L value) {
    if constexpr (std::is_same_v<L, StorageOf<L>>) {
        return value;
    } else if constexpr (std::is_same_v<L, bool>) {
        return value ? 1 : 0;
    } else if constexpr (std::is_same_v<L, int> || std::is_same_v<L, long long>) {
        return static_cast<StorageOf<L>>(value);
    } else if constexpr (std::is_same_v<L, float> || std::is_same_v<L, double>) {
        return std::bit_cast<StorageOf<L>>(value);
    } else {
        return value.GetValue();  // ZelDateTime, ZelColor
    }
}

// A block of a column read as logical values, in place. Bool storage holds only 0 and 1, which
// are the two values of bool.
template <core::LogicalType L>
std::span<L const> AsLogicalSpan(StorageOf<L> const* stored, std::size_t count) {
    static_assert(detail::SharesStorageLayout<L>());
    return {reinterpret_cast<L const*>(stored), count};
}

// A block of a result buffer written as logical values, in place.
template <core::LogicalType L>
std::span<L> AsLogicalSpan(StorageOf<L>* stored, std::size_t count) {
    static_assert(detail::SharesStorageLayout<L>());
    return {reinterpret_cast<L*>(stored), count};
}

}  // namespace zel::vm
