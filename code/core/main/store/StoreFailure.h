#pragma once

// Failures of the store code that carry a text: the debug report gets the text as its message and
// the exception carries it too, so that a log and a catch site both say what went wrong and where.

#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelError.h"

namespace zel::core {
class StoreValue;
class StoreTypeInfo;
}  // namespace zel::core

namespace zel::core::detail {

[[noreturn, gnu::cold, gnu::noinline]] void ReportAndThrowRuntimeText(char const* sourcePath, int line,
                                                                      ZelError error,
                                                                      TStringCore const& text);
[[noreturn, gnu::cold, gnu::noinline]] void ReportAndThrowLogicText(char const* sourcePath, int line,
                                                                    ZelError error, TStringCore const& text);

// "double", "array<int32>", "string(nocase)", "special double": the type of a value for messages.
// withElements false leaves out the element type of an Array or Set.
TStringCore DescribeType(StoreValue const& value, bool withElements = true);
TStringCore DescribeTypeInfo(StoreTypeInfo const& type);

}  // namespace zel::core::detail

#define ZEL_STORE_FAIL(error, text) \
    ::zel::core::detail::ReportAndThrowRuntimeText(__FILE__, __LINE__, (error), (text))
#define ZEL_STORE_FAIL_LOGIC(error, text) \
    ::zel::core::detail::ReportAndThrowLogicText(__FILE__, __LINE__, (error), (text))
