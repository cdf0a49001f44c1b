#pragma once

#pragma GCC visibility push(default)

#include <functional>
#include <string>
#include <string_view>

#include "zel/core/utility/ZelError.h"

namespace zel::core {

// One failed check, as handed to the debug report handler.
struct ZelDebugReport {
    std::string_view sourcePath;  // repository-relative source file
    int line;
    std::string_view conditionText;  // the checked condition as written; empty for a bare failure
    ZelError error;
    std::string_view message;
};

using ZelDebugReportHandler = std::function<void(ZelDebugReport const&)>;

// Reports a failed check. Every check of the system calls this once and then throws an exception
// with the same code. The handler runs on the failing thread; it is expected to return.
void PerformZelDebugReport(std::string const& sourcePath, int line, std::string const& conditionText,
                           ZelError error, std::string const& message);

// Installs the handler that PerformZelDebugReport calls and returns the previous one. An empty
// handler restores the default, which writes one error line through ZelLog.
ZelDebugReportHandler SetZelDebugReportHandler(ZelDebugReportHandler handler);

// Installs a handler for the lifetime of the object, then puts the previous one back.
class ScopedZelDebugReportHandler {
public:
    explicit ScopedZelDebugReportHandler(ZelDebugReportHandler handler)
        : m_previous(SetZelDebugReportHandler(std::move(handler))) {}
    ~ScopedZelDebugReportHandler() { SetZelDebugReportHandler(std::move(m_previous)); }
    ScopedZelDebugReportHandler(ScopedZelDebugReportHandler const&) = delete;
    ScopedZelDebugReportHandler& operator=(ScopedZelDebugReportHandler const&) = delete;

private:
    ZelDebugReportHandler m_previous;
};

}  // namespace zel::core

#pragma GCC visibility pop
