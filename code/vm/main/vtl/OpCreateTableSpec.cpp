#include "zel/vm/vtl/OpCreateTableSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpCreateTableSpec::OpCreateTableSpec(core::TransformSpec const& spec) : m_spec(spec) {
    ZEL_CHECK_EXACT(!(m_spec.GetInputs()).empty(), ZelError::SpecError220);
    VTL_CHECK_ONE_OUTPUT();
}

core::TransformSpec OpCreateTableSpec::Create(std::vector<core::KeyPath> const& inputs,
                                              core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::CreateTable, inputs, output, nullptr);
}

}  // namespace zel::vm
