#pragma once

// Shared by the tests that run VTL programs: the statements of a program, its first statement made
// into a transform, a run through a whole machine over values held by the test, and a function
// registered without its special form. Each suite passes its own function lookup.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/materialize/MakeTransform.h"

namespace zel::test {

inline std::vector<core::TransformSpec> Statements(std::string_view program) {
    std::vector<core::TransformSpec> specs;
    std::vector<core::GraphEdge> edges;
    core::OutputKeySet outputs;
    core::ParseVtlPayload(program, specs, edges, outputs);
    return specs;
}

// The transform of the first statement of `program`.
inline std::unique_ptr<vm::Transform> MakeFirstWith(core::FunctionLookup const& functions,
                                                    std::string_view program, vm::VMOptions const& options) {
    return vm::MakeTransform(Statements(program).at(0), functions, core::KeyPathTypeLookup(), options);
}

// Runs `program` through a machine over a store holding `inputs` and returns the result under
// `result`.
inline std::shared_ptr<core::StoreValue> RunProgramWith(
    core::FunctionLookup const& functions, std::string const& program,
    std::vector<std::pair<wchar_t const*, std::shared_ptr<core::StoreValue>>> const& inputs,
    vm::VMOptions const& options, wchar_t const* result) {
    core::StoreValueMap entries;
    for (auto const& [name, value] : inputs) {
        entries.emplace(name, value);
    }
    std::shared_ptr<core::IDataStore> store = core::factory::MakeDataStore(std::move(entries));
    auto vm = vm::VMFactory::Make(TStringCore::FromUtf8(program), store, functions, options);
    EXPECT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    return vm->MaterializeDataStore()->GetValue(core::KeyPath(result));
}

// Registers `plain`'s regular factory alone in `lookup`, under `key`: a plain registration brings
// a special form along, and a function without one takes another path through the machine.
template <typename Regular, typename Special>
void RegisterRegularOnly(core::FunctionLookup& lookup, core::FunctionKind kind,
                         core::RegisteredFunctions const& plain) {
    lookup.Register(
        core::RegisteredFunctions::Make(kind, plain.GetKey(), plain.GetOutputType(), false, false,
                                        reinterpret_cast<core::FunctionFactory<Regular>>(plain.GetFunction()),
                                        core::FunctionFactory<Special>{nullptr}));
}

}  // namespace zel::test
