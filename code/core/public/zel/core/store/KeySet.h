#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

// Key sets: a lookup from keys of one storage type to values of another, with a second map for
// keys that are specials (a special element of a key column finds its value by kind). The
// function library reads them per row, so the lookups are inline and touch no virtual slot.
//
// A key set is a value of type Object. StoreValue::AsKeySet() gives the untyped view (types and
// counts); AsTypedKeySet<K, V>() the typed one with the lookups:
//
//   auto const& keySet = AsTypedKeySet<RIndirectString, unsigned long long>(*value);
//   if (unsigned long long const* found = keySet.Find(key)) { ... }

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include <boost/container_hash/hash.hpp>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_map.hpp>

#include "zel/core/store/Collation.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core {

// Hash and equality of the keys of storage type K: strings under the key type's collation, nested
// values by value (std::hash / std::equal_to of std::shared_ptr<StoreValue>, not by pointer), the
// integer storage types by their bits.
template <class K>
struct KeySetKeyTraits {
    using Hash = boost::hash<K>;
    using Equal = std::equal_to<K>;
    static Hash MakeHash(Collation const&) { return Hash(); }
    static Equal MakeEqual(Collation const&) { return Equal(); }
};
template <>
struct KeySetKeyTraits<RIndirectString> {
    using Hash = CollatorHash;
    using Equal = CollatorEqualTo;
    static Hash MakeHash(Collation const& collation) { return CollatorHash(collation); }
    static Equal MakeEqual(Collation const& collation) { return CollatorEqualTo(collation); }
};
template <>
struct KeySetKeyTraits<std::shared_ptr<StoreValue>> {
    using Hash = std::hash<std::shared_ptr<StoreValue>>;
    using Equal = std::equal_to<std::shared_ptr<StoreValue>>;
    static Hash MakeHash(Collation const&) { return Hash(); }
    static Equal MakeEqual(Collation const&) { return Equal(); }
};

// Open addressing with the entries in one array: a lookup is one probe of a cache line or two, not
// a walk to a node per key. A key set is built once and never changed after, so that entries that
// move while the map grows are no concern; Find's pointers stay valid for the value's life.
template <class K, class V>
using KeySetMap = boost::unordered_flat_map<K, V, typename KeySetKeyTraits<K>::Hash,
                                            typename KeySetKeyTraits<K>::Equal>;
template <class V>
using KeySetSpecialMap = boost::unordered::unordered_map<SpecialKind, V>;

// An empty map of keys of type K with the hash and equality of `keyType` (its collation for
// strings), to be filled and handed to factory::MakeKeySet.
template <class K, class V>
std::unique_ptr<KeySetMap<K, V>> MakeKeySetMap(StoreTypeInfo const& keyType) {
    Collation const& collation = keyType.GetCollation();
    return std::make_unique<KeySetMap<K, V>>(0, KeySetKeyTraits<K>::MakeHash(collation),
                                             KeySetKeyTraits<K>::MakeEqual(collation));
}

// The untyped view of a key set.
class IStoreKeySet {
public:
    virtual ~IStoreKeySet() = default;

    virtual StorageType GetKeyStorageType() const = 0;
    virtual StorageType GetValueStorageType() const = 0;
    virtual StoreTypeInfo const& GetKeyTypeInfo() const = 0;
    virtual StoreTypeInfo const& GetEntryValueTypeInfo() const = 0;
    // The child type of the values (StoreTypeInfo::Empty when they have none).
    virtual StoreTypeInfo const& GetEntryValueChildTypeInfo() const = 0;
    // Ordinary keys, and keys that are specials.
    virtual unsigned int GetKeyCount() const = 0;
    virtual unsigned int GetSpecialKeyCount() const = 0;

    using ValueEntry = std::pair<std::shared_ptr<StoreValue>, std::shared_ptr<StoreValue>>;
    // Every entry with key and value as values of their own (a special key as a scalar special),
    // ordinary keys in key order first, then special keys by kind. For generic readers (logs,
    // writers of store formats), not for lookups.
    virtual std::vector<ValueEntry> GetValueEntries() const = 0;
};

template <StorageElement K, StorageElement V>
class KeySetValue final : public StoreValue, public IStoreKeySet {
public:
    using Map = KeySetMap<K, V>;
    using SpecialMap = KeySetSpecialMap<V>;

    // The maps have been checked by factory::MakeKeySet (types, collation of the map).
    KeySetValue(StoreTypeInfo keyType, StoreTypeInfo valueType, StoreTypeInfo valueChildType,
                std::shared_ptr<Map const> map, std::shared_ptr<SpecialMap const> specialMap)
        : m_keyType(std::move(keyType)),
          m_valueType(std::move(valueType)),
          m_valueChildType(std::move(valueChildType)),
          m_map(std::move(map)),
          m_specialMap(std::move(specialMap)) {}

    // The value of an ordinary key, or a null pointer.
    V const* Find(K const& key) const {
        auto const found = m_map->find(key);
        return found == m_map->end() ? nullptr : &found->second;
    }
    // The value of a special key of that kind, or a null pointer.
    V const* FindSpecial(SpecialKind kind) const {
        auto const found = m_specialMap->find(kind);
        return found == m_specialMap->end() ? nullptr : &found->second;
    }
    Map const& GetMap() const noexcept { return *m_map; }
    SpecialMap const& GetSpecialMap() const noexcept { return *m_specialMap; }

    StoreTypeInfo const& GetTypeInfo() const override { return StoreTypeInfo::Object; }
    unsigned int GetCount() const override { return GetKeyCount() + GetSpecialKeyCount(); }
    IStoreKeySet const& AsKeySet() const override { return *this; }

