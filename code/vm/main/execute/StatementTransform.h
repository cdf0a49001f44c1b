#pragma once

#include <memory>

#include "zel/core/spec/TransformSpec.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// The transform of one statement, which names the statement in every failure of its run: a node
// runs it in place of the transform that the maker made, and it passes every call through.
std::unique_ptr<Transform> MakeStatementTransform(std::unique_ptr<Transform> transform,
                                                  core::TransformSpec const& spec);

}  // namespace zel::vm
