#pragma once

#include <memory>

#include "zel/vm/transform/Transform.h"
#include "zel/vm/vtl/OpCreateTableSpec.h"

namespace zel::vm {

// Gathers arrays, and the columns of tables, into one new table. An array becomes a column named
// by the leaf of its key; a table's columns keep their names. Columns are shared, not copied. All
// columns must have one length (CreateTableFailure) and distinct names (DuplicateColumnName, whose
// text is the name); an input that is neither an array nor a table is CreateTableInputInvalid.
class CreateTableTransform : public Transform {
public:
    static std::unique_ptr<CreateTableTransform> Make(OpCreateTableSpec const& spec);

protected:
    CreateTableTransform() = default;
};

}  // namespace zel::vm
