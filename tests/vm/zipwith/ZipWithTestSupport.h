#pragma once

// Shared by the ZipWith tests: the built-ins with a few probe functions of two double columns, and
// a run of a one-statement program through a whole machine. Columns come from JSON
// (filter::Parse) and results are compared as JSON (filter::Json).

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/HostFunctionObjects.h"
#include "support/ProgramSupport.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/vm/host/VMFactory.h"

namespace zel::test::zipwith {

using core::SpecialKind;
using filter::Json;
using filter::Parse;
using Value = std::shared_ptr<core::StoreValue>;

// Row calls of the probes since the last reset (a block call counts each of its rows).
inline std::atomic<long long> g_probeCalls{0};

// probe_add(a, b) = a + b, plain, with the special form that passes specials on.
// probe_running(a, b) = 1, 2, 3, ... in call order: stateful.
// probe_regular(a, b) = a + b, regular only: no special form at all.
inline core::FunctionLookup const& Functions() {
    static std::unique_ptr<core::FunctionLookup> const lookup = [] {
        auto l = std::make_unique<core::FunctionLookup>();
        core::RegisterBuiltinFunctions(*l);
        l->RegisterBinary(L"probe_add", [](double a, double b) {
            g_probeCalls.fetch_add(1, std::memory_order_relaxed);
            return a + b;
        });
        l->RegisterBinary(L"probe_running", [](long long& n, double, double) {
            g_probeCalls.fetch_add(1, std::memory_order_relaxed);
            return static_cast<double>(++n);
        });
        core::FunctionLookup scratch;
        RegisterRegularOnly<core::IBinaryFunction<double, double, double>,
                            core::IBinarySpecialFunction<double, double, double>>(
            *l, core::FunctionKind::Binary,
            scratch.RegisterBinary(L"probe_regular", [](double a, double b) { return a + b; }));
        return l;
    }();
    return *lookup;
}

// Runs `program` through a machine over a store holding `inputs` and returns the result under
// `result`.
inline Value RunProgram(std::string const& program,
                        std::vector<std::pair<wchar_t const*, Value>> const& inputs,
                        vm::VMOptions const& options = {}, wchar_t const* result = L"c") {
    return RunProgramWith(Functions(), program, inputs, options, result);
}

// `c : <outputType> = ZipWith(~init.a, ~init.b) fn <function>` over columns of the given types.
inline std::string ZipWithProgram(std::string const& function, std::string const& typeA = "array<double>",
                                  std::string const& typeB = "array<double>",
                                  std::string const& outputType = "array<double>") {
    return "input ~init.a : " + typeA + ", ~init.b : " + typeB + "\nc : " + outputType +
           " = ZipWith(~init.a, ~init.b) fn " + function + "\n";
}

// Options with blocks of `base` rows of 8-byte elements, serial or parallel.
inline vm::VMOptions Blocks(unsigned int base, bool parallel = true, bool vectorized = true) {
    vm::VMOptions options;
    options.SetBaseVectorizationBlockSize(base);
    options.SetUseParallelTransforms(parallel);
    options.SetUseVectorizedTransforms(vectorized);
    return options;
}

}  // namespace zel::test::zipwith
