#pragma once

#pragma GCC visibility push(default)

#include <cstddef>
#include <memory>
#include <type_traits>

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/StoreTypeInfo.h"

namespace zel::core {

class MemoryUsageBuilder;
class IStoreArray;
class IStoreArrayOps;
class IStoreSet;
class IStoreKeyMap;
class IStoreTable;
class IStoreTuple;
class IStoreKeySet;
template <class T>
class ITypedArray;

// Reads the members of a value by name: the entries of a key map, the columns of a table.
class IMemberLookup {
public:
    virtual ~IMemberLookup() = default;
    // The member of that name, or a null pointer when there is none.
    virtual std::shared_ptr<StoreValue> GetMember(TStringCore const& name) const = 0;
};

// Every value of a data store: scalars, specials, arrays, sets, tuples, key maps and tables.
// Values are immutable once made and always held as std::shared_ptr<StoreValue>; any number of
// threads may read one value.
//
// The As* accessors hand out the interface of the value's kind. Asking for an interface that the
// kind has not got throws ZelLogicException (UnsupportedOperation) naming the interface and the
// value's type.
class StoreValue {
public:
    virtual ~StoreValue() = default;

    virtual StoreTypeInfo const& GetTypeInfo() const = 0;
    virtual StoreType GetStoreType() const { return GetTypeInfo().GetStoreType(); }
    // Non-zero exactly when the value is special.
    virtual SpecialKind GetSpecialKind() const { return SpecialKind::None; }
    // The element type of an Array or Set.
    virtual StoreTypeInfo const& GetValueTypeInfo() const;
    // The type of the children of the elements; StoreTypeInfo::Empty when they have none.
    virtual StoreTypeInfo const& GetChildTypeInfo() const { return StoreTypeInfo::Empty; }
    // The main type, and for an Array or Set its element type as the child type.
    virtual KeySegmentType GetKeySegmentType() const;
    // The number of elements of an Array or Set (also of a tuple, key map, or the rows of a table).
    virtual unsigned int GetCount() const;

    virtual IMemberLookup const& AsMemberLookup() const;
    virtual IStoreArray const& AsCollection() const;
    virtual IStoreArrayOps const& AsArray() const;
    virtual IStoreSet const& AsSet() const;
    virtual IStoreKeyMap const& AsKeyMap() const;
    virtual IStoreTable const& AsTable() const;
    // The elements of a Tuple.
    virtual IStoreTuple const& AsTuple() const;
    // The untyped view of a key set (a value of type Object); see KeySet.h for the typed one.
    virtual IStoreKeySet const& AsKeySet() const;

    // A value of its own with equal content.
    virtual std::unique_ptr<StoreValue> Clone() const = 0;
    virtual void CollectMemoryUsage(MemoryUsageBuilder& builder) const = 0;

    // Hashing, equality and order by value, for nested values (tuples as keys, sorting objects).
    // Values of different types order by StoreType first; specials order before ordinary values.
    virtual std::size_t Hash() const = 0;
    virtual bool Equals(StoreValue const& other) const = 0;
    virtual int Compare(StoreValue const& other) const = 0;

    bool IsSpecial() const { return GetSpecialKind() != SpecialKind::None; }
    bool IsLessThan(StoreValue const& other) const { return Compare(other) < 0; }
    bool IsGreaterThan(StoreValue const& other) const { return Compare(other) > 0; }

    // The typed array of storage type T; ZelLogicException when the value is no array of T.
    template <class T>
    ITypedArray<T> const& AsTypedArray() const;

    // The part of Compare that every kind shares: non-zero when a and b differ in StoreType (ordered
    // by its number) or in being special (specials first, then by kind). Zero when both are
    // ordinary values of one type, or specials of one type and kind, so that the caller compares
    // the content.
    static int CompareTypeAndSpecial(StoreValue const& a, StoreValue const& b);

protected:
    // Throws the ZelLogicException of an interface this value has not got.
    [[noreturn]] void ThrowNoInterface(char const* interfaceName) const;
};

template <class T>
ITypedArray<T> const& StoreValue::AsTypedArray() const {
    // The cast is checked: an array of another storage type is refused, not reinterpreted.
    if (auto const* typed = dynamic_cast<ITypedArray<T> const*>(&AsCollection())) {
        return *typed;
    }
    if constexpr (std::is_same_v<T, unsigned char>) {
        ThrowNoInterface("ITypedArray<unsigned char>");
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        ThrowNoInterface("ITypedArray<unsigned int>");
    } else if constexpr (std::is_same_v<T, unsigned long long>) {
        ThrowNoInterface("ITypedArray<unsigned long long>");
    } else if constexpr (std::is_same_v<T, RIndirectString>) {
        ThrowNoInterface("ITypedArray<RIndirectString>");
    } else {
        ThrowNoInterface("ITypedArray<std::shared_ptr<StoreValue>>");
    }
}

}  // namespace zel::core

// Hash and equality of nested values compare by value, not by pointer; a null pointer equals only
// a null pointer.
template <>
struct std::hash<std::shared_ptr<zel::core::StoreValue>> {
    std::size_t operator()(std::shared_ptr<zel::core::StoreValue> const& value) const {
        return value ? value->Hash() : 0;
    }
};

template <>
struct std::equal_to<std::shared_ptr<zel::core::StoreValue>> {
    bool operator()(std::shared_ptr<zel::core::StoreValue> const& a,
                    std::shared_ptr<zel::core::StoreValue> const& b) const {
        return a == b || (a && b && a->Equals(*b));
    }
};

#pragma GCC visibility pop
