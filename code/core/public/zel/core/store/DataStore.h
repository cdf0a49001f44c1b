#pragma once

#pragma GCC visibility push(default)

// A data store: a tree of named values under one root key map, addressed by key paths.

#include <memory>

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/TypeLookup.h"

namespace zel::core {

// Values are immutable and shared, so a store is a pointer to its root plus the rules for making a
// new root:
//   - a path walks key maps by entry name and tables by column name;
//   - SetValue rebuilds only the key maps (and the one table) on the way from the root to the leaf
//     and shares everything else; a key map that this store alone holds is updated in place;
//   - Clone shares the root and copies nothing; a later write to either store makes new key maps
//     for that store, so it never shows in the other.
// Reads may run on many threads; writes need the store to themselves.
class IDataStore {
public:
    virtual ~IDataStore() = default;

    // The value at the path (the root for the empty path). A missing value, or a path that passes
    // through a value that is neither a key map nor a table, is a ZelRuntimeException (KeyNotFound)
    // whose text names the path and what stopped it.
    virtual std::shared_ptr<StoreValue> GetValue(KeyPath const& path) const = 0;
    // Stores the value at the path, making the missing key maps on the way. Through a table, the
    // leaf is a column: the value must be an array of the table's row count, and the result is a
    // table with that column added or replaced. The empty path replaces the root, which must be a
    // key map. A null value, or a path through any other kind of value, is a ZelRuntimeException
    // naming the path; the store is then unchanged.
    virtual void SetValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) = 0;
    // SetValue over a value that is there already: a path that holds nothing is a
    // ZelRuntimeException (KeyNotFound) naming it, and nothing is stored.
    virtual void UpdateValue(KeyPath const& path, std::shared_ptr<StoreValue> const& value) = 0;
    // The value at the path, or a null pointer when there is none. Never throws for a missing or
    // unreachable path.
    virtual std::shared_ptr<StoreValue> FindValue(KeyPath const& path) const = 0;
    // The root key map; GetEntries() lists the top-level names and values. Shares the root.
    virtual std::shared_ptr<IStoreKeyMap const> GetRoot() const = 0;
    virtual std::shared_ptr<StoreValue> GetRootValue() const = 0;
    // A store of its own on the same values, at the cost of one reference count.
    virtual std::unique_ptr<IDataStore> Clone() const = 0;
    // What the values of the store hold, each shared block counted once.
    virtual std::unique_ptr<MemoryUsage> GetMemoryUsage() const = 0;
};

namespace factory {

// The store whose root is `root`, which must be a KeyMap (else ZelRuntimeException,
// UnsupportedTypes). The store shares the value.
std::unique_ptr<IDataStore> MakeDataStore(std::shared_ptr<StoreValue> root);
// The store whose top-level members are the entries of the map.
std::unique_ptr<IDataStore> MakeDataStore(StoreValueMap&& entries);
std::unique_ptr<IDataStore> MakeDataStore(std::unique_ptr<StoreValueMap> entries);

}  // namespace factory

// A type lookup that answers from the values of the store as it is now (a snapshot of its root:
// later writes to the store do not show): the KeySegmentType of the value at a path, and for a
// path that holds nothing the path's own leaf type. Safe to use from any thread.
KeyPathTypeLookup MakeStoreTypeLookup(IDataStore const& store);

}  // namespace zel::core

#pragma GCC visibility pop
