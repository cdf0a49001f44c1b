#include "zel/vm/vtl/OpCaseSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

namespace {

// The branches: at least one When, each with its condition, then one Else without a function.
void CheckBranches(std::vector<core::TransformSpec> const& children) {
    ZEL_CHECK_EXACT((children).size() >= 2, ZelError::SpecError233);
    for (std::size_t i = 0; i < children.size(); ++i) {
        core::TransformSpec const& child = children[i];
        if (i + 1 < children.size()) {
            ZEL_CHECK(child.GetOperatorType() == OperatorType::When, ZelError::SpecError234);
            ZEL_CHECK_NOT_NULL(child.GetFunctionSpec(), ZelError::SpecError243);
        } else {
            ZEL_CHECK(child.GetOperatorType() == OperatorType::Else, ZelError::SpecError235);
            ZEL_CHECK_NULL(child.GetFunctionSpec(), ZelError::SpecError244);
        }
    }
}

}  // namespace

OpCaseSpec::OpCaseSpec(core::TransformSpec const& spec) : m_spec(spec) {
    CheckBranches(m_spec.GetChildTransforms());
    VTL_CHECK_NO_FUNCTION();
}

std::vector<core::TransformSpec> OpCaseSpec::GetWhenTransforms() const {
    auto const& children = m_spec.GetChildTransforms();
    return {children.begin(), children.end() - 1};
}

core::TransformSpec OpCaseSpec::Create(std::vector<core::KeyPath> const& capturedKeys,
                                       std::vector<core::KeyPath> const& outputs,
                                       std::vector<core::TransformSpec>&& children) {
    CheckBranches(children);
    return core::TransformSpec(OperatorType::Case, capturedKeys, outputs, nullptr, std::move(children),
                               nullptr);
}

}  // namespace zel::vm
