#include "zel/vm/vtl/OpConstantSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpConstantSpec::OpConstantSpec(core::TransformSpec const& spec) : m_spec(spec) {
    if (m_spec.GetValue() != nullptr) {
        VTL_CHECK_INPUT_COUNT(== 1, 255);
    } else {
        VTL_CHECK_INPUT_COUNT(== 2, 255);
    }
    VTL_CHECK_ONE_OUTPUT();
}

core::TransformSpec OpConstantSpec::Create(core::KeyPath const& inputArray, core::KeyPath const& inputKey,
                                           core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Constant, {inputArray, inputKey}, output, nullptr);
}

core::TransformSpec OpConstantSpec::Create(core::KeyPath const& inputArray,
                                           std::shared_ptr<core::StoreValue> const& constant,
                                           core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Constant, inputArray, output, nullptr, constant);
}

}  // namespace zel::vm
