#include "zel/vm/transform/RawData.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::vm {

using core::StoreType;
using core::StoreValue;
using core::ZelError;

namespace {

bool IsArrayValue(StoreValue const& value) {
    return value.GetStoreType() == StoreType::Array;
}

// A copy in memory that the kernel may back with huge pages, which the array factory keeps
// without a further copy. The new elements are default-initialised, so each byte is written once,
// by the copy.
template <class E>
std::unique_ptr<core::HugePageVector<E>> CopyToHugePages(core::HugePageVector<E> const& source) {
    static_assert(std::is_trivially_copyable_v<E>);
    auto copy = std::make_unique<core::HugePageVector<E>>(source.size());
    if (!source.empty()) {
        std::memcpy(copy->data(), source.data(), source.size() * sizeof(E));
    }
    return copy;
}

}  // namespace

// ---- RawData -----------------------------------------------------------------------------------

RawData::RawData(StoreTypeInfo const& type, StoreTypeInfo const& mainType, StoreTypeInfo const& childType,
                 unsigned int rowCount, unsigned int elementSize, RawDataRows rows)
    : m_type(type), m_mainType(mainType), m_childType(childType), m_elementSize(elementSize) {
    if (rowCount >= 2) {
        ZEL_CHECK(m_type == StoreTypeInfo::Array || m_type == StoreTypeInfo::Set,
                  ZelError::RawDataTypeInvalid);
    }
    if (rows == RawDataRows::Filled) {
        m_specials.assign(rowCount, SpecialKind::None);
    } else {
        // The allocator default-initialises: the bytes stay untouched until a block writes them.
        m_specials.resize(rowCount);
    }
    m_specialsView = ArrayView<SpecialKind>(m_specials);
}

RawData::~RawData() = default;

void RawData::CopySpecialsFrom(unsigned int start, unsigned int length,
                               std::shared_ptr<StoreValue> const& value) {
    if (!IsArrayValue(*value)) {
        SpecialKind const kind = value->GetSpecialKind();
        if (kind == SpecialKind::None) {
            return;
        }
        ArrayView<SpecialKind> const part = m_specialsView.SubView(start, length);
        std::fill(part.begin(), part.end(), kind);
    } else {
        if (!value->AsCollection().HasSpecialValues()) {
            return;
        }
        value->AsArray().CopySpecials(m_specialsView.SubView(start, length), 0, length);
    }
    // Any number of tasks may raise the flag at once; none ever lowers it during the work.
    m_hasSpecials.exchange(true);
}

// ---- TypedRawData<T> ---------------------------------------------------------------------------

template <class T>
T TypedRawData<T>::InitialElement(StoreTypeInfo const& type) {
    if constexpr (std::is_same_v<T, unsigned long long>) {
        StoreType const storeType = type.GetStoreType();
        if (storeType == StoreType::Date || storeType == StoreType::DateTime) {
            return core::ZelDateTime::DateTimeDefault.GetValue();
        }
    }
    (void)type;
    return T{};
}

template <class T>
TypedRawData<T>::TypedRawData(StoreTypeInfo const& type, StoreTypeInfo const& mainType,
                              StoreTypeInfo const& childType, unsigned int rowCount, RawDataRows rows)
    : RawData(type, mainType, childType, rowCount, static_cast<unsigned int>(sizeof(T)), rows) {
    if (rows == RawDataRows::Filled) {
        // Written once here: after this nothing in the row path allocates or first-touches memory.
        m_values.assign(rowCount, InitialElement(type));
    } else {
        // Numbers stay untouched until their block writes them; strings and shared values are
        // constructed empty, as assignment into them needs.
        m_values.resize(rowCount);
    }
    ResetViews();
}

template <class T>
TypedRawData<T>::~TypedRawData() = default;

template <class T>
void TypedRawData<T>::ResetViews() noexcept {
    m_valuesView = ArrayView<T>(m_values);
    m_bytesView = UntypedArrayView{m_values.data(), static_cast<unsigned int>(m_values.size())};
    m_specialsView = ArrayView<SpecialKind>(m_specials);
}

template <class T>
UntypedArrayView TypedRawData<T>::GetData() {
    return m_bytesView;
}

template <class T>
void TypedRawData<T>::AssignRange(unsigned int start, unsigned int length,
                                  std::shared_ptr<StoreValue> const& value) {
    ArrayView<T> const part = m_valuesView.SubView(start, length);
    if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        // Nested values come from arrays only: a scalar is refused by AsTypedArray.
        value->template AsTypedArray<T>().CopyValues(part, 0, length);
    } else if (IsArrayValue(*value)) {
        value->template AsTypedArray<T>().CopyValues(part, 0, length);
    } else {
        T const element = value->GetSpecialKind() != SpecialKind::None ? InitialElement(m_type)
                                                                       : core::FetchStoreValue<T>(value);
        if constexpr (std::is_same_v<T, unsigned char>) {
            std::memset(part.data(), element, part.size());
        } else {
            for (T& slot : part) {
                slot = element;
            }
        }
    }
    CopySpecialsFrom(start, length, value);
}

