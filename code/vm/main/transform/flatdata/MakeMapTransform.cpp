#include "transform/flatdata/MakeMapTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "transform/flatdata/MapInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

std::unique_ptr<Transform> MakeMapTransform(OpMapSpec const& spec, core::IFunctionLookup const& functions,
                                            core::ITypeLookup const& types, VMOptions const& options) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    std::vector<core::KeySegmentType> const inputTypes = spec.GetFunctionInputTypes(types);
    core::FunctionKey key(functionSpec.GetFunctionId(), inputTypes);
    core::FunctionInfo const& info =
        functions.GetFunctionInfoIn(core::FunctionKind::Unary, key.GetName(), key.GetInputTypes());
    StoreType const inputType = inputTypes.at(0).GetMainType().GetStoreType();

    MapTransformParts parts{
        spec.GetInput(),
        spec.GetOutput(),
        std::move(key),
        functions,
        info.GetOutputTypeInfo(),
        // Only a creator reads its arguments; they are resolved at the start of each run.
        info.IsCreator() ? std::make_unique<CreatorValues>(functionSpec) : nullptr,
        MakeExecutionStrategy(options, OperatorType::Map, inputTypes, info.GetOutputTypeInfo()),
    };

    MapOutputClass const outputClass = MapOutputClassOf(info.GetOutputType());
#define ZEL_SELECT_MAP_INSTANCE(inType, outClass, In, Out)                           \
    if (inputType == StoreType::inType && outputClass == MapOutputClass::outClass) { \
        return MakeProjectionTransform<In, Out>(parts);                              \
    }
    ZEL_MAP_INSTANCES(ZEL_SELECT_MAP_INSTANCE)
#undef ZEL_SELECT_MAP_INSTANCE

    throw core::ZelRuntimeException(core::ZelError::UnsupportedTypes, L"unsupported types in Map");
}

}  // namespace zel::vm
