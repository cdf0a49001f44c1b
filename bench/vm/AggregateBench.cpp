// Reduce and Scan through the machine beside plain C++ loops, in one run:
//
// - Reduce add over 10 million doubles, beside a loop that adds in the same order with one
//   accumulator (so both give the same sum, bit for bit);
// - Reduce add over 10 million int64, beside a loop the compiler vectorises;
// - Scan add over 10 million doubles (a running total), beside a loop into a buffer allocated and
//   touched before the timer.
// A fold carries its accumulator from row to row, so the machine runs it on one thread.

#include <benchmark/benchmark.h>

#include <bit>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "BenchSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using core::KeyPath;

constexpr std::size_t c_count = 10'000'000;

struct FoldData {
    core::HugePageVector<double> doubles;
    core::HugePageVector<long long> integers;
    core::HugePageVector<double> running;  // the Scan loop's ready buffer
    std::shared_ptr<core::StoreValue> doubleColumn;
    std::shared_ptr<core::StoreValue> integerColumn;
};

FoldData& Data() {
    static FoldData data = [] {
        FoldData d;
        std::mt19937_64 random(20241124);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        d.doubles.resize(c_count);
        d.integers.resize(c_count);
        // The machine's columns sit on the same kind of pages as the loops' data.
        auto doubleBits = std::make_unique<core::HugePageVector<unsigned long long>>(c_count);
        auto integerBits = std::make_unique<core::HugePageVector<unsigned long long>>(c_count);
        for (std::size_t i = 0; i < c_count; ++i) {
            d.doubles[i] = value(random);
            d.integers[i] = static_cast<long long>(random() % 2'000'001) - 1'000'000;
            (*doubleBits)[i] = std::bit_cast<unsigned long long>(d.doubles[i]);
            (*integerBits)[i] = static_cast<unsigned long long>(d.integers[i]);
        }
        d.running.assign(c_count, 0.0);
        d.doubleColumn = core::factory::MakeArray<unsigned long long>(
            core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, std::move(doubleBits), nullptr);
        d.integerColumn = core::factory::MakeArray<unsigned long long>(
            core::StoreTypeInfo::Int64, core::StoreTypeInfo::Empty, std::move(integerBits), nullptr);
        return d;
    }();
    return data;
}

KeyPath const& InputPath() {
    static KeyPath const path = KeyPath::FromTexts({L"~init", L"a"});
    return path;
}

[[gnu::noinline]] double SumDoubles(double const* in, std::size_t count) {
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += in[i];
    }
    return sum;
}

[[gnu::noinline]] long long SumIntegers(long long const* in, std::size_t count) {
    long long sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += in[i];
    }
    return sum;
}

[[gnu::noinline]] void RunningSum(double const* in, double* out, std::size_t count) {
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += in[i];
        out[i] = sum;
    }
}

// The machine's Reduce of `program` over `column`; its one result is checked against `expected`
// once, outside the timer.
void RunReduce(benchmark::State& state, char const* program, std::shared_ptr<core::StoreValue> const& column,
               std::shared_ptr<core::StoreValue> const& expected) {
    auto const reduce = bench::MakeFirstTransform(program, bench::Options(false));
    vm::TransformValues const inputs{{InputPath(), column}};
    bench::RunMachine(state, *reduce, inputs, c_count);
    if (!reduce->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"))->Equals(*expected)) {
        state.SkipWithError("wrong sum");
    }
}

// ---- Reduce add over doubles --------------------------------------------------------------------

void BM_Reduce_Double_Machine(benchmark::State& state) {
    RunReduce(state, "input ~init.a : array<double>\nb : double = Reduce(~init.a) fn add() value 0.0\n",
              Data().doubleColumn, core::factory::MakeDouble(SumDoubles(Data().doubles.data(), c_count)));
}

void BM_Reduce_Double_Loop(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(SumDoubles(Data().doubles.data(), c_count));
    }
    Items(state, c_count);
}

BENCHMARK(BM_Reduce_Double_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Reduce_Double_Loop)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- Reduce add over int64 ----------------------------------------------------------------------

void BM_Reduce_Int64_Machine(benchmark::State& state) {
    RunReduce(state, "input ~init.a : array<int64>\nb : int64 = Reduce(~init.a) fn add() value 0L\n",
              Data().integerColumn, core::factory::MakeInt64(SumIntegers(Data().integers.data(), c_count)));
}

void BM_Reduce_Int64_VectorisedLoop(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(SumIntegers(Data().integers.data(), c_count));
    }
    Items(state, c_count);
}

BENCHMARK(BM_Reduce_Int64_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Reduce_Int64_VectorisedLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- Scan add over doubles ----------------------------------------------------------------------

void BM_Scan_Double_Machine(benchmark::State& state) {
    auto const scan = bench::MakeFirstTransform(
        "input ~init.a : array<double>\nb : array<double> = Scan(~init.a) fn add() value 0.0\n",
        bench::Options(false));
    vm::TransformValues const inputs{{InputPath(), Data().doubleColumn}};
    bench::RunMachine(state, *scan, inputs, c_count);
    // The last running total is the whole sum, in the same order.
    auto const running = scan->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
    auto const last = running->AsTypedArray<unsigned long long>().GetValue(c_count - 1);
    if (std::bit_cast<double>(last) != SumDoubles(Data().doubles.data(), c_count)) {
        state.SkipWithError("wrong running total");
    }
}

void BM_Scan_Double_Loop(benchmark::State& state) {
    FoldData& data = Data();
    for (auto _ : state) {
        RunningSum(data.doubles.data(), data.running.data(), c_count);
        benchmark::ClobberMemory();
    }
    Items(state, c_count);
}

BENCHMARK(BM_Scan_Double_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Scan_Double_Loop)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
