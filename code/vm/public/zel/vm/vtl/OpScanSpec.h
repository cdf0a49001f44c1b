#pragma once

#pragma GCC visibility push(default)

#include "zel/vm/vtl/OpAggregateSpec.h"

namespace zel::vm {

// A Scan spec; its view is OpAggregateSpec's.
class OpScanSpec : public OpAggregateSpec {
public:
    using OpAggregateSpec::OpAggregateSpec;

    static core::TransformSpec Create(core::KeyPath const& input,
                                      std::shared_ptr<core::StoreValue> const& initial,
                                      std::shared_ptr<core::FunctionSpec> const& function,
                                      core::KeyPath const& output);
};

}  // namespace zel::vm

#pragma GCC visibility pop
