#pragma once

#include <memory>

#include "zel/core/store/TypeLookup.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpConstantSpec.h"

namespace zel::vm {

// Broadcasts one value, a literal or the value under a key, to a constant array as long as the
// input (a table's rows, any other value's count). The array holds the value once, whatever its
// length. A special value gives an array of that special.
class ConstantTransform : public Transform {
public:
    // The instance of the storage type of the element: the literal's type, or the type that
    // `types` report for the key. A type without primitive storage (a tuple, a collection) fails
    // with UnsupportedTypes.
    static std::unique_ptr<Transform> Make(OpConstantSpec const& spec, core::ITypeLookup const& types);

protected:
    ConstantTransform() = default;
};

}  // namespace zel::vm
