#pragma once

// ArrayValue<T>: the array value of storage type T in all four layouts, and SetValue<T>, a set of
// distinct elements held as a flat array.
//
// One class per storage type, not per layout: the layout is a field, and every bulk operation
// switches on it once and then runs a tight loop. Parts are shared and immutable, so copies of a
// value (Clone, Flatten of a flat array, a set's array view) share their memory.
//
// The templates are defined in ArrayValueImpl.h and instantiated once per storage type, in
// ArrayOf<type>.cpp.

#include <memory>
#include <type_traits>
#include <vector>

#include "zel/core/store/ArrayIterators.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace zel::core::detail {

// Failures of the array code that carry a text (reported, then thrown as ZelRuntimeException).
[[noreturn, gnu::cold]] void ThrowFactoryFailure(ZelError error, TStringCore const& text);
[[noreturn, gnu::cold]] void ThrowGatherIndex(std::size_t position, unsigned int index, unsigned int count);
// "double", "string(nocase)": an element type for messages.
TStringCore DescribeElementType(StoreTypeInfo const& elementType);

// Shares a finished buffer. A buffer of strings is emptied with RIndirectString::ReleaseAll before
// it is freed, so that its texts give back their chunks' references a run at a time.
template <class Buffer>
std::shared_ptr<Buffer const> ShareBuffer(std::unique_ptr<Buffer> buffer) {
    if constexpr (std::is_same_v<typename Buffer::value_type, RIndirectString>) {
        return std::shared_ptr<Buffer const>(buffer.release(), [](Buffer const* texts) {
            auto* const owned = const_cast<Buffer*>(texts);
            RIndirectString::ReleaseAll(owned->data(), owned->size());
            delete owned;
        });
    } else {
        return std::shared_ptr<Buffer const>(std::move(buffer));
    }
}

// A part over a buffer allocated for huge pages, which the part keeps alive.
template <class E>
ArrayPart<E> MakeBufferPart(std::shared_ptr<HugePageVector<E> const> buffer) {
    ArrayView<E const> const view(buffer->data(), static_cast<unsigned int>(buffer->size()));
    return ArrayPart<E>(std::move(buffer), view);
}

template <class T>
class ArrayValue : public StoreValue, public ITypedArray<T>, public IStoreArrayOps {
public:
    // The parts must already fit the layout (the factories check them):
    //   Flat       values (count of them), specials parallel to the values or absent
    //   Indexed    values, indices (count of them, each below the number of values), specials
    //              parallel to the values or absent
    //   Constant   one value, one special or absent
    //   RunLength  runs of count at least 1, indices (count of them, each below the runs' total)
    //              or absent
    ArrayValue(ArrayParts<T> parts, StoreTypeInfo childType, ArrayLayout layout, unsigned int count);
    ArrayValue(ArrayValue const&) = default;
    ~ArrayValue() override = default;

    // A flat array of `count` copies; the value is stored once.
    static std::shared_ptr<ArrayValue> MakeConstant(StoreTypeInfo const& elementType,
                                                    StoreTypeInfo const& childType, T const& value,
                                                    SpecialKind special, unsigned int count);
    // A flat array over two buffers; `specials` may be null.
    static std::shared_ptr<ArrayValue> MakeFlat(StoreTypeInfo const& elementType,
                                                StoreTypeInfo const& childType,
                                                std::shared_ptr<HugePageVector<T> const> values,
                                                std::shared_ptr<HugePageVector<SpecialKind> const> specials);

    using StoreValue::IsSpecial;

    // StoreValue
    StoreTypeInfo const& GetTypeInfo() const override;
    StoreTypeInfo const& GetValueTypeInfo() const override { return m_parts.elementType; }
    StoreTypeInfo const& GetChildTypeInfo() const override { return m_childType; }
    unsigned int GetCount() const override { return m_count; }
    IStoreArray const& AsCollection() const override { return *this; }
    IStoreArrayOps const& AsArray() const override { return *this; }
    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;

    // IStoreArray
    StoreTypeInfo const& GetElementTypeInfo() const override { return m_parts.elementType; }
    bool IsConstant() const override { return m_layout == ArrayLayout::Constant; }
    bool HasSpecialValues() const override { return m_hasSpecials; }
    ArrayLayout GetLayout() const override { return m_layout; }

    // ITypedArray<T>
    ValueRange<T> GetValues() const override;
    ValueAndSpecialRange<T> GetValuesAndSpecials() const override;
    T GetValue(unsigned int index) const override;
    T GetRowValue(unsigned int index) const override;
    bool IsSpecial(unsigned int index) const override;
    SpecialKind GetSpecial(unsigned int index) const override;
    ArrayView<T> GetFlatValues() const override;
    ArrayView<SpecialKind> GetFlatSpecials() const override;
    void CopyValues(ArrayView<T> destination, unsigned int start, unsigned int count) const override;
    ArrayView<T> GetValuesBlock(std::vector<T>& scratch, unsigned int start,
                                unsigned int count) const override;
    ArrayView<SpecialKind> GetSpecialsBlock(std::vector<SpecialKind>& scratch, unsigned int start,
                                            unsigned int count) const override;

