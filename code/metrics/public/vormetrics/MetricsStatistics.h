#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <cstdint>

#include "vorsys/string/TStringCore.h"

namespace Metrics {

// What the registry knows about one scope name: how often a scope of that name closed, and the
// sum, shortest and longest of its durations.
struct ScopeStatistics {
    TStringCore name;
    std::uint64_t count = 0;
    std::chrono::nanoseconds total{0};
    std::chrono::nanoseconds min{0};
    std::chrono::nanoseconds max{0};

    std::chrono::nanoseconds Mean() const noexcept {
        return count == 0 ? std::chrono::nanoseconds{0} : total / static_cast<std::int64_t>(count);
    }

    friend bool operator==(ScopeStatistics const&, ScopeStatistics const&) = default;
};

// One closed scope as the trace keeps it. `start` counts from the registry's epoch, a fixed point
// taken when the process first touched the registry; `thread` is a small number given to each
// thread in the order the threads first record (1, 2, ...).
struct TraceEvent {
    TStringCore name;
    std::chrono::nanoseconds start{0};
    std::chrono::nanoseconds duration{0};
    unsigned thread = 0;

    friend bool operator==(TraceEvent const&, TraceEvent const&) = default;
};

}  // namespace Metrics

#pragma GCC visibility pop
