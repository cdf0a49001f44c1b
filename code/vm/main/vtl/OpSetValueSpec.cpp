#include "zel/vm/vtl/OpSetValueSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpSetValueSpec::OpSetValueSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
}

std::vector<core::KeySegmentType> OpSetValueSpec::GetFunctionInputTypes(
    core::ITypeLookup const& types) const {
    return core::GetFunctionInputTypes(*GetFunctionSpec(), types);
}

core::TransformSpec OpSetValueSpec::Create(std::shared_ptr<core::FunctionSpec> const& function,
                                           core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::SetValue, core::KeyPath::Empty(), output, function, nullptr);
}

core::TransformSpec OpSetValueSpec::Create(TStringCore const& id, core::KeyPath const& input,
                                           core::KeyPath const& output) {
    return Create(core::FunctionSpec::Make(id, input), output);
}

}  // namespace zel::vm
