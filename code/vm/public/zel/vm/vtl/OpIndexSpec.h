#pragma once

#pragma GCC visibility push(default)

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// Numbers the rows of one input, counting from an Int32 value.
class OpIndexSpec {
public:
    // Checks: one input (222), one output (219), a value (254) that is an Int32 (254).
    explicit OpIndexSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpIndexSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput() const { return m_spec.GetInputs()[0]; }
    int GetFirst() const;
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(core::KeyPath const& input, int first, core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
