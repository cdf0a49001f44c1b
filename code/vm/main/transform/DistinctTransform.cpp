#include "transform/DistinctTransform.h"

#include <utility>

#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValue.h"

namespace zel::vm {

DistinctTransform::DistinctTransform(core::KeyPath input, core::KeyPath output, bool includeSpecial)
    : m_input(std::move(input)), m_output(std::move(output)), m_includeSpecial(includeSpecial) {}

std::unique_ptr<DistinctTransform> DistinctTransform::Make(OpDistinctSpec const& spec) {
    return std::make_unique<DistinctTransform>(spec.GetInput(), spec.GetOutput(), spec.GetIncludeSpecial());
}

TransformValues DistinctTransform::DoTransform(TransformValues const& inputs,
                                               ICancellationTokenSource const*) const {
    std::shared_ptr<core::StoreValue> const& value = inputs.GetValue(m_input);
    TransformValues outputs;
    if (value->GetStoreType() == core::StoreType::Array) {
        outputs.SetValue(m_output, value->AsArray().MakeDistinct(m_includeSpecial));
    } else if (!m_includeSpecial && value->AsCollection().HasSpecialValues()) {
        outputs.SetValue(m_output, value->AsSet().WithoutSpecials());
    } else {
        outputs.SetValue(m_output, value);
    }
    return outputs;
}

std::unique_ptr<Transform> DistinctTransform::Clone() const {
    return std::make_unique<DistinctTransform>(m_input, m_output, m_includeSpecial);
}

}  // namespace zel::vm
