#pragma once

#include <memory>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpCopySpec.h"

namespace zel::vm {

// Gives the input value to the output path: the value is shared, not copied, so a copy costs one
// reference count.
class CopyTransform : public Transform {
public:
    static std::unique_ptr<CopyTransform> Make(OpCopySpec const& spec);

protected:
    CopyTransform() = default;
};

}  // namespace zel::vm
