#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::vm {

// The function a statement names, found in the registry of its arity: the types of its inputs,
// its key, what the registry knows of it, and its arguments when it is a creator (they are
// resolved at the start of each run; any other function reads nothing but its columns).
struct StatementFunction {
    std::vector<core::KeySegmentType> inputTypes;
    core::FunctionKey key;
    core::FunctionInfo const& info;
    std::unique_ptr<CreatorValues> creatorArguments;
};

template <class View>
StatementFunction FindStatementFunction(View const& spec, core::FunctionKind kind,
                                        core::IFunctionLookup const& functions,
                                        core::ITypeLookup const& types) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    std::vector<core::KeySegmentType> inputTypes = spec.GetFunctionInputTypes(types);
    core::FunctionKey key(functionSpec.GetFunctionId(), inputTypes);
    core::FunctionInfo const& info = functions.GetFunctionInfoIn(kind, key.GetName(), key.GetInputTypes());
    std::unique_ptr<CreatorValues> creatorArguments =
        info.IsCreator() ? std::make_unique<CreatorValues>(functionSpec) : nullptr;
    return StatementFunction{std::move(inputTypes), std::move(key), info, std::move(creatorArguments)};
}

}  // namespace zel::vm
