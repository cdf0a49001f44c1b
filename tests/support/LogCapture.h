#pragma once

// Collects the lines of the process-wide log while it lives, and puts the previous sink back after.

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "zel/core/utility/ZelLog.h"

namespace zel::test {

class LogCapture {
public:
    LogCapture()
        : m_previous(core::GetZelLogger().SetSink([this](core::ZelLogLevel level, TStringCore const& text) {
              std::lock_guard lock(m_mutex);
              m_lines.emplace_back(std::string(core::ZelLogLevelName(level)), text.ToUtf8());
          })) {}
    ~LogCapture() { core::GetZelLogger().SetSink(std::move(m_previous)); }
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;

    // The lines of `level` that contain `part`.
    std::size_t Count(std::string const& level, std::string const& part) const {
        std::lock_guard lock(m_mutex);
        std::size_t count = 0;
        for (auto const& [lineLevel, text] : m_lines) {
            count += lineLevel == level && text.find(part) != std::string::npos ? 1 : 0;
        }
        return count;
    }

    // Every line, "[level] text" each, for a failure message.
    std::string Text() const {
        std::lock_guard lock(m_mutex);
        std::string all;
        for (auto const& [level, text] : m_lines) {
            all += "[" + level + "] " + text + "\n";
        }
        return all;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, std::string>> m_lines;
    core::ZelLogger::Sink m_previous;
};

}  // namespace zel::test
