#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpSetValueMultiSpec.h"

namespace zel::vm {

// A SetValueMulti: the multinary function that the statement names, for the types of its
// arguments, in the instance of its output type. A creator is refused (FunctionKindMismatch),
// and so is an entry whose output type the instance does not serve (FunctionTypeMismatch), both
// with the function's name as text.
std::unique_ptr<Transform> MakeSetValueMultiTransform(OpSetValueMultiSpec const& spec,
                                                      core::IFunctionLookup const& functions,
                                                      core::ITypeLookup const& types);

}  // namespace zel::vm
