#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "zel/core/spec/TransformSpec.h"

namespace zel::vm {

// The last branch of a case: a program without a condition. Read by the case, never a transform.
class OpElseSpec {
public:
    // Checks: no inputs (217), no outputs (218), no function (244).
    explicit OpElseSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpElseSpec(core::TransformSpec&&) = delete;

    std::vector<core::TransformSpec> const& GetChildTransforms() const { return m_spec.GetChildTransforms(); }

    static core::TransformSpec Create(std::vector<core::TransformSpec>&& children);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
