#include "zel/core/utility/ZelDebugReport.h"

#include <memory>
#include <mutex>
#include <utility>

#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"
#include "zel/core/utility/ZelLog.h"

namespace zel::core {

namespace {

void WriteReportToLog(ZelDebugReport const& report) {
    if (!GetZelLogger().AcceptsLogLevel(ZelLogLevel::Error)) {
        return;
    }
    std::string line = "debug report: ";
    line.append(report.sourcePath).append(":").append(std::to_string(report.line)).append(": ");
    if (!report.conditionText.empty()) {
        line.append(report.conditionText).append(" failed, ");
    }
    line.append("error ").append(std::to_string(ZelErrorNumber(report.error)));
    if (auto name = ZelErrorName(report.error); !name.empty()) {
        line.append(" (").append(name).append(")");
    }
    if (!report.message.empty()) {
        line.append(": ").append(report.message);
    }
    ZelLog(ZelLogLevel::Error, TStringCore::FromUtf8(line));
}

// Handlers are swapped rarely and called only on failure, so one mutex guarding a shared pointer
// is enough; the call itself runs outside the lock so that a handler may report in turn.
struct HandlerSlot {
    std::mutex mutex;
    std::shared_ptr<ZelDebugReportHandler const> handler;
};

HandlerSlot& Slot() {
    static HandlerSlot slot;
    return slot;
}

}  // namespace

void PerformZelDebugReport(std::string const& sourcePath, int line, std::string const& conditionText,
                           ZelError error, std::string const& message) {
    std::shared_ptr<ZelDebugReportHandler const> handler;
    {
        std::lock_guard lock(Slot().mutex);
        handler = Slot().handler;
    }
    ZelDebugReport const report{sourcePath, line, conditionText, error, message};
    if (handler) {
        (*handler)(report);
    } else {
        WriteReportToLog(report);
    }
}

ZelDebugReportHandler SetZelDebugReportHandler(ZelDebugReportHandler handler) {
    auto next = handler ? std::make_shared<ZelDebugReportHandler const>(std::move(handler)) : nullptr;
    std::lock_guard lock(Slot().mutex);
    auto previous = std::exchange(Slot().handler, std::move(next));
    return previous ? *previous : ZelDebugReportHandler();
}

namespace detail {

void ReportAndThrowRuntime(char const* sourcePath, int line, char const* conditionText, ZelError error) {
    PerformZelDebugReport(sourcePath, line, conditionText, error, std::string());
    throw ZelRuntimeException(error);
}

void ReportAndThrowLogic(char const* sourcePath, int line, char const* conditionText, ZelError error) {
    PerformZelDebugReport(sourcePath, line, conditionText, error, std::string());
    throw ZelLogicException(error);
}

void ReportAndThrowRuntimeText(char const* sourcePath, int line, ZelError error, TStringCore const& text) {
    PerformZelDebugReport(sourcePath, line, std::string(), error, text.ToUtf8());
    throw ZelRuntimeException(error, text);
}

void ReportAndThrowLogicText(char const* sourcePath, int line, ZelError error, TStringCore const& text) {
    PerformZelDebugReport(sourcePath, line, std::string(), error, text.ToUtf8());
    throw ZelLogicException(error, text);
}

}  // namespace detail

}  // namespace zel::core
