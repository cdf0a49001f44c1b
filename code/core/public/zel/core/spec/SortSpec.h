#pragma once

#pragma GCC visibility push(default)

#include <cstdint>

namespace zel::core {

// The direction of one key of a MultiSort.
enum class SortSpecOrder : std::uint32_t {
    Ascending = 0,
    Descending = 1,
};

// The function id that a MultiSort spec carries; its arguments are the orders, as the strings
// "ASC" and "DESC", one for each column to sort.
inline constexpr wchar_t SortFuncName[] = L"sort";

}  // namespace zel::core

#pragma GCC visibility pop
