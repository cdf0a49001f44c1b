#pragma once

// The text forms of types that the store code's failure messages use.

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core::detail {

// "double", "array<int32>", "string(nocase)", "special double": the type of a value for messages.
// withElements false leaves out the element type of an Array or Set.
TStringCore DescribeType(StoreValue const& value, bool withElements = true);
TStringCore DescribeTypeInfo(StoreTypeInfo const& type);

}  // namespace zel::core::detail
