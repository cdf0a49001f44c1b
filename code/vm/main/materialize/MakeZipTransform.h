#pragma once

#include <memory>

#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpZipSpec.h"

namespace zel::vm {

// The transform of a Zip: a ZipTransform for exactly two inputs, a ZipNTransform for any other
// number.
std::unique_ptr<Transform> MakeZipTransform(OpZipSpec const& spec, VMOptions const& options);

}  // namespace zel::vm
