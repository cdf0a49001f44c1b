#pragma once

// What the machine's benchmarks share: the built-in functions, the transform a one-statement
// program makes, and the options of a serial or a two-thread run.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/materialize/MakeTransform.h"

namespace zel::bench {

inline core::IFunctionLookup const& Functions() {
    static std::unique_ptr<core::IFunctionLookup> const lookup = core::MakeBuiltinFunctionLookup();
    return *lookup;
}

// The transform of the first statement of `program`, as the machine makes it.
inline std::unique_ptr<vm::Transform> MakeFirstTransform(std::string const& program,
                                                         vm::VMOptions const& options) {
    std::vector<core::TransformSpec> specs;
    std::vector<core::GraphEdge> edges;
    core::OutputKeySet outputs;
    core::ParseVtlPayload(std::string_view(program), specs, edges, outputs);
    return vm::MakeTransform(specs.at(0), Functions(), core::KeyPathTypeLookup(), options);
}

// Serial, or on the caller and one worker of the pool.
inline vm::VMOptions Options(bool parallel) {
    vm::VMOptions options;
    options.SetUseParallelTransforms(parallel);
    options.SetMaxWorkerThreadsToUse(1);
    return options;
}

inline void Items(benchmark::State& state, std::size_t count) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

// One DoTransform per iteration, the result dropped inside the timer as a loop drops its own.
inline void RunMachine(benchmark::State& state, vm::Transform const& transform,
                       vm::TransformValues const& inputs, std::size_t count) {
    for (auto _ : state) {
        vm::TransformValues result = transform.DoTransform(inputs, nullptr);
        benchmark::DoNotOptimize(result);
    }
    Items(state, count);
}

}  // namespace zel::bench
