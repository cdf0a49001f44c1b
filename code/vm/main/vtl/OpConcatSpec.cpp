#include "zel/vm/vtl/OpConcatSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpConcatSpec::OpConcatSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_INPUT_COUNT(>= 2, 225);
    VTL_CHECK_ONE_OUTPUT();
}

core::TransformSpec OpConcatSpec::Create(std::vector<core::KeyPath> const& inputs,
                                         core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Concat, inputs, output, nullptr);
}

}  // namespace zel::vm
