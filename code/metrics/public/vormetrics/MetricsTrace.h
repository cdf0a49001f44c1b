#pragma once

#pragma GCC visibility push(default)

#include <span>
#include <string>
#include <string_view>

#include "vormetrics/MetricsStatistics.h"

namespace Metrics {

// Trace events as a trace-event JSON document, {"traceEvents":[...]}, one complete event
// ("ph":"X") per closed scope with its name, "ts" and "dur" in microseconds (fractions keep the
// nanoseconds), the process id as "pid" and the event's small thread number as "tid". Trace
// viewers open the file as it is. Names are written as UTF-8 with JSON escapes.
std::string FormatTraceJson(std::span<TraceEvent const> events);

// Appends `text` (UTF-8) to `out` as the inside of a JSON string: quote, backslash and control
// characters escaped, everything else as it is.
void AppendJsonEscaped(std::string& out, std::string_view text);

}  // namespace Metrics

#pragma GCC visibility pop
