#pragma once

#pragma GCC visibility push(default)

#include "vorsys/Visibility.h"

// Factories of arrays and sets, and the concatenation of arrays.
//
// T is one of the five storage types (StorageType.h); the element type says how its bits are
// read (Int32, Float and Color all store unsigned int). Every factory takes its vectors over
// without copying them; the value shares them for as long as it, or a range or view taken from
// it, lives. Bad arguments are a ZelRuntimeException whose text says what is wrong.

#include <memory>
#include <vector>

#include "zel/core/store/ArrayIterators.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace zel::core {

class StoreValue;

namespace factory {

// An array of `values`:
//   - alone: the flat layout, element i is values[i];
//   - with `indices`: the indexed layout, element i is values[indices[i]]; every index must lie
//     below the number of values;
//   - with `specials`: one kind for each entry of `values` (not of the elements), 0 for an
//     ordinary value. A specials vector without a non-zero entry is dropped.
// `childType` is StoreTypeInfo::Empty unless the elements have children (arrays of tuples, of
// arrays). `elementType` must have storage T (UnsupportedTypes otherwise).
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeArray(StoreTypeInfo const& elementType,
                                                 StoreTypeInfo const& childType,
                                                 std::unique_ptr<std::vector<T>> values,
                                                 std::unique_ptr<std::vector<unsigned int>> indices,
                                                 std::unique_ptr<std::vector<SpecialKind>> specials);
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeArray(
    StoreTypeInfo const& elementType, std::unique_ptr<std::vector<T>> values,
    std::unique_ptr<std::vector<unsigned int>> indices = nullptr,
    std::unique_ptr<std::vector<SpecialKind>> specials = nullptr);

// The flat array of `values`, with `specials` as above (or null), over buffers allocated for huge
// pages: a finished column buffer becomes an array without a copy. The slots of special entries
// are reset to the fill of T here, in the buffer handed over.
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeArray(StoreTypeInfo const& elementType,
                                                 StoreTypeInfo const& childType,
                                                 std::unique_ptr<HugePageVector<T>> values,
                                                 std::unique_ptr<HugePageVector<SpecialKind>> specials);

// `count` copies of `value`, held once.
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeConstantArray(StoreTypeInfo const& elementType, T const& value,
                                                         unsigned int count);
// `count` elements, all special of `kind` (which must not be SpecialKind::None).
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeConstantArray(StoreTypeInfo const& elementType, unsigned int count,
                                                         SpecialKind kind);

// An array of runs laid end to end; runs of count 0 are dropped. With `indices`, element i is the
// element at indices[i] of the runs laid end to end, and every index must lie below their total.
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeRunLengthArray(
    StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
    std::unique_ptr<std::vector<RunLengthEntry<T>>> runs,
    std::unique_ptr<std::vector<unsigned int>> indices = nullptr);
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeRunLengthArray(
    StoreTypeInfo const& elementType, std::unique_ptr<std::vector<RunLengthEntry<T>>> runs,
    std::unique_ptr<std::vector<unsigned int>> indices = nullptr);

// The Set of the distinct entries of `values` (with `specials` parallel to them, as for
// MakeArray), in the order of their first occurrence; strings compare under the element type's
// collation, objects and tuples by value, and each special kind counts once.
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeSet(StoreTypeInfo const& elementType,
                                               StoreTypeInfo const& childType,
                                               std::unique_ptr<std::vector<T>> values,
                                               std::unique_ptr<std::vector<SpecialKind>> specials = nullptr);
template <StorageElement T>
VOR_PUBLIC std::shared_ptr<StoreValue> MakeSet(StoreTypeInfo const& elementType,
                                               std::unique_ptr<std::vector<T>> values,
                                               std::unique_ptr<std::vector<SpecialKind>> specials = nullptr);

}  // namespace factory

// `count` elements of the run-time type `elementType`, all special of `kind`.
std::shared_ptr<StoreValue> MakeConstantArray(StoreTypeInfo const& elementType, unsigned int count,
                                              SpecialKind kind);

// The elements of `values` (arrays or sets, all of one element type) one after another, earlier
// values first; with `rows`, only the elements at those positions of the whole, in their order.
// The result is a flat array, or a set when every value is a set. Unlike element types (type or
// collation), a value that is no array or set, or no value at all, is a ZelRuntimeException
// (UnsupportedTypes) naming them; a row past the end is one of RangeViolation.
std::shared_ptr<StoreValue> ConcatenateArrays(std::vector<std::shared_ptr<StoreValue>> const& values,
                                              std::unique_ptr<std::vector<unsigned int>> rows);

}  // namespace zel::core

#pragma GCC visibility pop
