#pragma once

#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "transform/join/MatchRows.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

// An equi-join of two tables on one or more pairs of key columns. Each pair joins the tables that
// the pair before it left (the first pair joins the input tables): it matches every row of the
// current left against every row of the current right and gathers both sides by the matches. The
// final two tables are then merged into one: the left's columns, then the right's, where a right
// column that has the name of a left column is dropped when it is a right key, and is a
// JoinFailure otherwise.
class JoinTransform : public Transform {
public:
    using ColumnPair = std::pair<core::KeyPath, core::KeyPath>;
    using TablePair = std::pair<std::shared_ptr<core::StoreValue>, std::shared_ptr<core::StoreValue>>;

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const final;
    std::vector<core::KeyPath> GetInputPaths() const final { return {m_leftTable, m_rightTable}; }
    std::vector<core::KeyPath> GetOutputPaths() const final { return {m_output}; }

    // The left and right tables reduced to the matching rows of one pair, row for row. The right
    // columns named in `rightColumnsLeftOut` are not gathered: the merge would drop them.
    virtual TablePair JoinOnColumnPair(core::IStoreTable const& left, core::IStoreTable const& right,
                                       ColumnPair const& pair,
                                       std::span<TStringCore const> rightColumnsLeftOut = {}) const = 0;
    // The matching rows of two key columns (MatchRowsByHash); a left outer join also passes the
    // list that takes the left rows without a match.
    virtual join::RowMatches MatchRows(core::StoreValue const& leftColumn,
                                       core::StoreValue const& rightColumn,
                                       std::vector<unsigned int>* unmatched) const = 0;

protected:
    // Fails with LogicFailure when there is no pair.
    JoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output);

    std::vector<ColumnPair> const& GetColumnPairs() const { return m_columnPairs; }
    core::KeyPath const& GetOutput() const { return m_output; }

    // The left and right key columns of `pair`, by the leaves of its keys.
    static std::pair<std::shared_ptr<core::StoreValue>, std::shared_ptr<core::StoreValue>> FetchKeyColumns(
        core::IStoreTable const& left, core::IStoreTable const& right, ColumnPair const& pair);
    // `table` without the columns of `names`, sharing the rest.
    static std::shared_ptr<core::StoreValue> WithoutColumns(core::IStoreTable const& table,
                                                            std::span<TStringCore const> names);

private:
    std::shared_ptr<core::StoreValue> Merge(core::IStoreTable const& left,
                                            core::IStoreTable const& right) const;

    core::KeyPath m_leftTable;
    core::KeyPath m_rightTable;
    std::vector<ColumnPair> m_columnPairs;
    core::KeyPath m_output;
};

}  // namespace zel::vm
