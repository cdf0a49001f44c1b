#include "ProgressLine.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace vtlrun {

namespace {

constexpr std::chrono::milliseconds c_defaultDelay{1000};
// Often enough to look alive, rarely enough to cost nothing.
constexpr std::chrono::milliseconds c_redrawEvery{100};

std::chrono::milliseconds DelayFromEnvironment() {
    if (char const* text = std::getenv("VTLRUN_PROGRESS_DELAY_MS")) {
        char* end = nullptr;
        long const value = std::strtol(text, &end, 10);
        if (end != text && *end == '\0' && value >= 0) {
            return std::chrono::milliseconds(value);
        }
    }
    return c_defaultDelay;
}

}  // namespace

ProgressLine::ProgressLine(std::shared_ptr<zel::vm::ICancellationTokenSource> inner, std::FILE* stream)
    : m_inner(std::move(inner)),
      m_stream(stream),
      m_enabled(stream != nullptr && ::isatty(::fileno(stream)) != 0),
      m_delay(DelayFromEnvironment()) {}

ProgressLine::~ProgressLine() {
    Finish();
}

void ProgressLine::Start(zel::vm::IExecutionGraph const* graph) {
    m_graph = graph;
    m_owner = std::this_thread::get_id();
    m_start = Clock::now();
}

void ProgressLine::Finish() {
    if (m_drawn) {
        std::fputs("\r\x1b[K", m_stream);
        std::fflush(m_stream);
        m_drawn = false;
    }
    m_graph = nullptr;
}

bool ProgressLine::IsCancellationRequested() const {
    if (m_enabled && m_graph != nullptr && std::this_thread::get_id() == m_owner) {
        Draw();
    }
    return zel::vm::IsCancelled(m_inner.get());
}

void ProgressLine::Draw() const {
    Clock::time_point const now = Clock::now();
    if (now - m_start < m_delay || (m_drawn && now - m_lastDrawn < c_redrawEvery)) {
        return;
    }
    std::uint64_t const total = m_graph->GetNodeCount();
    std::uint64_t const done = total - m_graph->GetRemainingNodeCount();
    std::string const line =
        "\rvtlrun: " + std::to_string(done) + " of " + std::to_string(total) + " nodes done\x1b[K";
    std::fputs(line.c_str(), m_stream);
    std::fflush(m_stream);
    m_lastDrawn = now;
    m_drawn = true;
}

}  // namespace vtlrun
