#pragma once

#pragma GCC visibility push(default)

// The one way the system checks a condition: when it fails, make one debug report naming the
// source, the line, the condition text and the code, then throw an exception with that code.
//
//   ZEL_CHECK(index < m_size, ZelError::RangeViolation)       reports "(index < m_size)"
//   ZEL_CHECK_EXACT(!(ptr + n > end), ZelError::RangeViolation) reports "!(ptr + n > end)"
//   ZEL_CHECK_NOT_NULL(node, ZelError::LogicFailure)          reports "(node) != nullptr"
//   ZEL_CHECK_NULL(node, ...)                                 reports "(node) == nullptr"
//   ZEL_CHECK_NOT_EMPTY(inputs, ...)                          reports "!(inputs.empty())"
//   ZEL_FAIL(error)                                           reports an empty condition
//   ZEL_FAIL_WITH_TEXT(error, text)                           reports an empty condition with the
//                                                             text as message; the exception carries
//                                                             the text too
//
// Each throws ZelRuntimeException; the _LOGIC forms throw ZelLogicException, for conditions that
// only a bug of the system can break.

#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelError.h"

namespace zel::core::detail {

[[noreturn, gnu::cold, gnu::noinline]] void ReportAndThrowRuntime(char const* sourcePath, int line,
                                                                  char const* conditionText, ZelError error);
[[noreturn, gnu::cold, gnu::noinline]] void ReportAndThrowLogic(char const* sourcePath, int line,
                                                                char const* conditionText, ZelError error);

[[noreturn, gnu::cold, gnu::noinline]] void ReportAndThrowRuntimeText(char const* sourcePath, int line,
                                                                      ZelError error,
                                                                      TStringCore const& text);
[[noreturn, gnu::cold, gnu::noinline]] void ReportAndThrowLogicText(char const* sourcePath, int line,
                                                                    ZelError error, TStringCore const& text);

}  // namespace zel::core::detail

#define ZEL_DETAIL_VERIFY(thrower, condition, text, error)                   \
    do {                                                                     \
        if (!(condition)) [[unlikely]] {                                     \
            ::zel::core::detail::thrower(__FILE__, __LINE__, text, (error)); \
        }                                                                    \
    } while (false)

#define ZEL_CHECK(condition, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowRuntime, condition, "(" #condition ")", error)
#define ZEL_CHECK_EXACT(condition, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowRuntime, condition, #condition, error)
#define ZEL_CHECK_NOT_NULL(pointer, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowRuntime, (pointer) != nullptr, "(" #pointer ") != nullptr", error)
#define ZEL_CHECK_NULL(pointer, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowRuntime, (pointer) == nullptr, "(" #pointer ") == nullptr", error)
#define ZEL_CHECK_NOT_EMPTY(container, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowRuntime, !((container).empty()), "!(" #container ".empty())", error)
#define ZEL_FAIL(error) ::zel::core::detail::ReportAndThrowRuntime(__FILE__, __LINE__, "", (error))

#define ZEL_CHECK_LOGIC(condition, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowLogic, condition, "(" #condition ")", error)
#define ZEL_CHECK_LOGIC_EXACT(condition, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowLogic, condition, #condition, error)
#define ZEL_CHECK_LOGIC_NOT_NULL(pointer, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowLogic, (pointer) != nullptr, "(" #pointer ") != nullptr", error)
#define ZEL_CHECK_LOGIC_NULL(pointer, error) \
    ZEL_DETAIL_VERIFY(ReportAndThrowLogic, (pointer) == nullptr, "(" #pointer ") == nullptr", error)
#define ZEL_FAIL_LOGIC(error) ::zel::core::detail::ReportAndThrowLogic(__FILE__, __LINE__, "", (error))
#define ZEL_FAIL_WITH_TEXT(error, text) \
    ::zel::core::detail::ReportAndThrowRuntimeText(__FILE__, __LINE__, (error), (text))
#define ZEL_FAIL_LOGIC_WITH_TEXT(error, text) \
    ::zel::core::detail::ReportAndThrowLogicText(__FILE__, __LINE__, (error), (text))

#pragma GCC visibility pop
