#include "transform/CreatorValues.h"

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

CreatorValues::CreatorValues(core::FunctionSpec const& spec) : m_specs(spec.GetFunctionInputs()) {}

CreatorValues::CreatorValues(core::KeyPath const& inputKey) {
    ZEL_CHECK_EXACT(!(inputKey.IsEmpty()), core::ZelError::CreatorArgumentEmpty);
    m_specs.emplace_back(inputKey);
}

void CreatorValues::GetKeys(std::vector<core::KeyPath>& out) const {
    for (core::ValueSpec const& spec : m_specs) {
        if (spec.IsKey()) {
            out.push_back(spec.GetKeyPath());
        }
    }
}

core::CreatorArguments CreatorValues::GetValues(TransformValues const& values) const {
    core::CreatorArguments result;
    result.reserve(m_specs.size());
    for (core::ValueSpec const& spec : m_specs) {
        result.push_back(spec.IsKey() ? values.GetValue(spec.GetKeyPath()) : spec.GetValue());
    }
    return result;
}

}  // namespace zel::vm
