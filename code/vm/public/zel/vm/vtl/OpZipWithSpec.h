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

// Combines the rows of two inputs with a binary function.
class OpZipWithSpec {
public:
    // Checks: two inputs (224), one output (219), a function (243).
    explicit OpZipWithSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpZipWithSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput1() const { return m_spec.GetInputs()[0]; }
    core::KeyPath const& GetInput2() const { return m_spec.GetInputs()[1]; }
    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }
    // The element types of input 1 and input 2, in that order.
    std::vector<core::KeySegmentType> GetFunctionInputTypes(core::ITypeLookup const& types) const;

    static core::TransformSpec Create(core::KeyPath const& input1, core::KeyPath const& input2,
                                      std::shared_ptr<core::FunctionSpec> const& function,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
