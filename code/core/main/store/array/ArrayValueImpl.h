#pragma once

// The definitions of ArrayValue<T>, SetValue<T> and the array factories. Included only by the
// ArrayOf<type>.cpp files, each of which instantiates them for one storage type.

#include <algorithm>
#include <bitset>
#include <numeric>
#include <string>

#include <boost/container_hash/hash.hpp>
#include <boost/unordered/unordered_flat_set.hpp>

#include "store/StoreFailure.h"
#include "store/array/ArrayValue.h"
#include "store/array/ElementOps.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core::detail {

// ---------------------------------------------------------------------------------------------
// Element access

template <class T>
ArrayValue<T>::ArrayValue(ArrayParts<T> parts, StoreTypeInfo childType, ArrayLayout layout,
                          unsigned int count)
    : m_parts(std::move(parts)), m_childType(std::move(childType)), m_layout(layout), m_count(count) {
    if (m_layout == ArrayLayout::RunLength) {
        auto ends = std::make_shared<std::vector<unsigned int>>();
        ends->reserve(m_parts.runs.size());
        unsigned int end = 0;
        for (RunLengthEntry<T> const& run : m_parts.runs.View()) {
            end += run.count;
            ends->push_back(end);
        }
        m_runEnds = std::move(ends);
    }
    m_hasSpecials = ComputeHasSpecials();
}

template <class T>
bool ArrayValue<T>::ComputeHasSpecials() const {
    switch (m_layout) {
        case ArrayLayout::Flat: {
            if (!m_parts.specials.IsPresent()) {
                return false;
            }
            auto const& specials = m_parts.specials.View();
            return std::any_of(specials.begin(), specials.end(),
                               [](SpecialKind s) { return s != SpecialKind::None; });
        }
        case ArrayLayout::Constant:
            return m_count > 0 && m_parts.specials.IsPresent() &&
                   m_parts.specials.View()[0] != SpecialKind::None;
        case ArrayLayout::Indexed:
            if (!m_parts.specials.IsPresent()) {
                return false;
            }
            break;
        case ArrayLayout::RunLength: {
            auto const& runs = m_parts.runs.View();
            if (std::none_of(runs.begin(), runs.end(),
                             [](auto const& r) { return r.special != SpecialKind::None; })) {
                return false;
            }
            if (!m_parts.indices.IsPresent()) {
                return true;
            }
            break;
        }
    }
    // Through indices: only the entries that some element reads count.
    unsigned int const* const indices = m_parts.indices.View().data();
    for (unsigned int p = 0; p < m_count; ++p) {
        SpecialKind const special = m_layout == ArrayLayout::Indexed
                                        ? m_parts.specials.View().data()[indices[p]]
                                        : m_parts.runs.View().data()[RunOf(indices[p])].special;
        if (special != SpecialKind::None) {
            return true;
        }
    }
    return false;
}

template <class T>
unsigned int ArrayValue<T>::RunOf(unsigned int k) const {
    auto const& ends = *m_runEnds;
    return static_cast<unsigned int>(std::upper_bound(ends.begin(), ends.end(), k) - ends.begin());
}

template <class T>
T const& ArrayValue<T>::ValueAt(unsigned int position) const {
    switch (m_layout) {
        case ArrayLayout::Flat:
            return m_parts.values.View().data()[position];
        case ArrayLayout::Indexed:
            return m_parts.values.View().data()[m_parts.indices.View().data()[position]];
        case ArrayLayout::Constant:
            return m_parts.values.View().data()[0];
        case ArrayLayout::RunLength:
            break;
    }
    return m_parts.runs.View().data()[RunOf(RunPosition(position))].value;
}

template <class T>
SpecialKind ArrayValue<T>::SpecialAt(unsigned int position) const {
    if (!m_hasSpecials) {
        return SpecialKind::None;
    }
    switch (m_layout) {
        case ArrayLayout::Flat:
            return m_parts.specials.View().data()[position];
        case ArrayLayout::Indexed:
            return m_parts.specials.View().data()[m_parts.indices.View().data()[position]];
        case ArrayLayout::Constant:
            return m_parts.specials.View().data()[0];
        case ArrayLayout::RunLength:
            break;
    }
    return m_parts.runs.View().data()[RunOf(RunPosition(position))].special;
}

template <class T>
void ArrayValue<T>::CheckRange(unsigned int start, unsigned int count) const {
    std::uint64_t const end = std::uint64_t{start} + count;
    ZEL_CHECK(end <= m_count, ZelError::RangeViolation);
}

template <class T>
StoreTypeInfo const& ArrayValue<T>::GetTypeInfo() const {
    return StoreTypeInfo::Array;
}

template <class T>
ValueRange<T> ArrayValue<T>::GetValues() const {
    return ValueRange<T>(m_parts, m_count, m_layout == ArrayLayout::Constant,
                         m_layout == ArrayLayout::RunLength);
}

