#pragma once

#pragma GCC visibility push(default)

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// Builds a key set from a key array and a value array.
class OpCreateKeySetSpec {
public:
    // Checks: two inputs (224), one output (219), no value (260), no function (244).
    explicit OpCreateKeySetSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpCreateKeySetSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInputKey() const { return m_spec.GetInputs()[0]; }
    core::KeyPath const& GetInputValue() const { return m_spec.GetInputs()[1]; }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(core::KeyPath const& inputKey, core::KeyPath const& inputValue,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
