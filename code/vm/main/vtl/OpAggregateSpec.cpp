#include "zel/vm/vtl/OpAggregateSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpAggregateSpec::OpAggregateSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_INPUT_ONE_OUTPUT();
    ZEL_CHECK_NOT_NULL(m_spec.GetValue(), ZelError::SpecError250);
    VTL_CHECK_FUNCTION();
}

std::vector<core::KeySegmentType> OpAggregateSpec::GetFunctionInputTypes(
    core::ITypeLookup const& types) const {
    return {GetInitial()->GetKeySegmentType(), ElementTypeOf(types, GetInput())};
}

core::TransformSpec OpAggregateSpec::CreateAggregate(core::OperatorType type, core::KeyPath const& input,
                                                     std::shared_ptr<core::StoreValue> const& initial,
                                                     std::shared_ptr<core::FunctionSpec> const& function,
                                                     core::KeyPath const& output) {
    return core::TransformSpec(type, input, output, function, initial);
}

}  // namespace zel::vm
