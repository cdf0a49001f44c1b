#include "zel/core/store/TypeLookup.h"

namespace zel::core {

KeySegmentType KeyPathTypeLookup::GetKeySegmentType(KeyPath const& path) const {
    KeySegmentType resolved = Resolve(path);
    if (resolved.HasType()) {
        return resolved;
    }
    return path.IsEmpty() ? KeySegmentType() : path.GetLeafSegmentType();
}

StoreType KeyPathTypeLookup::GetStoreType(KeyPath const& path) const {
    return GetKeySegmentType(path).GetMainType().GetStoreType();
}

StoreType KeyPathTypeLookup::GetChildStoreType(KeyPath const& path) const {
    return GetKeySegmentType(path).GetChildType().GetStoreType();
}

KeySegmentType KeyPathTypeLookup::Resolve(KeyPath const& path) const {
    return m_resolver ? m_resolver(path) : KeySegmentType();
}

}  // namespace zel::core
