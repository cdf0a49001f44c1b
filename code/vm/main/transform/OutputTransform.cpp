#include "transform/OutputTransform.h"

#include <utility>

namespace zel::vm {

OutputTransform::OutputTransform(TStringCore functionName, Function function,
                                 std::unique_ptr<CreatorValues> values)
    : m_functionName(std::move(functionName)), m_function(std::move(function)), m_values(std::move(values)) {}

TransformValues OutputTransform::DoTransform(TransformValues const& inputs,
                                             ICancellationTokenSource const*) const {
    std::vector<std::shared_ptr<core::StoreValue>> const arguments =
        m_values ? m_values->GetValues(inputs) : std::vector<std::shared_ptr<core::StoreValue>>();
    // An empty function throws std::bad_function_call here.
    m_function(arguments);
    return {};
}

std::vector<core::KeyPath> OutputTransform::GetInputPaths() const {
    std::vector<core::KeyPath> paths;
    if (m_values) {
        m_values->GetKeys(paths);
    }
    return paths;
}

std::unique_ptr<Transform> OutputTransform::Clone() const {
    return std::make_unique<OutputTransform>(m_functionName, m_function, CloneCreatorValues(m_values.get()));
}

}  // namespace zel::vm
