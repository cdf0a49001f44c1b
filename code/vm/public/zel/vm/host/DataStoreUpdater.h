#pragma once

#pragma GCC visibility push(default)

#include <memory>

#include <boost/unordered/unordered_map.hpp>

#include "zel/core/store/DataStore.h"
#include "zel/vm/execute/ChangedKeySet.h"

namespace zel::vm {

// Changed input values for a second run of a VM. Keys are plain input paths (without "~init"); a
// key map is recorded member by member down to its leaves, so members it does not name keep their
// values. A later Set of one key replaces an earlier one.
class DataStoreUpdater {
public:
    DataStoreUpdater();
    ~DataStoreUpdater();

    // Records a change; `value` must not be null.
    DataStoreUpdater& Set(core::KeyPath const& key, std::shared_ptr<core::StoreValue> value);
    // Writes every recorded change into the working store under "~init" and returns the paths
    // written, as Set got them. The updater is empty afterwards.
    ChangedKeySet PushChanges(core::IDataStore& store);

private:
    boost::unordered::unordered_map<core::KeyPath, std::shared_ptr<core::StoreValue>,
                                    std::hash<core::KeyPath>, std::equal_to<core::KeyPath>>
        m_changes;
};

}  // namespace zel::vm

#pragma GCC visibility pop
