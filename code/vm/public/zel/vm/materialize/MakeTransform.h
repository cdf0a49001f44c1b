#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// The transform of one TransformSpec: its operator's view checks it, and the operator's maker picks
// the instance from the types that `types` reports. Keeps none of its arguments.
std::unique_ptr<Transform> MakeTransform(core::TransformSpec const& spec,
                                         core::IFunctionLookup const& functions,
                                         core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm

#pragma GCC visibility pop