template <class T>
ValueAndSpecialRange<T> ArrayValue<T>::GetValuesAndSpecials() const {
    return ValueAndSpecialRange<T>(m_parts, m_count, m_layout == ArrayLayout::Constant,
                                   m_layout == ArrayLayout::RunLength);
}

template <class T>
T ArrayValue<T>::GetValue(unsigned int index) const {
    ZEL_CHECK(index < m_count, ZelError::RangeViolation);
    return ValueAt(index);
}

template <class T>
T ArrayValue<T>::GetRowValue(unsigned int index) const {
    ZEL_CHECK(index < m_count, ZelError::RangeViolation);
    return ValueAt(index);
}

template <class T>
bool ArrayValue<T>::IsSpecial(unsigned int index) const {
    return GetSpecial(index) != SpecialKind::None;
}

template <class T>
SpecialKind ArrayValue<T>::GetSpecial(unsigned int index) const {
    ZEL_CHECK(index < m_count, ZelError::RangeViolation);
    return SpecialAt(index);
}

template <class T>
ArrayView<T> ArrayValue<T>::GetFlatValues() const {
    ZEL_CHECK_LOGIC(m_layout == ArrayLayout::Flat, ZelError::UnsupportedOperation);
    // The view is typed for writing, like every ArrayView<T>; an array only ever lends it for reading.
    return ArrayView<T>(const_cast<T*>(m_parts.values.View().data()), m_count);
}

template <class T>
ArrayView<SpecialKind> ArrayValue<T>::GetFlatSpecials() const {
    ZEL_CHECK_LOGIC(m_layout == ArrayLayout::Flat, ZelError::UnsupportedOperation);
    if (!m_hasSpecials) {
        return ArrayView<SpecialKind>();
    }
    return ArrayView<SpecialKind>(const_cast<SpecialKind*>(m_parts.specials.View().data()), m_count);
}

// ---------------------------------------------------------------------------------------------
// Bulk copies

template <class T>
void ArrayValue<T>::CopyValuesTo(T* destination, unsigned int start, unsigned int count) const {
    switch (m_layout) {
        case ArrayLayout::Flat:
            std::copy_n(m_parts.values.View().data() + start, count, destination);
            return;
        case ArrayLayout::Indexed: {
            T const* values = m_parts.values.View().data();
            unsigned int const* indices = m_parts.indices.View().data() + start;
            for (unsigned int k = 0; k < count; ++k) {
                destination[k] = values[indices[k]];
            }
            return;
        }
        case ArrayLayout::Constant:
            std::fill_n(destination, count, m_parts.values.View().data()[0]);
            return;
        case ArrayLayout::RunLength:
            break;
    }
    ForEachElement(start, count, [&destination](T const& value, SpecialKind) { *destination++ = value; });
}

template <class T>
void ArrayValue<T>::CopySpecialsTo(SpecialKind* destination, unsigned int start, unsigned int count) const {
    if (!m_hasSpecials) {
        std::fill_n(destination, count, SpecialKind::None);
        return;
    }
    switch (m_layout) {
        case ArrayLayout::Flat:
            std::copy_n(m_parts.specials.View().data() + start, count, destination);
            return;
        case ArrayLayout::Constant:
            std::fill_n(destination, count, m_parts.specials.View().data()[0]);
            return;
        case ArrayLayout::Indexed:
        case ArrayLayout::RunLength:
            break;
    }
    ForEachElement(start, count, [&destination](T const&, SpecialKind special) { *destination++ = special; });
}

template <class T>
void ArrayValue<T>::CopyValues(ArrayView<T> destination, unsigned int start, unsigned int count) const {
    CheckRange(start, count);
    ZEL_CHECK(count <= destination.size(), ZelError::RangeViolation);
    CopyValuesTo(destination.data(), start, count);
}

template <class T>
void ArrayValue<T>::CopySpecials(ArrayView<SpecialKind> destination, unsigned int start,
                                 unsigned int count) const {
    CheckRange(start, count);
    ZEL_CHECK(count <= destination.size(), ZelError::RangeViolation);
    CopySpecialsTo(destination.data(), start, count);
}

template <class T>
ArrayView<T> ArrayValue<T>::GetValuesBlock(std::vector<T>& scratch, unsigned int start,
                                           unsigned int count) const {
    CheckRange(start, count);
    if (m_layout == ArrayLayout::Flat) {
        return ArrayView<T>(const_cast<T*>(m_parts.values.View().data()) + start, count);
    }
    scratch.resize(count);
    CopyValuesTo(scratch.data(), start, count);
    return ArrayView<T>(scratch.data(), count);
}

template <class T>
ArrayView<SpecialKind> ArrayValue<T>::GetSpecialsBlock(std::vector<SpecialKind>& scratch, unsigned int start,
                                                       unsigned int count) const {
    CheckRange(start, count);
    if (m_layout == ArrayLayout::Flat && m_hasSpecials) {
        return ArrayView<SpecialKind>(const_cast<SpecialKind*>(m_parts.specials.View().data()) + start,
                                      count);
    }
    scratch.resize(count);
    CopySpecialsTo(scratch.data(), start, count);
    return ArrayView<SpecialKind>(scratch.data(), count);
}

