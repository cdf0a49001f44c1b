#include "materialize/MakeZipWithTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "materialize/StatementFunction.h"
#include "transform/ZipWithInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::IsLogicalTypeOf;
using core::StoreType;

std::unique_ptr<Transform> MakeZipWithTransform(OpZipWithSpec const& spec,
                                                core::IFunctionLookup const& functions,
                                                core::ITypeLookup const& types, VMOptions const& options) {
    StatementFunction function = FindStatementFunction(spec, core::FunctionKind::Binary, functions, types);
    std::vector<core::KeySegmentType> const& inputTypes = function.inputTypes;
    core::FunctionInfo const& info = function.info;
    StoreType const first = inputTypes.at(0).GetMainType().GetStoreType();
    StoreType const second = inputTypes.at(1).GetMainType().GetStoreType();
    StoreType const output = info.GetOutputType();

    ZipWithTransformParts parts{
        spec.GetInput1(),
        spec.GetInput2(),
        spec.GetOutput(),
        std::move(function.key),
        functions,
        info.GetOutputTypeInfo().GetMainType(),
        std::move(function.creatorArguments),
        MakeExecutionStrategy(options, OperatorType::ZipWith, inputTypes, info.GetOutputTypeInfo()),
    };

#define ZEL_SELECT_ZIPWITH_INSTANCE(A, B, C)                                                     \
    if (IsLogicalTypeOf<A>(first) && IsLogicalTypeOf<B>(second) && IsLogicalTypeOf<C>(output)) { \
        return MakeZipWithTransformOf<A, B, C>(parts);                                           \
    }
    ZEL_ZIPWITH_INSTANCES(ZEL_SELECT_ZIPWITH_INSTANCE)
#undef ZEL_SELECT_ZIPWITH_INSTANCE

    throw core::ZelRuntimeException(core::ZelError::UnsupportedTypes, L"unsupported types in ZipWith");
}

}  // namespace zel::vm
