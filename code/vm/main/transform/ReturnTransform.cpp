#include "transform/ReturnTransform.h"

#include <utility>
#include <vector>

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::vm {

namespace {

class ReturnTransformImpl final : public ReturnTransform {
public:
    ReturnTransformImpl(std::vector<core::KeyPath> inputs, core::KeyPath output)
        : m_inputs(std::move(inputs)), m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        TransformValues outputs;
        if (m_inputs.size() == 1) {
            outputs.SetValue(m_output, inputs.GetValue(m_inputs.front()));
            return outputs;
        }
        core::StoreValueMap entries;
        for (core::KeyPath const& key : m_inputs) {
            // emplace keeps the first value of a repeated leaf.
            entries.emplace(key.GetLeaf(), inputs.GetValue(key));
        }
        outputs.SetValue(m_output, core::factory::MakeKeyMap(std::move(entries)));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputs; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::Return; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<ReturnTransformImpl>(m_inputs, m_output);
    }

private:
    std::vector<core::KeyPath> const m_inputs;
    core::KeyPath const m_output;
};

}  // namespace

std::unique_ptr<ReturnTransform> ReturnTransform::Make(OpReturnSpec const& spec) {
    return std::make_unique<ReturnTransformImpl>(spec.GetInputs(), spec.GetOutput());
}

}  // namespace zel::vm