// ---------------------------------------------------------------------------------------------
// Whole-array operations

template <class T>
std::shared_ptr<ArrayValue<T>> ArrayValue<T>::MakeConstant(StoreTypeInfo const& elementType,
                                                           StoreTypeInfo const& childType, T const& value,
                                                           SpecialKind special, unsigned int count) {
    ArrayParts<T> parts{elementType, {}, {}, {}, {}};
    parts.values = ArrayPart<T>(std::make_shared<std::vector<T> const>(1, value));
    if (special != SpecialKind::None) {
        parts.specials = ArrayPart<SpecialKind>(std::make_shared<std::vector<SpecialKind> const>(1, special));
    }
    return std::make_shared<ArrayValue<T>>(std::move(parts), childType, ArrayLayout::Constant, count);
}

template <class T>
std::shared_ptr<ArrayValue<T>> ArrayValue<T>::MakeFlat(
    StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
    std::shared_ptr<HugePageVector<T> const> values,
    std::shared_ptr<HugePageVector<SpecialKind> const> specials) {
    auto const count = static_cast<unsigned int>(values->size());
    ArrayParts<T> parts{elementType, MakeBufferPart(std::move(values)), {}, {}, {}};
    if (specials) {
        parts.specials = MakeBufferPart(std::move(specials));
    }
    return std::make_shared<ArrayValue<T>>(std::move(parts), childType, ArrayLayout::Flat, count);
}

template <class T>
std::shared_ptr<StoreValue> ArrayValue<T>::Gather(
    std::shared_ptr<std::vector<unsigned int>> const& indices) const {
    ZEL_CHECK_NOT_NULL(indices, ZelError::RangeViolation);
    std::size_t const n = indices->size();
    ZEL_CHECK(n <= 0xFFFFFFFFu, ZelError::RangeViolation);
    unsigned int const* rows = indices->data();
    unsigned int const size = m_count;

    if (m_layout == ArrayLayout::Constant) {
        for (std::size_t k = 0; k < n; ++k) {
            if (rows[k] >= size) [[unlikely]] {
                ThrowGatherIndex(k, rows[k], size);
            }
        }
        return MakeConstant(m_parts.elementType, m_childType, m_parts.values.View().data()[0], SpecialAt(0),
                            static_cast<unsigned int>(n));
    }

    auto values = std::make_shared<HugePageVector<T>>(n);
    T* out = values->data();
    if (m_layout == ArrayLayout::Flat) {
        T const* source = m_parts.values.View().data();
        for (std::size_t k = 0; k < n; ++k) {
            unsigned int const row = rows[k];
            if (row >= size) [[unlikely]] {
                ThrowGatherIndex(k, row, size);
            }
            out[k] = source[row];
        }
    } else {
        for (std::size_t k = 0; k < n; ++k) {
            unsigned int const row = rows[k];
            if (row >= size) [[unlikely]] {
                ThrowGatherIndex(k, row, size);
            }
            out[k] = ValueAt(row);
        }
    }

    std::shared_ptr<HugePageVector<SpecialKind>> specials;
    if (m_hasSpecials) {
        specials = std::make_shared<HugePageVector<SpecialKind>>(n);
        bool any = false;
        for (std::size_t k = 0; k < n; ++k) {
            SpecialKind const special = SpecialAt(rows[k]);
            (*specials)[k] = special;
            any = any || special != SpecialKind::None;
        }
        if (!any) {
            specials.reset();
        }
    }
    return MakeFlat(m_parts.elementType, m_childType, std::move(values), std::move(specials));
}

template <class T>
std::shared_ptr<StoreValue> ArrayValue<T>::Flatten() const {
    if (m_layout == ArrayLayout::Flat) {
        return std::make_shared<ArrayValue<T>>(*this);
    }
    auto values = std::make_shared<HugePageVector<T>>(m_count);
    CopyValuesTo(values->data(), 0, m_count);
    std::shared_ptr<HugePageVector<SpecialKind>> specials;
    if (m_hasSpecials) {
        specials = std::make_shared<HugePageVector<SpecialKind>>(m_count);
        CopySpecialsTo(specials->data(), 0, m_count);
    }
    return MakeFlat(m_parts.elementType, m_childType, std::move(values), std::move(specials));
}

template <class T>
std::shared_ptr<StoreValue> ArrayValue<T>::MakeDistinct(bool includeSpecial) const {
    return SetValue<T>::MakeDistinct(*this, includeSpecial);
}

template <class T>
bool ArrayValue<T>::AreElementsEqual(unsigned int row1, unsigned int row2) const {
    ZEL_CHECK(row1 < m_count, ZelError::RangeViolation);
    ZEL_CHECK(row2 < m_count, ZelError::RangeViolation);
    SpecialKind const special1 = SpecialAt(row1);
    SpecialKind const special2 = SpecialAt(row2);
    if (special1 != SpecialKind::None || special2 != SpecialKind::None) {
        return special1 == special2;
    }
    return ElementOps<T>(m_parts.elementType).Equals(ValueAt(row1), ValueAt(row2));
}

