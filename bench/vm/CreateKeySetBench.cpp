// Key sets and constants through the machine beside plain C++ loops, in one run:
//
// - CreateKeySet of 1 million distinct int64 keys (shuffled) to double values: one DoTransform,
//   the refusal of repeated keys included. Beside it a loop that fills a
//   boost::unordered_flat_map reserved to the same size, testing each insert as well.
// - Map lookup_double over 10 million int64 keys drawn from that key set: one DoTransform, serial
//   and on two threads. Beside it a loop of find on the flat map into a buffer made before the
//   timer.
// - The same two loops on the map type that a key set holds (a flat map with the key set's own
//   hash), to tell the cost of the container from the cost of the machine around it.
// - Constant over 10 rows and over 10 million rows: the same one value, so the same cost.

#include <benchmark/benchmark.h>

#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "BenchSupport.h"
#include "vorsys/thread/TThreadPool.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;

constexpr std::size_t c_keys = 1'000'000;
constexpr std::size_t c_queries = 10'000'000;

[[maybe_unused]] bool const g_poolSized = TThreadPool::SetNumberOfThreads(2);

struct KeySetData {
    std::vector<long long> keys;
    std::vector<double> values;
    std::vector<long long> queries;
    std::shared_ptr<core::StoreValue> keyColumn;
    std::shared_ptr<core::StoreValue> valueColumn;
    std::shared_ptr<core::StoreValue> queryColumn;
    std::shared_ptr<core::StoreValue> keySet;  // built by the machine
    boost::unordered_flat_map<long long, double> map;
    core::HugePageVector<double> out;  // allocated and touched before any timer
};

std::shared_ptr<core::StoreValue> Int64Column(std::vector<long long> const& values) {
    auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(values.begin(), values.end());
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Int64,
                                                        core::StoreTypeInfo::Empty, std::move(bits), nullptr);
}

std::unique_ptr<vm::Transform> MakeCreateKeySet() {
    return bench::MakeFirstTransform(
        "input ~init.k : array<int64>, ~init.v : array<double>\n"
        "b : object = CreateKeySet(~init.k, ~init.v)\n",
        Options(false));
}

vm::TransformValues KeySetInputs(KeySetData const& d) {
    return {{KeyPath::FromTexts({L"~init", L"k"}), d.keyColumn},
            {KeyPath::FromTexts({L"~init", L"v"}), d.valueColumn}};
}

KeySetData& Data() {
    static KeySetData data = [] {
        KeySetData d;
        std::mt19937_64 random(20241125);
        d.keys.resize(c_keys);
        std::iota(d.keys.begin(), d.keys.end(), 0LL);
        for (long long& key : d.keys) {
            key = key * 7919 + 3;  // distinct and spread
        }
        std::shuffle(d.keys.begin(), d.keys.end(), random);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        for (std::size_t i = 0; i < c_keys; ++i) {
            d.values.push_back(value(random));
        }
        std::uniform_int_distribution<std::size_t> pick(0, c_keys - 1);
        for (std::size_t i = 0; i < c_queries; ++i) {
            d.queries.push_back(d.keys[pick(random)]);
        }
        d.keyColumn = Int64Column(d.keys);
        auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(c_keys);
        std::transform(d.values.begin(), d.values.end(), bits->begin(),
                       [](double x) { return std::bit_cast<unsigned long long>(x); });
        d.valueColumn = core::factory::MakeArray<unsigned long long>(
            core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, std::move(bits), nullptr);
        d.queryColumn = Int64Column(d.queries);
        d.keySet = MakeCreateKeySet()->DoTransform(KeySetInputs(d), nullptr).GetValue(KeyPath(L"b"));
        d.map.reserve(c_keys);
        for (std::size_t i = 0; i < c_keys; ++i) {
            d.map.emplace(d.keys[i], d.values[i]);
        }
        d.out.assign(c_queries, 0.0);
        return d;
    }();
    return data;
}

// ---- CreateKeySet of 1 million int64 keys ---------------------------------------------------------

void BM_CreateKeySet_Machine(benchmark::State& state) {
    KeySetData& data = Data();
    auto const transform = MakeCreateKeySet();
    bench::RunMachine(state, *transform, KeySetInputs(data), c_keys);
    if (data.keySet->AsKeySet().GetKeyCount() != c_keys) {
        state.SkipWithError("wrong key count");
    }
}

