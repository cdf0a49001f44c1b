#pragma once

#pragma GCC visibility push(default)

#include <utility>
#include <vector>

#include "zel/core/spec/OperatorType.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm {

// An equi-join of two tables. The inputs are, for each pair of join columns, the left column then
// the right one, followed by the left table and the right table (the parents of the first pair).
class OpInnerJoinSpec {
public:
    // Checks: at least four inputs (226), one output (219).
    explicit OpInnerJoinSpec(core::TransformSpec const& spec);
    // A view keeps a reference to its TransformSpec, which must outlive it: no temporaries.
    OpInnerJoinSpec(core::TransformSpec&&) = delete;

    // The (left, right) column pairs, without the two tables behind them.
    std::vector<std::pair<core::KeyPath, core::KeyPath>> GetEquiJoinColumns() const;
    core::KeyPath const& GetOutput() const { return m_spec.GetOutputs()[0]; }

    static core::TransformSpec Create(core::KeyPath const& leftKey, core::KeyPath const& rightKey,
                                      core::KeyPath const& output);
    // At least one pair (226).
    static core::TransformSpec Create(std::vector<std::pair<core::KeyPath, core::KeyPath>> columns,
                                      core::KeyPath const& output);

protected:
    static core::TransformSpec CreateJoin(core::OperatorType type,
                                          std::vector<std::pair<core::KeyPath, core::KeyPath>> const& columns,
                                          core::KeyPath const& output);

private:
    core::TransformSpec const& m_spec;
};

}  // namespace zel::vm

#pragma GCC visibility pop
