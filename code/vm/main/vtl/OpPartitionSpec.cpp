#include "zel/vm/vtl/OpPartitionSpec.h"

#include "vtl/SpecChecks.h"

namespace zel::vm {

namespace {

// How many inputs behind the table lie under it. They must come as one run: an input under the
// table after one that is not would be read as a captured key.
std::uint32_t CountPartitionKeys(std::vector<core::KeyPath> const& inputs) {
    ZEL_CHECK_EXACT((inputs).size() >= 1, ZelError::SpecError223);
    core::KeyPath const& table = inputs[0];
    std::uint32_t count = 0;
    bool foundNonPartition = false;
    for (std::size_t i = 1; i < inputs.size(); ++i) {
        bool const isPartitionKey = table.IsPrefixOf(inputs[i]);
        ZEL_CHECK_EXACT(!(isPartitionKey && foundNonPartition), ZelError::SpecError229);
        if (isPartitionKey) {
            ++count;
        } else {
            foundNonPartition = true;
        }
    }
    return count;
}

}  // namespace

OpPartitionSpec::OpPartitionSpec(core::TransformSpec const& spec)
    : m_spec(spec), m_partitionKeyCount(CountPartitionKeys(spec.GetInputs())) {
    VTL_CHECK_ONE_OUTPUT();
    VTL_CHECK_NO_FUNCTION();
}

std::vector<core::KeyPath> OpPartitionSpec::GetPartitionKeys() const {
    auto const first = m_spec.GetInputs().begin() + 1;
    return {first, first + m_partitionKeyCount};
}

std::vector<core::KeyPath> OpPartitionSpec::GetCapturedKeys() const {
    return {m_spec.GetInputs().begin() + 1 + m_partitionKeyCount, m_spec.GetInputs().end()};
}

core::TransformSpec OpPartitionSpec::CreatePartition(core::OperatorType type, core::KeyPath const& table,
                                                     std::vector<core::KeyPath> const& partitionKeys,
                                                     std::vector<core::KeyPath> const& capturedKeys,
                                                     std::vector<core::TransformSpec>&& children,
                                                     core::KeyPath const& output) {
    std::vector<core::KeyPath> inputs;
    inputs.reserve(1 + partitionKeys.size() + capturedKeys.size());
    inputs.push_back(table);
    inputs.insert(inputs.end(), partitionKeys.begin(), partitionKeys.end());
    inputs.insert(inputs.end(), capturedKeys.begin(), capturedKeys.end());
    return core::TransformSpec(type, inputs, output, std::move(children));
}

}  // namespace zel::vm