[[gnu::noinline]] bool FillFlatMap(boost::unordered_flat_map<long long, double>& map, long long const* keys,
                                   double const* values, std::size_t count) {
    bool unique = true;
    for (std::size_t i = 0; i < count; ++i) {
        unique &= map.emplace(keys[i], values[i]).second;
    }
    return unique;
}

void BM_CreateKeySet_FlatMapLoop(benchmark::State& state) {
    KeySetData& data = Data();
    for (auto _ : state) {
        boost::unordered_flat_map<long long, double> map;
        map.reserve(c_keys);
        bool const unique = FillFlatMap(map, data.keys.data(), data.values.data(), c_keys);
        benchmark::DoNotOptimize(unique);
        benchmark::DoNotOptimize(map);
    }
    Items(state, c_keys);
}

using KeySetMap = core::KeySetMap<unsigned long long, unsigned long long>;

void BM_CreateKeySet_KeySetMapLoop(benchmark::State& state) {
    KeySetData& data = Data();
    for (auto _ : state) {
        KeySetMap map;
        map.reserve(c_keys);
        bool unique = true;
        for (std::size_t i = 0; i < c_keys; ++i) {
            unique &= map.emplace(static_cast<unsigned long long>(data.keys[i]),
                                  std::bit_cast<unsigned long long>(data.values[i]))
                          .second;
        }
        benchmark::DoNotOptimize(unique);
        benchmark::DoNotOptimize(map);
    }
    Items(state, c_keys);
}

// ---- lookup over 10 million keys --------------------------------------------------------------------

void BM_Lookup_Machine(benchmark::State& state, bool parallel) {
    KeySetData& data = Data();
    auto const map = bench::MakeFirstTransform(
        "input ~init.q : array<int64>, ~init.s : object\n"
        "b : array<double> = Map(~init.q) fn lookup_double(~init.s)\n",
        Options(parallel));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"q"}), data.queryColumn},
                                     {KeyPath::FromTexts({L"~init", L"s"}), data.keySet}};
    bench::RunMachine(state, *map, inputs, c_queries);
    auto const result = map->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
    auto const& rows = result->AsTypedArray<unsigned long long>();
    for (std::size_t row = 0; row < c_queries; row += 999'983) {
        if (std::bit_cast<double>(rows.GetValue(static_cast<unsigned int>(row))) !=
            data.map.at(data.queries[row])) {
            state.SkipWithError("wrong result");
        }
    }
}

[[gnu::noinline]] void FindAll(boost::unordered_flat_map<long long, double> const& map, long long const* keys,
                               double* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        auto const found = map.find(keys[i]);
        out[i] = found == map.end() ? 0.0 : found->second;
    }
}

void BM_Lookup_FlatMapLoop(benchmark::State& state) {
    KeySetData& data = Data();
    for (auto _ : state) {
        FindAll(data.map, data.queries.data(), data.out.data(), c_queries);
        benchmark::ClobberMemory();
    }
    Items(state, c_queries);
}

void BM_Lookup_KeySetMapLoop(benchmark::State& state) {
    KeySetData& data = Data();
    auto const& map = core::AsTypedKeySet<unsigned long long, unsigned long long>(*data.keySet).GetMap();
    for (auto _ : state) {
        for (std::size_t i = 0; i < c_queries; ++i) {
            auto const found = map.find(static_cast<unsigned long long>(data.queries[i]));
            data.out[i] = found == map.end() ? 0.0 : std::bit_cast<double>(found->second);
        }
        benchmark::ClobberMemory();
    }
    Items(state, c_queries);
}

// ---- Constant ---------------------------------------------------------------------------------------

void BM_Constant_Machine(benchmark::State& state) {
    auto const count = static_cast<unsigned int>(state.range(0));
    auto const constant = bench::MakeFirstTransform(
        "input ~init.a : array<int32>\nb : array<double> = Constant(~init.a) value 1.5\n", Options(false));
    vm::TransformValues const inputs{
        {KeyPath::FromTexts({L"~init", L"a"}),
         core::factory::MakeConstantArray<unsigned int>(core::StoreTypeInfo::Int32, 0u, count)}};
    bench::RunMachine(state, *constant, inputs, count);
}

}  // namespace

BENCHMARK(BM_CreateKeySet_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CreateKeySet_FlatMapLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CreateKeySet_KeySetMapLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Lookup_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Lookup_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Lookup_FlatMapLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Lookup_KeySetMapLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Constant_Machine)->Arg(10)->Arg(10'000'000)->Unit(benchmark::kMicrosecond)->UseRealTime();
