#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "zel/core/store/IStoreKeyMap.h"

namespace zel::core {

// A Table: named array columns of one length, the row count. Its columns are its members, so a
// table answers AsKeyMap() and AsMemberLookup() with them as well.
class IStoreTable {
public:
    virtual ~IStoreTable() = default;

    virtual unsigned int GetRowCount() const = 0;
    // The column of that name; ZelRuntimeException (KeyNotFound) naming it when there is none.
    virtual std::shared_ptr<StoreValue> const& GetColumn(TStringCore const& name) const = 0;
    // The column of that name, or a null pointer.
    virtual std::shared_ptr<StoreValue> FindColumn(TStringCore const& name) const = 0;
    virtual StoreValueMap const& GetColumns() const = 0;
    // A new map of the same columns (the columns themselves are shared).
    virtual std::unique_ptr<StoreValueMap> CloneColumns() const = 0;
    // A table of those rows, in that order, repeats allowed: each column gathers once through its
    // own Gather. A row number past the end is a ZelRuntimeException (RangeViolation).
    virtual std::shared_ptr<StoreValue> GatherRows(std::shared_ptr<std::vector<unsigned int>> rows) const = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
