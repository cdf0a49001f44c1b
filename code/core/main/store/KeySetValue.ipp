#pragma once

// The out-of-line members of KeySetValue<K, V> and factory::MakeKeySet. Included by the five
// KeySet*.cpp sources, each of which instantiates the five key sets of one key storage type.

#include <algorithm>
#include <vector>

#include <boost/container_hash/hash.hpp>

#include "StoreFailure.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::core {

namespace keyset_detail {

// Hash, equality and three-way order of one storage element: strings under a collation, nested
// values by value (null first), integer storage by its bits.
template <class T>
std::size_t HashElement(T const& value, Collation const& collation) {
    if constexpr (std::is_same_v<T, RIndirectString>) {
        return collation.GetCollator().Hash(value.View());
    } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        return std::hash<std::shared_ptr<StoreValue>>()(value);
    } else {
        return boost::hash<T>()(value);
    }
}

template <class T>
int CompareElement(T const& a, T const& b, Collation const& collation) {
    if constexpr (std::is_same_v<T, RIndirectString>) {
        int const order = collation.GetCollator().Compare(a.View(), b.View());
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        if (!a || !b) {
            return a ? 1 : (b ? -1 : 0);
        }
        return a == b ? 0 : a->Compare(*b);
    } else {
        return a < b ? -1 : (b < a ? 1 : 0);
    }
}

template <class T>
bool EqualElement(T const& a, T const& b, Collation const& collation) {
    if constexpr (std::is_same_v<T, RIndirectString>) {
        return collation.GetCollator().Equal(a.View(), b.View());
    } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        return std::equal_to<std::shared_ptr<StoreValue>>()(a, b);
    } else {
        return a == b;
    }
}

template <class T>
void CollectElementMemory(T const& value, MemoryUsageBuilder& builder) {
    if constexpr (std::is_same_v<T, RIndirectString>) {
        builder.AddString(value);
    } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        if (value) {
            value->CollectMemoryUsage(builder);
        }
    }
}

inline int CompareTypes(StoreTypeInfo const& a, StoreTypeInfo const& b) {
    if (a.GetStoreType() != b.GetStoreType()) {
        return a.GetStoreType() < b.GetStoreType() ? -1 : 1;
    }
    if (!(a.GetCollation() == b.GetCollation())) {
        return a.GetCollation().GetName() < b.GetCollation().GetName() ? -1 : 1;
    }
    return 0;
}

template <class Map>
std::size_t MapBytes(Map const& map) {
    return map.bucket_count() * sizeof(void*) +
           map.size() * (sizeof(typename Map::value_type) + sizeof(void*));
}

}  // namespace keyset_detail

template <StorageElement K, StorageElement V>
std::unique_ptr<StoreValue> KeySetValue<K, V>::Clone() const {
    return std::make_unique<KeySetValue>(m_keyType, m_valueType, m_valueChildType, m_map, m_specialMap);
}

template <StorageElement K, StorageElement V>
void KeySetValue<K, V>::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    using namespace keyset_detail;
    if (!builder.AddBlock(this, sizeof(*this))) {
        return;
    }
    // The maps are shared between clones: each is walked once.
    if (builder.AddBlock(m_map.get(), sizeof(Map) + MapBytes(*m_map))) {
        for (auto const& [key, value] : *m_map) {
            CollectElementMemory(key, builder);
            CollectElementMemory(value, builder);
        }
    }
    if (builder.AddBlock(m_specialMap.get(), sizeof(SpecialMap) + MapBytes(*m_specialMap))) {
        for (auto const& [kind, value] : *m_specialMap) {
            CollectElementMemory(value, builder);
        }
    }
}

template <StorageElement K, StorageElement V>
std::vector<IStoreKeySet::ValueEntry> KeySetValue<K, V>::GetValueEntries() const {
    using namespace keyset_detail;
    Collation const& keyCollation = m_keyType.GetCollation();
    std::vector<typename Map::value_type const*> sorted;
    sorted.reserve(m_map->size());
    for (auto const& entry : *m_map) {
        sorted.push_back(&entry);
    }
    std::sort(sorted.begin(), sorted.end(), [&](auto const* a, auto const* b) {
        return CompareElement(a->first, b->first, keyCollation) < 0;
    });
    std::vector<ValueEntry> entries;
    entries.reserve(sorted.size() + m_specialMap->size());
    for (auto const* entry : sorted) {
        entries.emplace_back(MakeStoreValueFromStorageType<K>(m_keyType, entry->first),
                             MakeStoreValueFromStorageType<V>(m_valueType, entry->second));
    }
    for (unsigned kind = 1; kind < 256; ++kind) {
        if (V const* value = FindSpecial(static_cast<SpecialKind>(kind))) {
            entries.emplace_back(factory::MakeSpecial(m_keyType, static_cast<SpecialKind>(kind)),
                                 MakeStoreValueFromStorageType<V>(m_valueType, *value));
        }
    }
    return entries;
}

