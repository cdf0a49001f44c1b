#pragma once

// The scalar values: one class template over the primitive StoreType, holding the value in its
// storage form (the form an array element of that type has), and one class for scalar specials.

#include <bit>
#include <memory>

#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::core {

// For each primitive type: the logical C++ type, the storage type, and the two conversions.
template <StoreType Type>
struct ScalarTraits;

template <class LogicalT, class StorageT>
struct BitScalarTraits {
    using Logical = LogicalT;
    using Storage = StorageT;
    static Storage ToStorage(Logical value) noexcept { return std::bit_cast<Storage>(value); }
    static Logical FromStorage(Storage value) noexcept { return std::bit_cast<Logical>(value); }
};

template <>
struct ScalarTraits<StoreType::Bool> {
    using Logical = bool;
    using Storage = unsigned char;
    static Storage ToStorage(bool value) noexcept { return value ? 1 : 0; }
    static bool FromStorage(Storage value) noexcept { return value != 0; }
};
template <>
struct ScalarTraits<StoreType::Int32> : BitScalarTraits<int, unsigned int> {};
template <>
struct ScalarTraits<StoreType::Int64> : BitScalarTraits<long long, unsigned long long> {};
template <>
struct ScalarTraits<StoreType::Float> : BitScalarTraits<float, unsigned int> {};
template <>
struct ScalarTraits<StoreType::Double> : BitScalarTraits<double, unsigned long long> {};

struct DateTimeScalarTraits {
    using Logical = ZelDateTime;
    using Storage = unsigned long long;
    static Storage ToStorage(ZelDateTime value) noexcept { return value.GetValue(); }
    static ZelDateTime FromStorage(Storage value) noexcept { return ZelDateTime(value); }
};
template <>
struct ScalarTraits<StoreType::Date> : DateTimeScalarTraits {};
template <>
struct ScalarTraits<StoreType::DateTime> : DateTimeScalarTraits {};

template <>
struct ScalarTraits<StoreType::Color> {
    using Logical = ZelColor;
    using Storage = unsigned int;
    static Storage ToStorage(ZelColor value) noexcept { return value.GetValue(); }
    static ZelColor FromStorage(Storage value) noexcept { return ZelColor(value); }
};

template <class T>
struct IdentityScalarTraits {
    using Logical = T;
    using Storage = T;
    static Storage const& ToStorage(T const& value) noexcept { return value; }
    static Logical const& FromStorage(T const& value) noexcept { return value; }
};
template <>
struct ScalarTraits<StoreType::String> : IdentityScalarTraits<RIndirectString> {};
template <>
struct ScalarTraits<StoreType::Object> : IdentityScalarTraits<std::shared_ptr<StoreValue>> {};

// The scalars whose storage type is S: FetchStoreValue<S> reads any of them through this base.
template <class S>
class ScalarStorage : public StoreValue {
public:
    StoreTypeInfo const& GetTypeInfo() const final { return m_type; }
    S const& GetStorageValue() const noexcept { return m_value; }

protected:
    ScalarStorage(StoreTypeInfo type, S value) : m_type(std::move(type)), m_value(std::move(value)) {}

    StoreTypeInfo const m_type;
    S const m_value;
};

template <StoreType Type>
class ScalarValue final : public ScalarStorage<typename ScalarTraits<Type>::Storage> {
public:
    using Traits = ScalarTraits<Type>;
    using Logical = typename Traits::Logical;
    using Storage = typename Traits::Storage;

    // The type's StoreType must be Type (a broken invariant otherwise).
    ScalarValue(StoreTypeInfo type, Storage value);

    Logical GetValue() const { return Traits::FromStorage(this->m_value); }

    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;
};

extern template class ScalarValue<StoreType::Bool>;
extern template class ScalarValue<StoreType::Int32>;
extern template class ScalarValue<StoreType::Int64>;
extern template class ScalarValue<StoreType::Float>;
extern template class ScalarValue<StoreType::Double>;
extern template class ScalarValue<StoreType::String>;
extern template class ScalarValue<StoreType::Date>;
extern template class ScalarValue<StoreType::DateTime>;
extern template class ScalarValue<StoreType::Color>;
extern template class ScalarValue<StoreType::Object>;

// A scalar special: a value of some type that holds no readable value, only the reason why.
class SpecialValue final : public StoreValue {
public:
    SpecialValue(StoreTypeInfo type, SpecialKind kind);

    StoreTypeInfo const& GetTypeInfo() const override { return m_type; }
    SpecialKind GetSpecialKind() const override { return m_kind; }
    KeySegmentType GetKeySegmentType() const override { return KeySegmentType(m_type); }

    std::unique_ptr<StoreValue> Clone() const override;
    void CollectMemoryUsage(MemoryUsageBuilder& builder) const override;
    std::size_t Hash() const override;
    bool Equals(StoreValue const& other) const override;
    int Compare(StoreValue const& other) const override;

private:
    StoreTypeInfo const m_type;
    SpecialKind const m_kind;
};

}  // namespace zel::core
