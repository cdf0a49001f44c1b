#pragma once

// Shared by the Filter and aggregate tests: the built-ins with a few probe functions, columns from
// JSON, and two ways to run a one-statement program: through a whole machine, and as the bare
// transform over values held by the test, so that a test can tell whether the result is the very
// value that went in.

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/HostFunctionObjects.h"
#include "support/ProgramSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/materialize/MakeTransform.h"

namespace zel::test::filter {

using core::SpecialKind;
using Value = std::shared_ptr<core::StoreValue>;

// A host's own predicate object, not built by the Register templates: its block call writes true
// for the positive rows and leaves every other slot as it found it, as a host function may.
class PositiveRowsPredicate final : public core::IUnaryFunction<double, bool> {
public:
    bool Call(double x) override { return x > 0; }
    void CallBlock(std::span<double const> values, std::span<bool> out) override {
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (values[i] > 0) {
                out[i] = true;
            }
        }
    }
};

// The built-ins and:
//   probe_alternate(x): true, false, true, ... in call order: a stateful predicate.
//   probe_positive(x): PositiveRowsPredicate, regular only.
//   probe_sum(acc, x) = acc + x over doubles, a host's fold with no special form.
inline core::FunctionLookup const& Functions() {
    static std::unique_ptr<core::FunctionLookup> const lookup = [] {
        auto l = std::make_unique<core::FunctionLookup>();
        core::RegisterBuiltinFunctions(*l);
        l->RegisterUnary(L"probe_alternate", [](long long& calls, double) { return calls++ % 2 == 0; });
        core::FunctionLookup scratch;
        auto const& plain = scratch.RegisterUnary(L"probe_positive", [](double x) { return x > 0; });
        using Special = core::FunctionFactory<core::IUnarySpecialFunction<double, bool>>;
        l->Register(core::RegisteredFunctions::Make(
            core::FunctionKind::Unary, plain.GetKey(), plain.GetOutputType(), false, false,
            &MakeHostObject<PositiveRowsPredicate, core::IUnaryFunction<double, bool>>, Special{nullptr}));
        auto const& sum = scratch.RegisterBinary(L"probe_sum", [](double acc, double x) { return acc + x; });
        RegisterRegularOnly<core::IBinaryFunction<double, double, double>,
                            core::IBinarySpecialFunction<double, double, double>>(
            *l, core::FunctionKind::Binary, sum);
        return l;
    }();
    return *lookup;
}

// A value from its JSON text (plain or typed).
inline Value Parse(std::string_view json) {
    return core::StoreValueParser::MakeDataStore("{\"a\": " + std::string(json) + "}")
        ->GetValue(core::KeyPath(L"a"));
}

inline std::string Json(Value const& value) {
    return value ? core::JsonStoreWriter::WriteValue(*value) : "(none)";
}

// The texts of paths, one blank between them: paths of a program carry its types, which a
// comparison of texts leaves aside.
inline std::string Texts(std::vector<core::KeyPath> const& paths) {
    std::string text;
    for (core::KeyPath const& path : paths) {
        text += (text.empty() ? "" : " ") + path.ToString().ToUtf8();
    }
    return text;
}

// Runs `program` through a machine over a store holding `inputs` and returns the result under
// `result`.
inline Value RunProgram(std::string const& program,
                        std::vector<std::pair<wchar_t const*, Value>> const& inputs,
                        vm::VMOptions const& options = {}, wchar_t const* result = L"b") {
    return RunProgramWith(Functions(), program, inputs, options, result);
}

// The transform of the first statement of `program`.
inline std::unique_ptr<vm::Transform> MakeFirst(std::string const& program,
                                                vm::VMOptions const& options = {}) {
    return MakeFirstWith(Functions(), program, options);
}

// Options with blocks of `base` rows of 8-byte elements.
inline vm::VMOptions SmallBlocks(unsigned int base) {
    vm::VMOptions options;
    options.SetBaseVectorizationBlockSize(base);
    return options;
}

}  // namespace zel::test::filter
