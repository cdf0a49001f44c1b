#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"

namespace metrics_test {

// The process defaults: filter off, registry empty and collecting, no tracing.
inline void RestoreMetricsDefaults() {
    MetricsFilter::SetFilter(MetricsFilter::c_noBits);
    Metrics::GetRegistry().SetCollecting(true);
    Metrics::GetRegistry().SetTraceEventLimit(0);
    Metrics::GetRegistry().Reset();
}

// Every test starts and ends with the process defaults (filter off, registry empty and collecting,
// no tracing), so that the tests also pass when the executable runs them all in one process.
class MetricsTest : public ::testing::Test {
protected:
    void SetUp() override { Restore(); }
    void TearDown() override { Restore(); }

    static void Restore() { RestoreMetricsDefaults(); }

    // One timing of `name` that took `ns` nanoseconds.
    static void Record(wchar_t const* name, std::int64_t ns) {
        auto const t0 = Metrics::Registry::Clock::now();
        Metrics::GetRegistry().Record(Metrics::MetricsValue(name), t0, t0 + std::chrono::nanoseconds(ns));
    }

    static std::optional<Metrics::ScopeStatistics> Find(std::vector<Metrics::ScopeStatistics> const& all,
                                                        wchar_t const* name) {
        auto it = std::find_if(all.begin(), all.end(), [&](auto const& s) { return s.name == name; });
        return it == all.end() ? std::nullopt : std::optional(*it);
    }
};

using std::chrono::nanoseconds;
using Clock = Metrics::Registry::Clock;

}  // namespace metrics_test
