#pragma once

#include <memory>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpInnerJoinSpec.h"
#include "zel/vm/vtl/OpLeftOuterJoinSpec.h"

namespace zel::vm {

// The hash joins on the statement's column pairs and output; a left outer join pads with Null.
std::unique_ptr<Transform> MakeInnerJoinTransform(OpInnerJoinSpec const& spec);
std::unique_ptr<Transform> MakeLeftOuterJoinTransform(OpLeftOuterJoinSpec const& spec);

}  // namespace zel::vm
