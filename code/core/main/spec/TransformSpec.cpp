#include "zel/core/spec/TransformSpec.h"

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::core {

TransformSpec::TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, KeyPath const& output,
                             std::vector<TransformSpec>&& children)
    : m_type(type), m_inputs(inputs), m_outputs{output}, m_children(std::move(children)) {}

TransformSpec::TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, KeyPath const& output,
                             std::vector<TransformSpec>&& children, TStringCore const& name)
    : m_type(type),
      m_inputs(inputs),
      m_outputs{output},
      m_children(std::move(children)),
      m_value(factory::MakeString(name)) {}

TransformSpec::TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs,
                             std::vector<KeyPath> const& outputs,
                             std::shared_ptr<FunctionSpec> const& function,
                             std::vector<TransformSpec>&& children, std::shared_ptr<StoreValue> const& value)
    : m_type(type),
      m_inputs(inputs),
      m_outputs(outputs),
      m_function(function),
      m_children(std::move(children)),
      m_value(value) {}

TransformSpec::TransformSpec(OperatorType type, std::vector<KeyPath> const& inputs, KeyPath const& output,
                             std::shared_ptr<FunctionSpec> const& function)
    : m_type(type), m_inputs(inputs), m_outputs{output}, m_function(function) {}

TransformSpec::TransformSpec(OperatorType type, KeyPath const& input, KeyPath const& output,
                             std::shared_ptr<FunctionSpec> const& function,
                             std::shared_ptr<StoreValue> const& value)
    : m_type(type), m_inputs{input}, m_outputs{output}, m_function(function), m_value(value) {}

TransformSpec::TransformSpec(TransformSpec const&) = default;
TransformSpec::TransformSpec(TransformSpec&&) noexcept = default;
TransformSpec& TransformSpec::operator=(TransformSpec const&) = default;
TransformSpec& TransformSpec::operator=(TransformSpec&&) noexcept = default;
TransformSpec::~TransformSpec() = default;

bool operator==(TransformSpec const& a, TransformSpec const& b) {
    return a.m_type == b.m_type && a.m_inputs == b.m_inputs && a.m_outputs == b.m_outputs &&
           FunctionSpecsEqual(a.m_function, b.m_function) && StoreValuesEqual(a.m_value, b.m_value) &&
           a.m_children == b.m_children;
}

}  // namespace zel::core
