#include "StoreFailure.h"

#include <string>

#include "zel/core/store/StoreValue.h"

namespace zel::core::detail {

TStringCore DescribeTypeInfo(StoreTypeInfo const& type) {
    std::string_view const name = StoreTypeName(type.GetStoreType());
    TStringCore text = TStringCore::FromUtf8(name.empty() ? std::string_view("unknown") : name);
    if (type.GetStoreType() == StoreType::String && !type.GetCollation().IsBinary()) {
        text += L'(';
        text += type.GetCollation().GetName();
        text += L')';
    }
    return text;
}

TStringCore DescribeType(StoreValue const& value, bool withElements) {
    TStringCore text = DescribeTypeInfo(value.GetTypeInfo());
    if (value.IsSpecial()) {
        return L"special " + text;
    }
    if (withElements && IsUniformCollectionStoreType(value.GetStoreType())) {
        text += L'<';
        text += DescribeTypeInfo(value.GetValueTypeInfo());
        text += L'>';
    }
    return text;
}

}  // namespace zel::core::detail
