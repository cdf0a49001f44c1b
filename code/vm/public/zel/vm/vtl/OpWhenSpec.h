#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"

namespace zel::vm {

// A branch of a case: a condition and the program that runs when it holds. Read by the case,
// never a transform.
class OpWhenSpec {
public:
    // Checks: no inputs (217), no outputs (218), a condition (243).
    explicit OpWhenSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpWhenSpec(core::TransformSpec&&) = delete;

    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    std::vector<core::TransformSpec> const& GetChildTransforms() const { return m_spec.GetChildTransforms(); }

    static core::TransformSpec Create(std::shared_ptr<core::FunctionSpec> const& condition,
                                      std::vector<core::TransformSpec>&& children);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
