#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/OperatorType.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::vm {

// The shared view of Reduce, Scan and ScanRight: one input column folded by a binary combiner from
// an initial value into one output. OpReduceSpec, OpScanSpec and OpScanRightSpec build the specs.
class OpAggregateSpec {
public:
    // Checks: one input (222), one output (219), an initial value (250), a function (243).
    explicit OpAggregateSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpAggregateSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInput() const { return m_spec.GetInputs()[0]; }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }
    std::shared_ptr<core::StoreValue> const& GetInitial() const { return m_spec.GetValue(); }
    std::shared_ptr<core::FunctionSpec> const& GetFunctionSpec() const { return m_spec.GetFunctionSpec(); }
    core::OperatorType GetOperatorType() const { return m_spec.GetOperatorType(); }

    // The combiner's arguments in the order it is called with: the accumulator (the type of the
    // initial value), then the element type of the input.
    std::vector<core::KeySegmentType> GetFunctionInputTypes(core::ITypeLookup const& types) const;

protected:
    static core::TransformSpec CreateAggregate(core::OperatorType type, core::KeyPath const& input,
                                               std::shared_ptr<core::StoreValue> const& initial,
                                               std::shared_ptr<core::FunctionSpec> const& function,
                                               core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
