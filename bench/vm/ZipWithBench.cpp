// ZipWith and Zip through the machine beside plain C++ loops, in one run:
//
// - multiply and add of two columns of 10 million doubles. The machine's figure is one
//   DoTransform of the ZipWith transform: the result buffer, the blocks, the function's block calls
//   and the result array, and dropping that array again, serially and on two threads (a pool of
//   two, the caller and one worker). Beside it the limit, a loop `c[i] = a[i] op b[i]` into a
//   buffer allocated and touched before the timer.
// - Zip of two columns of 1 million int32 into rows of tuples, beside a loop that makes the same
//   tuples of the same store values with the same factory calls, into a ready vector and into a
//   fresh one: the machine can cost no less per row, since every row is a tuple.

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
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;

constexpr std::size_t c_count = 10'000'000;
constexpr std::size_t c_tupleRows = 1'000'000;

// Two threads, so that a parallel ZipWith runs on the caller and one worker.
[[maybe_unused]] bool const g_poolSized = TThreadPool::SetNumberOfThreads(2);

KeyPath const c_a = KeyPath::FromTexts({L"~init", L"a"});
KeyPath const c_b = KeyPath::FromTexts({L"~init", L"b"});

// The loops read and write buffers on huge pages, as the machine's columns and result are.
struct DoubleData {
    core::HugePageVector<double> a;
    core::HugePageVector<double> b;
    core::HugePageVector<double> out;  // allocated and touched before any timer
    std::shared_ptr<core::StoreValue> columnA;
    std::shared_ptr<core::StoreValue> columnB;
};

std::shared_ptr<core::StoreValue> Column(core::HugePageVector<double> const& values) {
    auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        (*bits)[i] = std::bit_cast<unsigned long long>(values[i]);
    }
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double,
                                                        core::StoreTypeInfo::Empty, std::move(bits), nullptr);
}

DoubleData& Doubles() {
    static DoubleData data = [] {
        DoubleData d;
        std::mt19937_64 random(20241125);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        d.a.resize(c_count);
        d.b.resize(c_count);
        for (std::size_t i = 0; i < c_count; ++i) {
            d.a[i] = value(random);
            d.b[i] = value(random);
        }
        d.out.assign(c_count, 0.0);
        d.columnA = Column(d.a);
        d.columnB = Column(d.b);
        return d;
    }();
    return data;
}

[[gnu::noinline]] void Multiply(double const* a, double const* b, double* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] * b[i];
    }
}

[[gnu::noinline]] void Add(double const* a, double const* b, double* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = a[i] + b[i];
    }
}

// ---- two columns of 10 million doubles ------------------------------------------------------------

void BM_ZipWith_Double_Machine(benchmark::State& state, std::string const& function, bool parallel) {
    auto const zip = bench::MakeFirstTransform(
        "input ~init.a : array<double>, ~init.b : array<double>\n"
        "c : array<double> = ZipWith(~init.a, ~init.b) fn " +
            function + "()\n",
        Options(parallel));
    DoubleData& data = Doubles();
    vm::TransformValues const inputs{{c_a, data.columnA}, {c_b, data.columnB}};
    bench::RunMachine(state, *zip, inputs, c_count);
    // A figure of a wrong result is worth nothing: check rows across the column once.
    auto const result = zip->DoTransform(inputs, nullptr).GetValue(KeyPath(L"c"));
    auto const& rows = result->AsTypedArray<unsigned long long>();
    for (std::size_t row = 0; row < c_count; row += 999'983) {
        double const expected = function == "add" ? data.a[row] + data.b[row] : data.a[row] * data.b[row];
        if (std::bit_cast<double>(rows.GetValue(static_cast<unsigned int>(row))) != expected) {
            state.SkipWithError("wrong result");
        }
    }
}

