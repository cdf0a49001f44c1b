#pragma once

// Shared by the Map tests: a function lookup with the built-ins and a few probe functions that
// count their calls, double columns built in memory or as JSON, and a run of a program through
// the VM that returns the value of one result key.

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "support/HostFunctionObjects.h"
#include "support/ProgramSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/transform/RawData.h"

namespace zel::test::map {

using core::SpecialKind;
using Value = std::shared_ptr<core::StoreValue>;

// Row calls of the probes since the last reset (a block call counts each of its rows).
inline std::atomic<long long> g_probeCalls{0};

// probe_count(x) = x + 1, plain, with the special form that passes specials on.
// probe_running(x) = 1, 2, 3, ... in call order: stateful.
// probe_special(x, s): special-only; a special row becomes -1, a negative value becomes Error,
//   any other value x * 10.
// probe_regular(x) = x + 100, regular-only: no special form at all.
// probe_rest(t): the tuple without its first element (tuple to tuple; no built-in makes tuples of
//   tuples).
// probe_sparse(x): a host's own special-only object, not built by the Register templates: every
//   row is 1.0, and a negative value raises Error; its block call writes a special byte only where
//   it raises one, as such a function may.
// probe_positive(x): a host's own regular object whose block call writes x for the positive rows
//   only, leaving the others at their initial value.
class SparseSpecialFunction final : public core::IUnarySpecialFunction<double, double> {
public:
    std::pair<double, SpecialKind> Call(double x, SpecialKind) override {
        return {1.0, x < 0 ? SpecialKind::Error : SpecialKind::None};
    }
    void CallBlock(std::span<double const> values, std::span<SpecialKind const>, std::span<double> out,
                   std::span<SpecialKind> outSpecials) override {
        for (std::size_t i = 0; i < values.size(); ++i) {
            out[i] = 1.0;
            if (values[i] < 0) {
                outSpecials[i] = SpecialKind::Error;
            }
        }
    }
};

class PositiveOnlyFunction final : public core::IUnaryFunction<double, double> {
public:
    double Call(double x) override { return x > 0 ? x : 0.0; }
    void CallBlock(std::span<double const> values, std::span<double> out) override {
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (values[i] > 0) {
                out[i] = values[i];
            }
        }
    }
};

inline core::FunctionLookup const& Functions() {
    static std::unique_ptr<core::FunctionLookup> const lookup = [] {
        auto l = std::make_unique<core::FunctionLookup>();
        core::RegisterBuiltinFunctions(*l);
        l->RegisterUnary(L"probe_count", [](double x) {
            g_probeCalls.fetch_add(1, std::memory_order_relaxed);
            return x + 1.0;
        });
        l->RegisterUnary(L"probe_running", [](long long& n, double) {
            g_probeCalls.fetch_add(1, std::memory_order_relaxed);
            return ++n;
        });
        l->RegisterUnary(L"probe_special", [](double x, SpecialKind s) {
            g_probeCalls.fetch_add(1, std::memory_order_relaxed);
            if (s != SpecialKind::None) {
                return std::pair{-1.0, SpecialKind::None};
            }
            return x < 0 ? std::pair{0.0, SpecialKind::Error} : std::pair{x * 10.0, SpecialKind::None};
        });
        core::KeySegmentType const tuple{core::StoreTypeInfo(core::StoreType::Tuple, false)};
        l->RegisterUnary(
            L"probe_rest",
            [](Value const& t) {
                auto const& elements = t->AsTuple().GetElements();
                std::vector<Value> rest(elements.begin() + (elements.empty() ? 0 : 1), elements.end());
                return core::factory::MakeTuple(std::move(rest));
            },
            core::FunctionTypes{{tuple}, tuple});
        core::FunctionLookup scratch;
        auto const& plain = scratch.RegisterUnary(L"probe_regular", [](double x) { return x + 100.0; });
        using Regular = core::FunctionFactory<core::IUnaryFunction<double, double>>;
        using Special = core::FunctionFactory<core::IUnarySpecialFunction<double, double>>;
        RegisterRegularOnly<core::IUnaryFunction<double, double>,
                            core::IUnarySpecialFunction<double, double>>(*l, core::FunctionKind::Unary,
                                                                         plain);
        l->Register(core::RegisteredFunctions::Make(
            core::FunctionKind::Unary, core::FunctionKey(L"probe_sparse", plain.GetKey().GetInputTypes()),
            plain.GetOutputType(), false, false, Regular{nullptr},
            &MakeHostObject<SparseSpecialFunction, core::IUnarySpecialFunction<double, double>>));
        l->Register(core::RegisteredFunctions::Make(
            core::FunctionKind::Unary, core::FunctionKey(L"probe_positive", plain.GetKey().GetInputTypes()),
            plain.GetOutputType(), false, false,
            &MakeHostObject<PositiveOnlyFunction, core::IUnaryFunction<double, double>>, Special{nullptr}));
        return l;
    }();
    return *lookup;
}

