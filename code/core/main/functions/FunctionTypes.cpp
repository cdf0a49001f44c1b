#include "zel/core/functions/FunctionTypes.h"

#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "zel/core/functions/FunctionTemplates.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

std::string_view FunctionKindName(FunctionKind kind) noexcept {
    switch (kind) {
        case FunctionKind::Unary:
            return "unary";
        case FunctionKind::Binary:
            return "binary";
        case FunctionKind::Multinary:
            return "multinary";
    }
    return {};
}

namespace {

std::string FormatTypeInfo(StoreTypeInfo const& info) {
    std::string text(StoreTypeName(info.GetStoreType()));
    if (info.GetStoreType() == StoreType::String && !info.GetCollation().IsBinary()) {
        text += '(';
        text += info.GetCollation().GetName().ToUtf8();
        text += ')';
    }
    if (info.IsOptional()) {
        text += "?";
    }
    return text;
}

}  // namespace

std::string FormatKeySegmentType(KeySegmentType const& type) {
    if (!type.HasType()) {
        return "none";
    }
    std::string text = FormatTypeInfo(type.GetMainType());
    if (!type.GetChildType().IsEmpty()) {
        text += '<';
        text += FormatTypeInfo(type.GetChildType());
        text += '>';
    }
    return text;
}

std::string FormatKeySegmentTypes(std::vector<KeySegmentType> const& types) {
    std::string text;
    for (KeySegmentType const& type : types) {
        if (!text.empty()) {
            text += ", ";
        }
        text += FormatKeySegmentType(type);
    }
    return text;
}

namespace detail {

namespace {

// A number as T: a floating value converts as C++ converts it; to an integer, only a value in its
// range converts (truncated toward zero), anything else fails rather than wrapping.
template <class T, class S>
T ConvertInRange(S value) {
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        bool inRange = true;
        if constexpr (std::is_floating_point_v<S>) {
            // The bounds as S: -2^31 and 2^31 (or 2^63), exact in every floating type.
            S const low = static_cast<S>(std::numeric_limits<T>::min());
            S const high = -low;
            inRange = value >= low && value < high;
        } else {
            inRange = std::in_range<T>(value);
        }
        if (!inRange) {
            ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument,
                               TStringCore::FromUtf8("the creator argument " + std::to_string(value) +
                                                     " is out of the range of its integer parameter"));
        }
    }
    return static_cast<T>(value);
}

// A creator argument of a numeric parameter may be of any numeric type.
template <class T>
T ConvertNumber(std::shared_ptr<StoreValue> const& value) {
    if (value && !value->IsSpecial()) {
        switch (value->GetStoreType()) {
            case StoreType::Bool:
                return static_cast<T>(FetchStoreValue<bool>(value));
            case StoreType::Int32:
                return ConvertInRange<T>(FetchStoreValue<int>(value));
            case StoreType::Int64:
                return ConvertInRange<T>(FetchStoreValue<long long>(value));
            case StoreType::Float:
                return ConvertInRange<T>(FetchStoreValue<float>(value));
            case StoreType::Double:
                return ConvertInRange<T>(FetchStoreValue<double>(value));
            default:
                break;
        }
    }
    // Anything else fails here, with the wanted and the actual type.
    return FetchStoreValue<T>(value);
}

}  // namespace

template <>
bool ConvertCreatorArgument<bool>(std::shared_ptr<StoreValue> const& value) {
    return FetchStoreValue<bool>(value);
}
template <>
int ConvertCreatorArgument<int>(std::shared_ptr<StoreValue> const& value) {
    return ConvertNumber<int>(value);
}
template <>
long long ConvertCreatorArgument<long long>(std::shared_ptr<StoreValue> const& value) {
    return ConvertNumber<long long>(value);
}
template <>
float ConvertCreatorArgument<float>(std::shared_ptr<StoreValue> const& value) {
    return ConvertNumber<float>(value);
}
template <>
double ConvertCreatorArgument<double>(std::shared_ptr<StoreValue> const& value) {
    return ConvertNumber<double>(value);
}
template <>
RIndirectString ConvertCreatorArgument<RIndirectString>(std::shared_ptr<StoreValue> const& value) {
    return FetchStoreValue<RIndirectString>(value);
}
template <>
TStringCore ConvertCreatorArgument<TStringCore>(std::shared_ptr<StoreValue> const& value) {
    return FetchStoreValue<TStringCore>(value);
}
template <>
ZelDateTime ConvertCreatorArgument<ZelDateTime>(std::shared_ptr<StoreValue> const& value) {
    return FetchStoreValue<ZelDateTime>(value);
}
template <>
ZelColor ConvertCreatorArgument<ZelColor>(std::shared_ptr<StoreValue> const& value) {
    return FetchStoreValue<ZelColor>(value);
}
template <>
std::shared_ptr<StoreValue> ConvertCreatorArgument<std::shared_ptr<StoreValue>>(
    std::shared_ptr<StoreValue> const& value) {
    return value;
}

void CheckCreatorArguments(CreatorArguments const* arguments, std::size_t expected) {
    ZEL_CHECK_NOT_NULL(arguments, ZelError::CreatorArgumentEmpty);
    if (arguments->size() != expected) {
        ZEL_FAIL_WITH_TEXT(
            ZelError::InvalidArgument,
            TStringCore::FromUtf8("the function takes " + std::to_string(expected) +
                                  " creator argument(s) and was given " + std::to_string(arguments->size())));
    }
}

void CheckBlockLengths(std::size_t inputLength, std::size_t outputLength) {
    ZEL_CHECK_LOGIC(inputLength == outputLength, ZelError::RangeViolation);
}

void RefuseAccumulate() {
    ZEL_FAIL_LOGIC_WITH_TEXT(ZelError::UnsupportedOperation,
                             L"a function whose first input is not of its output type cannot accumulate");
}

}  // namespace detail
}  // namespace zel::core
