// Whole-value operators through the machine beside plain C++ loops, in one run:
//
// - Return of one input and Distinct of a set without specials over 10 rows and over 10 million
//   rows: both hand back the input value, so both sizes cost the same reference count.
// - Distinct of 10 million int64 with 1,000 distinct values: one DoTransform. Beside it a loop that
//   inserts every value into a boost::unordered_flat_set and keeps the new ones in order, as the
//   set in first-occurrence order that Distinct makes.
// - Index over 10 million rows: one DoTransform, which makes a fresh column. Beside it a loop that
//   fills a buffer allocated and touched before the timer.

#include <benchmark/benchmark.h>

#include <boost/unordered/unordered_flat_set.hpp>

#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "BenchSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;

constexpr std::size_t c_rows = 10'000'000;
constexpr long long c_distinctValues = 1'000;

std::shared_ptr<core::StoreValue> Int64Column(std::vector<long long> const& values) {
    auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(values.begin(), values.end());
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Int64,
                                                        core::StoreTypeInfo::Empty, std::move(bits), nullptr);
}

// 0, 1, ..., count - 1 as an int64 array and as a set.
struct Sequence {
    std::shared_ptr<core::StoreValue> array;
    std::shared_ptr<core::StoreValue> set;
};

Sequence const& SequenceOf(std::size_t count) {
    static Sequence small;
    static Sequence large;
    Sequence& sequence = count <= 10 ? small : large;
    if (!sequence.array) {
        std::vector<long long> values(count);
        for (std::size_t i = 0; i < count; ++i) {
            values[i] = static_cast<long long>(i);
        }
        sequence.array = Int64Column(values);
        sequence.set = core::factory::MakeSet<unsigned long long>(
            core::StoreTypeInfo::Int64,
            std::make_unique<std::vector<unsigned long long>>(values.begin(), values.end()));
    }
    return sequence;
}

vm::TransformValues InputA(std::shared_ptr<core::StoreValue> const& value) {
    return {{KeyPath::FromTexts({L"~init", L"a"}), value}};
}

// ---- Return and pass-through Distinct: 10 rows and 10 million rows --------------------------------

void BM_Return_OneInput(benchmark::State& state) {
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    auto const transform = bench::MakeFirstTransform(
        "input ~init.a : array<int64>\nb : array<int64> = Return(~init.a)\n", Options(false));
    vm::TransformValues const inputs = InputA(SequenceOf(count).array);
    bench::RunMachine(state, *transform, inputs, 1);
    if (transform->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b")) != SequenceOf(count).array) {
        state.SkipWithError("not the input value");
    }
}
BENCHMARK(BM_Return_OneInput)->Arg(10)->Arg(c_rows);

void BM_Distinct_PassThroughSet(benchmark::State& state) {
    std::size_t const count = static_cast<std::size_t>(state.range(0));
    auto const transform = bench::MakeFirstTransform(
        "input ~init.a : set<int64>\nb : set<int64> = Distinct(~init.a) value false\n", Options(false));
    vm::TransformValues const inputs = InputA(SequenceOf(count).set);
    bench::RunMachine(state, *transform, inputs, 1);
    if (transform->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b")) != SequenceOf(count).set) {
        state.SkipWithError("not the input value");
    }
}
BENCHMARK(BM_Distinct_PassThroughSet)->Arg(10)->Arg(c_rows);

// ---- Distinct of 10 million int64 with 1,000 distinct values ---------------------------------------

struct DistinctData {
    std::vector<long long> values;
    std::shared_ptr<core::StoreValue> column;
};

DistinctData const& Repeats() {
    static DistinctData const data = [] {
        DistinctData d;
        std::mt19937_64 random(20241125);
        std::uniform_int_distribution<long long> pick(0, c_distinctValues - 1);
        d.values.resize(c_rows);
        for (long long& value : d.values) {
            value = pick(random) * 1'000'003;  // spread over the range, not 0 to 999
        }
        d.column = Int64Column(d.values);
        return d;
    }();
    return data;
}

void BM_Distinct_Machine(benchmark::State& state) {
    DistinctData const& data = Repeats();
    auto const transform = bench::MakeFirstTransform(
        "input ~init.a : array<int64>\nb : set<int64> = Distinct(~init.a) value false\n", Options(false));
    vm::TransformValues const inputs = InputA(data.column);
    bench::RunMachine(state, *transform, inputs, c_rows);
    if (transform->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"))->GetCount() !=
        static_cast<unsigned int>(c_distinctValues)) {
        state.SkipWithError("wrong count of distinct values");
    }
}
BENCHMARK(BM_Distinct_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();

[[gnu::noinline]] std::vector<long long> DistinctLoop(long long const* values, std::size_t count) {
    boost::unordered_flat_set<long long> seen;
    std::vector<long long> order;
    for (std::size_t i = 0; i < count; ++i) {
        if (seen.insert(values[i]).second) {
            order.push_back(values[i]);
        }
    }
    return order;
}

void BM_Distinct_FlatSetLoop(benchmark::State& state) {
    DistinctData const& data = Repeats();
    for (auto _ : state) {
        std::vector<long long> order = DistinctLoop(data.values.data(), c_rows);
        benchmark::DoNotOptimize(order);
    }
    Items(state, c_rows);
}
BENCHMARK(BM_Distinct_FlatSetLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- Index over 10 million rows ----------------------------------------------------------------------

void BM_Index_Machine(benchmark::State& state) {
    auto const transform = bench::MakeFirstTransform(
        "input ~init.a : array<int64>\nb : array<int32> = Index(~init.a) value 1\n", Options(false));
    vm::TransformValues const inputs = InputA(SequenceOf(c_rows).array);
    bench::RunMachine(state, *transform, inputs, c_rows);
}
BENCHMARK(BM_Index_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();

[[gnu::noinline]] void FillIndex(unsigned int* out, std::size_t count, unsigned int first) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = first + static_cast<unsigned int>(i);
    }
}

void BM_Index_ReadyBufferLoop(benchmark::State& state) {
    core::HugePageVector<unsigned int> out(c_rows, 0u);
    for (auto _ : state) {
        FillIndex(out.data(), c_rows, 1);
        benchmark::ClobberMemory();
    }
    Items(state, c_rows);
}
BENCHMARK(BM_Index_ReadyBufferLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
