#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::vm {

// Applies a unary function to each row of one input.
class OpMapSpec {
public:
    // Checks: one input (222), one output (219), a function (243).
    explicit OpMapSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpMapSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput() const { return m_spec.GetInputs()[0]; }
    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }
    // The element type of the input.
    std::vector<core::KeySegmentType> GetFunctionInputTypes(core::ITypeLookup const& types) const;

    static core::TransformSpec Create(core::KeyPath const& input,
                                      std::shared_ptr<core::FunctionSpec> const& function,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
