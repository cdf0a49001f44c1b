// The cost of a metric scope around a small piece of work: with metrics off (the filter test
// only), beside the same work with no scope at all, and with metrics on (a scope made, timed and
// aggregated; with tracing on, also kept as an event).

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <memory>
#include <numeric>

#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"
#include "vormetrics/MetricsScope.h"

namespace {

// The work each iteration does: a short sum the compiler can't drop. Kept out of line so that both
// loops run the very same code for it and differ only by the scope.
[[gnu::noinline]] std::uint64_t Work(std::array<std::uint64_t, 16>& data) {
    benchmark::DoNotOptimize(data.data());
    std::uint64_t const sum = std::accumulate(data.begin(), data.end(), std::uint64_t{0});
    data[sum % data.size()] += 1;
    return sum;
}

// The scope exactly as the machine opens one.
void ScopedWork(std::array<std::uint64_t, 16>& data) {
    std::unique_ptr<Metrics::Scope> scope;
    if (MetricsFilter::PassesFilter(static_cast<MetricsFilter::Bits>(-1))) {
        scope = std::make_unique<Metrics::Scope>();
        scope->OpenImpl(Metrics::MetricsValue(TStringCore(L"zel_VM_Execute")),
                        static_cast<unsigned long long>(-1));
    }
    benchmark::DoNotOptimize(Work(data));
}

void Configure(bool on, std::size_t traceLimit) {
    MetricsFilter::SetFilter(on ? MetricsFilter::c_allBits : MetricsFilter::c_noBits);
    Metrics::GetRegistry().SetTraceEventLimit(traceLimit);
    Metrics::GetRegistry().Reset();
}

void BM_PlainWork(benchmark::State& state) {
    std::array<std::uint64_t, 16> data{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(Work(data));
    }
}
BENCHMARK(BM_PlainWork);

void BM_ScopeOff(benchmark::State& state) {
    Configure(false, 0);
    std::array<std::uint64_t, 16> data{};
    for (auto _ : state) {
        ScopedWork(data);
    }
}
BENCHMARK(BM_ScopeOff);

void BM_ScopeOn(benchmark::State& state) {
    if (state.thread_index() == 0) {
        Configure(true, 0);
    }
    std::array<std::uint64_t, 16> data{};
    for (auto _ : state) {
        ScopedWork(data);
    }
    if (state.thread_index() == 0) {
        Configure(false, 0);
    }
}
BENCHMARK(BM_ScopeOn)->Threads(1)->Threads(4);

// Tracing with a limit the run stays under, so that every iteration keeps an event.
void BM_ScopeOnTracing(benchmark::State& state) {
    Configure(true, std::size_t{1} << 24);
    std::array<std::uint64_t, 16> data{};
    for (auto _ : state) {
        ScopedWork(data);
    }
    Configure(false, 0);
}
BENCHMARK(BM_ScopeOnTracing)->Iterations(1'000'000);

}  // namespace