template <class T>
std::shared_ptr<StoreValue> ArrayValue<T>::GetStoreValue(unsigned int row) const {
    ZEL_CHECK(row < m_count, ZelError::RangeViolation);
    if (SpecialKind const special = SpecialAt(row); special != SpecialKind::None) {
        return factory::MakeSpecial(m_parts.elementType, special);
    }
    return MakeStoreValueFromStorageType<T>(m_parts.elementType, ValueAt(row));
}

template <class T>
std::unique_ptr<StoreValue> ArrayValue<T>::Clone() const {
    // Parts are immutable, so the clone shares them: a value of its own at the cost of a few
    // reference counts.
    return std::make_unique<ArrayValue<T>>(*this);
}

template <class T>
void ArrayValue<T>::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    if (!builder.AddBlock(this, sizeof(*this))) {
        return;
    }
    auto addPart = [&builder](auto const& part) {
        return part.IsPresent() && part.View().data() != nullptr &&
               builder.AddBlock(part.View().data(), part.GetByteCount());
    };
    auto addElement = [&](T const& value) {
        if constexpr (std::is_same_v<T, RIndirectString>) {
            builder.AddString(value);
        } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
            if (value) {
                value->CollectMemoryUsage(builder);
            }
        }
    };
    if (addPart(m_parts.values)) {
        for (T const& value : m_parts.values.View()) {
            addElement(value);
        }
    }
    if (addPart(m_parts.runs)) {
        for (RunLengthEntry<T> const& run : m_parts.runs.View()) {
            addElement(run.value);
        }
    }
    addPart(m_parts.indices);
    addPart(m_parts.specials);
    if (m_runEnds && !m_runEnds->empty()) {
        builder.AddBlock(m_runEnds->data(), m_runEnds->capacity() * sizeof(unsigned int));
    }
}

// The order of two elements: specials first, by kind; then ordinary values by the element order.
template <class T>
int CompareElements(ElementOps<T> const& ops, T const& a, SpecialKind specialA, T const& b,
                    SpecialKind specialB) {
    if (specialA != SpecialKind::None || specialB != SpecialKind::None) {
        if (specialA == SpecialKind::None) {
            return 1;
        }
        if (specialB == SpecialKind::None) {
            return -1;
        }
        return specialA < specialB ? -1 : (specialA > specialB ? 1 : 0);
    }
    return ops.Compare(a, b);
}

template <class T>
std::size_t ArrayValue<T>::Hash() const {
    ElementOps<T> const ops(m_parts.elementType);
    std::size_t seed = static_cast<std::size_t>(m_parts.elementType.GetStoreType());
    boost::hash_combine(seed, m_count);
    ForEachElement(0, m_count, [&](T const& value, SpecialKind special) {
        boost::hash_combine(seed, special != SpecialKind::None ? HashSpecial(special) : ops.Hash(value));
    });
    return seed;
}

// The typed array of `other` when it is of the same kind and element type as `self`, else null.
template <class T>
ITypedArray<T> const* SameKindArray(StoreValue const& self, StoreValue const& other) {
    if (other.GetStoreType() != self.GetStoreType() || other.IsSpecial()) {
        return nullptr;
    }
    auto const* typed = dynamic_cast<ITypedArray<T> const*>(&other.AsCollection());
    if (typed == nullptr) {
        return nullptr;
    }
    StoreTypeInfo const& mine = self.GetValueTypeInfo();
    StoreTypeInfo const& theirs = typed->GetElementTypeInfo();
    if (mine.GetStoreType() != theirs.GetStoreType() || !(mine.GetCollation() == theirs.GetCollation())) {
        return nullptr;
    }
    return typed;
}

template <class T>
bool ArrayValue<T>::Equals(StoreValue const& other) const {
    if (this == &other) {
        return true;
    }
    ITypedArray<T> const* typed = SameKindArray<T>(*this, other);
    if (typed == nullptr || typed->GetCount() != m_count) {
        return false;
    }
    ElementOps<T> const ops(m_parts.elementType);
    auto const range = typed->GetValuesAndSpecials();
    auto it = range.begin();
    bool equal = true;
    // The layout of this array is walked by ForEachElement, the other's by its inlined iterator.
    ForEachElement(0, m_count, [&](T const& value, SpecialKind special) {
        if (equal) {
            auto const [otherValue, otherSpecial] = *it;
            equal =
                special == otherSpecial && (special != SpecialKind::None || ops.Equals(value, otherValue));
        }
        ++it;
    });
    return equal;
}

