#pragma once

#pragma GCC visibility push(default)

#include <cstdint>
#include <vector>

#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// The shared view of GroupBy and ApplyByPartition: a table (input 0), the partition keys that lie
// under it (the contiguous run of inputs behind it), the captured keys (the rest), one output, no
// function, and the per-partition program as children. OpGroupBySpec and OpApplyByPartitionSpec
// build the specs.
class OpPartitionSpec {
public:
    // Checks: at least one input (223), partition keys contiguous behind the table (229), one output
    // (219), no function (244).
    explicit OpPartitionSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpPartitionSpec(core::TransformSpec&&) = delete;

    core::KeyPath const& GetInputTable() const { return m_spec.GetInputs()[0]; }
    std::vector<core::KeyPath> const& GetAllInputs() const { return m_spec.GetInputs(); }
    std::vector<core::KeyPath> GetPartitionKeys() const;
    std::vector<core::KeyPath> GetCapturedKeys() const;
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }
    std::vector<core::TransformSpec> const& GetChildTransforms() const { return m_spec.GetChildTransforms(); }
    core::TransformSpec const& GetTransformSpec() const { return m_spec; }

protected:
    static core::TransformSpec CreatePartition(core::OperatorType type, core::KeyPath const& table,
                                               std::vector<core::KeyPath> const& partitionKeys,
                                               std::vector<core::KeyPath> const& capturedKeys,
                                               std::vector<core::TransformSpec>&& children,
                                               core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
    std::uint32_t m_partitionKeyCount;
};

}  // namespace zel::vm

#pragma GCC visibility pop
