#pragma once

#include <memory>

#include "transform/OutputTransform.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/vtl/OpOutputSpec.h"

namespace zel::vm {

// An Output: the multinary function that the statement names, for the types of its arguments,
// which must return nothing. A creator is refused (FunctionKindMismatch), and so is an entry with
// an output type (FunctionTypeMismatch), both with the function's name as text. The arguments are
// copied from the statement and read again on every run.
std::unique_ptr<OutputTransform> MakeOutputTransform(OpOutputSpec const& spec,
                                                     core::IFunctionLookup const& functions,
                                                     core::ITypeLookup const& types);

}  // namespace zel::vm
