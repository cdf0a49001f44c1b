#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpPartitionSpec.h"

namespace zel::vm {

// The transform of a GroupBy (`type` GroupBy) or an ApplyByPartition. The children are made
// through MakeTransform with parallel transforms turned off, since the partitions take up the
// threads, and NoOp children are skipped; the partition's own strategy keeps the options as given.
std::unique_ptr<Transform> MakePartitionTransform(OpPartitionSpec const& spec, OperatorType type,
                                                  core::IFunctionLookup const& functions,
                                                  core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
