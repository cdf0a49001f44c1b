#pragma once

#include <memory>
#include <vector>

#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/spec/ValueSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/vm/transform/TransformValues.h"

namespace zel::core {
class FunctionSpec;
}

namespace zel::vm {

// The argument list of a function that runs against a set of values: keys to read and constants
// to pass, in the order the function takes them. Read-only once made, so one list serves every
// run and every thread; a transform that owns one copies it when it is cloned.
class CreatorValues {
public:
    // The arguments that `spec` lists.
    explicit CreatorValues(core::FunctionSpec const& spec);
    // One argument: the value under `inputKey`, which must not be the empty path.
    explicit CreatorValues(core::KeyPath const& inputKey);

    // Appends the paths of the key arguments, in order; constants add nothing.
    void GetKeys(std::vector<core::KeyPath>& out) const;
    // One value per argument, in order: a key gives the value `values` hold under it, a constant
    // itself. This is what a bound function is called with.
    core::CreatorArguments GetValues(TransformValues const& values) const;

    std::vector<core::ValueSpec> const& GetSpecs() const noexcept { return m_specs; }

private:
    std::vector<core::ValueSpec> m_specs;
};

// A copy of `values`, or null for none: a transform that holds no list holds a null pointer.
inline std::unique_ptr<CreatorValues> CloneCreatorValues(CreatorValues const* values) {
    return values ? std::make_unique<CreatorValues>(*values) : nullptr;
}

}  // namespace zel::vm
