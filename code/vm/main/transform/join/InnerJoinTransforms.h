#pragma once

#include <memory>
#include <vector>

#include "transform/join/JoinTransform.h"

namespace zel::vm {

// The inner join: the rows of both sides whose keys match, in the probe side's row order. The
// side with fewer rows builds the index (the left on a tie), so the right's order rules when the
// left is not the larger.
class InnerJoinTransform : public JoinTransform {
public:
    TablePair JoinOnColumnPair(core::IStoreTable const& left, core::IStoreTable const& right,
                               ColumnPair const& pair,
                               std::span<TStringCore const> rightColumnsLeftOut = {}) const final;
    OperatorType GetOperatorType() const final { return OperatorType::InnerJoin; }

protected:
    using JoinTransform::JoinTransform;
};

// The inner join over a hash index of the build side.
class HashInnerJoinTransform final : public InnerJoinTransform {
public:
    HashInnerJoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output);

    join::RowMatches MatchRows(core::StoreValue const& leftColumn, core::StoreValue const& rightColumn,
                               std::vector<unsigned int>* unmatched) const override;
    std::unique_ptr<Transform> Clone() const override;
};

}  // namespace zel::vm
