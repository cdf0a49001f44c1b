#include "zel/vm/vtl/OpInternalCreateKeyMapSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpInternalCreateKeyMapSpec::OpInternalCreateKeyMapSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_OUTPUT();
}

core::TransformSpec OpInternalCreateKeyMapSpec::Create(std::vector<core::KeyPath> const& inputs,
                                                       core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::InternalCreateKeyMap, inputs, output, nullptr);
}

}  // namespace zel::vm
