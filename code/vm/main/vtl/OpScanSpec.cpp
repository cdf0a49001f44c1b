#include "zel/vm/vtl/OpScanSpec.h"

namespace zel::vm {

core::TransformSpec OpScanSpec::Create(core::KeyPath const& input,
                                       std::shared_ptr<core::StoreValue> const& initial,
                                       std::shared_ptr<core::FunctionSpec> const& function,
                                       core::KeyPath const& output) {
    return CreateAggregate(core::OperatorType::Scan, input, initial, function, output);
}

}  // namespace zel::vm
