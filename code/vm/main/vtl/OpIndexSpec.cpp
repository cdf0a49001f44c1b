#include "zel/vm/vtl/OpIndexSpec.h"

#include "vtl/SpecChecks.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

OpIndexSpec::OpIndexSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_INPUT_ONE_OUTPUT();
    VTL_CHECK_VALUE_OF_TYPE(Int32, 254);
}

int OpIndexSpec::GetFirst() const {
    return core::FetchStoreValue<int>(m_spec.GetValue());
}

core::TransformSpec OpIndexSpec::Create(core::KeyPath const& input, int first, core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Index, input, output, nullptr, core::factory::MakeInt32(first));
}

}  // namespace zel::vm
