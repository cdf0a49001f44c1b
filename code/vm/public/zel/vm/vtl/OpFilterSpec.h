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

// Keeps the rows of a column for which a predicate holds. With makeTable the input lies in a table
// (its parent, the second input) and the whole table is filtered.
class OpFilterSpec {
public:
    // Checks: at least one input (223), one output (219), a value (251) that is a Bool (251), a
    // function (243).
    explicit OpFilterSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpFilterSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput() const { return m_spec.GetInputs()[0]; }
    bool GetMakeTable() const;
    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }
    // The element type of the input.
    std::vector<core::KeySegmentType> GetFunctionInputTypes(core::ITypeLookup const& types) const;

    // With makeTable, `input` must lie in a table (228): its parent becomes the second input.
    static core::TransformSpec Create(core::KeyPath const& input, bool makeTable,
                                      std::shared_ptr<core::FunctionSpec> const& predicate,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
