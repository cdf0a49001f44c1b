#pragma once

#pragma GCC visibility push(default)

// ITypedArray<T>: element access to an array or set of storage type T (StorageType.h).
//
// Hot loops touch no virtual slot per element. They take, in order of preference:
//   - GetFlatValues(), a view on the array's own memory (flat layout only; Flatten() first);
//   - GetValuesBlock(), a view on a block of rows: the array's own memory when it is flat, else
//     the scratch vector, filled in one call;
//   - CopyValues() into a buffer of their own;
//   - the inlined iterators of GetValues() and GetValuesAndSpecials().
// GetValue(index) and friends are for generic paths.
//
// StoreValue::AsTypedArray<T>() hands out this interface of an array or set of storage type T
// (through AsCollection()); include this header to use it.

#include <vector>

#include "zel/core/store/ArrayIterators.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/ArrayView.h"

namespace zel::core {

template <class T>
class ITypedArray : public IStoreArray {
public:
    using ElementType = T;

    // The values in order; only meaningful when HasSpecialValues() is false, since a special slot
    // holds the fill value of its type.
    virtual ValueRange<T> GetValues() const = 0;
    virtual ValueAndSpecialRange<T> GetValuesAndSpecials() const = 0;

    // The value at `index`, whether special or not. An index past the end is a
    // ZelRuntimeException (RangeViolation).
    virtual T GetValue(unsigned int index) const = 0;
    // The same; row 0 of a constant array is its one value.
    virtual T GetRowValue(unsigned int index) const = 0;
    virtual bool IsSpecial(unsigned int index) const = 0;
    virtual SpecialKind GetSpecial(unsigned int index) const = 0;

    // The values of a flat array, on its own memory. Another layout is a ZelLogicException
    // (UnsupportedOperation): call Flatten() first.
    virtual ArrayView<T> GetFlatValues() const = 0;
    // The specials of a flat array, parallel to GetFlatValues(); an empty view when the array has
    // no special element. Another layout is a ZelLogicException, as above.
    virtual ArrayView<SpecialKind> GetFlatSpecials() const = 0;

    // Copies `count` values from position `start` into the first `count` slots of `destination`.
    virtual void CopyValues(ArrayView<T> destination, unsigned int start, unsigned int count) const = 0;
    // The values of rows `start` to `start + count - 1`: a view on the array's own memory when it
    // is flat (the scratch vector is left alone), otherwise on `scratch`, resized and filled.
    virtual ArrayView<T> GetValuesBlock(std::vector<T>& scratch, unsigned int start,
                                        unsigned int count) const = 0;
    // The same for the specials: 0 for every ordinary row.
    virtual ArrayView<SpecialKind> GetSpecialsBlock(std::vector<SpecialKind>& scratch, unsigned int start,
                                                    unsigned int count) const = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
