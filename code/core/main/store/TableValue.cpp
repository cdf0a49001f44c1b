#include <algorithm>

#include <boost/container_hash/hash.hpp>

#include "CompositeValues.h"
#include "StoreFailure.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::core {

namespace {

TStringCore Quoted(TStringCore const& name) {
    return L"\"" + name + L"\"";
}

TStringCore Number(std::size_t value) {
    return TStringCore(std::to_wstring(value));
}

}  // namespace

std::shared_ptr<StoreValue> const& TableValue::GetColumn(TStringCore const& name) const {
    auto const found = m_columns.find(name);
    if (found == m_columns.end()) {
        ZEL_FAIL_WITH_TEXT(ZelError::KeyNotFound, L"the table has no column " + Quoted(name));
    }
    return found->second;
}

std::shared_ptr<StoreValue> TableValue::FindColumn(TStringCore const& name) const {
    auto const found = m_columns.find(name);
    return found == m_columns.end() ? nullptr : found->second;
}

std::unique_ptr<StoreValueMap> TableValue::CloneColumns() const {
    return std::make_unique<StoreValueMap>(m_columns);
}

std::shared_ptr<StoreValue> TableValue::GatherRows(std::shared_ptr<std::vector<unsigned int>> rows) const {
    if (!rows) {
        ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument, L"GatherRows was given no row list");
    }
    if (m_columns.empty()) {
        // No column checks the rows, so check them here.
        for (unsigned int const row : *rows) {
            if (row >= m_rowCount) {
                ZEL_FAIL_WITH_TEXT(ZelError::RangeViolation, L"row " + Number(row) + L" of a table of " +
                                                                 Number(m_rowCount) + L" rows");
            }
        }
    }
    // One Gather per column: each moves its column in one pass, with no virtual call per row.
    StoreValueMap gathered;
    gathered.reserve(m_columns.size());
    for (auto const& [name, column] : m_columns) {
        gathered.emplace(name, column->AsArray().Gather(rows));
    }
    return std::make_shared<TableValue>(std::move(gathered), static_cast<unsigned int>(rows->size()));
}

std::unique_ptr<StoreValue> TableValue::Clone() const {
    return std::make_unique<TableValue>(m_columns, m_rowCount);
}

void TableValue::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    if (builder.AddBlock(this, sizeof(*this) + EntriesBytes(m_columns))) {
        CollectEntriesMemoryUsage(m_columns, builder);
    }
}

std::size_t TableValue::Hash() const {
    std::size_t seed = static_cast<std::size_t>(StoreType::Table);
    boost::hash_combine(seed, m_rowCount);
    boost::hash_combine(seed, HashEntries(m_columns));
    return seed;
}

bool TableValue::Equals(StoreValue const& other) const {
    if (this == &other) {
        return true;
    }
    return CompareTypeAndSpecial(*this, other) == 0 && other.AsTable().GetRowCount() == m_rowCount &&
           EqualEntries(m_columns, other.AsTable().GetColumns());
}

int TableValue::Compare(StoreValue const& other) const {
    if (int const order = CompareTypeAndSpecial(*this, other)) {
        return order;
    }
    unsigned int const rows = other.AsTable().GetRowCount();
    if (rows != m_rowCount) {
        return m_rowCount < rows ? -1 : 1;
    }
    return CompareEntries(m_columns, other.AsTable().GetColumns());
}

namespace factory {

std::shared_ptr<StoreValue> MakeTable(StoreValueMap&& columns) {
    // Names in order, so that the first offending column is the same on every run.
    std::vector<TStringCore> names;
    names.reserve(columns.size());
    for (auto const& [name, column] : columns) {
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());

    unsigned int rowCount = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto const& column = columns.at(names[i]);
        if (!column) {
            ZEL_FAIL_WITH_TEXT(ZelError::CreateTableInputInvalid,
                               L"table column " + Quoted(names[i]) + L" has no value");
        }
        if (column->IsSpecial() || column->GetStoreType() != StoreType::Array) {
            ZEL_FAIL_WITH_TEXT(ZelError::CreateTableInputInvalid,
                               L"table column " + Quoted(names[i]) + L" is a " +
                                   detail::DescribeType(*column) + L", not an array");
        }
        unsigned int const count = column->GetCount();
        if (i == 0) {
            rowCount = count;
        } else if (count != rowCount) {
            ZEL_FAIL_WITH_TEXT(ZelError::CreateTableRowCountMismatch,
                               L"table column " + Quoted(names[i]) + L" has " + Number(count) +
                                   L" rows but column " + Quoted(names[0]) + L" has " + Number(rowCount));
        }
    }
    return std::make_shared<TableValue>(std::move(columns), rowCount);
}

std::shared_ptr<StoreValue> MakeTable(std::unique_ptr<StoreValueMap> columns) {
    return MakeTable(columns ? std::move(*columns) : StoreValueMap());
}

}  // namespace factory

}  // namespace zel::core