template <StorageElement K, StorageElement V>
std::size_t KeySetValue<K, V>::Hash() const {
    using namespace keyset_detail;
    std::size_t seed = static_cast<std::size_t>(StoreType::Object);
    boost::hash_combine(seed, static_cast<unsigned>(m_keyType.GetStoreType()));
    boost::hash_combine(seed, static_cast<unsigned>(m_valueType.GetStoreType()));
    // A sum, so that the iteration order of the maps does not matter.
    std::size_t sum = 0;
    for (auto const& [key, value] : *m_map) {
        std::size_t entry = HashElement(key, m_keyType.GetCollation());
        boost::hash_combine(entry, HashElement(value, m_valueType.GetCollation()));
        sum += entry;
    }
    for (auto const& [kind, value] : *m_specialMap) {
        std::size_t entry = 0x5bec1a1u + static_cast<unsigned>(kind);
        boost::hash_combine(entry, HashElement(value, m_valueType.GetCollation()));
        sum += entry;
    }
    boost::hash_combine(seed, sum);
    return seed;
}

template <StorageElement K, StorageElement V>
bool KeySetValue<K, V>::Equals(StoreValue const& other) const {
    using namespace keyset_detail;
    if (this == &other) {
        return true;
    }
    auto const* keySet = dynamic_cast<KeySetValue const*>(&other);
    if (keySet == nullptr || !(m_keyType == keySet->m_keyType) || !(m_valueType == keySet->m_valueType) ||
        m_map->size() != keySet->m_map->size() || m_specialMap->size() != keySet->m_specialMap->size()) {
        return false;
    }
    Collation const& valueCollation = m_valueType.GetCollation();
    for (auto const& [key, value] : *m_map) {
        V const* found = keySet->Find(key);
        if (found == nullptr || !EqualElement(value, *found, valueCollation)) {
            return false;
        }
    }
    for (auto const& [kind, value] : *m_specialMap) {
        V const* found = keySet->FindSpecial(kind);
        if (found == nullptr || !EqualElement(value, *found, valueCollation)) {
            return false;
        }
    }
    return true;
}

template <StorageElement K, StorageElement V>
int KeySetValue<K, V>::Compare(StoreValue const& other) const {
    using namespace keyset_detail;
    if (int const order = CompareTypeAndSpecial(*this, other)) {
        return order;
    }
    auto const* keySet = dynamic_cast<KeySetValue const*>(&other);
    if (keySet == nullptr) {
        auto const* untyped = dynamic_cast<IStoreKeySet const*>(&other);
        if (untyped == nullptr) {
            return 1;  // Object scalars order before key sets
        }
        auto const mine = std::make_pair(GetKeyStorageType(), GetValueStorageType());
        auto const theirs = std::make_pair(untyped->GetKeyStorageType(), untyped->GetValueStorageType());
        return mine < theirs ? -1 : 1;
    }
    if (int const order = CompareTypes(m_keyType, keySet->m_keyType)) {
        return order;
    }
    if (int const order = CompareTypes(m_valueType, keySet->m_valueType)) {
        return order;
    }
    // Entries in key order, compared pairwise; then the special entries in kind order.
    Collation const& keyCollation = m_keyType.GetCollation();
    Collation const& valueCollation = m_valueType.GetCollation();
    auto sorted = [&](Map const& map) {
        std::vector<typename Map::value_type const*> entries;
        entries.reserve(map.size());
        for (auto const& entry : map) {
            entries.push_back(&entry);
        }
        std::sort(entries.begin(), entries.end(), [&](auto const* a, auto const* b) {
            return CompareElement(a->first, b->first, keyCollation) < 0;
        });
        return entries;
    };
    auto const mine = sorted(*m_map);
    auto const theirs = sorted(*keySet->m_map);
    for (std::size_t i = 0; i < std::min(mine.size(), theirs.size()); ++i) {
        if (int const order = CompareElement(mine[i]->first, theirs[i]->first, keyCollation)) {
            return order;
        }
        if (int const order = CompareElement(mine[i]->second, theirs[i]->second, valueCollation)) {
            return order;
        }
    }
    if (mine.size() != theirs.size()) {
        return mine.size() < theirs.size() ? -1 : 1;
    }
    for (unsigned kind = 1; kind < 256; ++kind) {
        V const* a = FindSpecial(static_cast<SpecialKind>(kind));
        V const* b = keySet->FindSpecial(static_cast<SpecialKind>(kind));
        if ((a == nullptr) != (b == nullptr)) {
            return a == nullptr ? -1 : 1;
        }
        if (a != nullptr) {
            if (int const order = CompareElement(*a, *b, valueCollation)) {
                return order;
            }
        }
    }
    return 0;
}

