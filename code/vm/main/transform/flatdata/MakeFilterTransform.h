#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpFilterSpec.h"

namespace zel::vm {

// The transform of a Filter: the predicate of the TransformSpec's name for the element type of the
// input column, bound from the unary registry, in the instance that the element type selects. A
// type that Filter does not serve is a ZelRuntimeException(UnsupportedTypes, "unsupported types in
// Filter").
std::unique_ptr<Transform> MakeFilterTransform(OpFilterSpec const& spec,
                                               core::IFunctionLookup const& functions,
                                               core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
