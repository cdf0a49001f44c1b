#include "zel/vm/vtl/OpMapSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpMapSpec::OpMapSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_INPUT_ONE_OUTPUT();
    VTL_CHECK_FUNCTION();
}

std::vector<core::KeySegmentType> OpMapSpec::GetFunctionInputTypes(core::ITypeLookup const& types) const {
    return {ElementTypeOf(types, GetInput())};
}

core::TransformSpec OpMapSpec::Create(core::KeyPath const& input,
                                      std::shared_ptr<core::FunctionSpec> const& function,
                                      core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Map, input, output, function, nullptr);
}

}  // namespace zel::vm
