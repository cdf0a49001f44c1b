#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vormetrics/MetricsStatistics.h"
#include "vormetrics/MetricsValue.h"

namespace Metrics {

// The process-wide collector that closed scopes record into. Thread-safe throughout: recording
// takes one short lock on the shard of the name (and, while tracing, one on the event list), so
// threads that record different names rarely wait on each other.
class Registry {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~Registry() = default;

    // Adds one duration, end - start, under the name; also keeps a trace event while tracing is on
    // and the event limit isn't reached. Scopes call this as they close.
    virtual void Record(MetricsValue&& value, Clock::time_point start, Clock::time_point end) noexcept = 0;

    // The per-name statistics, longest total first (ties by name). Each name is read under its own
    // lock, so a snapshot taken while scopes close is consistent per name, not across names.
    virtual std::vector<ScopeStatistics> Snapshot() const = 0;

    // Forgets every statistic and trace event and the count of dropped events. Settings (collecting,
    // the event limit) stay.
    virtual void Reset() = 0;

    // The context of Metrics::TestBitsAndContext: whether scopes open at all. On from the start.
    virtual void SetCollecting(bool collecting) noexcept = 0;
    virtual bool IsCollecting() const noexcept = 0;

    // Trace events are kept only when the limit is above 0 (the default is 0): at most `limit` of
    // them, the first ones; later events are counted as dropped. Lowering the limit doesn't discard
    // events already kept.
    virtual void SetTraceEventLimit(std::size_t limit) noexcept = 0;
    virtual std::size_t GetTraceEventLimit() const noexcept = 0;
    virtual std::vector<TraceEvent> TraceEvents() const = 0;
    virtual std::uint64_t DroppedTraceEventCount() const noexcept = 0;

    // The statistics of Snapshot() as FormatReport writes them.
    TStringCore Report() const;
    // The kept trace events as FormatTraceJson writes them.
    std::string ExportTrace() const;
};

// The one registry of the process. It is never destroyed, so scopes that close while the process
// exits still have somewhere to record.
Registry& GetRegistry();

}  // namespace Metrics

#pragma GCC visibility pop
