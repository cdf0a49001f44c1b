#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpAggregateSpec.h"

namespace zel::vm {

// The transform of a Reduce, Scan or ScanRight: the binary function of the TransformSpec's name for
// the pair (type of the initial value, element type of the input), bound from the binary registry,
// in the instance that the element type and the function's output type select. A pair that the
// aggregates do not serve is a ZelRuntimeException(UnsupportedTypes, "unsupported types in
// Aggregate").
std::unique_ptr<Transform> MakeAggregateTransform(OpAggregateSpec const& spec,
                                                  core::IFunctionLookup const& functions,
                                                  core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
