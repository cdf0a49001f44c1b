#include "zel/core/spec/OperatorType.h"

#include <array>

namespace zel::core {
namespace {

constexpr std::array<wchar_t const*, c_operatorTypeCount> c_names = {
    L"ApplyByPartition",
    L"Block",
    L"Call",
    L"Case",
    L"Concat",
    L"Constant",
    L"Copy",
    L"CreateKeySet",
    L"CreateTable",
    L"Distinct",
    L"Else",
    L"Filter",
    L"GroupBy",
    L"Index",
    L"InnerJoin",
    L"Input",
    L"LeftOuterJoin",
    L"Map",
    L"MultiSort",
    L"NoOp",
    L"Output",
    L"Reduce",
    L"Return",
    L"Scan",
    L"ScanRight",
    L"SetValue",
    L"SetValueMulti",
    L"Slice",
    L"When",
    L"Zip",
    L"ZipWith",
    L"InternalCreateKeyMap",
};

}  // namespace

TStringCore const& OperatorTypeToString(OperatorType type) noexcept {
    // Built on first use; the texts never change afterwards, so any thread may read them.
    static std::array<TStringCore, c_operatorTypeCount + 1> const texts = [] {
        std::array<TStringCore, c_operatorTypeCount + 1> result;
        for (unsigned int i = 0; i < c_operatorTypeCount; ++i) {
            result[i] = c_names[i];
        }
        return result;
    }();
    auto const index = static_cast<unsigned int>(type);
    return texts[index < c_operatorTypeCount ? index : c_operatorTypeCount];
}

std::optional<OperatorType> ParseOperatorTypeName(std::wstring_view name) noexcept {
    for (unsigned int i = 0; i < c_operatorTypeCount; ++i) {
        if (name == c_names[i]) {
            return static_cast<OperatorType>(i);
        }
    }
    return std::nullopt;
}

}  // namespace zel::core
