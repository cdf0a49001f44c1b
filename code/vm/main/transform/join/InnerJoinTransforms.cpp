#include "transform/join/InnerJoinTransforms.h"

#include <utility>

#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

using Value = std::shared_ptr<core::StoreValue>;

JoinTransform::TablePair InnerJoinTransform::JoinOnColumnPair(
    core::IStoreTable const& left, core::IStoreTable const& right, ColumnPair const& pair,
    std::span<TStringCore const> rightColumnsLeftOut) const {
    auto const [leftColumn, rightColumn] = FetchKeyColumns(left, right, pair);
    core::StoreTypeInfo const& input1Type = leftColumn->GetValueTypeInfo();
    core::StoreTypeInfo const& input2Type = rightColumn->GetValueTypeInfo();
    ZEL_CHECK(input1Type == input2Type, core::ZelError::JoinTypeMismatch);
    auto [leftRows, rightRows] = MatchRows(*leftColumn, *rightColumn, nullptr);
    Value const gatheredLeft =
        left.GatherRows(std::make_shared<std::vector<unsigned int>>(std::move(leftRows)));
    auto const rightRowList = std::make_shared<std::vector<unsigned int>>(std::move(rightRows));
    if (rightColumnsLeftOut.empty()) {
        return {gatheredLeft, right.GatherRows(rightRowList)};
    }
    return {gatheredLeft, WithoutColumns(right, rightColumnsLeftOut)->AsTable().GatherRows(rightRowList)};
}

HashInnerJoinTransform::HashInnerJoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output)
    : InnerJoinTransform(std::move(columnPairs), std::move(output)) {}

join::RowMatches HashInnerJoinTransform::MatchRows(core::StoreValue const& leftColumn,
                                                   core::StoreValue const& rightColumn,
                                                   std::vector<unsigned int>* unmatched) const {
    return join::MatchRowsByHash(leftColumn, rightColumn, join::BuildSide::Smaller, unmatched);
}

std::unique_ptr<Transform> HashInnerJoinTransform::Clone() const {
    return std::make_unique<HashInnerJoinTransform>(GetColumnPairs(), GetOutput());
}

}  // namespace zel::vm