    StorageType GetKeyStorageType() const override { return StorageTraits<K>::c_storageType; }
    StorageType GetValueStorageType() const override { return StorageTraits<V>::c_storageType; }
    StoreTypeInfo const& GetKeyTypeInfo() const override { return m_keyType; }
    StoreTypeInfo const& GetEntryValueTypeInfo() const override { return m_valueType; }
    StoreTypeInfo const& GetEntryValueChildTypeInfo() const override { return m_valueChildType; }
    unsigned int GetKeyCount() const override { return static_cast<unsigned int>(m_map->size()); }
    unsigned int GetSpecialKeyCount() const override {
        return static_cast<unsigned int>(m_specialMap->size());
    }
    std::vector<ValueEntry> GetValueEntries() const override;

    // A key set of its own on the same (immutable) maps.
    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;

private:
    StoreTypeInfo const m_keyType;
    StoreTypeInfo const m_valueType;
    StoreTypeInfo const m_valueChildType;
    std::shared_ptr<Map const> const m_map;
    std::shared_ptr<SpecialMap const> const m_specialMap;
};

namespace detail {
[[noreturn]] void ThrowNotTypedKeySet(StoreValue const& value, StorageType key, StorageType mapped);
}  // namespace detail

// The typed key set of a value; a value that is no key set of K to V is a ZelLogicException
// (UnsupportedOperation) naming both.
template <StorageElement K, StorageElement V>
KeySetValue<K, V> const& AsTypedKeySet(StoreValue const& value) {
    if (auto const* keySet = dynamic_cast<KeySetValue<K, V> const*>(&value)) {
        return *keySet;
    }
    detail::ThrowNotTypedKeySet(value, StorageTraits<K>::c_storageType, StorageTraits<V>::c_storageType);
}

namespace factory {

// A key set of `map` (ordinary keys) and `specialMap` (keys that are specials, by kind); either may
// be null for none. `keyType` must have storage K and `valueType` storage V, else a
// ZelRuntimeException (UnsupportedTypes). For strings the keys are hashed and compared under
// keyType's collation: the map is re-keyed under it, and two keys that the collation makes equal
// are a ZelRuntimeException (DuplicateKey) naming them.
template <StorageElement K, StorageElement V>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeKeySet(StoreTypeInfo const& keyType,
                                                  StoreTypeInfo const& valueType,
                                                  StoreTypeInfo const& valueChildType,
                                                  std::unique_ptr<KeySetMap<K, V>> map,
                                                  std::unique_ptr<KeySetSpecialMap<V>> specialMap);

}  // namespace factory

// The 25 instances live in the library, spread over five sources.
#define ZEL_KEY_SET_EXTERN_V(K)                                                                              \
    extern template class KeySetValue<K, unsigned char>;                                                     \
    extern template class KeySetValue<K, unsigned int>;                                                      \
    extern template class KeySetValue<K, unsigned long long>;                                                \
    extern template class KeySetValue<K, RIndirectString>;                                                   \
    extern template class KeySetValue<K, std::shared_ptr<StoreValue>>;                                       \
    extern template std::shared_ptr<StoreValue> factory::MakeKeySet<K, unsigned char>(                       \
        StoreTypeInfo const&, StoreTypeInfo const&, StoreTypeInfo const&,                                    \
        std::unique_ptr<KeySetMap<K, unsigned char>>, std::unique_ptr<KeySetSpecialMap<unsigned char>>);     \
    extern template std::shared_ptr<StoreValue> factory::MakeKeySet<K, unsigned int>(                        \
        StoreTypeInfo const&, StoreTypeInfo const&, StoreTypeInfo const&,                                    \
        std::unique_ptr<KeySetMap<K, unsigned int>>, std::unique_ptr<KeySetSpecialMap<unsigned int>>);       \
    extern template std::shared_ptr<StoreValue> factory::MakeKeySet<K, unsigned long long>(                  \
        StoreTypeInfo const&, StoreTypeInfo const&, StoreTypeInfo const&,                                    \
        std::unique_ptr<KeySetMap<K, unsigned long long>>,                                                   \
        std::unique_ptr<KeySetSpecialMap<unsigned long long>>);                                              \
    extern template std::shared_ptr<StoreValue> factory::MakeKeySet<K, RIndirectString>(                     \
        StoreTypeInfo const&, StoreTypeInfo const&, StoreTypeInfo const&,                                    \
        std::unique_ptr<KeySetMap<K, RIndirectString>>, std::unique_ptr<KeySetSpecialMap<RIndirectString>>); \
    extern template std::shared_ptr<StoreValue> factory::MakeKeySet<K, std::shared_ptr<StoreValue>>(         \
        StoreTypeInfo const&, StoreTypeInfo const&, StoreTypeInfo const&,                                    \
        std::unique_ptr<KeySetMap<K, std::shared_ptr<StoreValue>>>,                                          \
        std::unique_ptr<KeySetSpecialMap<std::shared_ptr<StoreValue>>>);

ZEL_KEY_SET_EXTERN_V(unsigned char)
ZEL_KEY_SET_EXTERN_V(unsigned int)
ZEL_KEY_SET_EXTERN_V(unsigned long long)
ZEL_KEY_SET_EXTERN_V(RIndirectString)
ZEL_KEY_SET_EXTERN_V(std::shared_ptr<StoreValue>)
#undef ZEL_KEY_SET_EXTERN_V

}  // namespace zel::core

#pragma GCC visibility pop
