#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// A named block: a program of its own (the children) with inputs and at most one output, named by
// a String value. For callers that compose or inspect programs; it is never a transform itself.
class OpBlockSpec {
public:
    // Checks: children (246), no function (244), a value (253) that is a String (253).
    explicit OpBlockSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpBlockSpec(core::TransformSpec&&) = delete;

    TStringCore GetBlockName() const;
    std::vector<core::KeyPath> const& GetInputs() const { return m_spec.GetInputs(); }
    std::vector<core::TransformSpec> const& GetChildTransforms() const { return m_spec.GetChildTransforms(); }
    // KeyPath::Empty() for a block without an output.
    core::KeyPath const& GetOutput() const;

    // An empty `output` makes a block without an output.
    static core::TransformSpec Create(TStringCore const& name, std::vector<core::KeyPath> const& inputs,
                                      std::vector<core::TransformSpec>&& children,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
