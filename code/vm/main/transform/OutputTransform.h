#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/store/StoreValue.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// Hands values to a function of the host: the arguments of its function spec, keys read from the
// inputs and literals as they stand, in their order. It makes no value; the call is its effect,
// made on the thread that runs the transform.
class OutputTransform final : public Transform {
public:
    using Function = std::function<void(std::vector<std::shared_ptr<core::StoreValue>> const&)>;

    OutputTransform(TStringCore functionName, Function function, std::unique_ptr<CreatorValues> values);

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override;
    // The keys among the arguments: a function of literals alone reads nothing.
    std::vector<core::KeyPath> GetInputPaths() const override;
    std::vector<core::KeyPath> GetOutputPaths() const override { return {}; }
    OperatorType GetOperatorType() const override { return OperatorType::Output; }
    std::unique_ptr<Transform> Clone() const override;

    TStringCore const& GetFunctionName() const noexcept { return m_functionName; }

private:
    TStringCore const m_functionName;
    Function const m_function;
    std::unique_ptr<CreatorValues> const m_values;
};

}  // namespace zel::vm
