#pragma once

#pragma GCC visibility push(default)

#include "zel/core/store/Collation.h"
#include "zel/core/store/StoreType.h"

namespace zel::core {

// A StoreType with its collation (meaningful for strings) and the optional flag. The flag marks a
// value that a store may lack; the system itself always passes false. Equality compares all three.
//
// The constants below are constant-initialised: they may be read, and copied into constants of
// other translation units, during static initialisation.
class StoreTypeInfo {
public:
    constexpr StoreTypeInfo() noexcept : m_type(StoreType::Empty) {}
    constexpr StoreTypeInfo(StoreType type, bool optional) noexcept : m_type(type), m_optional(optional) {}
    StoreTypeInfo(StoreType type, bool optional, Collation collation)
        : m_type(type), m_optional(optional), m_collation(std::move(collation)) {}

    StoreType GetStoreType() const noexcept { return m_type; }
    Collation const& GetCollation() const noexcept { return m_collation; }
    bool IsOptional() const noexcept { return m_optional; }
    bool IsEmpty() const noexcept { return m_type == StoreType::Empty; }

    friend bool operator==(StoreTypeInfo const& a, StoreTypeInfo const& b) noexcept {
        return a.m_type == b.m_type && a.m_optional == b.m_optional && a.m_collation == b.m_collation;
    }

    static StoreTypeInfo const Array;
    static StoreTypeInfo const Set;
    static StoreTypeInfo const Tuple;
    static StoreTypeInfo const KeyMap;
    static StoreTypeInfo const Table;
    static StoreTypeInfo const Bool;
    static StoreTypeInfo const Int32;
    static StoreTypeInfo const Int64;
    static StoreTypeInfo const Float;
    static StoreTypeInfo const Double;
    static StoreTypeInfo const String;  // binary collation
    static StoreTypeInfo const Date;
    static StoreTypeInfo const DateTime;
    static StoreTypeInfo const Color;
    static StoreTypeInfo const Object;
    static StoreTypeInfo const Empty;

private:
    StoreType m_type;
    bool m_optional = false;
    Collation m_collation;
};

}  // namespace zel::core

#pragma GCC visibility pop
