#pragma once

#pragma GCC visibility push(default)

#include <atomic>

// The base of objects shared through RefCntPtr: the count lives in the object, so that a plain
// pointer to it can always be turned back into an owning one. An object starts with no reference
// and deletes itself when the last one goes.
class RefCntObject {
public:
    RefCntObject() noexcept = default;
    // A copy is a new object: it shares none of the original's references.
    RefCntObject(RefCntObject const&) noexcept {}
    RefCntObject& operator=(RefCntObject const&) noexcept { return *this; }
    virtual ~RefCntObject() = default;

    void AddReference() const noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }

    // Deletes the object when this was its last reference.
    void RemoveReference() const noexcept {
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }

    unsigned long GetReferenceCount() const noexcept { return m_count.load(std::memory_order_acquire); }

private:
    mutable std::atomic<unsigned long> m_count{0};
};

#pragma GCC visibility pop