template <class T>
int ArrayValue<T>::Compare(StoreValue const& other) const {
    if (int const order = CompareTypeAndSpecial(*this, other); order != 0) {
        return order;
    }
    StoreType const mine = m_parts.elementType.GetStoreType();
    StoreType const theirs = other.GetValueTypeInfo().GetStoreType();
    if (mine != theirs) {
        return mine < theirs ? -1 : 1;
    }
    auto const* typed = dynamic_cast<ITypedArray<T> const*>(&other.AsCollection());
    ZEL_CHECK_LOGIC_NOT_NULL(typed, ZelError::LogicFailure);
    ElementOps<T> const ops(m_parts.elementType);
    auto const mineRange = GetValuesAndSpecials();
    auto const theirRange = typed->GetValuesAndSpecials();
    auto a = mineRange.begin();
    auto b = theirRange.begin();
    for (; a != mineRange.end() && b != theirRange.end(); ++a, ++b) {
        auto const [valueA, specialA] = *a;
        auto const [valueB, specialB] = *b;
        if (int const order = CompareElements(ops, valueA, specialA, valueB, specialB); order != 0) {
            return order;
        }
    }
    unsigned int const countB = typed->GetCount();
    return m_count < countB ? -1 : (m_count > countB ? 1 : 0);
}

// ---------------------------------------------------------------------------------------------
// Sets

template <class T>
StoreTypeInfo const& SetValue<T>::GetTypeInfo() const {
    return StoreTypeInfo::Set;
}

template <class T>
std::shared_ptr<SetValue<T>> SetValue<T>::MakeDistinct(ArrayValue<T> const& array, bool includeSpecial) {
    StoreTypeInfo const& elementType = array.GetElementTypeInfo();
    ElementOps<T> const ops(elementType);
    boost::unordered_flat_set<T, typename ElementOps<T>::Hasher, typename ElementOps<T>::Equal> seen(
        0, ops.MakeHasher(), ops.MakeEqual());
    std::bitset<256> seenKinds;
    auto values = std::make_shared<HugePageVector<T>>();
    auto specials = std::make_shared<HugePageVector<SpecialKind>>();
    bool anySpecial = false;

    auto visit = [&](T const& value, SpecialKind special) {
        if (special != SpecialKind::None) {
            auto const kind = static_cast<unsigned char>(special);
            if (!includeSpecial || seenKinds.test(kind)) {
                return;
            }
            seenKinds.set(kind);
            values->push_back(SpecialFill<T>());
            specials->push_back(special);
            anySpecial = true;
            return;
        }
        // One hash per element: insert hashes once and says whether the value is new.
        if (seen.insert(value).second) {
            values->push_back(value);
            specials->push_back(SpecialKind::None);
        }
    };

    if (array.IsConstant()) {
        if (array.GetCount() > 0) {
            visit(array.GetParts().values.View()[0], array.GetSpecial(0));
        }
    } else {
        array.ForEachElement(0, array.GetCount(), visit);
    }

    auto const count = static_cast<unsigned int>(values->size());
    ArrayParts<T> parts{elementType, MakeBufferPart<T>(std::move(values)), {}, {}, {}};
    if (anySpecial) {
        parts.specials = MakeBufferPart<SpecialKind>(std::move(specials));
    }
    return std::make_shared<SetValue<T>>(std::move(parts), array.GetChildTypeInfo(), count);
}

template <class T>
std::unique_ptr<StoreValue> SetValue<T>::Clone() const {
    return std::make_unique<SetValue<T>>(*this);
}

template <class T>
std::shared_ptr<StoreValue> SetValue<T>::Flatten() const {
    return std::make_shared<SetValue<T>>(*this);
}

template <class T>
std::shared_ptr<StoreValue> SetValue<T>::MakeDistinct(bool includeSpecial) const {
    if (includeSpecial || !this->HasSpecialValues()) {
        return std::make_shared<SetValue<T>>(*this);
    }
    return WithoutSpecials();
}

template <class T>
std::shared_ptr<ArrayValue<T>> SetValue<T>::OrdinaryMembers() const {
    auto values = std::make_shared<HugePageVector<T>>();
    values->reserve(this->GetCount());
    this->ForEachElement(0, this->GetCount(), [&values](T const& value, SpecialKind special) {
        if (special == SpecialKind::None) {
            values->push_back(value);
        }
    });
    return ArrayValue<T>::MakeFlat(this->GetElementTypeInfo(), this->GetChildTypeInfo(), std::move(values),
                                   nullptr);
}

template <class T>
std::shared_ptr<StoreValue> SetValue<T>::AsArray(bool includeSpecial) const {
    if (includeSpecial || !this->HasSpecialValues()) {
        return std::make_shared<ArrayValue<T>>(static_cast<ArrayValue<T> const&>(*this));
    }
    return OrdinaryMembers();
}

template <class T>
std::shared_ptr<StoreValue> SetValue<T>::WithoutSpecials() const {
    if (!this->HasSpecialValues()) {
        return std::make_shared<SetValue<T>>(*this);
    }
    return std::make_shared<SetValue<T>>(*OrdinaryMembers());
}

