#include "CompositeValues.h"

#include <algorithm>

#include <boost/container_hash/hash.hpp>

#include "StoreFailure.h"
#include "zel/core/store/MemoryUsage.h"

namespace zel::core {

namespace {

using Entry = StoreValueMap::value_type;

// Null values (possible in tuples) order first and equal each other.
int CompareNullable(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b) {
    if (!a || !b) {
        return a ? 1 : (b ? -1 : 0);
    }
    return a == b ? 0 : a->Compare(*b);
}

std::size_t HashNullable(std::shared_ptr<StoreValue> const& value) {
    return value ? value->Hash() : 0x9e37'79b9u;
}

std::vector<Entry const*> SortedEntries(StoreValueMap const& entries) {
    std::vector<Entry const*> sorted;
    sorted.reserve(entries.size());
    for (auto const& entry : entries) {
        sorted.push_back(&entry);
    }
    std::sort(sorted.begin(), sorted.end(),
              [](Entry const* a, Entry const* b) { return a->first < b->first; });
    return sorted;
}

// The heap block of a text's characters and terminator; a text in a region has none of its own.
std::size_t HeapTextBytes(TStringCore const& text) {
    return text.capacity() != 0 && text.region() == nullptr ? (text.capacity() + 1) * sizeof(wchar_t) : 0;
}

}  // namespace

std::vector<TStringCore> IStoreKeyMap::GetSortedNames() const {
    std::vector<TStringCore> names;
    names.reserve(GetEntries().size());
    for (auto const& [name, value] : GetEntries()) {
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Tuples

std::shared_ptr<StoreValue> const& TupleValue::GetElement(unsigned int index) const {
    if (index >= m_elements.size()) {
        ZEL_FAIL_WITH_TEXT(ZelError::RangeViolation, L"tuple element " + TStringCore(std::to_wstring(index)) +
                                                         L" of a tuple of " +
                                                         TStringCore(std::to_wstring(m_elements.size())));
    }
    return m_elements[index];
}

std::unique_ptr<StoreValue> TupleValue::Clone() const {
    return std::make_unique<TupleValue>(m_elements);
}

void TupleValue::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    if (!builder.AddBlock(this, sizeof(*this) + m_elements.capacity() * sizeof(m_elements[0]))) {
        return;
    }
    for (auto const& element : m_elements) {
        if (element) {
            element->CollectMemoryUsage(builder);
        }
    }
}

std::size_t TupleValue::Hash() const {
    std::size_t seed = static_cast<std::size_t>(StoreType::Tuple);
    for (auto const& element : m_elements) {
        boost::hash_combine(seed, HashNullable(element));
    }
    return seed;
}

bool TupleValue::Equals(StoreValue const& other) const {
    if (this == &other) {
        return true;
    }
    if (CompareTypeAndSpecial(*this, other) != 0) {
        return false;
    }
    auto const* tuple = dynamic_cast<TupleValue const*>(&other);
    return tuple != nullptr &&
           std::equal(m_elements.begin(), m_elements.end(), tuple->m_elements.begin(),
                      tuple->m_elements.end(), std::equal_to<std::shared_ptr<StoreValue>>());
}

int TupleValue::Compare(StoreValue const& other) const {
    if (int const order = CompareTypeAndSpecial(*this, other)) {
        return order;
    }
    auto const& elements = other.AsTuple().GetElements();
    std::size_t const common = std::min(m_elements.size(), elements.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (int const order = CompareNullable(m_elements[i], elements[i])) {
            return order;
        }
    }
    return m_elements.size() == elements.size() ? 0 : (m_elements.size() < elements.size() ? -1 : 1);
}

// Entries of key maps and tables

std::size_t HashEntries(StoreValueMap const& entries) {
    // Independent of the iteration order, which differs between equal maps.
    std::size_t sum = entries.size();
    for (auto const& [name, value] : entries) {
        std::size_t seed = hash_value(name);
        boost::hash_combine(seed, HashNullable(value));
        sum += seed;
    }
    return sum;
}

bool EqualEntries(StoreValueMap const& a, StoreValueMap const& b) {
    if (&a == &b) {
        return true;
    }
    if (a.size() != b.size()) {
        return false;
    }
    std::equal_to<std::shared_ptr<StoreValue>> const equal;
    for (auto const& [name, value] : a) {
        auto const found = b.find(name);
        if (found == b.end() || !equal(value, found->second)) {
            return false;
        }
    }
    return true;
}

int CompareEntries(StoreValueMap const& a, StoreValueMap const& b) {
    if (&a == &b) {
        return 0;
    }
    // Entries in name order, compared pairwise: name first, then value; a prefix orders first.
    auto const sortedA = SortedEntries(a);
    auto const sortedB = SortedEntries(b);
    std::size_t const common = std::min(sortedA.size(), sortedB.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (sortedA[i]->first != sortedB[i]->first) {
            return sortedA[i]->first < sortedB[i]->first ? -1 : 1;
        }
        if (int const order = CompareNullable(sortedA[i]->second, sortedB[i]->second)) {
            return order;
        }
    }
    return sortedA.size() == sortedB.size() ? 0 : (sortedA.size() < sortedB.size() ? -1 : 1);
}

void CollectEntriesMemoryUsage(StoreValueMap const& entries, MemoryUsageBuilder& builder) {
    for (auto const& [name, value] : entries) {
        if (value) {
            value->CollectMemoryUsage(builder);
        }
    }
}

std::size_t EntriesBytes(StoreValueMap const& entries) {
    // Buckets plus one node per entry (the entry and the link), plus key texts on the heap.
    std::size_t bytes =
        entries.bucket_count() * sizeof(void*) + entries.size() * (sizeof(Entry) + sizeof(void*));
    for (auto const& entry : entries) {
        bytes += HeapTextBytes(entry.first);
    }
    return bytes;
}

// Key maps

KeyMapValue::KeyMapValue(StoreValueMap entries) : m_entries(std::move(entries)) {}

std::shared_ptr<StoreValue> KeyMapValue::Find(TStringCore const& name) const {
    auto const found = m_entries.find(name);
    return found == m_entries.end() ? nullptr : found->second;
}

std::unique_ptr<StoreValue> KeyMapValue::Clone() const {
    return std::make_unique<KeyMapValue>(m_entries);
}

void KeyMapValue::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    if (builder.AddBlock(this, sizeof(*this) + EntriesBytes(m_entries))) {
        CollectEntriesMemoryUsage(m_entries, builder);
    }
}

bool KeyMapValue::Equals(StoreValue const& other) const {
    if (this == &other) {
        return true;
    }
    return CompareTypeAndSpecial(*this, other) == 0 && EqualEntries(m_entries, other.AsKeyMap().GetEntries());
}

int KeyMapValue::Compare(StoreValue const& other) const {
    if (int const order = CompareTypeAndSpecial(*this, other)) {
        return order;
    }
    return CompareEntries(m_entries, other.AsKeyMap().GetEntries());
}

void KeyMapValue::SetEntryInPlace(TStringCore const& name, std::shared_ptr<StoreValue> value) {
    m_entries.insert_or_assign(name, std::move(value));
}

}  // namespace zel::core
