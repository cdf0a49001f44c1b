#include "zel/vm/vtl/OpInputSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpInputSpec::OpInputSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
}

core::TransformSpec OpInputSpec::Create(std::shared_ptr<core::FunctionSpec> const& function,
                                        core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Input, core::KeyPath::Empty(), output, function, nullptr);
}

}  // namespace zel::vm
