#pragma once

#pragma GCC visibility push(default)

#include "zel/vm/vtl/OpPartitionSpec.h"

namespace zel::vm {

// A GroupBy spec; its view is OpPartitionSpec's.
class OpGroupBySpec : public OpPartitionSpec {
public:
    using OpPartitionSpec::OpPartitionSpec;

    static core::TransformSpec Create(core::KeyPath const& table,
                                      std::vector<core::KeyPath> const& partitionKeys,
                                      std::vector<core::KeyPath> const& capturedKeys,
                                      std::vector<core::TransformSpec>&& children,
                                      core::KeyPath const& output);
};

}  // namespace zel::vm

#pragma GCC visibility pop
