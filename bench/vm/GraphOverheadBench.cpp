// The machine's own cost per node: a chain of 1,000 Copy nodes (each reads what the one before it
// wrote) and a fan-out of one input to 1,000 Copy readers. A Copy shares its value, so what is
// measured is the graph: making transforms, nodes and buffers, and then scheduling, buffer reads and
// writes, and result selection. Beside it, the plain C++ loop that does the same data flow by hand:
// a hash map from path to shared value, one lookup and one insert per node.
//
// Per-node figures are the "per_node" counter (seconds per node, shown inverted).

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include <boost/unordered/unordered_map.hpp>

#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/materialize/MakeExecutionGraph.h"
#include "zel/vm/utility/KeyPathUtil.h"
#include "zel/vm/vtl/OpCopySpec.h"

namespace {

using namespace zel;
using core::KeyPath;
using vm::KeyPathUtil::AddInitial;

constexpr unsigned int c_nodes = 1000;

struct Program {
    std::vector<core::TransformSpec> specs;
    std::vector<core::GraphEdge> edges;
};

KeyPath Name(unsigned int i) {
    return KeyPath(TStringCore(L"n") + TStringCore::FromUtf8(std::to_string(i)));
}

// n0 = Copy(~init.a), n1 = Copy(n0), ...; every intermediate edge resets itself after its read,
// and only the last value is retained.
Program Chain() {
    Program p;
    KeyPath const input = AddInitial(KeyPath(L"a"));
    for (unsigned int i = 0; i < c_nodes; ++i) {
        KeyPath const from = i == 0 ? input : Name(i - 1);
        p.specs.push_back(vm::OpCopySpec::Create(from, Name(i)));
        p.edges.push_back(
            {false, i == 0 ? std::vector<unsigned int>{} : std::vector<unsigned int>{i - 1}, {i}, from});
    }
    p.edges.push_back({true, {c_nodes - 1}, {}, Name(c_nodes - 1)});
    return p;
}

// n_i = Copy(~init.a) for every i: one external input with 1,000 readers, 1,000 retained outputs.
Program FanOut() {
    Program p;
    KeyPath const input = AddInitial(KeyPath(L"a"));
    std::vector<unsigned int> readers;
    for (unsigned int i = 0; i < c_nodes; ++i) {
        p.specs.push_back(vm::OpCopySpec::Create(input, Name(i)));
        p.edges.push_back({true, {i}, {}, Name(i)});
        readers.push_back(i);
    }
    p.edges.push_back({false, {}, readers, input});
    return p;
}

struct Fixture {
    std::unique_ptr<core::IFunctionLookup> functions = core::MakeBuiltinFunctionLookup();
    core::KeyPathTypeLookup types;
    std::shared_ptr<core::IDataStore> store =
        core::StoreValueParser::MakeDataStore(std::string_view(R"({"a": [1, 2, 3]})"));

    std::unique_ptr<vm::VM> Make(Program const& program) const {
        auto builder = vm::SerialExecutionGraphBuilder::Make();
        auto graph = vm::MakeExecutionGraph(program.specs, program.edges, *store, {}, *builder, *functions,
                                            types, vm::VMOptions());
        return vm::VMFactory::Make(std::move(graph), *store);
    }
};

void PerNode(benchmark::State& state) {
    state.counters["per_node"] =
        benchmark::Counter(static_cast<double>(c_nodes),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Machine_Build(benchmark::State& state, Program (*shape)()) {
    Fixture const fixture;
    Program const program = shape();
    for (auto _ : state) {
        benchmark::DoNotOptimize(fixture.Make(program));
    }
    PerNode(state);
}

// One run: refeed the inputs (an empty update), execute, and materialise the result.
void BM_Machine_Run(benchmark::State& state, Program (*shape)()) {
    Fixture const fixture;
    auto machine = fixture.Make(shape());
    machine->Execute();
    for (auto _ : state) {
        machine->ApplyUpdater(machine->MakeDataStoreUpdater());
        machine->Execute();
        benchmark::DoNotOptimize(machine->MaterializeDataStore());
    }
    PerNode(state);
}

// The same data flow by hand: each node looks its input up and inserts its output.
void BM_PlainLoop(benchmark::State& state, bool chain) {
    std::vector<KeyPath> names;
    for (unsigned int i = 0; i < c_nodes; ++i) {
        names.push_back(Name(i));
    }
    KeyPath const input = AddInitial(KeyPath(L"a"));
    auto const value = core::StoreValueParser::MakeDataStore(std::string_view(R"({"a": [1, 2, 3]})"))
                           ->GetValue(KeyPath(L"a"));
    for (auto _ : state) {
        boost::unordered_map<KeyPath, std::shared_ptr<core::StoreValue>, KeyPath::KeyPathTypeAgnosticHash,
                             KeyPath::KeyPathTypeAgnosticEqualTo>
            values;
        values.emplace(input, value);
        for (unsigned int i = 0; i < c_nodes; ++i) {
            values.emplace(names[i], values.at(chain && i > 0 ? names[i - 1] : input));
        }
        benchmark::DoNotOptimize(values);
    }
    PerNode(state);
}

BENCHMARK_CAPTURE(BM_Machine_Build, Chain, &Chain)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Machine_Run, Chain, &Chain)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PlainLoop, Chain, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Machine_Build, FanOut, &FanOut)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Machine_Run, FanOut, &FanOut)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PlainLoop, FanOut, false)->Unit(benchmark::kMicrosecond);

}  // namespace