template <void (*Loop)(double const*, double const*, double*, std::size_t)>
void BM_ZipWith_Double_Limit(benchmark::State& state) {
    DoubleData& data = Doubles();
    for (auto _ : state) {
        Loop(data.a.data(), data.b.data(), data.out.data(), c_count);
        benchmark::ClobberMemory();
    }
    Items(state, c_count);
}

BENCHMARK_CAPTURE(BM_ZipWith_Double_Machine, MultiplySerial, std::string("multiply"), false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ZipWith_Double_Machine, MultiplyTwoThreads, std::string("multiply"), true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_ZipWith_Double_Limit<Multiply>)
    ->Name("BM_ZipWith_Double_Limit/Multiply")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ZipWith_Double_Machine, AddSerial, std::string("add"), false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ZipWith_Double_Machine, AddTwoThreads, std::string("add"), true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_ZipWith_Double_Limit<Add>)
    ->Name("BM_ZipWith_Double_Limit/Add")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// ---- Zip of two columns of 1 million int32 ----------------------------------------------------------

struct IntData {
    std::vector<int> a;
    std::vector<int> b;
    std::shared_ptr<core::StoreValue> columnA;
    std::shared_ptr<core::StoreValue> columnB;
};

IntData& Ints() {
    static IntData data = [] {
        IntData d;
        auto a = std::make_unique<std::vector<unsigned int>>(c_tupleRows);
        auto b = std::make_unique<std::vector<unsigned int>>(c_tupleRows);
        for (std::size_t i = 0; i < c_tupleRows; ++i) {
            d.a.push_back(static_cast<int>(i));
            d.b.push_back(static_cast<int>(3 * i + 1));
            (*a)[i] = static_cast<unsigned int>(d.a.back());
            (*b)[i] = static_cast<unsigned int>(d.b.back());
        }
        d.columnA = core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, std::move(a));
        d.columnB = core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, std::move(b));
        return d;
    }();
    return data;
}

void BM_Zip_Int32_Machine(benchmark::State& state, bool parallel) {
    auto const zip = bench::MakeFirstTransform(
        "input ~init.a : array<int32>, ~init.b : array<int32>\nc : array<tuple> = Zip(~init.a, ~init.b)\n",
        Options(parallel));
    bench::RunMachine(state, *zip, {{c_a, Ints().columnA}, {c_b, Ints().columnB}}, c_tupleRows);
}

// The same tuples of the same values, made by the same factory calls into a vector made before
// the timer.
void BM_Zip_Int32_TupleLoop(benchmark::State& state) {
    IntData& data = Ints();
    std::vector<std::shared_ptr<core::StoreValue>> out(c_tupleRows);
    for (auto _ : state) {
        for (std::size_t i = 0; i < c_tupleRows; ++i) {
            std::vector<std::shared_ptr<core::StoreValue>> elements;
            elements.reserve(2);
            elements.push_back(core::factory::MakeInt32(data.a[i]));
            elements.push_back(core::factory::MakeInt32(data.b[i]));
            out[i] = core::factory::MakeTuple(std::move(elements));
        }
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_tupleRows);
}

// The same, into a fresh vector each time that is dropped with its tuples inside the timer, as the
// machine's result is: a whole column of small values freed at once costs the allocator more than
// one value replaced at a time.
void BM_Zip_Int32_FreshTupleLoop(benchmark::State& state) {
    IntData& data = Ints();
    for (auto _ : state) {
        std::vector<std::shared_ptr<core::StoreValue>> out(c_tupleRows);
        for (std::size_t i = 0; i < c_tupleRows; ++i) {
            std::vector<std::shared_ptr<core::StoreValue>> elements;
            elements.reserve(2);
            elements.push_back(core::factory::MakeInt32(data.a[i]));
            elements.push_back(core::factory::MakeInt32(data.b[i]));
            out[i] = core::factory::MakeTuple(std::move(elements));
        }
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_tupleRows);
}

BENCHMARK_CAPTURE(BM_Zip_Int32_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Zip_Int32_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Zip_Int32_TupleLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Zip_Int32_FreshTupleLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
