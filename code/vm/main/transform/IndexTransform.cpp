#include "transform/IndexTransform.h"

#include <utility>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/HugePageAllocator.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

using core::StoreType;

IndexTransform::IndexTransform(core::KeyPath input, core::KeyPath output, int first)
    : m_input(std::move(input)), m_output(std::move(output)), m_first(first) {}

std::unique_ptr<IndexTransform> IndexTransform::Make(OpIndexSpec const& spec) {
    return std::make_unique<IndexTransform>(spec.GetInput(), spec.GetOutput(), spec.GetFirst());
}

TransformValues IndexTransform::DoTransform(TransformValues const& inputs,
                                            ICancellationTokenSource const*) const {
    std::shared_ptr<core::StoreValue> const& value = inputs.GetValue(m_input);
    ZEL_CHECK(value->GetStoreType() == StoreType::Array || value->GetStoreType() == StoreType::Table,
              core::ZelError::IndexInputInvalid);
    unsigned int const count =
        value->GetStoreType() == StoreType::Array ? value->GetCount() : value->AsTable().GetRowCount();
    // Unsigned arithmetic: past the top of the range the numbers wrap round instead of overflowing.
    auto numbers = std::make_unique<core::HugePageVector<unsigned int>>(count);
    unsigned int* const slots = numbers->data();
    unsigned int const first = static_cast<unsigned int>(m_first);
    for (unsigned int row = 0; row < count; ++row) {
        slots[row] = first + row;
    }
    TransformValues outputs;
    outputs.SetValue(m_output, core::factory::MakeArray<unsigned int>(
                                   core::StoreTypeInfo::Int32, core::StoreTypeInfo::Empty, std::move(numbers),
                                   std::unique_ptr<core::HugePageVector<core::SpecialKind>>()));
    return outputs;
}

TStringCore IndexTransform::GetMetricsString() const {
    return Transform::GetMetricsString() + L"_" + m_output.GetLeaf();
}

std::unique_ptr<Transform> IndexTransform::Clone() const {
    return std::make_unique<IndexTransform>(m_input, m_output, m_first);
}

}  // namespace zel::vm