// A set's hash adds up its members' hashes, so that the order of the members plays no part.
template <class T>
std::size_t SetValue<T>::Hash() const {
    ElementOps<T> const ops(this->GetElementTypeInfo());
    std::size_t sum = 0;
    this->ForEachElement(0, this->GetCount(), [&](T const& value, SpecialKind special) {
        std::size_t element = special != SpecialKind::None ? HashSpecial(special) : ops.Hash(value);
        boost::hash_combine(element, std::size_t{0x51ed27});
        sum += element;
    });
    std::size_t seed = static_cast<std::size_t>(this->GetElementTypeInfo().GetStoreType()) + 0x5e7;
    boost::hash_combine(seed, this->GetCount());
    boost::hash_combine(seed, sum);
    return seed;
}

template <class T>
bool SetValue<T>::Equals(StoreValue const& other) const {
    if (this == &other) {
        return true;
    }
    ITypedArray<T> const* typed = SameKindArray<T>(*this, other);
    if (typed == nullptr || typed->GetCount() != this->GetCount()) {
        return false;
    }
    // Both hold distinct members, so equal counts and every member of the other found here make
    // the two sets equal.
    ElementOps<T> const ops(this->GetElementTypeInfo());
    boost::unordered_flat_set<T, typename ElementOps<T>::Hasher, typename ElementOps<T>::Equal> members(
        this->GetCount(), ops.MakeHasher(), ops.MakeEqual());
    std::bitset<256> kinds;
    this->ForEachElement(0, this->GetCount(), [&](T const& value, SpecialKind special) {
        if (special != SpecialKind::None) {
            kinds.set(static_cast<unsigned char>(special));
        } else {
            members.insert(value);
        }
    });
    for (auto const [value, special] : typed->GetValuesAndSpecials()) {
        bool const found = special != SpecialKind::None ? kinds.test(static_cast<unsigned char>(special))
                                                        : members.contains(value);
        if (!found) {
            return false;
        }
    }
    return true;
}

// The positions of a set's members in element order.
template <class T>
std::vector<unsigned int> SortedPositions(ITypedArray<T> const& set, ElementOps<T> const& ops) {
    std::vector<unsigned int> positions(set.GetCount());
    std::iota(positions.begin(), positions.end(), 0u);
    std::sort(positions.begin(), positions.end(), [&](unsigned int a, unsigned int b) {
        T const valueA = set.GetValue(a);
        T const valueB = set.GetValue(b);
        return CompareElements(ops, valueA, set.GetSpecial(a), valueB, set.GetSpecial(b)) < 0;
    });
    return positions;
}

// Sets order as their members do once sorted, then by count.
template <class T>
int SetValue<T>::Compare(StoreValue const& other) const {
    if (int const order = StoreValue::CompareTypeAndSpecial(*this, other); order != 0) {
        return order;
    }
    StoreType const mine = this->GetElementTypeInfo().GetStoreType();
    StoreType const theirs = other.GetValueTypeInfo().GetStoreType();
    if (mine != theirs) {
        return mine < theirs ? -1 : 1;
    }
    auto const* typed = dynamic_cast<ITypedArray<T> const*>(&other.AsCollection());
    ZEL_CHECK_LOGIC_NOT_NULL(typed, ZelError::LogicFailure);
    ElementOps<T> const ops(this->GetElementTypeInfo());
    std::vector<unsigned int> const sortedMine = SortedPositions<T>(*this, ops);
    std::vector<unsigned int> const sortedTheirs = SortedPositions<T>(*typed, ops);
    std::size_t const common = std::min(sortedMine.size(), sortedTheirs.size());
    for (std::size_t k = 0; k < common; ++k) {
        unsigned int const a = sortedMine[k];
        unsigned int const b = sortedTheirs[k];
        T const valueB = typed->GetValue(b);
        int const order =
            CompareElements(ops, this->ValueAt(a), this->SpecialAt(a), valueB, typed->GetSpecial(b));
        if (order != 0) {
            return order;
        }
    }
    return sortedMine.size() < sortedTheirs.size() ? -1 : (sortedMine.size() > sortedTheirs.size() ? 1 : 0);
}

// ---------------------------------------------------------------------------------------------
// Factories

template <class T>
void CheckElementType(char const* factory, StoreTypeInfo const& elementType) {
    if (!IsStorageOf<T>(elementType.GetStoreType())) {
        ThrowFactoryFailure(
            ZelError::UnsupportedTypes,
            TStringCore::FromUtf8(std::string(factory) + ": elements of type ") +
                DescribeElementType(elementType) +
                TStringCore::FromUtf8(std::string(" cannot be held in storage ") + StorageTraits<T>::c_name));
    }
}

inline void CheckIndices(char const* factory, std::vector<unsigned int> const& indices, std::size_t limit,
                         char const* limitName) {
    for (std::size_t k = 0; k < indices.size(); ++k) {
        if (indices[k] >= limit) {
            ThrowFactoryFailure(
                ZelError::RangeViolation,
                TStringCore::FromUtf8(std::string(factory) + ": index " + std::to_string(indices[k]) +
                                      " at position " + std::to_string(k) + " is not below the " +
                                      std::to_string(limit) + " " + limitName));
        }
    }
}

