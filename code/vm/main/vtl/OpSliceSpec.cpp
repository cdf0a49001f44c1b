#include "zel/vm/vtl/OpSliceSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpSliceSpec::OpSliceSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_INPUT_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
}

core::TransformSpec OpSliceSpec::Create(core::KeyPath const& input,
                                        std::shared_ptr<core::FunctionSpec> const& function,
                                        core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Slice, input, output, function, nullptr);
}

}  // namespace zel::vm
