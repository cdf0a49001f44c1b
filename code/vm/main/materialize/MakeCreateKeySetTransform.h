#pragma once

#include <memory>

#include "zel/core/store/TypeLookup.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpCreateKeySetSpec.h"

namespace zel::vm {

// A CreateKeySet in the instance of the storage types of its key and value elements. Both inputs
// must be typed as arrays (KeySetNeedsArrays); an element type that a key set cannot hold is a
// ZelRuntimeException(KeySetKeyTypeUnsupported), keys and values alike.
std::unique_ptr<Transform> MakeCreateKeySetTransform(OpCreateKeySetSpec const& spec,
                                                     core::ITypeLookup const& types);

}  // namespace zel::vm
