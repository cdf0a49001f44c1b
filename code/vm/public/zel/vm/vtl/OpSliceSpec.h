#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// A part of one input, chosen by a slice function.
class OpSliceSpec {
public:
    // Checks: one input (222), one output (219), a function (243).
    explicit OpSliceSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpSliceSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput() const { return m_spec.GetInputs()[0]; }
    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(core::KeyPath const& input,
                                      std::shared_ptr<core::FunctionSpec> const& function,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
