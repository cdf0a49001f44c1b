#pragma once

#include <memory>
#include <vector>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpIndexSpec.h"

namespace zel::vm {

// Numbers the rows of an array or a table: an Int32 array of first, first + 1, ... with one
// element per row, wrapping at 32 bits. Only the row count of the input is read, never its data.
class IndexTransform final : public Transform {
public:
    IndexTransform(core::KeyPath input, core::KeyPath output, int first);
    static std::unique_ptr<IndexTransform> Make(OpIndexSpec const& spec);

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override;
    std::vector<core::KeyPath> GetInputPaths() const override { return {m_input}; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::Index; }
    // Index_ and the leaf of the output, so that two indexes of one program tell apart in metrics.
    TStringCore GetMetricsString() const override;
    std::unique_ptr<Transform> Clone() const override;

private:
    core::KeyPath const m_input;
    core::KeyPath const m_output;
    int const m_first;
};

}  // namespace zel::vm
