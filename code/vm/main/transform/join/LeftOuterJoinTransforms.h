#pragma once

#include <memory>
#include <vector>

#include "transform/join/JoinTransform.h"
#include "zel/core/store/StoreType.h"

namespace zel::vm {

// The left outer join: every matching pair of rows, in left row order, then every left row without
// a match, in left row order, with each right column special (of the missing kind, Null from a
// program) there. The right side always builds the index.
class LeftOuterJoinTransform : public JoinTransform {
public:
    TablePair JoinOnColumnPair(core::IStoreTable const& left, core::IStoreTable const& right,
                               ColumnPair const& pair,
                               std::span<TStringCore const> rightColumnsLeftOut = {}) const final;
    OperatorType GetOperatorType() const final { return OperatorType::LeftOuterJoin; }

protected:
    LeftOuterJoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output,
                           core::SpecialKind missingKind);

    core::SpecialKind GetMissingKind() const { return m_missingKind; }

private:
    core::SpecialKind m_missingKind;
};

// The left outer join over a hash index of the right side.
class HashLeftOuterJoinTransform final : public LeftOuterJoinTransform {
public:
    HashLeftOuterJoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output,
                               core::SpecialKind missingKind);

    join::RowMatches MatchRows(core::StoreValue const& leftColumn, core::StoreValue const& rightColumn,
                               std::vector<unsigned int>* unmatched) const override;
    std::unique_ptr<Transform> Clone() const override;
};

}  // namespace zel::vm
