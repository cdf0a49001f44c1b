#include "zel/vm/vtl/OpApplyByPartitionSpec.h"

namespace zel::vm {

core::TransformSpec OpApplyByPartitionSpec::Create(core::KeyPath const& table,
                                                   std::vector<core::KeyPath> const& partitionKeys,
                                                   std::vector<core::KeyPath> const& capturedKeys,
                                                   std::vector<core::TransformSpec>&& children,
                                                   core::KeyPath const& output) {
    return CreatePartition(core::OperatorType::ApplyByPartition, table, partitionKeys, capturedKeys,
                           std::move(children), output);
}

}  // namespace zel::vm
