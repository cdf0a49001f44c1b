#include "zel/vm/vtl/OpDistinctSpec.h"

#include "vtl/SpecChecks.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

OpDistinctSpec::OpDistinctSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_ONE_INPUT_ONE_OUTPUT();
    VTL_CHECK_VALUE_OF_TYPE(Bool, 252);
}

bool OpDistinctSpec::GetIncludeSpecial() const {
    return core::FetchStoreValue<bool>(m_spec.GetValue());
}

core::TransformSpec OpDistinctSpec::Create(core::KeyPath const& input, bool includeSpecial,
                                           core::KeyPath const& output) {
    return core::TransformSpec(OperatorType::Distinct, input, output, nullptr,
                               core::factory::MakeBool(includeSpecial));
}

}  // namespace zel::vm
