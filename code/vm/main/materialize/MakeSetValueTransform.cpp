#include "materialize/MakeSetValueTransform.h"

#include <utility>
#include <vector>

#include "transform/SetValueInstances.h"
#include "transform/SetValueTransform.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

namespace {

// The type that selects a pair: a Date is served as a DateTime.
StoreType SelectorOf(StoreType type) {
    return type == StoreType::Date ? StoreType::DateTime : type;
}

}  // namespace

std::unique_ptr<Transform> MakeSetValueTransform(OpSetValueSpec const& spec,
                                                 core::IFunctionLookup const& functions,
                                                 core::ITypeLookup const& types) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    std::vector<core::KeySegmentType> const inputTypes = spec.GetFunctionInputTypes(types);
    StoreType const inputType = SelectorOf(inputTypes.at(0).GetMainType().GetStoreType());
    core::FunctionKey const key(functionSpec.GetFunctionId(), inputTypes);
    core::FunctionInfo const& info =
        functions.GetFunctionInfoIn(core::FunctionKind::Unary, key.GetName(), key.GetInputTypes());
    StoreType const outputType = SelectorOf(info.GetOutputType());

#define ZEL_SELECT_SET_VALUE_INSTANCE(inClass, outClass, A, B)                                           \
    if (inputType == StoreType::inClass && outputType == StoreType::outClass) {                          \
        core::RegisteredFunctions const& f = functions.GetUnaryFunctions().GetFunctions(key);            \
        ZEL_CHECK(f.HasFunction(), core::ZelError::SetValueFunctionMissing);                             \
        return std::make_unique<SetValueTransform<A, B>>(spec.GetOutput(), info.GetOutputType(),         \
                                                         core::ZelFunctions<A, B>(f),                    \
                                                         std::make_unique<CreatorValues>(functionSpec)); \
    }
    ZEL_SET_VALUE_INSTANCES(ZEL_SELECT_SET_VALUE_INSTANCE)
#undef ZEL_SELECT_SET_VALUE_INSTANCE

    throw core::ZelRuntimeException(core::ZelError::UnsupportedTypes, L"unsupported types in SetValue");
}

}  // namespace zel::vm
