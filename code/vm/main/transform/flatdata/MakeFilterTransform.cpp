#include "transform/flatdata/MakeFilterTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "materialize/StatementFunction.h"
#include "transform/flatdata/FilterInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::StoreType;

std::unique_ptr<Transform> MakeFilterTransform(OpFilterSpec const& spec,
                                               core::IFunctionLookup const& functions,
                                               core::ITypeLookup const& types, VMOptions const& options) {
    StatementFunction function = FindStatementFunction(spec, core::FunctionKind::Unary, functions, types);
    std::vector<core::KeySegmentType> const& inputTypes = function.inputTypes;
    core::FunctionInfo const& info = function.info;
    StoreType const inputType = inputTypes.at(0).GetMainType().GetStoreType();

    FilterTransformParts parts{
        spec.GetInput(),
        spec.GetOutput(),
        spec.GetMakeTable(),
        std::move(function.key),
        functions,
        std::move(function.creatorArguments),
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
