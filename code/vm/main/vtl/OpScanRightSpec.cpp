#include "zel/vm/vtl/OpScanRightSpec.h"

namespace zel::vm {

core::TransformSpec OpScanRightSpec::Create(core::KeyPath const& input,
                                            std::shared_ptr<core::StoreValue> const& initial,
                                            std::shared_ptr<core::FunctionSpec> const& function,
                                            core::KeyPath const& output) {
    return CreateAggregate(core::OperatorType::ScanRight, input, initial, function, output);
}

}  // namespace zel::vm
