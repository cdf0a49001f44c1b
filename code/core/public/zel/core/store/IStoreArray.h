#pragma once

#pragma GCC visibility push(default)

// The interfaces of arrays and sets that are not tied to a storage type.
//
//   value->AsCollection()   IStoreArray     count, element type, layout, specials
//   value->AsArray()        IStoreArrayOps  whole-array operations: gather, flatten, distinct...
//   value->AsSet()          IStoreSet       a set's members as an array
//   value->AsTypedArray<T>  ITypedArray<T>  element access for storage type T (ITypedArray.h)
//
// An Array answers the first, second and fourth; a Set answers all four (its members are an
// array in their own right). Every other value refuses them with ZelLogicException.

#include <memory>
#include <vector>

#include "zel/core/store/StoreType.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/ArrayView.h"

namespace zel::core {

class StoreValue;

// How an array holds its elements (see ArrayIterators.h for how each is read).
enum class ArrayLayout : unsigned char {
    Flat = 0,       // one value per element, in order
    Indexed = 1,    // element i is values[indices[i]]
    Constant = 2,   // one value (or one special) for every element
    RunLength = 3,  // runs of equal elements, optionally read through indices
};

// "flat", "indexed", "constant", "run-length".
char const* ArrayLayoutName(ArrayLayout layout) noexcept;

class IStoreArray {
public:
    virtual ~IStoreArray() = default;

    virtual unsigned int GetCount() const = 0;
    // The type of the elements; for strings its collation is the collation of the column.
    virtual StoreTypeInfo const& GetElementTypeInfo() const = 0;
    // The array is in the constant layout: every element reads row 0.
    virtual bool IsConstant() const = 0;
    // Some element is special.
    virtual bool HasSpecialValues() const = 0;

    virtual ArrayLayout GetLayout() const = 0;
};

class IStoreArrayOps {
public:
    virtual ~IStoreArrayOps() = default;

    // A flat array of the elements at `indices`, in their order; repeats are allowed. An index
    // past the end is a ZelRuntimeException (RangeViolation).
    virtual std::shared_ptr<StoreValue> Gather(
        std::shared_ptr<std::vector<unsigned int>> const& indices) const = 0;
    // The same elements in the flat layout; a flat array shares its parts.
    virtual std::shared_ptr<StoreValue> Flatten() const = 0;
    // The Set of the distinct elements, in the order of their first occurrence. Strings are
    // compared under the column's collation (the first of equal texts stays); objects and tuples by
    // value. Each special kind counts as one element, kept only when `includeSpecial` is set.
    virtual std::shared_ptr<StoreValue> MakeDistinct(bool includeSpecial) const = 0;
    // Copies the special kinds of `count` elements from `start` into the first `count` slots of
    // `destination` (0 for an ordinary element).
    virtual void CopySpecials(ArrayView<SpecialKind> destination, unsigned int start,
                              unsigned int count) const = 0;
    // The values are not one flat vector in element order (indexed, constant, run-length).
    virtual bool HasIndirectValues() const = 0;
    // The elements of two rows are equal: both ordinary and equal by value (strings under the
    // collation), or both special of the same kind.
    virtual bool AreElementsEqual(unsigned int row1, unsigned int row2) const = 0;
    // The element of a row as a value of its own: a scalar of the element type, a special, or the
    // nested value itself for objects and tuples.
    virtual std::shared_ptr<StoreValue> GetStoreValue(unsigned int row) const = 0;
};

class IStoreSet {
public:
    virtual ~IStoreSet() = default;

    // An array of the members, specials only when `includeSpecial` is set. It shares the set's
    // memory when it can.
    virtual std::shared_ptr<StoreValue> AsArray(bool includeSpecial) const = 0;
    // A set of the members that are not special.
    virtual std::shared_ptr<StoreValue> WithoutSpecials() const = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
