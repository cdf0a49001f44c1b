#pragma once

#pragma GCC visibility push(default)

#include <initializer_list>
#include <vector>

#include "zel/core/store/StoreTypeInfo.h"

namespace zel::core {

// What a key path segment holds: a main type and, for collections, the type of the elements.
// A default-constructed segment type holds no type at all.
class KeySegmentType {
public:
    KeySegmentType() = default;
    KeySegmentType(StoreTypeInfo const& mainType) : m_mainType(mainType) {}  // NOLINT: implicit on purpose
    KeySegmentType(StoreTypeInfo const& mainType, StoreTypeInfo const& childType)
        : m_mainType(mainType), m_childType(childType) {}
    KeySegmentType(StoreType type, bool optional) : m_mainType(type, optional) {}
    KeySegmentType(KeySegmentType const&) = default;
    KeySegmentType& operator=(KeySegmentType const&) = default;
    ~KeySegmentType() = default;

    StoreTypeInfo const& GetMainType() const noexcept { return m_mainType; }
    StoreTypeInfo const& GetChildType() const noexcept { return m_childType; }
    bool HasType() const noexcept { return !m_mainType.IsEmpty(); }

    static std::vector<KeySegmentType> MakeVector(std::initializer_list<KeySegmentType> types) {
        return types;
    }

    friend bool operator==(KeySegmentType const& a, KeySegmentType const& b) noexcept {
        return a.m_mainType == b.m_mainType && a.m_childType == b.m_childType;
    }

private:
    StoreTypeInfo m_mainType;
    StoreTypeInfo m_childType;
};

}  // namespace zel::core

#pragma GCC visibility pop
