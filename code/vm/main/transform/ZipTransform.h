#pragma once

// Zip: two or more columns into one column of tuples, without a function. Row i of the result is
// a Tuple of row i of each input, in input order, each element the row's value as a store value
// (a special row as the special value that its array gives for it).
//
// The two classes differ in one rule, which is kept on purpose: ZipTransform (exactly two inputs)
// makes as many rows as the shorter input has, ZipNTransform (any other number) as many as the
// longest has, so that a ZipN of columns of unlike length reads past the end of a shorter one and
// fails there with the array's own error.
//
// Both make one tuple and one store value per input for every row. All-constant inputs give a
// constant column of one tuple. Neither has a range form.

#include <memory>
#include <vector>

#include "zel/core/store/KeyPath.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

class ZipTransform : public Transform {
public:
    static std::unique_ptr<ZipTransform> Make(core::KeyPath input1, core::KeyPath input2,
                                              core::KeyPath output,
                                              std::unique_ptr<IExecutionStrategy> strategy);

protected:
    ZipTransform() = default;
};

class ZipNTransform : public Transform {
public:
    static std::unique_ptr<ZipNTransform> Make(std::vector<core::KeyPath> inputs, core::KeyPath output,
                                               std::unique_ptr<IExecutionStrategy> strategy);

protected:
    ZipNTransform() = default;
};

}  // namespace zel::vm
