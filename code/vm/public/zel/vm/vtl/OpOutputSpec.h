#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"

namespace zel::vm {

// Hands values to a sink function.
class OpOutputSpec {
public:
    // Checks: a function (243).
    explicit OpOutputSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpOutputSpec(core::TransformSpec&&) = delete;

    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }

    static core::TransformSpec Create(std::shared_ptr<core::FunctionSpec> const& function);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
