#include "zel/core/utility/ZelException.h"

namespace zel::core {

namespace {

std::string Describe(ZelError error, TStringCore const& text, char const* kind) {
    std::string out = kind;
    out += std::to_string(ZelErrorNumber(error));
    if (auto name = ZelErrorName(error); !name.empty()) {
        out += " (";
        out += name;
        out += ')';
    }
    if (!text.isEmpty()) {
        out += ": ";
        out += text.ToUtf8();
    }
    return out;
}

}  // namespace

ZelException::ZelException(ZelError error, TStringCore text, char const* kind)
    : m_error(error), m_text(std::move(text)), m_what(Describe(error, m_text, kind)) {}

ZelRuntimeException::ZelRuntimeException(ZelError error) : ZelException(error, TStringCore(), "error ") {}

ZelRuntimeException::ZelRuntimeException(ZelError error, TStringCore const& text)
    : ZelException(error, text, "error ") {}

ZelLogicException::ZelLogicException(ZelError error) : ZelException(error, TStringCore(), "logic error ") {}

ZelLogicException::ZelLogicException(ZelError error, TStringCore const& text)
    : ZelException(error, text, "logic error ") {}

}  // namespace zel::core
