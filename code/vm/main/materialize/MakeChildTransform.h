#pragma once

// The transforms of a child program (the branches of a Case, the program of a partition), made
// through MakeTransform like any statement's and wrapped so that a failure of a child, while it
// is made or while it runs, names the child's own statement rather than only its parent's.

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// The transform of one child spec. A NoOp is refused here as by MakeTransform: callers skip it.
std::unique_ptr<Transform> MakeChildTransform(core::TransformSpec const& spec,
                                              core::IFunctionLookup const& functions,
                                              core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
