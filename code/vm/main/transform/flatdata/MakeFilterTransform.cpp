#include "transform/flatdata/MakeFilterTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "transform/flatdata/FilterInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

std::unique_ptr<Transform> MakeFilterTransform(OpFilterSpec const& spec,
                                               core::IFunctionLookup const& functions,
                                               core::ITypeLookup const& types, VMOptions const& options) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    std::vector<core::KeySegmentType> const inputTypes = spec.GetFunctionInputTypes(types);
    core::FunctionKey key(functionSpec.GetFunctionId(), inputTypes);
    core::FunctionInfo const& info =
        functions.GetFunctionInfoIn(core::FunctionKind::Unary, key.GetName(), key.GetInputTypes());
    StoreType const inputType = inputTypes.at(0).GetMainType().GetStoreType();

    FilterTransformParts parts{
        spec.GetInput(),
        spec.GetOutput(),
        spec.GetMakeTable(),
        std::move(key),
        functions,
        // Only a creator reads its arguments; they are resolved at the start of each run.
        info.IsCreator() ? std::make_unique<CreatorValues>(functionSpec) : nullptr,
        MakeExecutionStrategy(options, OperatorType::Filter, inputTypes, info.GetOutputTypeInfo()),
    };

#define ZEL_SELECT_FILTER_INSTANCE(inType, In)        \
    if (inputType == StoreType::inType) {             \
        return MakeFilterHandlerTransform<In>(parts); \
    }
    ZEL_FILTER_INSTANCES(ZEL_SELECT_FILTER_INSTANCE)
#undef ZEL_SELECT_FILTER_INSTANCE

    throw core::ZelRuntimeException(core::ZelError::UnsupportedTypes, L"unsupported types in Filter");
}

}  // namespace zel::vm
