#pragma once

#include <memory>
#include <vector>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpDistinctSpec.h"

namespace zel::vm {

// The distinct values of an array or a set, as a set in the order of first occurrence; each kind
// of special counts once, and only when `includeSpecial` is set. A set is distinct already: it
// comes back as the very same value unless it has specials to drop, so that case costs a
// reference count.
class DistinctTransform final : public Transform {
public:
    DistinctTransform(core::KeyPath input, core::KeyPath output, bool includeSpecial);
    static std::unique_ptr<DistinctTransform> Make(OpDistinctSpec const& spec);

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override;
    std::vector<core::KeyPath> GetInputPaths() const override { return {m_input}; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::Distinct; }
    std::unique_ptr<Transform> Clone() const override;

private:
    core::KeyPath const m_input;
    core::KeyPath const m_output;
    bool const m_includeSpecial;
};

}  // namespace zel::vm
