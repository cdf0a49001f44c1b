#include "zel/vm/transform/TransformValues.h"

#include "zel/core/utility/ZelException.h"

namespace zel::vm {

TransformValues::TransformValues(std::initializer_list<value_type> values) {
    for (auto const& value : values) {
        m_values.emplace(value.first, value.second);
    }
}

std::shared_ptr<core::StoreValue> const& TransformValues::GetValue(core::KeyPath const& key) const {
    auto it = m_values.find(key);
    if (it == m_values.end()) {
        throw core::ZelRuntimeException(core::ZelError::KeyNotFound, key.ToString());
    }
    return it->second;
}

bool TransformValues::HasValue(core::KeyPath const& key) const {
    return m_values.contains(key);
}

void TransformValues::SetValue(core::KeyPath const& key, std::shared_ptr<core::StoreValue> value) {
    m_values.emplace(key, std::move(value));
}

}  // namespace zel::vm
