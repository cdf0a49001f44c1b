#include "zel/vm/vtl/OpCopySpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpCopySpec::OpCopySpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_INPUT_ONE_OUTPUT();
}

core::TransformSpec OpCopySpec::Create(core::KeyPath const& input, core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Copy, input, output, nullptr, nullptr);
}

}  // namespace zel::vm
