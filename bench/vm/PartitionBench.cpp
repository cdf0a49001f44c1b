// GroupBy and Case through the machine beside plain C++ loops, in one run:
//
// - GroupBy over 10 million rows sorted on an int32 key, 1,000 groups of 10,000 rows, the child a
//   Reduce add of a double column; serial and on the caller and one worker. Beside a loop that
//   finds the runs of the key and sums each into buffers ready before the timer.
// - The same with 1,000,000 groups of 10 rows: what is left beyond the loop is the machine's cost
//   per partition (a task, a poll, the child's call over its range).
// - Case choosing between two branches of one Map each over 1 million doubles, beside the Map alone.

#include <benchmark/benchmark.h>

#include <bit>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "BenchSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using core::KeyPath;

constexpr std::size_t c_rows = 10'000'000;
constexpr std::size_t c_caseRows = 1'000'000;

// A table of c_rows rows: k sorted in runs of `groupRows`, v random doubles.
struct GroupData {
    core::HugePageVector<int> keys;
    core::HugePageVector<double> values;
    // The loop's ready buffers, one slot per group.
    core::HugePageVector<int> groupKeys;
    core::HugePageVector<double> sums;
    std::shared_ptr<core::StoreValue> table;
    std::shared_ptr<core::StoreValue> keyColumn;
};

GroupData MakeGroupData(std::size_t groupRows) {
    GroupData d;
    std::mt19937_64 random(20261125);
    std::uniform_real_distribution<double> value(-1e3, 1e3);
    d.keys.resize(c_rows);
    d.values.resize(c_rows);
    auto keyBits = std::make_unique<core::HugePageVector<unsigned int>>(c_rows);
    auto valueBits = std::make_unique<core::HugePageVector<unsigned long long>>(c_rows);
    for (std::size_t i = 0; i < c_rows; ++i) {
        d.keys[i] = static_cast<int>(i / groupRows);
        d.values[i] = value(random);
        (*keyBits)[i] = static_cast<unsigned int>(d.keys[i]);
        (*valueBits)[i] = std::bit_cast<unsigned long long>(d.values[i]);
    }
    std::size_t const groups = (c_rows + groupRows - 1) / groupRows;
    d.groupKeys.assign(groups, 0);
    d.sums.assign(groups, 0.0);
    d.keyColumn = core::factory::MakeArray<unsigned int>(
        core::StoreTypeInfo::Int32, core::StoreTypeInfo::Empty, std::move(keyBits), nullptr);
    auto const valueColumn = core::factory::MakeArray<unsigned long long>(
        core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, std::move(valueBits), nullptr);
    d.table = core::factory::MakeTable(core::StoreValueMap{{L"k", d.keyColumn}, {L"v", valueColumn}});
    return d;
}

GroupData& ThousandGroups() {
    static GroupData data = MakeGroupData(10'000);
    return data;
}

GroupData& MillionGroups() {
    static GroupData data = MakeGroupData(10);
    return data;
}

// One group a run of equal keys, its sum added in row order: what the machine gives, bit for bit.
[[gnu::noinline]] std::size_t SumRuns(int const* keys, double const* values, std::size_t count,
                                      int* groupKeys, double* sums) {
    if (count == 0) {
        return 0;
    }
    std::size_t groups = 0;
    int key = keys[0];
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        if (keys[i] != key) {
            groupKeys[groups] = key;
            sums[groups++] = sum;
            key = keys[i];
            sum = 0.0;
        }
        sum += values[i];
    }
    groupKeys[groups] = key;
    sums[groups++] = sum;
    return groups;
}

constexpr char const* c_groupByProgram = R"(input ~init.t : table { k : array<int32>, v : array<double> }
out : table = GroupBy(~init.t, ~init.t.k) {
  out.sum : array<double> = Reduce(~init.t.v) fn add() value 0.0
}
)";

