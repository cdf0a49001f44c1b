#include "zel/vm/vtl/OpReturnSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpReturnSpec::OpReturnSpec(core::TransformSpec const& spec) : m_spec(spec) {
    // Reported as 222, not as the 223 of the other at-least-one tests, and kept so.
    VTL_CHECK_INPUT_COUNT(>= 1, 222);
    VTL_CHECK_ONE_OUTPUT();
}

core::TransformSpec OpReturnSpec::Create(std::vector<core::KeyPath> const& inputs,
                                         core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Return, inputs, output, nullptr);
}

}  // namespace zel::vm
