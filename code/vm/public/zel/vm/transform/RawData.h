#pragma once

#pragma GCC visibility push(default)

// RawData: the preallocated result buffer of a columnar transform, one element slot and one
// special byte a row, turned into a store value once at the end. RawDataView: the slice of rows
// through which one piece of work writes it.
//
// Many tasks write one buffer at once, each through a view on rows of its own, so elements and
// special bytes need no lock. The only shared word is the flag that some row holds a special; it
// is atomic and only ever raised during the work. MakeStoreValue runs on one thread once all
// tasks have ended.
//
//   auto data = std::make_unique<TypedRawData<unsigned long long>>(
//       StoreTypeInfo::Array, StoreTypeInfo::Double, StoreTypeInfo::Empty, rowCount);
//   RawDataView all(*data);
//   RawDataView block = all.SubView(1024, 1024);       // rows 1024 to 2047
//   std::span<unsigned long long> out = block.GetElements<unsigned long long>();
//   std::span<SpecialKind> outSpecials = block.GetSpecialSpan();
//   ... write out and outSpecials; if a special was written: block.SetHasSpecials(true);
//   std::shared_ptr<StoreValue> result = data->MakeStoreValue();

#include <atomic>
#include <cstddef>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreType.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/ArrayView.h"
#include "zel/core/utility/HugePageAllocator.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core {
class StoreValue;
}

namespace zel::vm {

using core::ArrayView;
using core::SpecialKind;
using core::StoreTypeInfo;

// A base address and an element count, without the element type: what GetData hands out. The
// caller knows the element type of the buffer and reinterprets the pair.
struct UntypedArrayView {
    void* data = nullptr;
    unsigned int count = 0;
};

// How a new buffer's rows start. `Filled`: every row holds the initial element and special byte 0.
// `WrittenByTheWork`: the memory is reserved but not touched, for a transform whose work writes
// every row's element (and, when it raises the specials flag, every row's special byte) before
// anything reads them: each block then first-touches its own rows, on its own thread, while they
// are in cache, and a run without specials never touches the specials column at all.
enum class RawDataRows { Filled, WrittenByTheWork };

class RawData {
public:
    // `type` is what the buffer becomes: StoreTypeInfo::Array, StoreTypeInfo::Set, or the type of
    // one scalar. For an array or set `mainType` is the element type and `childType` the child
    // type; for a scalar `mainType` is the child type and `childType` is Empty. Every row starts
    // as a plain value (special byte 0). Two or more rows are only allowed for an array or set:
    // otherwise a ZelRuntimeException (RawDataTypeInvalid, 70).
    RawData(StoreTypeInfo const& type, StoreTypeInfo const& mainType, StoreTypeInfo const& childType,
            unsigned int rowCount, unsigned int elementSize, RawDataRows rows = RawDataRows::Filled);
    virtual ~RawData();

    RawData(RawData const&) = delete;
    RawData& operator=(RawData const&) = delete;

    // The base address of the elements and their count.
    virtual UntypedArrayView GetData() = 0;
    // Rows `start` to `start + length - 1` from `value`: the first `length` elements of an array,
    // or `length` copies of a scalar; the specials come along.
    virtual void AssignRange(unsigned int start, unsigned int length,
                             std::shared_ptr<core::StoreValue> const& value) = 0;
    // The store value of the buffer: an array or set of its rows (without a specials column
    // unless some row was flagged as special), or the one scalar. The buffer stays intact, so
    // this may be called again.
    virtual std::shared_ptr<core::StoreValue> MakeStoreValue() const = 0;

    // The number of rows.
    unsigned int GetSize() const noexcept { return static_cast<unsigned int>(m_specials.size()); }

    // Carries the specials of `value` (an array's first `length`, or a scalar's kind for every
    // row) into rows `start` to `start + length - 1`, and raises the flag if there were any.
    void CopySpecialsFrom(unsigned int start, unsigned int length,
                          std::shared_ptr<core::StoreValue> const& value);

    StoreTypeInfo const& GetType() const noexcept { return m_type; }
    StoreTypeInfo const& GetMainType() const noexcept { return m_mainType; }
    StoreTypeInfo const& GetChildType() const noexcept { return m_childType; }
    unsigned int GetElementSize() const noexcept { return m_elementSize; }
    // The special byte of every row.
    ArrayView<SpecialKind> GetSpecialsView() const noexcept { return m_specialsView; }
    bool HasSpecials() const noexcept { return m_hasSpecials.load(); }

protected:
    friend class RawDataView;

