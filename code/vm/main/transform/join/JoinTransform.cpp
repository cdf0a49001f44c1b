#include "transform/join/JoinTransform.h"

#include <algorithm>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelLog.h"

namespace zel::vm {

using Value = std::shared_ptr<core::StoreValue>;

JoinTransform::JoinTransform(std::vector<ColumnPair> columnPairs, core::KeyPath output)
    : m_columnPairs(std::move(columnPairs)), m_output(std::move(output)) {
    ZEL_CHECK_LOGIC_EXACT(!(m_columnPairs).empty(), core::ZelError::LogicFailure);
    m_leftTable = m_columnPairs.front().first.GetParent();
    m_rightTable = m_columnPairs.front().second.GetParent();
}

TransformValues JoinTransform::DoTransform(TransformValues const& inputs,
                                           ICancellationTokenSource const*) const {
    Value left = inputs.GetValue(m_leftTable);
    Value right = inputs.GetValue(m_rightTable);
    for (std::size_t i = 0; i < m_columnPairs.size(); ++i) {
        // The last pair leaves out the right key columns that the merge would drop: a right key
        // named like a left column. Earlier pairs keep them, as a later pair may read them.
        std::vector<TStringCore> leftOut;
        if (i + 1 == m_columnPairs.size()) {
            for (auto const& pair : m_columnPairs) {
                TStringCore const& name = pair.second.GetLeaf();
                if (left->AsTable().FindColumn(name) != nullptr &&
                    std::find(leftOut.begin(), leftOut.end(), name) == leftOut.end()) {
                    leftOut.push_back(name);
                }
            }
        }
        std::tie(left, right) =
            JoinOnColumnPair(left->AsTable(), right->AsTable(), m_columnPairs[i], leftOut);
    }
    TransformValues outputs;
    outputs.SetValue(m_output, Merge(left->AsTable(), right->AsTable()));
    return outputs;
}

Value JoinTransform::Merge(core::IStoreTable const& left, core::IStoreTable const& right) const {
    std::unique_ptr<core::StoreValueMap> columns = left.CloneColumns();
    boost::container::small_vector<TStringCore, 4> rightKeys;
    rightKeys.reserve(m_columnPairs.size());
    for (auto const& pair : m_columnPairs) {
        rightKeys.push_back(pair.second.GetLeaf());
    }
    for (auto const& [name, column] : right.GetColumns()) {
        if (columns->try_emplace(name, column).second) {
            continue;
        }
        if (std::find(rightKeys.begin(), rightKeys.end(), name) == rightKeys.end()) {
            if (core::GetZelLogger().AcceptsLogLevel(core::ZelLogLevel::Warning)) {
                core::ZelLog(core::ZelLogLevel::Warning,
                             L"Found column " + name + L" in both sides of a join, but not as a key.");
            }
            ZEL_FAIL(core::ZelError::JoinFailure);
        }
    }
    return core::factory::MakeTable(std::move(columns));
}

std::pair<Value, Value> JoinTransform::FetchKeyColumns(core::IStoreTable const& left,
                                                       core::IStoreTable const& right,
                                                       ColumnPair const& pair) {
    return {left.GetColumn(pair.first.GetLeaf()), right.GetColumn(pair.second.GetLeaf())};
}

Value JoinTransform::WithoutColumns(core::IStoreTable const& table, std::span<TStringCore const> names) {
    auto columns = table.CloneColumns();
    for (TStringCore const& name : names) {
        columns->erase(name);
    }
    return core::factory::MakeTable(std::move(columns));
}

}  // namespace zel::vm
