#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::vm {

// Sets one value from a function of several values (keys or constants).
class OpSetValueMultiSpec {
public:
    // Checks: one output (219), a function (243).
    explicit OpSetValueMultiSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpSetValueMultiSpec(core::TransformSpec&&) = delete;

    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }
    // The type of each argument of the function.
    std::vector<core::KeySegmentType> GetFunctionInputTypes(core::ITypeLookup const& types) const;

    static core::TransformSpec Create(std::shared_ptr<core::FunctionSpec> const& function,
                                      core::KeyPath const& output);
    // The function `id` of `first` and `second`.
    static core::TransformSpec Create(TStringCore const& id, core::KeyPath const& first,
                                      core::KeyPath const& second, core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
