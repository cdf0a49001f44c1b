#include "zel/vm/vtl/OpCreateKeySetSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpCreateKeySetSpec::OpCreateKeySetSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_INPUT_COUNT(== 2, 224);
    VTL_CHECK_ONE_OUTPUT();
    ZEL_CHECK_NULL(m_spec.GetValue(), ZelError::SpecError260);
    VTL_CHECK_NO_FUNCTION();
}

core::TransformSpec OpCreateKeySetSpec::Create(core::KeyPath const& inputKey, core::KeyPath const& inputValue,
                                               core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::CreateKeySet, {inputKey, inputValue}, output, nullptr);
}

}  // namespace zel::vm
