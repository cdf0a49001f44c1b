#pragma once

#pragma GCC visibility push(default)

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "vorsys/base/RefCntObject.h"

// An owning pointer to an object that counts its own references. `Base` names the class through
// which the count is reached, for types that could reach more than one.
template <class T, class Base = RefCntObject>
class RefCntPtr {
public:
    using element_type = T;

    RefCntPtr() noexcept = default;
    RefCntPtr(std::nullptr_t) noexcept {}  // NOLINT: implicit, as for any pointer
    // Takes a new reference to `object`, which may be null or already shared.
    explicit RefCntPtr(T* object) noexcept : m_object(object) { Acquire(); }
    RefCntPtr(RefCntPtr const& other) noexcept : m_object(other.m_object) { Acquire(); }
    RefCntPtr(RefCntPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> RefCntPtr(RefCntPtr<U, Base> const& other)
    noexcept  // NOLINT: implicit upcast
        : m_object(other.get()) {
        Acquire();
    }
    ~RefCntPtr() { Release(); }

    RefCntPtr& operator=(RefCntPtr const& other) noexcept {
        RefCntPtr(other).swap(*this);
        return *this;
    }
    RefCntPtr& operator=(RefCntPtr&& other) noexcept {
        RefCntPtr(std::move(other)).swap(*this);
        return *this;
    }

    void reset(T* object = nullptr) noexcept { RefCntPtr(object).swap(*this); }
    void swap(RefCntPtr& other) noexcept { std::swap(m_object, other.m_object); }

    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(RefCntPtr const& a, RefCntPtr const& b) noexcept {
        return a.m_object == b.m_object;
    }
    friend bool operator==(RefCntPtr const& a, std::nullptr_t) noexcept { return a.m_object == nullptr; }
    friend bool operator==(RefCntPtr const& a, T const* b) noexcept { return a.m_object == b; }
    friend std::strong_ordering operator<=>(RefCntPtr const& a, RefCntPtr const& b) noexcept {
        return std::compare_three_way{}(a.m_object, b.m_object);
    }

private:
    void Acquire() const noexcept {
        if (m_object != nullptr) {
            static_cast<Base const*>(m_object)->AddReference();
        }
    }
    void Release() const noexcept {
        if (m_object != nullptr) {
            static_cast<Base const*>(m_object)->RemoveReference();
        }
    }

    T* m_object = nullptr;
};

template <class T, class Base>
struct std::hash<RefCntPtr<T, Base>> {
    std::size_t operator()(RefCntPtr<T, Base> const& p) const noexcept { return std::hash<T*>{}(p.get()); }
};

#pragma GCC visibility pop
