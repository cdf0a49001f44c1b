#include "StoreFailure.h"

#include <string>

#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::core::detail {

namespace {

// ZelLogicException carries only a code; this adds the text to what() so that a broken invariant
// found by the store code still says which value and which interface were involved.
class ZelLogicExceptionWithText final : public ZelLogicException {
public:
    ZelLogicExceptionWithText(ZelError error, TStringCore const& text)
        : ZelLogicException(error), m_what(std::string(ZelLogicException::what()) + ": " + text.ToUtf8()) {}

    char const* what() const noexcept override { return m_what.c_str(); }

private:
    std::string m_what;
};

}  // namespace

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

void ReportAndThrowRuntimeText(char const* sourcePath, int line, ZelError error, TStringCore const& text) {
    PerformZelDebugReport(sourcePath, line, std::string(), error, text.ToUtf8());
    throw ZelRuntimeException(error, text);
}

void ReportAndThrowLogicText(char const* sourcePath, int line, ZelError error, TStringCore const& text) {
    PerformZelDebugReport(sourcePath, line, std::string(), error, text.ToUtf8());
    throw ZelLogicExceptionWithText(error, text);
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
