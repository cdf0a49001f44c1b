#include "zel/vm/vtl/OpWhenSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpWhenSpec::OpWhenSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_NO_INPUTS_NO_OUTPUTS();
    VTL_CHECK_FUNCTION();
}

core::TransformSpec OpWhenSpec::Create(std::shared_ptr<core::FunctionSpec> const& condition,
                                       std::vector<core::TransformSpec>&& children) {
    return core::TransformSpec(OperatorType::When, {}, {}, condition, std::move(children), nullptr);
}

}  // namespace zel::vm
