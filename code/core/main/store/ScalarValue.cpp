#include "ScalarValue.h"

#include <cmath>
#include <type_traits>

#include <boost/container_hash/hash.hpp>

#include "StoreFailure.h"
#include "zel/core/store/MemoryUsage.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

namespace {

template <class T>
int ThreeWay(T const& a, T const& b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

// Floating point values compare by value, with every NaN equal to every other and after all
// numbers, so that the order is total and agrees with Equals and Hash (0.0 and -0.0 are equal).
template <class F>
int CompareFloating(F a, F b) {
    bool const nanA = std::isnan(a);
    bool const nanB = std::isnan(b);
    if (nanA || nanB) {
        return nanA == nanB ? 0 : (nanA ? 1 : -1);
    }
    return ThreeWay(a, b);
}

template <class F>
std::size_t HashFloating(F value) {
    if (std::isnan(value)) {
        return 0x7ff8'0000'0000'0001ULL;
    }
    if (value == F(0)) {
        return 0;
    }
    return boost::hash<F>()(value);
}

template <StoreType Type>
int CompareContent(ScalarValue<Type> const& a, ScalarValue<Type> const& b) {
    if constexpr (Type == StoreType::Float || Type == StoreType::Double) {
        return CompareFloating(a.GetValue(), b.GetValue());
    } else if constexpr (Type == StoreType::String) {
        Collation const& collationA = a.GetTypeInfo().GetCollation();
        Collation const& collationB = b.GetTypeInfo().GetCollation();
        if (!(collationA == collationB)) {
            // Strings of two collations are never equal; order them by the collation's name so
            // that the order stays total.
            return ThreeWay(collationA.GetName(), collationB.GetName());
        }
        int const order = collationA.GetCollator().Compare(a.GetValue().View(), b.GetValue().View());
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    } else if constexpr (Type == StoreType::Object) {
        auto const& valueA = a.GetValue();
        auto const& valueB = b.GetValue();
        if (!valueA || !valueB) {
            return valueA ? 1 : (valueB ? -1 : 0);
        }
        return valueA->Compare(*valueB);
    } else {
        return ThreeWay(a.GetValue(), b.GetValue());
    }
}

template <StoreType Type>
bool EqualContent(ScalarValue<Type> const& a, ScalarValue<Type> const& b) {
    if constexpr (Type == StoreType::Float || Type == StoreType::Double || Type == StoreType::String) {
        return CompareContent(a, b) == 0;
    } else if constexpr (Type == StoreType::Object) {
        return std::equal_to<std::shared_ptr<StoreValue>>()(a.GetValue(), b.GetValue());
    } else {
        return a.GetStorageValue() == b.GetStorageValue();
    }
}

}  // namespace

template <StoreType Type>
ScalarValue<Type>::ScalarValue(StoreTypeInfo type, Storage value)
    : ScalarStorage<Storage>(std::move(type), std::move(value)) {
    ZEL_CHECK_LOGIC(this->m_type.GetStoreType() == Type, ZelError::LogicFailure);
}

template <StoreType Type>
std::unique_ptr<StoreValue> ScalarValue<Type>::Clone() const {
    return std::make_unique<ScalarValue>(this->m_type, this->m_value);
}

template <StoreType Type>
void ScalarValue<Type>::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    if (!builder.AddBlock(this, sizeof(*this))) {
        return;
    }
    if constexpr (Type == StoreType::String) {
        builder.AddString(this->m_value);
    } else if constexpr (Type == StoreType::Object) {
        if (this->m_value) {
            this->m_value->CollectMemoryUsage(builder);
        }
    }
}

template <StoreType Type>
std::size_t ScalarValue<Type>::Hash() const {
    std::size_t seed = static_cast<std::size_t>(Type);
    if constexpr (Type == StoreType::Float || Type == StoreType::Double) {
        boost::hash_combine(seed, HashFloating(GetValue()));
    } else if constexpr (Type == StoreType::String) {
        boost::hash_combine(seed, this->m_type.GetCollation().GetCollator().Hash(this->m_value.View()));
    } else if constexpr (Type == StoreType::Object) {
        boost::hash_combine(seed, this->m_value ? this->m_value->Hash() : 0);
    } else {
        boost::hash_combine(seed, this->m_value);
    }
    return seed;
}

template <StoreType Type>
bool ScalarValue<Type>::Equals(StoreValue const& other) const {
    if (this == &other) {
        return true;
    }
    if (StoreValue::CompareTypeAndSpecial(*this, other) != 0) {
        return false;
    }
    auto const* same = dynamic_cast<ScalarValue const*>(&other);
    return same != nullptr && EqualContent(*this, *same);
}

template <StoreType Type>
int ScalarValue<Type>::Compare(StoreValue const& other) const {
    if (int const order = StoreValue::CompareTypeAndSpecial(*this, other)) {
        return order;
    }
    auto const* same = dynamic_cast<ScalarValue const*>(&other);
    if (same == nullptr) {
        // Another kind of value of the same type (a key set is an Object too): scalars first.
        return -1;
    }
    return CompareContent(*this, *same);
}

template class ScalarValue<StoreType::Bool>;
template class ScalarValue<StoreType::Int32>;
template class ScalarValue<StoreType::Int64>;
template class ScalarValue<StoreType::Float>;
template class ScalarValue<StoreType::Double>;
template class ScalarValue<StoreType::String>;
template class ScalarValue<StoreType::Date>;
template class ScalarValue<StoreType::DateTime>;
template class ScalarValue<StoreType::Color>;
template class ScalarValue<StoreType::Object>;

SpecialValue::SpecialValue(StoreTypeInfo type, SpecialKind kind) : m_type(std::move(type)), m_kind(kind) {}

std::unique_ptr<StoreValue> SpecialValue::Clone() const {
    return std::make_unique<SpecialValue>(m_type, m_kind);
}

void SpecialValue::CollectMemoryUsage(MemoryUsageBuilder& builder) const {
    builder.AddBlock(this, sizeof(*this));
}

std::size_t SpecialValue::Hash() const {
    std::size_t seed = static_cast<std::size_t>(m_type.GetStoreType());
    boost::hash_combine(seed, 0x5bec1a1u + static_cast<unsigned>(m_kind));
    return seed;
}

bool SpecialValue::Equals(StoreValue const& other) const {
    return CompareTypeAndSpecial(*this, other) == 0;
}

int SpecialValue::Compare(StoreValue const& other) const {
    return CompareTypeAndSpecial(*this, other);
}

}  // namespace zel::core
