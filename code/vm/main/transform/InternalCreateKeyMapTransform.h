#pragma once

#include <memory>
#include <vector>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpInternalCreateKeyMapSpec.h"

namespace zel::vm {

// Gathers its inputs into one key map, each under the leaf of its key (of two inputs with one
// leaf, the first stays). The machine makes these to assemble a value that statements wrote in
// parts, so the inputs must lie directly under the output, or directly under the output's form
// under "~init" (KeyMapInputsInvalid otherwise).
class InternalCreateKeyMapTransform : public Transform {
public:
    static std::unique_ptr<InternalCreateKeyMapTransform> Make(OpInternalCreateKeyMapSpec const& spec);

protected:
    InternalCreateKeyMapTransform() = default;
};

// Whether every input lies one segment under `output`, or one segment under `output` put under
// "~init". No inputs pass.
bool SaneInputs(std::vector<core::KeyPath> const& inputs, core::KeyPath const& output);

}  // namespace zel::vm
