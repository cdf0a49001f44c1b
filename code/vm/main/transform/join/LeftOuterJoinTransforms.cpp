#include "transform/join/LeftOuterJoinTransforms.h"

#include <algorithm>
#include <utility>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

using Value = std::shared_ptr<core::StoreValue>;

LeftOuterJoinTransform::LeftOuterJoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output,
                                               core::SpecialKind missingKind)
    : JoinTransform(std::move(columnPairs), std::move(output)), m_missingKind(missingKind) {}

JoinTransform::TablePair LeftOuterJoinTransform::JoinOnColumnPair(
    core::IStoreTable const& left, core::IStoreTable const& right, ColumnPair const& pair,
    std::span<TStringCore const> rightColumnsLeftOut) const {
    auto const [leftColumn, rightColumn] = FetchKeyColumns(left, right, pair);
    core::StoreTypeInfo const& input1Type = leftColumn->GetValueTypeInfo();
    core::StoreTypeInfo const& input2Type = rightColumn->GetValueTypeInfo();
    ZEL_CHECK(input1Type == input2Type, core::ZelError::JoinTypeMismatch);
    std::vector<unsigned int> unmatched;
    auto [leftRows, rightRows] = MatchRows(*leftColumn, *rightColumn, &unmatched);
    auto const matched = static_cast<unsigned int>(rightRows.size());
    auto const missing = static_cast<unsigned int>(unmatched.size());
    leftRows.insert(leftRows.end(), unmatched.begin(), unmatched.end());
    Value const gatheredLeft =
        left.GatherRows(std::make_shared<std::vector<unsigned int>>(std::move(leftRows)));

    // Each right column is gathered and padded in one step: the column with one element of the
    // missing kind after it, read at the matched rows and then at that element once for each
    // unmatched left row. This is the gathered right table followed by a table of missing rows.
    core::StoreValueMap columns;
    for (auto const& [name, column] : right.GetColumns()) {
        if (std::find(rightColumnsLeftOut.begin(), rightColumnsLeftOut.end(), name) !=
            rightColumnsLeftOut.end()) {
            continue;
        }
        auto rows = std::make_unique<std::vector<unsigned int>>();
        rows->reserve(static_cast<std::size_t>(matched) + missing);
        rows->assign(rightRows.begin(), rightRows.end());
        rows->resize(static_cast<std::size_t>(matched) + missing, column->GetCount());
        Value const filler = core::MakeConstantArray(column->GetValueTypeInfo(), 1, m_missingKind);
        columns.emplace(name, core::ConcatenateArrays({column, filler}, std::move(rows)));
    }
    return {gatheredLeft, core::factory::MakeTable(std::move(columns))};
}

HashLeftOuterJoinTransform::HashLeftOuterJoinTransform(std::vector<ColumnPair> columnPairs,
                                                       core::KeyPath output, core::SpecialKind missingKind)
    : LeftOuterJoinTransform(std::move(columnPairs), std::move(output), missingKind) {}

join::RowMatches HashLeftOuterJoinTransform::MatchRows(core::StoreValue const& leftColumn,
                                                       core::StoreValue const& rightColumn,
                                                       std::vector<unsigned int>* unmatched) const {
    return join::MatchRowsByHash(leftColumn, rightColumn, join::BuildSide::Right, unmatched);
}

std::unique_ptr<Transform> HashLeftOuterJoinTransform::Clone() const {
    return std::make_unique<HashLeftOuterJoinTransform>(GetColumnPairs(), GetOutput(), GetMissingKind());
}

}  // namespace zel::vm
