#include "zel/core/utility/ZelLog.h"

#include <cstdio>
#include <utility>

namespace zel::core {

namespace {

constexpr std::string_view c_levelNames[] = {"error", "warning", "info", "debug", "trace"};
constexpr std::uint8_t c_maxLevel = static_cast<std::uint8_t>(ZelLogLevel::Trace);

void WriteToStderr(ZelLogLevel level, TStringCore const& text) {
    std::string line = "[";
    line += ZelLogLevelName(level);
    line += "] ";
    line += text.ToUtf8();
    line += '\n';
    // One write per line, so that lines from several threads never interleave.
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

std::string_view ZelLogLevelName(ZelLogLevel level) noexcept {
    auto const index = static_cast<std::uint8_t>(level);
    return index <= c_maxLevel ? c_levelNames[index] : std::string_view("level?");
}

std::optional<ZelLogLevel> ParseZelLogLevel(std::string_view text) noexcept {
    for (std::uint8_t i = 0; i <= c_maxLevel; ++i) {
        if (text == c_levelNames[i] || (text.size() == 1 && text[0] == '0' + i)) {
            return static_cast<ZelLogLevel>(i);
        }
    }
    return std::nullopt;
}

ZelLogger::ZelLogger() : m_threshold(static_cast<std::uint8_t>(ZelLogLevel::Warning)) {}

void ZelLogger::SetThreshold(ZelLogLevel level) noexcept {
    m_threshold.store(static_cast<std::uint8_t>(level), std::memory_order_relaxed);
}

ZelLogLevel ZelLogger::GetThreshold() const noexcept {
    return static_cast<ZelLogLevel>(m_threshold.load(std::memory_order_relaxed));
}

ZelLogger::Sink ZelLogger::SetSink(Sink sink) {
    auto next = sink ? std::make_shared<Sink const>(std::move(sink)) : nullptr;
    std::lock_guard lock(m_sinkMutex);
    auto previous = std::exchange(m_sink, std::move(next));
    return previous ? *previous : Sink();
}

void ZelLogger::Write(ZelLogLevel level, TStringCore const& text) const {
    if (!AcceptsLogLevel(level)) {
        return;
    }
    std::shared_ptr<Sink const> sink;
    {
        std::lock_guard lock(m_sinkMutex);
        sink = m_sink;
    }
    // The sink runs outside the lock, so that it may log or swap sinks itself.
    if (sink) {
        (*sink)(level, text);
    } else {
        WriteToStderr(level, text);
    }
}

ZelLogger& GetZelLogger() {
    static ZelLogger logger;
    return logger;
}

void ZelLog(ZelLogLevel level, TStringCore const& text) {
    GetZelLogger().Write(level, text);
}

}  // namespace zel::core
