#include "zel/vm/host/DataStoreUpdater.h"

#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/utility/KeyPathUtil.h"

namespace zel::vm {

DataStoreUpdater::DataStoreUpdater() = default;
DataStoreUpdater::~DataStoreUpdater() = default;

DataStoreUpdater& DataStoreUpdater::Set(core::KeyPath const& key, std::shared_ptr<core::StoreValue> value) {
    ZEL_CHECK_NOT_NULL(value, core::ZelError::InvalidArgument);
    if (value->GetStoreType() != core::StoreType::KeyMap) {
        m_changes.erase(key);
        m_changes.emplace(key, std::move(value));
        return *this;
    }
    // A key map is recorded leaf by leaf, so that the members it does not name stay as they are.
    for (auto const& [name, member] : value->AsKeyMap().GetEntries()) {
        Set(key.Add(name), member);
    }
    return *this;
}

ChangedKeySet DataStoreUpdater::PushChanges(core::IDataStore& store) {
    decltype(m_changes) changes;
    changes.swap(m_changes);
    ChangedKeySet written;
    written.reserve(changes.size());
    for (auto const& [key, value] : changes) {
        store.UpdateValue(KeyPathUtil::AddInitial(key), value);
        written.insert(key);
    }
    return written;
}

}  // namespace zel::vm
