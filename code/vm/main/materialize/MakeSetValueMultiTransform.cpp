#include "materialize/MakeSetValueMultiTransform.h"

#include <utility>
#include <vector>

#include "transform/SetValueMultiInstances.h"
#include "transform/SetValueMultiTransform.h"
#include "zel/core/spec/FunctionSpec.h"

namespace zel::vm {

using core::StoreType;

namespace {

// The instance that serves a function's output type.
StoreType SelectorOf(core::KeySegmentType const& outputType) {
    if (!outputType.HasType()) {
        return StoreType::Object;
    }
    switch (StoreType const type = outputType.GetMainType().GetStoreType()) {
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Float:
        case StoreType::Double:
            return type;
        case StoreType::Date:
        case StoreType::DateTime:
            return StoreType::DateTime;
        default:
            return StoreType::Object;
    }
}

}  // namespace

std::unique_ptr<Transform> MakeSetValueMultiTransform(OpSetValueMultiSpec const& spec,
                                                      core::IFunctionLookup const& functions,
                                                      core::ITypeLookup const& types) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    core::FunctionKey const key(functionSpec.GetFunctionId(), spec.GetFunctionInputTypes(types));
    core::KeySegmentType const outputType =
        functions.GetFunctionInfoIn(core::FunctionKind::Multinary, key.GetName(), key.GetInputTypes())
            .GetOutputTypeInfo();
    StoreType const selector = SelectorOf(outputType);

#define ZEL_SELECT_SET_VALUE_MULTI_INSTANCE(storeType, T)                                      \
    if (selector == StoreType::storeType) {                                                    \
        return std::make_unique<SetValueMultiTransform<T>>(                                    \
            spec.GetOutput(), outputType, core::ZelMultinaryFunction<T>::Bind(functions, key), \
            std::make_unique<CreatorValues>(functionSpec));                                    \
    }
    ZEL_SET_VALUE_MULTI_INSTANCES(ZEL_SELECT_SET_VALUE_MULTI_INSTANCE)
#undef ZEL_SELECT_SET_VALUE_MULTI_INSTANCE

    // Every selector has an instance.
    ZEL_FAIL_LOGIC(core::ZelError::LogicFailure);
}

}  // namespace zel::vm
