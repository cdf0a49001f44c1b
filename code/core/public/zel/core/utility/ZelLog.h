#pragma once

#pragma GCC visibility push(default)

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include "vorsys/string/TStringCore.h"

namespace zel::core {

// Lower is more severe. A logger accepts every level at or below its threshold.
enum class ZelLogLevel : std::uint8_t { Error = 0, Warning = 1, Info = 2, Debug = 3, Trace = 4 };

std::string_view ZelLogLevelName(ZelLogLevel level) noexcept;
// Accepts the names of ZelLogLevelName ("warning") and the numbers 0 to 4.
std::optional<ZelLogLevel> ParseZelLogLevel(std::string_view text) noexcept;

// The process-wide log: a threshold and a sink. Callers ask AcceptsLogLevel before they build a
// line, so a filtered line costs one relaxed load. Safe to use from any thread.
class ZelLogger {
public:
    using Sink = std::function<void(ZelLogLevel, TStringCore const&)>;

    ZelLogger();

    bool AcceptsLogLevel(ZelLogLevel level) const noexcept {
        return static_cast<std::uint8_t>(level) <= m_threshold.load(std::memory_order_relaxed);
    }
    void SetThreshold(ZelLogLevel level) noexcept;
    ZelLogLevel GetThreshold() const noexcept;

    // Replaces the sink and returns the previous one; an empty sink restores the default, which
    // writes "[level] text" lines to stderr.
    Sink SetSink(Sink sink);

    // Writes the line if its level is accepted.
    void Write(ZelLogLevel level, TStringCore const& text) const;

private:
    std::atomic<std::uint8_t> m_threshold;
    mutable std::mutex m_sinkMutex;
    std::shared_ptr<Sink const> m_sink;
};

ZelLogger& GetZelLogger();

void ZelLog(ZelLogLevel level, TStringCore const& text);

}  // namespace zel::core

#pragma GCC visibility pop
