#pragma once

// Test support for the system's failure pattern: a failed check makes exactly one debug report
// and then throws one exception with the same code.

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test {

struct CapturedReport {
    std::string sourcePath;
    int line = 0;
    std::string conditionText;
    core::ZelError error = core::ZelError::LogicFailure;
    std::string message;
};

// Collects every debug report made while it lives, from any thread.
class ReportCollector {
public:
    ReportCollector()
        : m_scope([this](core::ZelDebugReport const& r) {
              std::lock_guard lock(m_mutex);
              m_reports.push_back({std::string(r.sourcePath), r.line, std::string(r.conditionText), r.error,
                                   std::string(r.message)});
          }) {}

    std::vector<CapturedReport> Reports() const {
        std::lock_guard lock(m_mutex);
        return m_reports;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<CapturedReport> m_reports;
    core::ScopedZelDebugReportHandler m_scope;
};

// The file a check sits in: part of what its report says. Lines are not compared, since they move
// whenever the file is edited.
struct CheckSite {
    std::string sourcePath;
};

// Runs `action`, expecting one report with `conditionText` and `error` (made at `site` when given),
// then an exception of type `Exception` (and of no other ZelException type) carrying the same code.
template <class Exception = core::ZelRuntimeException, class Action>
void ExpectCheckFailure(Action&& action, core::ZelError error, std::string const& conditionText,
                        std::optional<CheckSite> const& site = std::nullopt) {
    ReportCollector collector;
    bool thrown = false;
    try {
        action();
    } catch (Exception const& e) {
        thrown = true;
        EXPECT_EQ(e.GetError(), error) << e.what();
    } catch (core::ZelException const& e) {
        ADD_FAILURE() << "wrong exception type: " << e.what();
    }
    EXPECT_TRUE(thrown) << "no exception for " << conditionText;
    auto const reports = collector.Reports();
    ASSERT_EQ(reports.size(), 1u) << "for " << conditionText;
    EXPECT_EQ(reports[0].conditionText, conditionText);
    EXPECT_EQ(reports[0].error, error);
    if (site) {
        EXPECT_EQ(reports[0].sourcePath, site->sourcePath) << conditionText;
        EXPECT_GT(reports[0].line, 0) << conditionText;
    }
}

// Runs `action`, expecting one report, then an `Exception` (a runtime one unless told otherwise)
// with `error` whose text holds `text`.
template <class Exception = core::ZelRuntimeException, class Action>
void ExpectRuntimeError(Action&& action, core::ZelError error, std::string const& text) {
    ReportCollector collector;
    try {
        action();
        ADD_FAILURE() << "no exception; expected one naming " << text;
    } catch (Exception const& e) {
        EXPECT_EQ(e.GetError(), error) << e.what();
        EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
    }
    EXPECT_EQ(collector.Reports().size(), 1u) << "for " << text;
}

// Runs `action`, expecting a ZelRuntimeException with `error` whose text is exactly `text`, thrown
// plainly: without a debug report.
template <class Action>
void ExpectPlainThrow(Action&& action, core::ZelError error, std::string const& text) {
    ReportCollector collector;
    try {
        action();
        ADD_FAILURE() << "no exception; expected one with the text " << text;
    } catch (core::ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), error) << e.what();
        EXPECT_EQ(e.GetText().ToUtf8(), text) << e.what();
    }
    EXPECT_TRUE(collector.Reports().empty()) << "a debug report for " << text;
}

// Asking a value for what it has not got: a logic failure whose text names `what`.
template <class Action>
void ExpectRefusal(Action&& action, std::string const& what) {
    ExpectRuntimeError<core::ZelLogicException>(std::forward<Action>(action),
                                                core::ZelError::UnsupportedOperation, what);
}

}  // namespace zel::test
