#include "transform/flatdata/MakeMapTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "materialize/StatementFunction.h"
#include "transform/flatdata/MapInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

std::unique_ptr<Transform> MakeMapTransform(OpMapSpec const& spec, core::IFunctionLookup const& functions,
                                            core::ITypeLookup const& types, VMOptions const& options) {
    StatementFunction function = FindStatementFunction(spec, core::FunctionKind::Unary, functions, types);
    std::vector<core::KeySegmentType> const& inputTypes = function.inputTypes;
    core::FunctionInfo const& info = function.info;
    StoreType const inputType = inputTypes.at(0).GetMainType().GetStoreType();

    MapTransformParts parts{
        spec.GetInput(),
        spec.GetOutput(),
        std::move(function.key),
        functions,
        info.GetOutputTypeInfo(),
        std::move(function.creatorArguments),
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
