#pragma once

#pragma GCC visibility push(default)

#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// Pairs the rows of two or more inputs into tuples.
class OpZipSpec {
public:
    // Checks: at least two inputs (225), one output (219).
    explicit OpZipSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpZipSpec(core::TransformSpec&&) = delete;

    std::vector<core::KeyPath> const& GetInputs() const { return m_spec.GetInputs(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(std::vector<core::KeyPath> const& inputs, core::KeyPath const& output);
    static core::TransformSpec Create(core::KeyPath const& first, core::KeyPath const& second,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
