#pragma once

#pragma GCC visibility push(default)

#include <cstdint>
#include <optional>
#include <string_view>

#include "vorsys/string/TStringCore.h"

namespace zel::core {

// The number of an operator. The numbers are fixed: hosts and payloads store them.
enum class OperatorType : std::uint8_t {
    ApplyByPartition = 0,
    Block = 1,
    Call = 2,
    Case = 3,
    Concat = 4,
    Constant = 5,
    Copy = 6,
    CreateKeySet = 7,
    CreateTable = 8,
    Distinct = 9,
    Else = 10,
    Filter = 11,
    GroupBy = 12,
    Index = 13,
    InnerJoin = 14,
    Input = 15,
    LeftOuterJoin = 16,
    Map = 17,
    MultiSort = 18,
    NoOp = 19,
    Output = 20,
    Reduce = 21,
    Return = 22,
    Scan = 23,
    ScanRight = 24,
    SetValue = 25,
    SetValueMulti = 26,
    Slice = 27,
    When = 28,
    Zip = 29,
    ZipWith = 30,
    InternalCreateKeyMap = 31,
};

// One past the highest operator number.
inline constexpr unsigned int c_operatorTypeCount = 32;

// The name of the operator as VTL writes it and as metrics show it ("Map", "GroupBy"), in the case
// of the enumerator. An empty text for a number that names no operator.
TStringCore const& OperatorTypeToString(OperatorType type) noexcept;

// The operator of a name of OperatorTypeToString (exact, case-sensitive); nullopt for any other text.
std::optional<OperatorType> ParseOperatorTypeName(std::wstring_view name) noexcept;

}  // namespace zel::core

#pragma GCC visibility pop
