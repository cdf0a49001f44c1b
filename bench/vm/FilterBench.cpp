// Filter through the machine beside plain C++ loops, in one run:
//
// - gt(0.5) over 10 million uniform doubles in [0, 1), column mode: one DoTransform (the predicate
//   column in blocks, the row list, the gather and the result array) beside a branch-free
//   compaction loop into a buffer allocated and touched before the timer.
// - the same predicate over the first column of a table of 10 million rows and 3 columns (two of
//   doubles, one of int64), table mode: beside a loop that computes the row list branch-free and
//   gathers the three columns into ready buffers.
// The machine runs serially and on two threads (the caller and one worker).

#include <benchmark/benchmark.h>

#include <bit>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "vorsys/thread/TThreadPool.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;

constexpr std::size_t c_count = 10'000'000;
constexpr double c_threshold = 0.5;

[[maybe_unused]] bool const g_poolSized = TThreadPool::SetNumberOfThreads(2);

struct TableData {
    core::HugePageVector<double> p;
    core::HugePageVector<double> q;
    core::HugePageVector<long long> r;
    std::shared_ptr<core::StoreValue> pColumn;
    std::shared_ptr<core::StoreValue> table;
    std::size_t kept = 0;
    // Ready buffers of the loops, touched before any timer.
    core::HugePageVector<unsigned int> rows;
    core::HugePageVector<double> outP;
    core::HugePageVector<double> outQ;
    core::HugePageVector<long long> outR;
};

std::shared_ptr<core::StoreValue> Column(core::StoreTypeInfo const& type, auto const& values) {
    // On the same kind of pages as the loops' data.
    auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        (*bits)[i] = std::bit_cast<unsigned long long>(values[i]);
    }
    return core::factory::MakeArray<unsigned long long>(type, core::StoreTypeInfo::Empty, std::move(bits),
                                                        nullptr);
}

TableData& Data() {
    static TableData data = [] {
        TableData d;
        std::mt19937_64 random(20241124);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        d.p.resize(c_count);
        d.q.resize(c_count);
        d.r.resize(c_count);
        for (std::size_t i = 0; i < c_count; ++i) {
            d.p[i] = unit(random);
            d.q[i] = unit(random) * 100.0;
            d.r[i] = static_cast<long long>(random() % 1'000'000);
            d.kept += d.p[i] > c_threshold ? 1 : 0;
        }
        d.pColumn = Column(core::StoreTypeInfo::Double, d.p);
        core::StoreValueMap columns;
        columns.emplace(L"p", d.pColumn);
        columns.emplace(L"q", Column(core::StoreTypeInfo::Double, d.q));
        columns.emplace(L"r", Column(core::StoreTypeInfo::Int64, d.r));
        d.table = core::factory::MakeTable(std::move(columns));
        d.rows.assign(c_count, 0u);
        d.outP.assign(c_count, 0.0);
        d.outQ.assign(c_count, 0.0);
        d.outR.assign(c_count, 0);
        return d;
    }();
    return data;
}

// A figure of a wrong result is worth nothing: the kept rows are counted once, outside the timer.
void CheckKept(benchmark::State& state, vm::Transform const& filter, vm::TransformValues const& inputs) {
    auto const result = filter.DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
    if (result->GetCount() != Data().kept) {
        state.SkipWithError("wrong number of rows kept");
    }
}

// ---- column mode --------------------------------------------------------------------------------

void BM_Filter_Column_Machine(benchmark::State& state, bool parallel) {
    auto const filter = bench::MakeFirstTransform(
        "input ~init.a : array<double>\nb : array<double> = Filter(~init.a) fn gt(0.5) value false\n",
        Options(parallel));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"a"}), Data().pColumn}};
    bench::RunMachine(state, *filter, inputs, c_count);
    CheckKept(state, *filter, inputs);
}

[[gnu::noinline]] std::size_t Compact(double const* in, double* out, std::size_t count) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i) {
        out[kept] = in[i];
        kept += in[i] > c_threshold ? 1 : 0;
    }
    return kept;
}

void BM_Filter_Column_Limit(benchmark::State& state) {
    TableData& data = Data();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Compact(data.p.data(), data.outP.data(), c_count));
        benchmark::ClobberMemory();
    }
    Items(state, c_count);
}

BENCHMARK_CAPTURE(BM_Filter_Column_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Filter_Column_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Filter_Column_Limit)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- table mode ---------------------------------------------------------------------------------

void BM_Filter_Table_Machine(benchmark::State& state, bool parallel) {
    auto const filter = bench::MakeFirstTransform(
        "input ~init.t : table { p : array<double>, q : array<double>, r : array<int64> }\n"
        "b : table = Filter(~init.t.p, ~init.t) fn gt(0.5) value true\n",
        Options(parallel));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"t"}), Data().table},
                                     {KeyPath::FromTexts({L"~init", L"t", L"p"}), Data().pColumn}};
    bench::RunMachine(state, *filter, inputs, c_count);
    CheckKept(state, *filter, inputs);
}

[[gnu::noinline]] std::size_t SelectRows(double const* in, unsigned int* rows, std::size_t count) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i) {
        rows[kept] = static_cast<unsigned int>(i);
        kept += in[i] > c_threshold ? 1 : 0;
    }
    return kept;
}

template <class T>
[[gnu::noinline]] void Gather(T const* in, unsigned int const* rows, T* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = in[rows[i]];
    }
}

void BM_Filter_Table_Limit(benchmark::State& state) {
    TableData& data = Data();
    for (auto _ : state) {
        std::size_t const kept = SelectRows(data.p.data(), data.rows.data(), c_count);
        Gather(data.p.data(), data.rows.data(), data.outP.data(), kept);
        Gather(data.q.data(), data.rows.data(), data.outQ.data(), kept);
        Gather(data.r.data(), data.rows.data(), data.outR.data(), kept);
        benchmark::ClobberMemory();
    }
    Items(state, c_count);
}

BENCHMARK_CAPTURE(BM_Filter_Table_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Filter_Table_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Filter_Table_Limit)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
