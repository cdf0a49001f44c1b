#include "zel/vm/vtl/OpOutputSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpOutputSpec::OpOutputSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_FUNCTION();
}

core::TransformSpec OpOutputSpec::Create(std::shared_ptr<core::FunctionSpec> const& function) {
    return core::TransformSpec(OperatorType::Output, core::KeyPath::Empty(), core::KeyPath::Empty(), function,
                               nullptr);
}

}  // namespace zel::vm
