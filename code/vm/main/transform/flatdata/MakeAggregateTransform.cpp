#include "transform/flatdata/MakeAggregateTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "materialize/StatementFunction.h"
#include "transform/flatdata/AggregateInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

std::unique_ptr<Transform> MakeAggregateTransform(OpAggregateSpec const& spec,
                                                  core::IFunctionLookup const& functions,
                                                  core::ITypeLookup const& types, VMOptions const& options) {
    StatementFunction function = FindStatementFunction(spec, core::FunctionKind::Binary, functions, types);
    std::vector<core::KeySegmentType> const& inputTypes = function.inputTypes;
    core::FunctionInfo const& info = function.info;
    StoreType const inputType = inputTypes.at(1).GetMainType().GetStoreType();
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
        std::move(function.key),
        functions,
        info.GetOutputTypeInfo(),
        std::move(function.creatorArguments),
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
