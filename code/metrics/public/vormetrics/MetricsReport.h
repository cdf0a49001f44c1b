#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <span>

#include "vormetrics/MetricsStatistics.h"
#include "vorsys/string/TStringCore.h"

namespace Metrics {

// A duration in the largest unit that keeps it at 1 or more (ns, µs, ms, s), with three
// significant digits or more: "850 ns", "12.3 µs", "1.50 s".
TStringCore FormatDuration(std::chrono::nanoseconds duration);

// A plain-text report, one line per name in the order given, the names padded to one width:
//   zel_VM_Execute   count 12  total 1.50 s  mean 125 ms  min 98.0 ms  max 210 ms
// Registry::Report passes the snapshot, which is sorted by total time, longest first.
TStringCore FormatReport(std::span<ScopeStatistics const> statistics);

}  // namespace Metrics

#pragma GCC visibility pop
