#include "transform/flatdata/MakeAggregateTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "transform/flatdata/AggregateInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

std::unique_ptr<Transform> MakeAggregateTransform(OpAggregateSpec const& spec,
                                                  core::IFunctionLookup const& functions,
                                                  core::ITypeLookup const& types, VMOptions const& options) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    std::vector<core::KeySegmentType> const inputTypes = spec.GetFunctionInputTypes(types);
    StoreType const inputType = inputTypes.at(1).GetMainType().GetStoreType();
    core::FunctionKey key(functionSpec.GetFunctionId(), inputTypes);
    core::FunctionInfo const& info =
        functions.GetFunctionInfoIn(core::FunctionKind::Binary, key.GetName(), key.GetInputTypes());
    StoreType const outputType = info.GetOutputType();
    // The accumulator is the function's first input and its output: a function whose output is of
    // another type than its first input cannot fold.
    if (inputTypes.at(0).GetMainType().GetStoreType() != outputType) {
        throw core::ZelRuntimeException(core::ZelError::UnsupportedTypes, L"unsupported types in Aggregate");
    }

    AggregateTransformParts parts{
        spec.GetOperatorType(),
        spec.GetInput(),
        spec.GetOutput(),
        spec.GetInitial(),
        std::move(key),
        functions,
        info.GetOutputTypeInfo(),
        // Only a creator reads its arguments; they are resolved at the start of each run.
        info.IsCreator() ? std::make_unique<CreatorValues>(functionSpec) : nullptr,
        MakeExecutionStrategy(options, spec.GetOperatorType(), inputTypes, info.GetOutputTypeInfo()),
    };

#define ZEL_SELECT_AGGREGATE_INSTANCE(inType, accType, A, B)                  \
    if (inputType == StoreType::inType && outputType == StoreType::accType) { \
        return MakeAggregateHandlerTransform<A, B>(parts);                    \
    }
    ZEL_AGGREGATE_INSTANCES(ZEL_SELECT_AGGREGATE_INSTANCE)
#undef ZEL_SELECT_AGGREGATE_INSTANCE

    throw core::ZelRuntimeException(core::ZelError::UnsupportedTypes, L"unsupported types in Aggregate");
}

}  // namespace zel::vm
