#include "zel/vm/vtl/OpSetValueMultiSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpSetValueMultiSpec::OpSetValueMultiSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
}

std::vector<core::KeySegmentType> OpSetValueMultiSpec::GetFunctionInputTypes(
    core::ITypeLookup const& types) const {
    return core::GetFunctionInputTypes(*GetFunctionSpec(), types);
}

core::TransformSpec OpSetValueMultiSpec::Create(std::shared_ptr<core::FunctionSpec> const& function,
                                                core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::SetValueMulti, core::KeyPath::Empty(), output, function,
                               nullptr);
}

core::TransformSpec OpSetValueMultiSpec::Create(TStringCore const& id, core::KeyPath const& first,
                                                core::KeyPath const& second, core::KeyPath const& output) {
    return Create(core::FunctionSpec::Make(id, first, second), output);
}

}  // namespace zel::vm
