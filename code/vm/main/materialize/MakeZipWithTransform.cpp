#include "materialize/MakeZipWithTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "transform/ZipWithInstances.h"
#include "zel/core/utility/ZelException.h"

namespace zel::vm {

using core::IsLogicalTypeOf;
using core::StoreType;

std::unique_ptr<Transform> MakeZipWithTransform(OpZipWithSpec const& spec,
                                                core::IFunctionLookup const& functions,
                                                core::ITypeLookup const& types, VMOptions const& options) {
    core::FunctionSpec const& functionSpec = *spec.GetFunctionSpec();
    std::vector<core::KeySegmentType> const inputTypes = spec.GetFunctionInputTypes(types);
    core::FunctionKey key(functionSpec.GetFunctionId(), inputTypes);
    core::FunctionInfo const& info =
        functions.GetFunctionInfoIn(core::FunctionKind::Binary, key.GetName(), key.GetInputTypes());
    StoreType const first = inputTypes.at(0).GetMainType().GetStoreType();
    StoreType const second = inputTypes.at(1).GetMainType().GetStoreType();
    StoreType const output = info.GetOutputType();

    ZipWithTransformParts parts{
        spec.GetInput1(),
        spec.GetInput2(),
        spec.GetOutput(),
        std::move(key),
        functions,
        info.GetOutputTypeInfo().GetMainType(),
        // Only a creator reads its arguments; they are resolved at the start of each run.
        info.IsCreator() ? std::make_unique<CreatorValues>(functionSpec) : nullptr,
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