// A double column; rows listed in `nullRows` are the special Null (their slot holds 0).
inline Value Doubles(std::vector<double> const& values, std::vector<unsigned int> const& nullRows = {}) {
    auto storage = std::make_unique<std::vector<unsigned long long>>();
    storage->reserve(values.size());
    for (double v : values) {
        storage->push_back(std::bit_cast<unsigned long long>(v));
    }
    std::unique_ptr<std::vector<SpecialKind>> specials;
    if (!nullRows.empty()) {
        specials = std::make_unique<std::vector<SpecialKind>>(values.size(), SpecialKind::None);
        for (unsigned int row : nullRows) {
            (*storage)[row] = 0;
            (*specials)[row] = SpecialKind::Null;
        }
    }
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(storage),
                                                        nullptr, std::move(specials));
}

// A constant double column of `count` rows.
inline Value ConstantDoubles(double value, unsigned int count) {
    return core::factory::MakeConstantArray<unsigned long long>(
        core::StoreTypeInfo::Double, std::bit_cast<unsigned long long>(value), count);
}

// 0.5, 1.5, 2.5, ... and, with `negativeEvery`, every such row negated.
inline std::vector<double> Ramp(unsigned int count, unsigned int negativeEvery = 0) {
    std::vector<double> values(count);
    for (unsigned int i = 0; i < count; ++i) {
        values[i] = (negativeEvery != 0 && i % negativeEvery == 0) ? -(i + 0.5) : i + 0.5;
    }
    return values;
}

// A buffer of `count` double rows, all 0 and plain, and the values a buffer holds.
inline std::unique_ptr<vm::TypedRawData<unsigned long long>> DoubleBuffer(unsigned int count) {
    return std::make_unique<vm::TypedRawData<unsigned long long>>(
        core::StoreTypeInfo::Array, core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, count);
}

inline std::vector<double> ValuesOf(vm::TypedRawData<unsigned long long> const& buffer) {
    std::vector<double> values;
    for (unsigned long long bits : buffer.GetValues()) {
        values.push_back(std::bit_cast<double>(bits));
    }
    return values;
}

// One row of a double result: its value, or nothing when it is special.
struct DoubleRow {
    std::optional<double> value;
    SpecialKind special = SpecialKind::None;
};

inline DoubleRow RowOf(Value const& array, unsigned int row) {
    auto const& typed = array->AsTypedArray<unsigned long long>();
    SpecialKind const special = typed.GetSpecial(row);
    if (special != SpecialKind::None) {
        return {std::nullopt, special};
    }
    return {std::bit_cast<double>(typed.GetValue(row)), SpecialKind::None};
}

// Runs `program` over a store holding `inputs` and returns the result under `result`.
inline Value RunProgram(std::string const& program,
                        std::vector<std::pair<wchar_t const*, Value>> const& inputs,
                        vm::VMOptions const& options = {}, wchar_t const* result = L"b") {
    return RunProgramWith(Functions(), program, inputs, options, result);
}

// Options with blocks of `blockSize` rows of 8-byte elements.
inline vm::VMOptions SmallBlocks(unsigned int blockSize = 4) {
    vm::VMOptions options;
    options.SetBaseVectorizationBlockSize(blockSize);
    return options;
}

// `function` (a VTL call such as "multiply(2.0)") mapped over a double column ~init.a into b.
inline std::string MapProgram(std::string const& function, std::string const& inputType = "array<double>",
                              std::string const& outputType = "array<double>") {
    return "input ~init.a : " + inputType + "\nb : " + outputType + " = Map(~init.a) fn " + function + "\n";
}

}  // namespace zel::test::map
