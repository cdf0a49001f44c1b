#pragma once

#include <memory>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpReturnSpec.h"

namespace zel::vm {

// Hands back the result of a program: one input is the value itself, shared; several become one
// key map of each value under the leaf of its key, the first of two equal leaves kept.
class ReturnTransform : public Transform {
public:
    static std::unique_ptr<ReturnTransform> Make(OpReturnSpec const& spec);

protected:
    ReturnTransform() = default;
};

}  // namespace zel::vm
