#pragma once

#include <memory>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpMultiSortSpec.h"

namespace zel::vm {

// Orders rows by key columns, each ascending or descending, with one stable pass per key and one
// gather at the end. The array form sorts its one array by itself (a constant array is returned as
// it is); the table form sorts the rows of the table among its inputs by the other inputs, leaving
// out constant keys, and returns the table itself when no key is left.
class MultiSortTransform : public Transform {
public:
    static std::unique_ptr<MultiSortTransform> Make(OpMultiSortSpec const& spec);

protected:
    MultiSortTransform() = default;
};

}  // namespace zel::vm
