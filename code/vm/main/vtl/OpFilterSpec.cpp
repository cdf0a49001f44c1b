#include "zel/vm/vtl/OpFilterSpec.h"

#include "vtl/SpecChecks.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::vm {

OpFilterSpec::OpFilterSpec(core::TransformSpec const& spec) : m_spec(spec) {
    VTL_CHECK_INPUT_COUNT(>= 1, 223);
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_VALUE_OF_TYPE(Bool, 251);
    VTL_CHECK_FUNCTION();
}

bool OpFilterSpec::GetMakeTable() const {
    return core::FetchStoreValue<bool>(m_spec.GetValue());
}

std::vector<core::KeySegmentType> OpFilterSpec::GetFunctionInputTypes(core::ITypeLookup const& types) const {
    return {ElementTypeOf(types, GetInput())};
}

core::TransformSpec OpFilterSpec::Create(core::KeyPath const& input, bool makeTable,
                                         std::shared_ptr<core::FunctionSpec> const& predicate,
                                         core::KeyPath const& output) {
    ZEL_CHECK(!makeTable || input.GetCount() > 1, ZelError::SpecError228);
    std::vector<core::KeyPath> inputs{input};
    if (makeTable) {
        inputs.push_back(input.GetParent());
    }
    return core::TransformSpec(OperatorType::Filter, inputs, {output}, predicate, {},
                               core::factory::MakeBool(makeTable));
}

}  // namespace zel::vm