void RunGroupBy(benchmark::State& state, GroupData& data, bool parallel) {
    auto const groupBy = bench::MakeFirstTransform(c_groupByProgram, bench::Options(parallel));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"t"}), data.table},
                                     {KeyPath::FromTexts({L"~init", L"t", L"k"}), data.keyColumn}};
    bench::RunMachine(state, *groupBy, inputs, c_rows);
    // Checked once, outside the timer, against the loop.
    std::size_t const groups =
        SumRuns(data.keys.data(), data.values.data(), c_rows, data.groupKeys.data(), data.sums.data());
    auto const out = groupBy->DoTransform(inputs, nullptr).GetValue(KeyPath(L"out"));
    auto const& sums = out->AsTable().GetColumn(L"sum")->AsTypedArray<unsigned long long>();
    if (sums.GetCount() != groups ||
        std::bit_cast<double>(sums.GetValue(groups - 1)) != data.sums[groups - 1]) {
        state.SkipWithError("wrong sums");
    }
}

void RunLoop(benchmark::State& state, GroupData& data) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            SumRuns(data.keys.data(), data.values.data(), c_rows, data.groupKeys.data(), data.sums.data()));
        benchmark::ClobberMemory();
    }
    Items(state, c_rows);
}

// ---- GroupBy, 1,000 groups of 10,000 rows -------------------------------------------------------

void BM_GroupBy_1000Groups_Machine(benchmark::State& state) {
    RunGroupBy(state, ThousandGroups(), false);
}
void BM_GroupBy_1000Groups_MachineTwoThreads(benchmark::State& state) {
    RunGroupBy(state, ThousandGroups(), true);
}
void BM_GroupBy_1000Groups_Loop(benchmark::State& state) {
    RunLoop(state, ThousandGroups());
}

BENCHMARK(BM_GroupBy_1000Groups_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GroupBy_1000Groups_MachineTwoThreads)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GroupBy_1000Groups_Loop)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- GroupBy, 1,000,000 groups of 10 rows -------------------------------------------------------

void BM_GroupBy_MillionGroups_Machine(benchmark::State& state) {
    RunGroupBy(state, MillionGroups(), false);
}
void BM_GroupBy_MillionGroups_MachineTwoThreads(benchmark::State& state) {
    RunGroupBy(state, MillionGroups(), true);
}
void BM_GroupBy_MillionGroups_Loop(benchmark::State& state) {
    RunLoop(state, MillionGroups());
}

BENCHMARK(BM_GroupBy_MillionGroups_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GroupBy_MillionGroups_MachineTwoThreads)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_GroupBy_MillionGroups_Loop)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- Case between two Maps, beside the Map alone -----------------------------------------------

std::shared_ptr<core::StoreValue> const& CaseColumn() {
    static std::shared_ptr<core::StoreValue> const column = [] {
        std::mt19937_64 random(7);
        std::uniform_real_distribution<double> value(-1e3, 1e3);
        auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(c_caseRows);
        for (auto& element : *bits) {
            element = std::bit_cast<unsigned long long>(value(random));
        }
        return core::factory::MakeArray<unsigned long long>(
            core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, std::move(bits), nullptr);
    }();
    return column;
}

void BM_Case_TwoMapBranches_Machine(benchmark::State& state) {
    auto const caseTransform = bench::MakeFirstTransform(
        R"(input ~init.a : array<double>, ~init.flag : bool
b : array<double> = Case(~init.a, ~init.flag) {
  when is_true(~init.flag) { b = Map(~init.a) fn multiply(2.0) }
  else { b = Map(~init.a) fn add(1.0) }
}
)",
        bench::Options(false));
    vm::TransformValues const inputs{
        {KeyPath::FromTexts({L"~init", L"a"}), CaseColumn()},
        {KeyPath::FromTexts({L"~init", L"flag"}), core::factory::MakeBool(true)}};
    bench::RunMachine(state, *caseTransform, inputs, c_caseRows);
}

void BM_Case_MapAlone_Machine(benchmark::State& state) {
    auto const map = bench::MakeFirstTransform(
        "input ~init.a : array<double>\nb : array<double> = Map(~init.a) fn multiply(2.0)\n",
        bench::Options(false));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"a"}), CaseColumn()}};
    bench::RunMachine(state, *map, inputs, c_caseRows);
}

BENCHMARK(BM_Case_TwoMapBranches_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Case_MapAlone_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
