#pragma once

#pragma GCC visibility push(default)

#include "zel/vm/vtl/OpInnerJoinSpec.h"

namespace zel::vm {

// A left outer join spec; its view is OpInnerJoinSpec's.
class OpLeftOuterJoinSpec : public OpInnerJoinSpec {
public:
    using OpInnerJoinSpec::OpInnerJoinSpec;

    static core::TransformSpec Create(core::KeyPath const& leftKey, core::KeyPath const& rightKey,
                                      core::KeyPath const& output);
    // At least one pair (226).
    static core::TransformSpec Create(std::vector<std::pair<core::KeyPath, core::KeyPath>> columns,
                                      core::KeyPath const& output);
};

}  // namespace zel::vm

#pragma GCC visibility pop
