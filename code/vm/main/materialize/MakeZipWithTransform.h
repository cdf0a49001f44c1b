#pragma once

#include <memory>

#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/vm/execute/VMOptions.h"
#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpZipWithSpec.h"

namespace zel::vm {

// The transform of a ZipWith: the function of the TransformSpec's name for the element types of
// the two input columns, bound from the binary registry, in the instance that those types and the
// function's output type select. A triple that ZipWith does not serve is a
// ZelRuntimeException(UnsupportedTypes, "unsupported types in ZipWith").
std::unique_ptr<Transform> MakeZipWithTransform(OpZipWithSpec const& spec,
                                                core::IFunctionLookup const& functions,
                                                core::ITypeLookup const& types, VMOptions const& options);

}  // namespace zel::vm
