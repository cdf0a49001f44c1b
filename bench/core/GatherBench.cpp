// Gather of 10 million doubles by a random index vector: the array's Gather beside the plain C++
// loop over the same data, into a buffer allocated inside the timer and into one allocated and
// touched before it (the limit).

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValue.h"

namespace {

using namespace zel::core;

constexpr std::size_t c_count = 10'000'000;

struct GatherData {
    std::shared_ptr<StoreValue> array;
    double const* values = nullptr;  // the array's own memory
    std::shared_ptr<std::vector<unsigned int>> indices;
};

GatherData const& Data() {
    static GatherData const data = [] {
        GatherData d;
        std::mt19937_64 random(20241121);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        auto bits = std::make_unique<std::vector<unsigned long long>>(c_count);
        for (auto& b : *bits) {
            b = DoubleToBits(value(random));
        }
        d.array = factory::MakeArray<unsigned long long>(StoreTypeInfo::Double, std::move(bits));
        d.values = reinterpret_cast<double const*>(
            d.array->AsTypedArray<unsigned long long>().GetFlatValues().data());
        std::uniform_int_distribution<unsigned int> row(0, c_count - 1);
        d.indices = std::make_shared<std::vector<unsigned int>>(c_count);
        for (auto& i : *d.indices) {
            i = row(random);
        }
        return d;
    }();
    return data;
}

void PlainGather(double const* values, unsigned int const* indices, std::size_t n, double* out) {
    for (std::size_t k = 0; k < n; ++k) {
        out[k] = values[indices[k]];
    }
}

void BM_StoreGather(benchmark::State& state) {
    auto const& data = Data();
    for (auto _ : state) {
        auto gathered = data.array->AsArray().Gather(data.indices);
        benchmark::DoNotOptimize(gathered.get());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * c_count));
}

// The plain loop into a buffer allocated inside the timer (its first touch is in the loop).
void BM_PlainGatherFreshBuffer(benchmark::State& state) {
    auto const& data = Data();
    for (auto _ : state) {
        std::unique_ptr<double[]> out(new double[c_count]);
        PlainGather(data.values, data.indices->data(), c_count, out.get());
        benchmark::DoNotOptimize(out.get());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * c_count));
}

// The limit: the plain loop into a buffer allocated and touched before the timer.
void BM_PlainGatherReadyBuffer(benchmark::State& state) {
    auto const& data = Data();
    std::vector<double> out(c_count);
    std::memset(out.data(), 0, c_count * sizeof(double));
    for (auto _ : state) {
        PlainGather(data.values, data.indices->data(), c_count, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * c_count));
}

BENCHMARK(BM_StoreGather)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainGatherFreshBuffer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainGatherReadyBuffer)->Unit(benchmark::kMillisecond);

}  // namespace
