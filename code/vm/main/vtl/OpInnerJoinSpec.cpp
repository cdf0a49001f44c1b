#include "zel/vm/vtl/OpInnerJoinSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

OpInnerJoinSpec::OpInnerJoinSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_INPUT_COUNT(>= 4, 226);
    VTL_CHECK_ONE_OUTPUT();
}

std::vector<std::pair<core::KeyPath, core::KeyPath>> OpInnerJoinSpec::GetEquiJoinColumns() const {
    auto const& inputs = m_spec.GetInputs();
    std::vector<std::pair<core::KeyPath, core::KeyPath>> columns;
    for (std::size_t i = 0; i + 3 < inputs.size(); i += 2) {
        columns.emplace_back(inputs[i], inputs[i + 1]);
    }
    return columns;
}

core::TransformSpec OpInnerJoinSpec::Create(core::KeyPath const& leftKey, core::KeyPath const& rightKey,
                                            core::KeyPath const& output) {
    return CreateJoin(OperatorType::InnerJoin, {{leftKey, rightKey}}, output);
}

core::TransformSpec OpInnerJoinSpec::Create(std::vector<std::pair<core::KeyPath, core::KeyPath>> columns,
                                            core::KeyPath const& output) {
    return CreateJoin(OperatorType::InnerJoin, columns, output);
}

core::TransformSpec OpInnerJoinSpec::CreateJoin(
    core::OperatorType type, std::vector<std::pair<core::KeyPath, core::KeyPath>> const& columns,
    core::KeyPath const& output) {
    ZEL_CHECK_NOT_EMPTY(columns, ZelError::SpecError226);
    std::vector<core::KeyPath> inputs;
    inputs.reserve(2 * columns.size() + 2);
    for (auto const& [left, right] : columns) {
        inputs.push_back(left);
        inputs.push_back(right);
    }
    inputs.push_back(columns[0].first.GetParent());
    inputs.push_back(columns[0].second.GetParent());
    return core::TransformSpec(type, inputs, output, nullptr);
}

}  // namespace zel::vm
