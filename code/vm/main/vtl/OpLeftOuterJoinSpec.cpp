#include "zel/vm/vtl/OpLeftOuterJoinSpec.h"

namespace zel::vm {

core::TransformSpec OpLeftOuterJoinSpec::Create(core::KeyPath const& leftKey, core::KeyPath const& rightKey,
                                                core::KeyPath const& output) {
    return CreateJoin(core::OperatorType::LeftOuterJoin, {{leftKey, rightKey}}, output);
}

core::TransformSpec OpLeftOuterJoinSpec::Create(std::vector<std::pair<core::KeyPath, core::KeyPath>> columns,
                                                core::KeyPath const& output) {
    return CreateJoin(core::OperatorType::LeftOuterJoin, columns, output);
}

}  // namespace zel::vm
