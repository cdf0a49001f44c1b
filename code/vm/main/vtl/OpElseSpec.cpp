#include "zel/vm/vtl/OpElseSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpElseSpec::OpElseSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_NO_INPUTS_NO_OUTPUTS();
    VTL_CHECK_NO_FUNCTION();
}

core::TransformSpec OpElseSpec::Create(std::vector<core::TransformSpec>&& children) {
    return core::TransformSpec(OperatorType::Else, {}, {}, nullptr, std::move(children), nullptr);
}

}  // namespace zel::vm
