#include "transform/ConstantTransform.h"

#include <utility>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/StoreTypeDispatcher.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

namespace {

template <core::StorageElement T>
class ConstantTransformImpl final : public ConstantTransform {
public:
    // Exactly one of `constant` and `keyArgument` is set.
    ConstantTransformImpl(core::KeyPath inputPath, core::KeyPath outputPath, core::StoreTypeInfo elementType,
                          std::shared_ptr<core::StoreValue> constant,
                          std::unique_ptr<CreatorValues> keyArgument)
        : m_inputPath(std::move(inputPath)),
          m_outputPath(std::move(outputPath)),
          m_elementType(std::move(elementType)),
          m_constant(std::move(constant)),
          m_keyArgument(std::move(keyArgument)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        // The key is read on every run, so that a second run sees a changed value.
        std::shared_ptr<core::StoreValue> const value =
            m_keyArgument ? m_keyArgument->GetValues(inputs).at(0) : m_constant;
        core::StoreValue const& input = *inputs.GetValue(m_inputPath);
        unsigned int const count =
            input.GetStoreType() == core::StoreType::Table ? input.AsTable().GetRowCount() : input.GetCount();
        TransformValues outputs;
        outputs.SetValue(
            m_outputPath,
            value->IsSpecial()
                ? core::factory::MakeConstantArray<T>(m_elementType, count, value->GetSpecialKind())
                : core::factory::MakeConstantArray<T>(m_elementType, core::FetchStoreValue<T>(value), count));
        return outputs;
    }
    std::vector<core::KeyPath> GetInputPaths() const override {
        std::vector<core::KeyPath> paths{m_inputPath};
        if (m_keyArgument) {
            m_keyArgument->GetKeys(paths);
        }
        return paths;
    }
    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_outputPath}; }
    OperatorType GetOperatorType() const override { return OperatorType::Constant; }
    TStringCore GetMetricsString() const override { return TStringCore(); }
    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<ConstantTransformImpl>(m_inputPath, m_outputPath, m_elementType, m_constant,
                                                       CloneCreatorValues(m_keyArgument.get()));
    }

private:
    core::KeyPath const m_inputPath;
    core::KeyPath const m_outputPath;
    core::StoreTypeInfo const m_elementType;
    std::shared_ptr<core::StoreValue> const m_constant;
    std::unique_ptr<CreatorValues> const m_keyArgument;
};

}  // namespace

std::unique_ptr<Transform> ConstantTransform::Make(OpConstantSpec const& spec,
                                                   core::ITypeLookup const& types) {
    std::shared_ptr<core::StoreValue> constant;
    std::unique_ptr<CreatorValues> keyArgument;
    core::StoreTypeInfo elementType;
    if (spec.GetIsConstant()) {
        constant = spec.GetConstant();
        elementType = constant->GetTypeInfo();
    } else {
        keyArgument = std::make_unique<CreatorValues>(spec.GetInputKey());
        elementType = types.GetKeySegmentType(spec.GetInputKey()).GetMainType();
    }
    return core::StoreTypeDispatcher(
        elementType.GetStoreType(),
        [&]<class T>(core::StorageTag<T>) -> std::unique_ptr<Transform> {
            return std::make_unique<ConstantTransformImpl<T>>(spec.GetInputArray(), spec.GetOutput(),
                                                              elementType, std::move(constant),
                                                              std::move(keyArgument));
        },
        core::PrimitiveErrorFunction);
}

}  // namespace zel::vm
