#include "materialize/MakeCaseTransform.h"

#include <utility>
#include <vector>

#include "materialize/MakeChildTransform.h"
#include "transform/CaseTransform.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/vm/vtl/OpElseSpec.h"
#include "zel/vm/vtl/OpWhenSpec.h"

namespace zel::vm {

namespace {

std::vector<std::unique_ptr<Transform>> MakeBranchProgram(std::vector<core::TransformSpec> const& children,
                                                          core::IFunctionLookup const& functions,
                                                          core::ITypeLookup const& types,
                                                          VMOptions const& options) {
    std::vector<std::unique_ptr<Transform>> transforms;
    transforms.reserve(children.size());
    for (core::TransformSpec const& child : children) {
        if (child.GetOperatorType() == OperatorType::NoOp) {
            continue;
        }
        transforms.push_back(MakeChildTransform(child, functions, types, options));
    }
    return transforms;
}

}  // namespace

std::unique_ptr<Transform> MakeCaseTransform(OpCaseSpec const& spec, core::IFunctionLookup const& functions,
                                             core::ITypeLookup const& types, VMOptions const& options) {
    std::vector<core::TransformSpec> const whens = spec.GetWhenTransforms();
    std::vector<WhenBranch> branches;
    branches.reserve(whens.size());
    for (core::TransformSpec const& when : whens) {
        OpWhenSpec const view(when);
        core::FunctionSpec const& condition = *view.GetFunctionSpec();
        core::FunctionKey const key(condition.GetFunctionId(), core::GetFunctionInputTypes(condition, types));
        WhenBranch branch;
        branch.condition = core::ZelMultinaryFunction<bool>::Bind(functions, key);
        branch.values = std::make_unique<CreatorValues>(condition);
        branch.transforms = MakeBranchProgram(view.GetChildTransforms(), functions, types, options);
        branches.push_back(std::move(branch));
    }
    OpElseSpec const otherwise(spec.GetElseTransform());
    return CaseTransform::Make(spec.GetCapturedKeys(), std::move(branches),
                               MakeBranchProgram(otherwise.GetChildTransforms(), functions, types, options),
                               spec.GetOutputs());
}

}  // namespace zel::vm
