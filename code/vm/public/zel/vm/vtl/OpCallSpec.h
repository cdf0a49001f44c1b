#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// A call of a named block, with inputs and at most one output. For callers that compose or inspect
// programs; it is never a transform itself.
class OpCallSpec {
public:
    // Checks: no function (244), a value (253) that is a String (253).
    explicit OpCallSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpCallSpec(core::TransformSpec&&) = delete;

    TStringCore GetBlockName() const;
    std::vector<core::KeyPath> const& GetInputs() const { return m_spec.GetInputs(); }
    // KeyPath::Empty() for a call without an output.
    core::KeyPath const& GetOutput() const;

    // An empty `output` makes a call without an output.
    static core::TransformSpec Create(TStringCore const& name, std::vector<core::KeyPath> const& inputs,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
