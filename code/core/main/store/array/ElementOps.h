#pragma once

// Hash, equality and order of the elements of one column, by storage type and logical type.
//
//   numbers   hash and equality of the stored bits (so a float column tells 0.0 from -0.0, and
//             every NaN equals itself); order by the logical type: signed for Int32 and Int64,
//             IEEE total order for Float and Double, unsigned for the rest
//   strings   under the column's collation (CollatorHash, CollatorEqualTo, ICollator::Compare)
//   values    by value (std::hash and std::equal_to of std::shared_ptr<StoreValue>, Compare);
//             a null element equals only a null one and orders first
//
// Specials are not elements here: callers order them before ordinary values and by kind.

#include <bit>
#include <compare>
#include <cstddef>
#include <functional>
#include <memory>

#include <boost/container_hash/hash.hpp>

#include "zel/core/store/Collation.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/store/StoreValue.h"

namespace zel::core::detail {

inline int ToInt(std::strong_ordering order) noexcept {
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

template <class T>
class ElementOps {
public:
    using Hasher = boost::hash<T>;
    using Equal = std::equal_to<T>;

    explicit ElementOps(StoreTypeInfo const& type) : m_type(type.GetStoreType()) {}

    Hasher MakeHasher() const { return Hasher(); }
    Equal MakeEqual() const { return Equal(); }
    std::size_t Hash(T value) const { return boost::hash<T>()(value); }
    bool Equals(T a, T b) const { return a == b; }

    int Compare(T a, T b) const {
        if constexpr (sizeof(T) == 4) {
            if (m_type == StoreType::Int32) {
                return ToInt(static_cast<int>(a) <=> static_cast<int>(b));
            }
            if (m_type == StoreType::Float) {
                return ToInt(std::strong_order(std::bit_cast<float>(a), std::bit_cast<float>(b)));
            }
        } else if constexpr (sizeof(T) == 8) {
            if (m_type == StoreType::Int64) {
                return ToInt(static_cast<long long>(a) <=> static_cast<long long>(b));
            }
            if (m_type == StoreType::Double) {
                return ToInt(std::strong_order(std::bit_cast<double>(a), std::bit_cast<double>(b)));
            }
        }
        return ToInt(a <=> b);
    }

private:
    StoreType m_type;
};

template <>
class ElementOps<RIndirectString> {
public:
    using Hasher = CollatorHash;
    using Equal = CollatorEqualTo;

    explicit ElementOps(StoreTypeInfo const& type) : m_collation(type.GetCollation()) {}

    Hasher MakeHasher() const { return Hasher(m_collation); }
    Equal MakeEqual() const { return Equal(m_collation); }
    std::size_t Hash(RIndirectString const& value) const {
        return static_cast<std::size_t>(m_collation.GetCollator().Hash(value.View()));
    }
    bool Equals(RIndirectString const& a, RIndirectString const& b) const {
        return m_collation.GetCollator().Equal(a.View(), b.View());
    }
    int Compare(RIndirectString const& a, RIndirectString const& b) const {
        int const order = m_collation.GetCollator().Compare(a.View(), b.View());
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }

private:
    Collation m_collation;
};

template <>
class ElementOps<std::shared_ptr<StoreValue>> {
public:
    using Hasher = std::hash<std::shared_ptr<StoreValue>>;
    using Equal = std::equal_to<std::shared_ptr<StoreValue>>;

    explicit ElementOps(StoreTypeInfo const&) {}

    Hasher MakeHasher() const { return Hasher(); }
    Equal MakeEqual() const { return Equal(); }
    std::size_t Hash(std::shared_ptr<StoreValue> const& value) const { return Hasher()(value); }
    bool Equals(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b) const {
        return Equal()(a, b);
    }
    int Compare(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b) const {
        if (!a || !b) {
            return (a ? 1 : 0) - (b ? 1 : 0);
        }
        int const order = a->Compare(*b);
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }
};

// Hash and equality of (value, special) elements, for distinct sets that keep specials: a special
// hashes and compares by its kind alone.
inline std::size_t HashSpecial(SpecialKind kind) noexcept {
    return boost::hash<unsigned char>()(static_cast<unsigned char>(kind)) ^ 0x9e3779b97f4a7c15ULL;
}

}  // namespace zel::core::detail
