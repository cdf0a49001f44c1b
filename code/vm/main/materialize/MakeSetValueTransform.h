#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpSetValueSpec.h"

namespace zel::vm {

// A SetValue: the unary function that the statement names, for the types of all its arguments, in
// the instance that the first argument's type and the function's output type select. A pair that
// SetValue does not serve is a ZelRuntimeException(UnsupportedTypes, "unsupported types in
// SetValue"); an entry without a regular form fails with SetValueFunctionMissing.
std::unique_ptr<Transform> MakeSetValueTransform(OpSetValueSpec const& spec,
                                                 core::IFunctionLookup const& functions,
                                                 core::ITypeLookup const& types);

}  // namespace zel::vm