    StoreTypeInfo m_type;
    StoreTypeInfo m_mainType;
    StoreTypeInfo m_childType;
    unsigned int m_elementSize;
    // SpecialKind is one byte; holding it as such lets a block of rows go to a function, and
    // to CopySpecials, as a span of kinds without a cast.
    core::HugePageVector<SpecialKind> m_specials;
    ArrayView<SpecialKind> m_specialsView;
    std::atomic<bool> m_hasSpecials{false};
};

// The buffer of storage type T: unsigned char, unsigned int, unsigned long long, RIndirectString
// or std::shared_ptr<StoreValue>. Columns of numbers are allocated so that the kernel may back
// them with huge pages.
template <class T>
class TypedRawData final : public RawData {
public:
    static_assert(core::StorageElement<T>, "TypedRawData holds one of the five storage types");

    using Values =
        std::conditional_t<std::is_trivially_copyable_v<T>, core::HugePageVector<T>, std::vector<T>>;

    // Every row holds InitialElement(type) and special byte 0, unless `rows` leaves them to the work.
    TypedRawData(StoreTypeInfo const& type, StoreTypeInfo const& mainType, StoreTypeInfo const& childType,
                 unsigned int rowCount, RawDataRows rows = RawDataRows::Filled);
    ~TypedRawData() override;

    UntypedArrayView GetData() override;
    void AssignRange(unsigned int start, unsigned int length,
                     std::shared_ptr<core::StoreValue> const& value) override;
    std::shared_ptr<core::StoreValue> MakeStoreValue() const override;

    // Like MakeStoreValue, but hands the buffers themselves to the array instead of copying them,
    // and leaves this buffer with no rows (GetSize() 0). For an owner that drops the buffer right
    // after: the cheap way out for a large column. The value slots of special rows are reset to
    // the storage type's fill on the way, as the array requires.
    std::shared_ptr<core::StoreValue> ReleaseStoreValue();

    // All elements.
    ArrayView<T> GetValues() const noexcept { return m_valuesView; }

    // The element that a row starts with, and that a special row holds: DateTimeDefault for a
    // scalar Date or DateTime, otherwise the zero, empty or null value of T.
    static T InitialElement(StoreTypeInfo const& type);

private:
    void ResetViews() noexcept;

    Values m_values;
    ArrayView<T> m_valuesView;
    UntypedArrayView m_bytesView;
};

extern template class TypedRawData<unsigned char>;
extern template class TypedRawData<unsigned int>;
extern template class TypedRawData<unsigned long long>;
extern template class TypedRawData<core::RIndirectString>;
extern template class TypedRawData<std::shared_ptr<core::StoreValue>>;

// A buffer of kind StoreTypeInfo::Array for `rowCount` elements of `elementType`, of the storage
// type that the element type's StoreType selects (any StoreType above 8 is held as shared values).
std::unique_ptr<RawData> MakeRawData(StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
                                     unsigned int rowCount);

// Rows `m_startIndex` to `m_startIndex + m_length - 1` of a RawData, which must outlive the view.
// A small value, copied freely. Every view on part of the rows is checked the same way as a part
// of an ArrayView: a part may not start at or past the end of the buffer, even an empty one.
class RawDataView {
public:
    // All rows.
    explicit RawDataView(RawData& data) noexcept;
    // `length` rows from `startIndex`, which must lie within the buffer.
    RawDataView(RawData& data, unsigned int startIndex, unsigned int length);

    // `length` rows from row `start` of this view, checked like the constructor.
    RawDataView SubView(unsigned int start, unsigned int length) const;

    RawData& GetRawData() const noexcept { return m_data; }
    unsigned int GetStartIndex() const noexcept { return m_startIndex; }
    unsigned int GetLength() const noexcept { return m_length; }

    // The special bytes of the view's rows.
    ArrayView<SpecialKind> GetSpecials() const;
    std::span<SpecialKind> GetSpecialSpan() const {
        ArrayView<SpecialKind> const specials = GetSpecials();
        return {specials.data(), specials.size()};
    }
    // The special byte and the element of row `index` of the view.
    SpecialKind* GetSpecialAt(unsigned int index) const;
    void* GetElementAt(unsigned int index) const;

    // The view's elements, typed. T must be the storage type of the buffer; the rows are checked
    // like those of GetSpecials.
    template <class T>
    std::span<T> GetElements() const {
        ZEL_CHECK_LOGIC(sizeof(T) == m_data.m_elementSize, core::ZelError::RawDataTypeInvalid);
        UntypedArrayView const all = m_data.GetData();
        ArrayView<T> const part =
            ArrayView<T>(static_cast<T*>(all.data), all.count).SubView(m_startIndex, m_length);
        return {part.data(), part.size()};
    }

    // Whether some row of the buffer holds a special; raising it tells MakeStoreValue to keep
    // the specials column. Both are atomic.
    bool HasSpecials() const noexcept { return m_data.m_hasSpecials.load(); }
    void SetHasSpecials(bool hasSpecials) const noexcept { m_data.m_hasSpecials.store(hasSpecials); }

private:
    RawData& m_data;
    unsigned int m_startIndex;
    unsigned int m_length;
};

}  // namespace zel::vm

#pragma GCC visibility pop
