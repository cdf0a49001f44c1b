// The block call of a registered creator function, multiply(2.0), over 10 million doubles, beside
// a plain C++ loop over the same spans in the same run. Both write into a buffer allocated and
// touched before the timer, and both walk the column either as one span or in blocks of 1024 rows,
// the block length the machine uses for 8-byte elements. The function's factor comes from its
// creator argument at run time, so the plain loop takes its factor from an opaque value too.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <span>
#include <vector>

#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/StoreValueFactory.h"

namespace {

using namespace zel::core;

constexpr std::size_t c_count = 10'000'000;

struct BlockData {
    std::vector<double> values;
    std::vector<double> out;  // allocated and touched before any timer
};

BlockData& Data() {
    static BlockData data = [] {
        BlockData d;
        std::mt19937_64 random(20241121);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        d.values.resize(c_count);
        for (double& v : d.values) {
            v = value(random);
        }
        d.out.assign(c_count, 0.0);
        return d;
    }();
    return data;
}

FunctionLookup const& Lookup() {
    static FunctionLookup const lookup = [] {
        FunctionLookup l;
        l.RegisterUnary(L"multiply", [](double factor, double x) { return factor * x; });
        return l;
    }();
    return lookup;
}

// The block length of the run: 0 for the whole column as one span.
std::size_t BlockLength(benchmark::State const& state) {
    return state.range(0) == 0 ? c_count : static_cast<std::size_t>(state.range(0));
}

void BM_FunctionBlockCall(benchmark::State& state) {
    BlockData& data = Data();
    auto const functions = ZelFunctions<double, double>::Bind(
        Lookup(), FunctionKey(L"multiply", {KeySegmentType(StoreTypeInfo::Double)}), StoreType::Double);
    CreatorArguments const arguments{factory::MakeDouble(2.0)};
    auto const function = functions.MakeRegularFunction(arguments);
    std::size_t const block = BlockLength(state);
    for (auto _ : state) {
        for (std::size_t start = 0; start < c_count; start += block) {
            std::size_t const length = std::min(block, c_count - start);
            function->CallBlock(std::span<double const>(data.values.data() + start, length),
                                std::span<double>(data.out.data() + start, length));
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * c_count));
}

// The plain loop, kept out of line as a block call is.
[[gnu::noinline]] void MultiplyBlock(double factor, std::span<double const> values, std::span<double> out) {
    double const* source = values.data();
    double* target = out.data();
    std::size_t const count = values.size();
    for (std::size_t i = 0; i < count; ++i) {
        target[i] = factor * source[i];
    }
}

void BM_PlainBlockLoop(benchmark::State& state) {
    BlockData& data = Data();
    double factor = 2.0;
    benchmark::DoNotOptimize(factor);
    std::size_t const block = BlockLength(state);
    for (auto _ : state) {
        for (std::size_t start = 0; start < c_count; start += block) {
            std::size_t const length = std::min(block, c_count - start);
            MultiplyBlock(factor, std::span<double const>(data.values.data() + start, length),
                          std::span<double>(data.out.data() + start, length));
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * c_count));
}

BENCHMARK(BM_FunctionBlockCall)->Arg(0)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainBlockLoop)->Arg(0)->Arg(1024)->Unit(benchmark::kMillisecond);

}  // namespace
