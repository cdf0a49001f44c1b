#include "transform/InternalCreateKeyMapTransform.h"

#include <algorithm>
#include <utility>

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace zel::vm {

namespace {

class InternalCreateKeyMapTransformImpl final : public InternalCreateKeyMapTransform {
public:
    InternalCreateKeyMapTransformImpl(std::vector<core::KeyPath> inputs, core::KeyPath output)
        : m_inputs(std::move(inputs)), m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        ZEL_CHECK(SaneInputs(m_inputs, m_output), core::ZelError::KeyMapInputsInvalid);
        core::StoreValueMap entries;
        for (core::KeyPath const& key : m_inputs) {
            entries.emplace(key.GetLeaf(), inputs.GetValue(key));
        }
        TransformValues outputs;
        outputs.SetValue(m_output, core::factory::MakeKeyMap(std::move(entries)));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputs; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::InternalCreateKeyMap; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<InternalCreateKeyMapTransformImpl>(m_inputs, m_output);
    }

private:
    std::vector<core::KeyPath> const m_inputs;
    core::KeyPath const m_output;
};

}  // namespace

bool SaneInputs(std::vector<core::KeyPath> const& inputs, core::KeyPath const& output) {
    unsigned int const depth = output.GetCount();
    core::KeyPath const initial = KeyPathUtil::AddInitial(output);
    return std::all_of(inputs.begin(), inputs.end(), [&](core::KeyPath const& input) {
        unsigned int const below = input.GetCount() - depth;
        return (below == 1 && output.IsPrefixOf(input)) || (below == 2 && initial.IsPrefixOf(input));
    });
}

std::unique_ptr<InternalCreateKeyMapTransform> InternalCreateKeyMapTransform::Make(
    OpInternalCreateKeyMapSpec const& spec) {
    return std::make_unique<InternalCreateKeyMapTransformImpl>(spec.GetInputs(), spec.GetOutput());
}

}  // namespace zel::vm