namespace factory {

template <StorageElement K, StorageElement V>
std::shared_ptr<StoreValue> MakeKeySet(StoreTypeInfo const& keyType, StoreTypeInfo const& valueType,
                                       StoreTypeInfo const& valueChildType,
                                       std::unique_ptr<KeySetMap<K, V>> map,
                                       std::unique_ptr<KeySetSpecialMap<V>> specialMap) {
    if (!IsStorageOf<K>(keyType.GetStoreType())) {
        ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes,
                       L"key set keys of type " + detail::DescribeTypeInfo(keyType) + L" are not held as " +
                           TStringCore::FromUtf8(StorageTraits<K>::c_name));
    }
    if (!IsStorageOf<V>(valueType.GetStoreType())) {
        ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedTypes,
                       L"key set values of type " + detail::DescribeTypeInfo(valueType) +
                           L" are not held as " + TStringCore::FromUtf8(StorageTraits<V>::c_name));
    }
    if (!map) {
        map = MakeKeySetMap<K, V>(keyType);
    } else if constexpr (std::is_same_v<K, RIndirectString>) {
        // The caller's map may hash under another collation: re-key it under the key type's.
        auto rekeyed = MakeKeySetMap<K, V>(keyType);
        rekeyed->reserve(map->size());
        for (auto& [key, value] : *map) {
            auto const [it, inserted] = rekeyed->emplace(key, std::move(value));
            if (!inserted) {
                ZEL_FAIL_WITH_TEXT(ZelError::DuplicateKey, L"key set keys \"" + it->first.Get() + L"\" and \"" +
                                                           key.Get() + L"\" are equal under collation " +
                                                           keyType.GetCollation().GetName());
            }
        }
        map = std::move(rekeyed);
    }
    if (!specialMap) {
        specialMap = std::make_unique<KeySetSpecialMap<V>>();
    }
    if (specialMap->contains(SpecialKind::None)) {
        ZEL_FAIL_WITH_TEXT(ZelError::UnsupportedOperation,
                       L"the special keys of a key set need a kind other than 0");
    }
    return std::make_shared<KeySetValue<K, V>>(keyType, valueType, valueChildType, std::move(map),
                                               std::move(specialMap));
}

}  // namespace factory

}  // namespace zel::core

#define ZEL_KEY_SET_INSTANTIATE(K, V)                                                                       \
    template class KeySetValue<K, V>;                                                                       \
    template std::shared_ptr<StoreValue> factory::MakeKeySet<K, V>(                                         \
        StoreTypeInfo const&, StoreTypeInfo const&, StoreTypeInfo const&, std::unique_ptr<KeySetMap<K, V>>, \
        std::unique_ptr<KeySetSpecialMap<V>>);

#define ZEL_KEY_SET_INSTANTIATE_ALL_V(K)           \
    ZEL_KEY_SET_INSTANTIATE(K, unsigned char)      \
    ZEL_KEY_SET_INSTANTIATE(K, unsigned int)       \
    ZEL_KEY_SET_INSTANTIATE(K, unsigned long long) \
    ZEL_KEY_SET_INSTANTIATE(K, RIndirectString)    \
    ZEL_KEY_SET_INSTANTIATE(K, std::shared_ptr<StoreValue>)
