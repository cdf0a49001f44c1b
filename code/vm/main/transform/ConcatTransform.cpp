#include "transform/ConcatTransform.h"

#include <utility>
#include <vector>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

namespace {

class ConcatTransformImpl final : public ConcatTransform {
public:
    ConcatTransformImpl(std::vector<core::KeyPath> inputs, core::KeyPath output)
        : m_inputs(std::move(inputs)), m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        std::vector<std::shared_ptr<core::StoreValue>> values;
        values.reserve(m_inputs.size());
        for (core::KeyPath const& key : m_inputs) {
            values.push_back(inputs.GetValue(key));
        }
        // The first value decides; a later value of another kind is for the library to refuse.
        bool const tables = values.front()->GetStoreType() == core::StoreType::Table;
        TransformValues outputs;
        outputs.SetValue(m_output,
                         tables ? core::ConcatenateTables(values) : core::ConcatenateArrays(values, nullptr));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override { return m_inputs; }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::Concat; }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<ConcatTransformImpl>(m_inputs, m_output);
    }

private:
    std::vector<core::KeyPath> const m_inputs;
    core::KeyPath const m_output;
};

}  // namespace

std::unique_ptr<ConcatTransform> ConcatTransform::Make(OpConcatSpec const& spec) {
    return std::make_unique<ConcatTransformImpl>(spec.GetInputs(), spec.GetOutput());
}

}  // namespace zel::vm
