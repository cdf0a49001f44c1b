#pragma once

#include <memory>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpConcatSpec.h"

namespace zel::vm {

// Appends its inputs, earlier inputs first, into one value. A table first makes it a concatenation
// of tables (ConcatenateTables), anything else one of arrays or sets (ConcatenateArrays); the rules
// on matching columns and element types are those of the two library functions.
class ConcatTransform : public Transform {
public:
    static std::unique_ptr<ConcatTransform> Make(OpConcatSpec const& spec);

protected:
    ConcatTransform() = default;
};

}  // namespace zel::vm