    // IStoreArrayOps
    std::shared_ptr<StoreValue> Gather(
        std::shared_ptr<std::vector<unsigned int>> const& indices) const override;
    std::shared_ptr<StoreValue> Flatten() const override;
    std::shared_ptr<StoreValue> MakeDistinct(bool includeSpecial) const override;
    void CopySpecials(ArrayView<SpecialKind> destination, unsigned int start,
                      unsigned int count) const override;
    bool HasIndirectValues() const override { return m_layout != ArrayLayout::Flat; }
    bool AreElementsEqual(unsigned int row1, unsigned int row2) const override;
    std::shared_ptr<StoreValue> GetStoreValue(unsigned int row) const override;

    ArrayParts<T> const& GetParts() const noexcept { return m_parts; }

    // Calls fn(value, special) for the elements `start` to `start + count - 1`, in order; the
    // layout is looked at once.
    template <class Fn>
    void ForEachElement(unsigned int start, unsigned int count, Fn&& fn) const;

protected:
    // The element of a position that is known to be below the count.
    T const& ValueAt(unsigned int position) const;
    SpecialKind SpecialAt(unsigned int position) const;

    // Copies without the checks of the public operations.
    void CopyValuesTo(T* destination, unsigned int start, unsigned int count) const;
    void CopySpecialsTo(SpecialKind* destination, unsigned int start, unsigned int count) const;

    void CheckRange(unsigned int start, unsigned int count) const;

private:
    // The run that holds element k of the runs laid end to end.
    unsigned int RunOf(unsigned int k) const;
    unsigned int RunPosition(unsigned int position) const {
        return m_parts.indices.IsPresent() ? m_parts.indices.View().data()[position] : position;
    }
    bool ComputeHasSpecials() const;

    ArrayParts<T> m_parts;
    StoreTypeInfo m_childType;
    ArrayLayout m_layout;
    unsigned int m_count;
    bool m_hasSpecials = false;
    // The end position of each run, for a run-length array read at random.
    std::shared_ptr<std::vector<unsigned int> const> m_runEnds;
};

template <class T>
class SetValue final : public ArrayValue<T>, public IStoreSet {
public:
    // `parts` hold distinct elements in the flat layout.
    SetValue(ArrayParts<T> parts, StoreTypeInfo childType, unsigned int count)
        : ArrayValue<T>(std::move(parts), std::move(childType), ArrayLayout::Flat, count) {}
    explicit SetValue(ArrayValue<T> const& flatArray) : ArrayValue<T>(flatArray) {}
    SetValue(SetValue const&) = default;

    // The distinct elements of `array`, in the order of their first occurrence.
    static std::shared_ptr<SetValue> MakeDistinct(ArrayValue<T> const& array, bool includeSpecial);

    using ArrayValue<T>::AsArray;

    StoreTypeInfo const& GetTypeInfo() const override;
    IStoreSet const& AsSet() const override { return *this; }
    std::unique_ptr<StoreValue> Clone() const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;
    std::shared_ptr<StoreValue> Flatten() const override;
    std::shared_ptr<StoreValue> MakeDistinct(bool includeSpecial) const override;

    std::shared_ptr<StoreValue> AsArray(bool includeSpecial) const override;
    std::shared_ptr<StoreValue> WithoutSpecials() const override;

private:
    // The elements without the specials, as a flat array.
    std::shared_ptr<ArrayValue<T>> OrdinaryMembers() const;
};

template <class T>
template <class Fn>
void ArrayValue<T>::ForEachElement(unsigned int start, unsigned int count, Fn&& fn) const {
    unsigned int const end = start + count;
    T const* const values = m_parts.values.View().data();
    SpecialKind const* const specials = m_hasSpecials ? m_parts.specials.View().data() : nullptr;
    unsigned int const* const indices = m_parts.indices.View().data();
    switch (m_layout) {
        case ArrayLayout::Flat:
            for (unsigned int p = start; p < end; ++p) {
                fn(values[p], specials ? specials[p] : SpecialKind::None);
            }
            return;
        case ArrayLayout::Indexed:
            for (unsigned int p = start; p < end; ++p) {
                unsigned int const index = indices[p];
                fn(values[index], specials ? specials[index] : SpecialKind::None);
            }
            return;
        case ArrayLayout::Constant:
            for (unsigned int p = start; p < end; ++p) {
                fn(values[0], specials ? specials[0] : SpecialKind::None);
            }
            return;
        case ArrayLayout::RunLength:
            break;
    }
    RunLengthEntry<T> const* const runs = m_parts.runs.View().data();
    if (indices != nullptr) {
        for (unsigned int p = start; p < end; ++p) {
            RunLengthEntry<T> const& run = runs[RunOf(indices[p])];
            fn(run.value, run.special);
        }
        return;
    }
    if (count == 0) {
        return;
    }
    // Walk the runs from the one that holds `start`.
    unsigned int run = RunOf(start);
    unsigned int left = (*m_runEnds)[run] - start;
    for (unsigned int p = start; p < end; ++p) {
        if (left == 0) {
            ++run;
            left = runs[run].count;
        }
        fn(runs[run].value, runs[run].special);
        --left;
    }
}

#define ZEL_ARRAY_VALUE_EXTERN(name, type)  \
    extern template class ArrayValue<type>; \
    extern template class SetValue<type>;
ZEL_STORAGE_TYPE_LIST(ZEL_ARRAY_VALUE_EXTERN)
#undef ZEL_ARRAY_VALUE_EXTERN

}  // namespace zel::core::detail