template <class T>
std::shared_ptr<StoreValue> TypedRawData<T>::MakeStoreValue() const {
    StoreType const kind = m_type.GetStoreType();
    if (core::IsUniformCollectionStoreType(kind)) {
        // Copies, so that the buffer stays as it is and a second call makes an equal value. The
        // specials column is left out unless some row was flagged.
        bool const withSpecials = m_hasSpecials.load();
        std::shared_ptr<StoreValue> array;
        if constexpr (std::is_trivially_copyable_v<T>) {
            array = core::factory::MakeArray<T>(m_mainType, m_childType, CopyToHugePages(m_values),
                                                withSpecials ? CopyToHugePages(m_specials) : nullptr);
        } else {
            // The array factory takes plain vectors for strings and nested values.
            auto values = std::make_unique<std::vector<T>>(m_values);
            std::unique_ptr<std::vector<SpecialKind>> specials;
            if (withSpecials) {
                specials = std::make_unique<std::vector<SpecialKind>>(m_specials.begin(), m_specials.end());
            }
            array = core::factory::MakeArray<T>(m_mainType, m_childType, std::move(values), nullptr,
                                                std::move(specials));
        }
        if (m_type == StoreTypeInfo::Array) {
            return array;
        }
        return array->AsArray().MakeDistinct(true);
    }
    // One scalar. An empty buffer has none: a failure of subscripting, as of vector::at.
    if (m_specials.empty()) {
        throw std::out_of_range("invalid vector<T> subscript");
    }
    if (m_specials[0] != SpecialKind::None) {
        return core::factory::MakeSpecial(m_type, m_specials[0]);
    }
    return core::MakeStoreValueFromStorageType<T>(m_type, m_values[0]);
}

template <class T>
std::shared_ptr<StoreValue> TypedRawData<T>::ReleaseStoreValue() {
    if (!core::IsUniformCollectionStoreType(m_type.GetStoreType())) {
        // A scalar is one row: nothing to save by handing over.
        std::shared_ptr<StoreValue> result = MakeStoreValue();
        m_values = Values();
        m_specials = core::HugePageVector<SpecialKind>();
        ResetViews();
        return result;
    }
    std::shared_ptr<StoreValue> array;
    if constexpr (std::is_trivially_copyable_v<T>) {
        auto values = std::make_unique<Values>(std::move(m_values));
        std::unique_ptr<core::HugePageVector<SpecialKind>> specials;
        if (m_hasSpecials.load()) {
            specials = std::make_unique<core::HugePageVector<SpecialKind>>(std::move(m_specials));
        }
        m_values = Values();
        m_specials = core::HugePageVector<SpecialKind>();
        ResetViews();
        array = core::factory::MakeArray<T>(m_mainType, m_childType, std::move(values), std::move(specials));
    } else {
        auto values = std::make_unique<std::vector<T>>(std::move(m_values));
        std::unique_ptr<std::vector<SpecialKind>> specials;
        if (m_hasSpecials.load()) {
            // The factory takes a plain vector here; the specials are a byte a row.
            specials = std::make_unique<std::vector<SpecialKind>>(m_specials.begin(), m_specials.end());
        }
        m_values = Values();
        m_specials = core::HugePageVector<SpecialKind>();
        ResetViews();
        array = core::factory::MakeArray<T>(m_mainType, m_childType, std::move(values), nullptr,
                                            std::move(specials));
    }
    if (m_type == StoreTypeInfo::Array) {
        return array;
    }
    return array->AsArray().MakeDistinct(true);
}

template class TypedRawData<unsigned char>;
template class TypedRawData<unsigned int>;
template class TypedRawData<unsigned long long>;
template class TypedRawData<core::RIndirectString>;
template class TypedRawData<std::shared_ptr<StoreValue>>;

std::unique_ptr<RawData> MakeRawData(StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
                                     unsigned int rowCount) {
    StoreTypeInfo const& kind = StoreTypeInfo::Array;
    switch (elementType.GetStoreType()) {
        case StoreType::Bool:
            return std::make_unique<TypedRawData<unsigned char>>(kind, elementType, childType, rowCount);
        case StoreType::Int32:
        case StoreType::Float:
        case StoreType::Color:
            return std::make_unique<TypedRawData<unsigned int>>(kind, elementType, childType, rowCount);
        case StoreType::Int64:
        case StoreType::Double:
        case StoreType::Date:
        case StoreType::DateTime:
            return std::make_unique<TypedRawData<unsigned long long>>(kind, elementType, childType, rowCount);
        case StoreType::String:
            return std::make_unique<TypedRawData<core::RIndirectString>>(kind, elementType, childType,
                                                                         rowCount);
        default:
            return std::make_unique<TypedRawData<std::shared_ptr<StoreValue>>>(kind, elementType, childType,
                                                                               rowCount);
    }
}

// ---- RawDataView -------------------------------------------------------------------------------

RawDataView::RawDataView(RawData& data) noexcept : m_data(data), m_startIndex(0), m_length(data.GetSize()) {}

// The row range is checked as unsigned 32-bit arithmetic; a range that wraps past it still cannot
// reach outside the buffer, since every access below checks its own rows again.
RawDataView::RawDataView(RawData& data, unsigned int startIndex, unsigned int length)
    : m_data(data), m_startIndex(startIndex), m_length(length) {
    ZEL_CHECK(m_data.GetSize() >= (startIndex + length), ZelError::RangeViolation);
}

RawDataView RawDataView::SubView(unsigned int start, unsigned int length) const {
    return RawDataView(m_data, m_startIndex + start, length);
}

ArrayView<SpecialKind> RawDataView::GetSpecials() const {
    return m_data.m_specialsView.SubView(m_startIndex, m_length);
}

SpecialKind* RawDataView::GetSpecialAt(unsigned int index) const {
    ZEL_CHECK(index < m_length && m_startIndex + index < m_data.GetSize(), ZelError::RangeViolation);
    return m_data.m_specials.data() + m_startIndex + index;
}

void* RawDataView::GetElementAt(unsigned int index) const {
    ZEL_CHECK(index < m_length && m_startIndex + index < m_data.GetSize(), ZelError::RangeViolation);
    auto* const base = static_cast<std::byte*>(m_data.GetData().data);
    return base + (std::size_t{m_startIndex} + index) * m_data.m_elementSize;
}

}  // namespace zel::vm
