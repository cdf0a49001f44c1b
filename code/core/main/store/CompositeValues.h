#pragma once

// Tuples, key maps and tables: values made of other values, which they share (values are
// immutable, so a copy of a key map copies pointers, never the values below).

#include <memory>
#include <vector>

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core {

class TupleValue final : public StoreValue, public IStoreTuple {
public:
    explicit TupleValue(std::vector<std::shared_ptr<StoreValue>> elements)
        : m_elements(std::move(elements)) {}

    StoreTypeInfo const& GetTypeInfo() const override { return StoreTypeInfo::Tuple; }
    unsigned int GetCount() const override { return static_cast<unsigned int>(m_elements.size()); }
    IStoreTuple const& AsTuple() const override { return *this; }

    std::vector<std::shared_ptr<StoreValue>> const& GetElements() const override { return m_elements; }
    std::shared_ptr<StoreValue> const& GetElement(unsigned int index) const override;

    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;

private:
    std::vector<std::shared_ptr<StoreValue>> const m_elements;
};

// Shared by key maps and tables: hash, equality and order of a name-to-value map by value.
std::size_t HashEntries(StoreValueMap const& entries);
bool EqualEntries(StoreValueMap const& a, StoreValueMap const& b);
int CompareEntries(StoreValueMap const& a, StoreValueMap const& b);
void CollectEntriesMemoryUsage(StoreValueMap const& entries, MemoryUsageBuilder& builder);
// The heap bytes of the map itself (buckets, nodes, key texts), not of its values.
std::size_t EntriesBytes(StoreValueMap const& entries);

class KeyMapValue final : public StoreValue, public IStoreKeyMap, public IMemberLookup {
public:
    explicit KeyMapValue(StoreValueMap entries);

    StoreTypeInfo const& GetTypeInfo() const override { return StoreTypeInfo::KeyMap; }
    unsigned int GetCount() const override { return static_cast<unsigned int>(m_entries.size()); }
    IStoreKeyMap const& AsKeyMap() const override { return *this; }
    IMemberLookup const& AsMemberLookup() const override { return *this; }

    StoreValueMap const& GetEntries() const override { return m_entries; }
    std::shared_ptr<StoreValue> Find(TStringCore const& name) const override;
    std::shared_ptr<StoreValue> GetMember(TStringCore const& name) const override { return Find(name); }

    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override { return HashEntries(m_entries); }
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;

    // Only for a data store that holds the one reference to this key map (so no one else can
    // observe the change): sets or replaces one entry in place.
    void SetEntryInPlace(TStringCore const& name, std::shared_ptr<StoreValue> value);

private:
    StoreValueMap m_entries;
};

class TableValue final : public StoreValue, public IStoreTable, public IStoreKeyMap, public IMemberLookup {
public:
    // The columns have been checked (MakeTable): all arrays of rowCount elements.
    TableValue(StoreValueMap columns, unsigned int rowCount)
        : m_columns(std::move(columns)), m_rowCount(rowCount) {}

    StoreTypeInfo const& GetTypeInfo() const override { return StoreTypeInfo::Table; }
    unsigned int GetCount() const override { return m_rowCount; }
    IStoreTable const& AsTable() const override { return *this; }
    IStoreKeyMap const& AsKeyMap() const override { return *this; }
    IMemberLookup const& AsMemberLookup() const override { return *this; }

    unsigned int GetRowCount() const override { return m_rowCount; }
    std::shared_ptr<StoreValue> const& GetColumn(TStringCore const& name) const override;
    std::shared_ptr<StoreValue> FindColumn(TStringCore const& name) const override;
    StoreValueMap const& GetColumns() const override { return m_columns; }
    std::unique_ptr<StoreValueMap> CloneColumns() const override;
    std::shared_ptr<StoreValue> GatherRows(std::shared_ptr<std::vector<unsigned int>> rows) const override;

    StoreValueMap const& GetEntries() const override { return m_columns; }
    std::shared_ptr<StoreValue> Find(TStringCore const& name) const override { return FindColumn(name); }
    std::shared_ptr<StoreValue> GetMember(TStringCore const& name) const override { return FindColumn(name); }

    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;

private:
    StoreValueMap const m_columns;
    unsigned int const m_rowCount;
};

}  // namespace zel::core
