#include "transform/PartitionStarts.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreTypeDispatcher.h"

namespace zel::vm {

namespace {

using core::SpecialKind;

// Rows compared in one pass over all key columns: small enough for the values of a block to stay
// in cache between the columns.
constexpr unsigned int c_blockRows = 4096;

// One key column. MarkChanges raises changed[i] when row `first + i` differs from the row before
// it, for `count` rows; `first` is at least 1.
class KeyColumn {
public:
    virtual ~KeyColumn() = default;
    virtual void MarkChanges(unsigned int first, unsigned int count, unsigned char* changed) = 0;
};

// Numbers: equal rows hold equal bits, so a block is two spans (values and specials) and a loop.
template <class T>
class NumberKeyColumn final : public KeyColumn {
public:
    explicit NumberKeyColumn(core::ITypedArray<T> const& column)
        : m_column(column), m_hasSpecials(column.HasSpecialValues()) {}

    void MarkChanges(unsigned int first, unsigned int count, unsigned char* changed) override {
        core::ArrayView<T> const values = m_column.GetValuesBlock(m_values, first - 1, count + 1);
        T const* v = values.data();
        if (!m_hasSpecials) {
            for (unsigned int i = 0; i < count; ++i) {
                changed[i] |= static_cast<unsigned char>(v[i + 1] != v[i]);
            }
            return;
        }
        core::ArrayView<SpecialKind> const specials =
            m_column.GetSpecialsBlock(m_specials, first - 1, count + 1);
        SpecialKind const* s = specials.data();
        for (unsigned int i = 0; i < count; ++i) {
            // A special equals only a special of its kind; a special slot's value is a fill.
            bool const differs = s[i + 1] != s[i] || (s[i + 1] == SpecialKind::None && v[i + 1] != v[i]);
            changed[i] |= static_cast<unsigned char>(differs);
        }
    }

private:
    core::ITypedArray<T> const& m_column;
    bool const m_hasSpecials;
    std::vector<T> m_values;
    std::vector<SpecialKind> m_specials;
};

// Strings and nested values: the column's own equality, under its collation or by value.
class ElementKeyColumn final : public KeyColumn {
public:
    explicit ElementKeyColumn(core::IStoreArrayOps const& column) : m_column(column) {}

    void MarkChanges(unsigned int first, unsigned int count, unsigned char* changed) override {
        for (unsigned int i = 0; i < count; ++i) {
            unsigned int const row = first + i;
            if (changed[i] == 0 && !m_column.AreElementsEqual(row, row - 1)) {
                changed[i] = 1;
            }
        }
    }

private:
    core::IStoreArrayOps const& m_column;
};

std::unique_ptr<KeyColumn> MakeKeyColumn(core::StoreValue const& column) {
    auto const storage = core::GetStorageType(column.AsCollection().GetElementTypeInfo().GetStoreType());
    if (storage) {
        switch (*storage) {
            case core::StorageType::UInt8:
                return std::make_unique<NumberKeyColumn<unsigned char>>(column.AsTypedArray<unsigned char>());
            case core::StorageType::UInt32:
                return std::make_unique<NumberKeyColumn<unsigned int>>(column.AsTypedArray<unsigned int>());
            case core::StorageType::UInt64:
                return std::make_unique<NumberKeyColumn<unsigned long long>>(
                    column.AsTypedArray<unsigned long long>());
            default:
                break;
        }
    }
    return std::make_unique<ElementKeyColumn>(column.AsArray());
}

// Appends first + i for every raised changed[i]. Most bytes are 0 when partitions are long, so
// eight of them are tested at once.
void CollectStarts(unsigned char const* changed, unsigned int first, unsigned int count,
                   std::vector<unsigned int>& starts) {
    unsigned int i = 0;
    for (; i + 8 <= count; i += 8) {
        unsigned long long word;
        std::memcpy(&word, changed + i, sizeof(word));
        if (word == 0) {
            continue;
        }
        for (unsigned int j = i; j < i + 8; ++j) {
            if (changed[j] != 0) {
                starts.push_back(first + j);
            }
        }
    }
    for (; i < count; ++i) {
        if (changed[i] != 0) {
            starts.push_back(first + i);
        }
    }
}

}  // namespace

std::vector<unsigned int> FindPartitionStarts(
    std::vector<std::shared_ptr<core::StoreValue>> const& keyColumns, unsigned int rowCount) {
    std::vector<unsigned int> starts;
    if (rowCount == 0) {
        return starts;
    }
    starts.push_back(0);
    std::vector<std::unique_ptr<KeyColumn>> columns;
    columns.reserve(keyColumns.size());
    for (auto const& column : keyColumns) {
        columns.push_back(MakeKeyColumn(*column));
    }
    std::vector<unsigned char> changed(c_blockRows);
    unsigned int count = 0;
    for (unsigned int first = 1; first < rowCount; first += count) {
        count = std::min(c_blockRows, rowCount - first);
        std::fill_n(changed.begin(), count, static_cast<unsigned char>(0));
        for (auto const& column : columns) {
            column->MarkChanges(first, count, changed.data());
        }
        CollectStarts(changed.data(), first, count, starts);
    }
    return starts;
}

}  // namespace zel::vm
