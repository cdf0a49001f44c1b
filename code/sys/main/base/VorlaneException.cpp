#include "vorsys/base/VorlaneException.h"

namespace {

std::string DescribeLogicFailure(char const* sourcePath, int line, char const* conditionText) {
    std::string text = "logic failure at ";
    text += sourcePath ? sourcePath : "?";
    text += ':';
    text += std::to_string(line);
    if (conditionText && *conditionText) {
        text += ": ";
        text += conditionText;
    }
    return text;
}

}  // namespace

VorlaneLogicException::VorlaneLogicException(char const* sourcePath, int line, char const* conditionText)
    : VorlaneException(DescribeLogicFailure(sourcePath, line, conditionText)),
      m_sourcePath(sourcePath ? sourcePath : ""),
      m_line(line),
      m_conditionText(conditionText ? conditionText : "") {}

void ThrowLogicException(char const* sourcePath, int line, char const* conditionText) {
    throw VorlaneLogicException(sourcePath, line, conditionText);
}