inline void CheckCount(char const* factory, std::size_t count, char const* what) {
    if (count > 0xFFFFFFFFu) {
        ThrowFactoryFailure(ZelError::RangeViolation,
                            TStringCore::FromUtf8(std::string(factory) + ": " + std::to_string(count) + " " +
                                                  what + " are more than an array can hold"));
    }
}

// The checks of MakeArray on its values and specials, whatever vectors hold them. Specials
// without a special entry are dropped.
template <class T, class Values, class Specials>
void PrepareFlatParts(char const* name, StoreTypeInfo const& elementType,
                      std::unique_ptr<Values> const& values, std::unique_ptr<Specials>& specials) {
    CheckElementType<T>(name, elementType);
    if (!values) {
        ThrowFactoryFailure(ZelError::InvalidArgument, L"MakeArray: no values given");
    }
    CheckCount(name, values->size(), "values");
    if (specials && specials->size() != values->size()) {
        ThrowFactoryFailure(ZelError::RangeViolation,
                            TStringCore::FromUtf8("MakeArray: " + std::to_string(specials->size()) +
                                                  " specials for " + std::to_string(values->size()) +
                                                  " values; there must be one for each value"));
    }
    if (specials && std::all_of(specials->begin(), specials->end(),
                                [](SpecialKind s) { return s == SpecialKind::None; })) {
        specials.reset();
    }
    if (specials) {
        // A special slot holds the fill of its type, so that no stale value can be read from it.
        for (std::size_t k = 0; k < values->size(); ++k) {
            if ((*specials)[k] != SpecialKind::None) {
                (*values)[k] = SpecialFill<T>();
            }
        }
    }
}

}  // namespace zel::core::detail

