#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include <boost/unordered/unordered_map.hpp>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core {

// The members of a key map (and the columns of a table), by name.
using StoreValueMap = boost::unordered::unordered_map<TStringCore, std::shared_ptr<StoreValue>>;

// A KeyMap: names to values, the inner node of a store's path space. A Table answers it too, with
// its columns.
class IStoreKeyMap {
public:
    virtual ~IStoreKeyMap() = default;

    // Every (name, value) entry, in no particular order.
    virtual StoreValueMap const& GetEntries() const = 0;
    // The value of that name, or a null pointer when there is none.
    virtual std::shared_ptr<StoreValue> Find(TStringCore const& name) const = 0;

    unsigned int GetEntryCount() const { return static_cast<unsigned int>(GetEntries().size()); }
    // The names in code point order, for output that must not depend on hashing.
    std::vector<TStringCore> GetSortedNames() const;
};

}  // namespace zel::core

#pragma GCC visibility pop
