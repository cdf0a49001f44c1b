#include "zel/vm/vtl/OpReduceSpec.h"

namespace zel::vm {

core::TransformSpec OpReduceSpec::Create(core::KeyPath const& input,
                                         std::shared_ptr<core::StoreValue> const& initial,
                                         std::shared_ptr<core::FunctionSpec> const& function,
                                         core::KeyPath const& output) {
    return CreateAggregate(core::OperatorType::Reduce, input, initial, function, output);
}

}  // namespace zel::vm