namespace zel::core::factory {

template <StorageElement T>
std::shared_ptr<StoreValue> MakeArray(StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
                                      std::unique_ptr<std::vector<T>> values,
                                      std::unique_ptr<std::vector<unsigned int>> indices,
                                      std::unique_ptr<std::vector<SpecialKind>> specials) {
    using namespace detail;
    char const* const name = "MakeArray";
    PrepareFlatParts<T>(name, elementType, values, specials);
    ArrayParts<T> parts{
        elementType, ArrayPart<T>(ShareBuffer(std::move(values))), {}, {}, {}};
    if (specials) {
        parts.specials =
            ArrayPart<SpecialKind>(std::shared_ptr<std::vector<SpecialKind> const>(std::move(specials)));
    }
    ArrayLayout layout = ArrayLayout::Flat;
    unsigned int count = parts.values.size();
    if (indices) {
        CheckCount(name, indices->size(), "indices");
        CheckIndices(name, *indices, parts.values.size(), "values");
        count = static_cast<unsigned int>(indices->size());
        parts.indices =
            ArrayPart<unsigned int>(std::shared_ptr<std::vector<unsigned int> const>(std::move(indices)));
        layout = ArrayLayout::Indexed;
    }
    return std::make_shared<ArrayValue<T>>(std::move(parts), childType, layout, count);
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeArray(StoreTypeInfo const& elementType,
                                      std::unique_ptr<std::vector<T>> values,
                                      std::unique_ptr<std::vector<unsigned int>> indices,
                                      std::unique_ptr<std::vector<SpecialKind>> specials) {
    return MakeArray<T>(elementType, StoreTypeInfo::Empty, std::move(values), std::move(indices),
                        std::move(specials));
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeArray(StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
                                      std::unique_ptr<HugePageVector<T>> values,
                                      std::unique_ptr<HugePageVector<SpecialKind>> specials) {
    using namespace detail;
    char const* const name = "MakeArray";
    PrepareFlatParts<T>(name, elementType, values, specials);
    return ArrayValue<T>::MakeFlat(elementType, childType,
                                   ShareBuffer(std::move(values)),
                                   std::shared_ptr<HugePageVector<SpecialKind> const>(std::move(specials)));
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeConstantArray(StoreTypeInfo const& elementType, T const& value,
                                              unsigned int count) {
    detail::CheckElementType<T>("MakeConstantArray", elementType);
    return detail::ArrayValue<T>::MakeConstant(elementType, StoreTypeInfo::Empty, value, SpecialKind::None,
                                               count);
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeConstantArray(StoreTypeInfo const& elementType, unsigned int count,
                                              SpecialKind kind) {
    detail::CheckElementType<T>("MakeConstantArray", elementType);
    if (kind == SpecialKind::None) {
        detail::ThrowFactoryFailure(
            ZelError::InvalidArgument,
            L"MakeConstantArray: a special constant needs a special kind other than 0");
    }
    return detail::ArrayValue<T>::MakeConstant(elementType, StoreTypeInfo::Empty, SpecialFill<T>(), kind,
                                               count);
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeRunLengthArray(StoreTypeInfo const& elementType,
                                               StoreTypeInfo const& childType,
                                               std::unique_ptr<std::vector<RunLengthEntry<T>>> runs,
                                               std::unique_ptr<std::vector<unsigned int>> indices) {
    using namespace detail;
    char const* const name = "MakeRunLengthArray";
    CheckElementType<T>(name, elementType);
    if (!runs) {
        ThrowFactoryFailure(ZelError::InvalidArgument, L"MakeRunLengthArray: no runs given");
    }
    std::erase_if(*runs, [](RunLengthEntry<T> const& run) { return run.count == 0; });
    std::uint64_t total = 0;
    for (RunLengthEntry<T>& run : *runs) {
        total += run.count;
        if (run.special != SpecialKind::None) {
            run.value = SpecialFill<T>();
        }
    }
    CheckCount(name, total, "elements");
    ArrayParts<T> parts{elementType, {}, {}, {}, {}};
    parts.runs =
        ArrayPart<RunLengthEntry<T>>(std::shared_ptr<std::vector<RunLengthEntry<T>> const>(std::move(runs)));
    auto count = static_cast<unsigned int>(total);
    if (indices) {
        CheckCount(name, indices->size(), "indices");
        CheckIndices(name, *indices, total, "elements of the runs");
        count = static_cast<unsigned int>(indices->size());
        parts.indices =
            ArrayPart<unsigned int>(std::shared_ptr<std::vector<unsigned int> const>(std::move(indices)));
    }
    return std::make_shared<ArrayValue<T>>(std::move(parts), childType, ArrayLayout::RunLength, count);
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeRunLengthArray(StoreTypeInfo const& elementType,
                                               std::unique_ptr<std::vector<RunLengthEntry<T>>> runs,
                                               std::unique_ptr<std::vector<unsigned int>> indices) {
    return MakeRunLengthArray<T>(elementType, StoreTypeInfo::Empty, std::move(runs), std::move(indices));
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeSet(StoreTypeInfo const& elementType, StoreTypeInfo const& childType,
                                    std::unique_ptr<std::vector<T>> values,
                                    std::unique_ptr<std::vector<SpecialKind>> specials) {
    auto const array = MakeArray<T>(elementType, childType, std::move(values), nullptr, std::move(specials));
    return detail::SetValue<T>::MakeDistinct(static_cast<detail::ArrayValue<T> const&>(*array), true);
}

template <StorageElement T>
std::shared_ptr<StoreValue> MakeSet(StoreTypeInfo const& elementType, std::unique_ptr<std::vector<T>> values,
                                    std::unique_ptr<std::vector<SpecialKind>> specials) {
    return MakeSet<T>(elementType, StoreTypeInfo::Empty, std::move(values), std::move(specials));
}

}  // namespace zel::core::factory

// One storage type's instances of everything above.
#define ZEL_INSTANTIATE_ARRAYS(T)                                                                            \
    namespace zel::core::detail {                                                                            \
    template class ArrayValue<T>;                                                                            \
    template class SetValue<T>;                                                                              \
    }                                                                                                        \
    namespace zel::core::factory {                                                                           \
    template std::shared_ptr<StoreValue> MakeArray<T>(StoreTypeInfo const&, StoreTypeInfo const&,            \
                                                      std::unique_ptr<std::vector<T>>,                       \
                                                      std::unique_ptr<std::vector<unsigned int>>,            \
                                                      std::unique_ptr<std::vector<SpecialKind>>);            \
    template std::shared_ptr<StoreValue> MakeArray<T>(StoreTypeInfo const&, std::unique_ptr<std::vector<T>>, \
                                                      std::unique_ptr<std::vector<unsigned int>>,            \
                                                      std::unique_ptr<std::vector<SpecialKind>>);            \
    template std::shared_ptr<StoreValue> MakeArray<T>(StoreTypeInfo const&, StoreTypeInfo const&,            \
                                                      std::unique_ptr<HugePageVector<T>>,                    \
                                                      std::unique_ptr<HugePageVector<SpecialKind>>);         \
    template std::shared_ptr<StoreValue> MakeConstantArray<T>(StoreTypeInfo const&, T const&, unsigned int); \
    template std::shared_ptr<StoreValue> MakeConstantArray<T>(StoreTypeInfo const&, unsigned int,            \
                                                              SpecialKind);                                  \
    template std::shared_ptr<StoreValue> MakeRunLengthArray<T>(                                              \
        StoreTypeInfo const&, StoreTypeInfo const&, std::unique_ptr<std::vector<RunLengthEntry<T>>>,         \
        std::unique_ptr<std::vector<unsigned int>>);                                                         \
    template std::shared_ptr<StoreValue> MakeRunLengthArray<T>(                                              \
        StoreTypeInfo const&, std::unique_ptr<std::vector<RunLengthEntry<T>>>,                               \
        std::unique_ptr<std::vector<unsigned int>>);                                                         \
    template std::shared_ptr<StoreValue> MakeSet<T>(StoreTypeInfo const&, StoreTypeInfo const&,              \
                                                    std::unique_ptr<std::vector<T>>,                         \
                                                    std::unique_ptr<std::vector<SpecialKind>>);              \
    template std::shared_ptr<StoreValue> MakeSet<T>(StoreTypeInfo const&, std::unique_ptr<std::vector<T>>,   \
                                                    std::unique_ptr<std::vector<SpecialKind>>);              \
    }
