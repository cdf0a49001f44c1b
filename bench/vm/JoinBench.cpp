// Joins through the machine beside plain C++ loops, in one run:
//
// - InnerJoin of a 1,000,000-row table (an int64 key and two double columns) with a 100,000-row
//   table (a distinct int64 key and one double column), every left key matching one right row.
//   Beside it a loop that builds a std::unordered_multimap<int64_t, uint32_t> over the smaller
//   side, probes it with every left key and gathers the four result columns.
// - LeftOuterJoin of the same tables with half the left keys missing from the right: the same
//   loop, with the unmatched rows after the matched ones and NaN in the right column there.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numeric>
#include <random>
#include <unordered_map>
#include <vector>

#include "BenchSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;
using Value = std::shared_ptr<core::StoreValue>;

constexpr std::size_t c_leftRows = 1'000'000;
constexpr std::size_t c_rightRows = 100'000;

struct JoinData {
    std::vector<std::int64_t> rightKeys;
    std::vector<double> rightValues;
    std::vector<std::int64_t> leftKeys;         // every key in the right
    std::vector<std::int64_t> halfMissingKeys;  // every other key not in the right
    std::vector<double> leftA;
    std::vector<double> leftB;
    Value left;
    Value halfMissingLeft;
    Value right;
};

Value Int64Column(std::vector<std::int64_t> const& values) {
    auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(values.begin(), values.end());
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Int64,
                                                        core::StoreTypeInfo::Empty, std::move(bits), nullptr);
}

Value DoubleColumn(std::vector<double> const& values) {
    auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(values.size());
    std::transform(values.begin(), values.end(), bits->begin(),
                   [](double x) { return std::bit_cast<unsigned long long>(x); });
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double,
                                                        core::StoreTypeInfo::Empty, std::move(bits), nullptr);
}

JoinData const& Data() {
    static JoinData const data = [] {
        JoinData d;
        std::mt19937_64 random(20261125);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        for (std::size_t i = 0; i < c_rightRows; ++i) {
            d.rightKeys.push_back(static_cast<std::int64_t>(i) * 7919 + 11);
            d.rightValues.push_back(value(random));
        }
        std::shuffle(d.rightKeys.begin(), d.rightKeys.end(), random);
        std::uniform_int_distribution<std::size_t> pick(0, c_rightRows - 1);
        for (std::size_t i = 0; i < c_leftRows; ++i) {
            d.leftKeys.push_back(d.rightKeys[pick(random)]);
            // Keys of the form 7919 n + 12 are never in the right.
            d.halfMissingKeys.push_back(i % 2 == 0 ? d.leftKeys.back() : d.leftKeys.back() + 1);
            d.leftA.push_back(value(random));
            d.leftB.push_back(value(random));
        }
        d.left = core::factory::MakeTable(core::StoreValueMap{
            {L"k", Int64Column(d.leftKeys)}, {L"a", DoubleColumn(d.leftA)}, {L"b", DoubleColumn(d.leftB)}});
        d.halfMissingLeft =
            core::factory::MakeTable(core::StoreValueMap{{L"k", Int64Column(d.halfMissingKeys)},
                                                         {L"a", DoubleColumn(d.leftA)},
                                                         {L"b", DoubleColumn(d.leftB)}});
        d.right = core::factory::MakeTable(
            core::StoreValueMap{{L"k", Int64Column(d.rightKeys)}, {L"v", DoubleColumn(d.rightValues)}});
        return d;
    }();
    return data;
}

void RunJoin(benchmark::State& state, char const* op, Value const& left, std::size_t expectedRows) {
    JoinData const& data = Data();
    auto const join =
        bench::MakeFirstTransform(std::string("input ~init.x : table, ~init.y : table\nb : table = ") + op +
                                      "(~init.x.k, ~init.y.k, ~init.x, ~init.y)\n",
                                  Options(false));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"x"}), left},
                                     {KeyPath::FromTexts({L"~init", L"y"}), data.right}};
    bench::RunMachine(state, *join, inputs, c_leftRows);
    Value const result = join->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
    if (result->AsTable().GetRowCount() != expectedRows || result->AsTable().GetColumns().size() != 4) {
        state.SkipWithError("wrong result shape");
    }
}

void BM_InnerJoin_Machine(benchmark::State& state) {
    RunJoin(state, "InnerJoin", Data().left, c_leftRows);
}

void BM_LeftOuterJoin_Machine(benchmark::State& state) {
    RunJoin(state, "LeftOuterJoin", Data().halfMissingLeft, c_leftRows);
}

// The result columns of the plain loop.
struct Joined {
    std::vector<std::int64_t> k;
    std::vector<double> a;
    std::vector<double> b;
    std::vector<double> v;
};

[[gnu::noinline]] Joined JoinLoop(JoinData const& d, std::vector<std::int64_t> const& leftKeys, bool outer) {
    std::unordered_multimap<std::int64_t, std::uint32_t> index;
    index.reserve(d.rightKeys.size());
    for (std::size_t row = 0; row < d.rightKeys.size(); ++row) {
        index.emplace(d.rightKeys[row], static_cast<std::uint32_t>(row));
    }
    std::vector<std::uint32_t> leftRows;
    std::vector<std::uint32_t> rightRows;
    std::vector<std::uint32_t> unmatched;
    leftRows.reserve(leftKeys.size());
    rightRows.reserve(leftKeys.size());
    for (std::size_t row = 0; row < leftKeys.size(); ++row) {
        auto const [first, last] = index.equal_range(leftKeys[row]);
        if (first == last && outer) {
            unmatched.push_back(static_cast<std::uint32_t>(row));
        }
        for (auto it = first; it != last; ++it) {
            leftRows.push_back(static_cast<std::uint32_t>(row));
            rightRows.push_back(it->second);
        }
    }
    std::size_t const matched = leftRows.size();
    leftRows.insert(leftRows.end(), unmatched.begin(), unmatched.end());
    Joined out;
    out.k.resize(leftRows.size());
    out.a.resize(leftRows.size());
    out.b.resize(leftRows.size());
    out.v.resize(leftRows.size());
    for (std::size_t i = 0; i < leftRows.size(); ++i) {
        out.k[i] = leftKeys[leftRows[i]];
        out.a[i] = d.leftA[leftRows[i]];
        out.b[i] = d.leftB[leftRows[i]];
        out.v[i] = i < matched ? d.rightValues[rightRows[i]] : std::nan("");
    }
    return out;
}

void BM_InnerJoin_MultimapLoop(benchmark::State& state) {
    JoinData const& data = Data();
    for (auto _ : state) {
        Joined out = JoinLoop(data, data.leftKeys, false);
        benchmark::DoNotOptimize(out);
    }
    Items(state, c_leftRows);
}

void BM_LeftOuterJoin_MultimapLoop(benchmark::State& state) {
    JoinData const& data = Data();
    for (auto _ : state) {
        Joined out = JoinLoop(data, data.halfMissingKeys, true);
        benchmark::DoNotOptimize(out);
    }
    Items(state, c_leftRows);
}

}  // namespace

BENCHMARK(BM_InnerJoin_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_InnerJoin_MultimapLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LeftOuterJoin_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LeftOuterJoin_MultimapLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
