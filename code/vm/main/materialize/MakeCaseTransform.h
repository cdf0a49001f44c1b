#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpCaseSpec.h"

namespace zel::vm {

// The transform of a Case: each When's condition bound from the multinary registry by its name
// and the types of its arguments (a creator is refused with 126, a result other than bool with
// 125), each branch's program made through MakeTransform with the same lookups and options, NoOp
// children skipped.
std::unique_ptr<Transform> MakeCaseTransform(OpCaseSpec const& spec, core::IFunctionLookup const& functions,
                                             core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
