#pragma once

// Case: the control operator that picks one of several small programs by its first true condition
// and runs it, one transform after the other, against a store of its own.
//
// A run opens a private store, seeds it with the captured values (the case's inputs), evaluates
// the conditions of the When branches in order until one holds, runs that branch's transforms (or
// the Else list when none holds) in place against the store, and reads the case's outputs back out
// of it. A later transform of a branch sees what an earlier one wrote; nothing a branch writes is
// seen outside unless it is an output. A case nested in a branch opens a store of its own, seeded
// from the outer private store.
//
// The branch is chosen once a run, on whole values. Cancellation is noticed between the children
// and inside them; a cancelled run returns no outputs.

#include <memory>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/KeyPath.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// One When of a case: its program, in spec order, the arguments of its condition (keys read from
// the private store, literals as they stand), and the bound condition.
struct WhenBranch {
    std::vector<std::unique_ptr<Transform>> transforms;
    std::unique_ptr<CreatorValues> values;
    core::ZelMultinaryFunction<bool> condition;
};

class CaseTransform : public Transform {
public:
    // `inputs` are the captured keys, all that the branches may read from outside; `outputs` what
    // the case hands back, read from its store once the branch has run.
    static std::unique_ptr<CaseTransform> Make(std::vector<core::KeyPath> inputs,
                                               std::vector<WhenBranch> whenBranches,
                                               std::vector<std::unique_ptr<Transform>> elseTransforms,
                                               std::vector<core::KeyPath> outputs);

protected:
    CaseTransform() = default;
};

}  // namespace zel::vm
