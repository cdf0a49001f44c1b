#include "zel/vm/vtl/OpCallSpec.h"

#include "vtl/SpecChecks.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

OpCallSpec::OpCallSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_NO_FUNCTION();
    ZEL_CHECK_NOT_NULL(m_spec.GetValue(), ZelError::SpecError253);
    ZEL_CHECK(m_spec.GetValue()->GetStoreType() == StoreType::String, ZelError::SpecError253);
}

TStringCore OpCallSpec::GetBlockName() const {
    return core::FetchStoreValue<TStringCore>(m_spec.GetValue());
}

core::KeyPath const& OpCallSpec::GetOutput() const {
    return OutputOrEmpty(m_spec);
}

core::TransformSpec OpCallSpec::Create(TStringCore const& name, std::vector<core::KeyPath> const& inputs,
                                       core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Call, inputs, OutputsOf(output), nullptr, {},
                               core::factory::MakeString(name));
}

}  // namespace zel::vm
