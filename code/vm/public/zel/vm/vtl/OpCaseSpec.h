#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// A case: the captured keys as inputs, the outputs that every branch writes, and as children at
// least one When followed by exactly one Else, which stands last.
class OpCaseSpec {
public:
    // Checks: at least two children (233); each child but the last a When (234) with a condition
    // (243); the last an Else (235) without a function (244); then no function on the case (244).
    explicit OpCaseSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpCaseSpec(core::TransformSpec&&) = delete;

    std::vector<core::KeyPath> const& GetCapturedKeys() const { return m_spec.GetInputs(); }
    std::vector<core::KeyPath> const& GetOutputs() const { return m_spec.GetOutputs(); }
    std::vector<core::TransformSpec> const& GetChildTransforms() const { return m_spec.GetChildTransforms(); }
    // All children but the last, in order.
    std::vector<core::TransformSpec> GetWhenTransforms() const;
    core::TransformSpec const& GetElseTransform() const { return m_spec.GetChildTransforms().back(); }
    core::TransformSpec const& GetTransformSpec() const { return m_spec; }

    // Checks the children as the constructor does before it builds the TransformSpec.
    static core::TransformSpec Create(std::vector<core::KeyPath> const& capturedKeys,
                                      std::vector<core::KeyPath> const& outputs,
                                      std::vector<core::TransformSpec>&& children);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
