#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// Concatenates two or more collections into one output.
class OpConcatSpec {
public:
    // Checks: at least two inputs (225), one output (219).
    explicit OpConcatSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpConcatSpec(core::TransformSpec&&) = delete;

    std::vector<core::KeyPath> const& GetInputs() const { return m_spec.GetInputs(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(std::vector<core::KeyPath> const& inputs, core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
