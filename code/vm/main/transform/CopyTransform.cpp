#include "transform/CopyTransform.h"

namespace zel::vm {

namespace {

class CopyTransformImpl final : public CopyTransform {
public:
    CopyTransformImpl(core::KeyPath input, core::KeyPath output)
        : m_input(std::move(input)), m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        TransformValues outputs;
        outputs.SetValue(m_output, inputs.GetValue(m_input));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return {m_input}; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::Copy; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<CopyTransformImpl>(m_input, m_output);
    }

private:
    core::KeyPath const m_input;
    core::KeyPath const m_output;
};

}  // namespace

std::unique_ptr<CopyTransform> CopyTransform::Make(OpCopySpec const& spec) {
    return std::make_unique<CopyTransformImpl>(spec.GetInput(), spec.GetOutput());
}

}  // namespace zel::vm
