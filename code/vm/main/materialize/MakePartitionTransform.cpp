#include "materialize/MakePartitionTransform.h"

#include <utility>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "materialize/MakeChildTransform.h"
#include "transform/PartitionTransform.h"

namespace zel::vm {

std::unique_ptr<Transform> MakePartitionTransform(OpPartitionSpec const& spec, OperatorType type,
                                                  core::IFunctionLookup const& functions,
                                                  core::ITypeLookup const& types, VMOptions const& options) {
    VMOptions childOptions = options;
    childOptions.SetUseParallelTransforms(false);
    std::vector<PartitionChild> children;
    children.reserve(spec.GetChildTransforms().size());
    for (core::TransformSpec const& child : spec.GetChildTransforms()) {
        if (child.GetOperatorType() == OperatorType::NoOp) {
            continue;
        }
        children.push_back(PartitionChild{MakeChildTransform(child, functions, types, childOptions), child});
    }
    PartitionTransform::Kind const kind = type == OperatorType::GroupBy
                                              ? PartitionTransform::Kind::GroupBy
                                              : PartitionTransform::Kind::ApplyByPartition;
    return PartitionTransform::Make(kind, spec.GetInputTable(), spec.GetPartitionKeys(),
                                    spec.GetCapturedKeys(), spec.GetOutput(), std::move(children),
                                    MakeExecutionStrategy(options, type));
}

}  // namespace zel::vm
