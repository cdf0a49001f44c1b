#include "zel/vm/vtl/OpBlockSpec.h"

#include "vtl/SpecChecks.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

OpBlockSpec::OpBlockSpec(core::TransformSpec const& spec) : m_spec(spec) {
    ZEL_CHECK_NOT_EMPTY(m_spec.GetChildTransforms(), ZelError::SpecError246);
    ZEL_CHECK(m_spec.GetFunctionSpec() == nullptr, ZelError::SpecError244);
    ZEL_CHECK(m_spec.GetValue() != nullptr, ZelError::SpecError253);
    ZEL_CHECK(m_spec.GetValue()->GetStoreType() == StoreType::String, ZelError::SpecError253);
}

TStringCore OpBlockSpec::GetBlockName() const {
    return core::FetchStoreValue<TStringCore>(m_spec.GetValue());
}

core::KeyPath const& OpBlockSpec::GetOutput() const {
    return OutputOrEmpty(m_spec);
}

core::TransformSpec OpBlockSpec::Create(TStringCore const& name, std::vector<core::KeyPath> const& inputs,
                                        std::vector<core::TransformSpec>&& children,
                                        core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Block, inputs, OutputsOf(output), nullptr, std::move(children),
                               core::factory::MakeString(name));
}

}  // namespace zel::vm
