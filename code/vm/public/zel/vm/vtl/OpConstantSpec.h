#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/StoreValue.h"

namespace zel::vm {

// Broadcasts one value over the rows of an input array: either a constant stored in the TransformSpec (one
// input), or the value read from a key (two inputs: the array, then the key).
class OpConstantSpec {
public:
    // Checks: one input with a constant, two without (255); one output (219).
    explicit OpConstantSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpConstantSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInputArray() const { return m_spec.GetInputs()[0]; }
    // Only when !GetIsConstant().
    core::KeyPath const& GetInputKey() const { return m_spec.GetInputs()[1]; }
    std::shared_ptr<core::StoreValue> const& GetConstant() const { return m_spec.GetValue(); }
    bool GetIsConstant() const { return m_spec.GetValue() != nullptr; }
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(core::KeyPath const& inputArray, core::KeyPath const& inputKey,
                                      core::KeyPath const& output);
    static core::TransformSpec Create(core::KeyPath const& inputArray,
                                      std::shared_ptr<core::StoreValue> const& constant,
                                      core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
