#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpMapSpec.h"

namespace zel::vm {

// The transform of a Map: the function of the TransformSpec's name for the element type of the input
// column, bound from the unary registry, in the instance that the input's element type and the
// function's output type select. A pair that Map does not serve is a
// ZelRuntimeException(UnsupportedTypes, "unsupported types in Map").
std::unique_ptr<Transform> MakeMapTransform(OpMapSpec const& spec, core::IFunctionLookup const& functions,
                                            core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
