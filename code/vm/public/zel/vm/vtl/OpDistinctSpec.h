#pragma once

#pragma GCC visibility push(default)

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// The distinct values of one input; a Bool value says whether specials count as values.
class OpDistinctSpec {
public:
    // Checks: one input (222), one output (219), a value (252) that is a Bool (252).
    explicit OpDistinctSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpDistinctSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput() const { return m_spec.GetInputs()[0]; }
    bool GetIncludeSpecial() const;
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(core::KeyPath const& input, bool includeSpecial,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
