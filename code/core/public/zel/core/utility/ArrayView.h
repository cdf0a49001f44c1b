#pragma once

#pragma GCC visibility push(default)

// ArrayView<T>: a pointer and an element count, the way columns, scratch blocks and buffers are
// handed between the store, the functions and the machine.
//
// The view owns nothing. Whoever hands one out keeps the memory alive for as long as the view is
// used: an array value for the views on its own storage, a buffer for the views on its rows.
//
// Two kinds of access:
//
//   - checked: operator[] and SubView. A failed bound makes one debug report and throws
//     ZelRuntimeException with ZelError::RangeViolation (2). The condition texts are fixed, so
//     that a report names the same check wherever the view is inlined:
//         operator[]   "(index < m_size)"
//         SubView      "(ptr < ptrEnd)"          the first element must lie below the end, even
//                                                for an empty sub-view
//                      "!(ptr + count > ptrEnd)" the sub-view must fit
//   - unchecked: data(), begin() and end(), for hot loops whose bounds are already known. A loop
//     over a view compiles to a plain pointer loop.
//
// A view converts to a view of const elements; T itself may be const. Sizes and indices are
// unsigned 32-bit, like the row numbers of the store.
//
// Examples:
//
//   std::vector<double> v(8);
//   ArrayView<double> all(v.data(), 8);
//   ArrayView<double> mid = all.SubView(2, 4);  // elements 2 to 5
//   all.SubView(8, 0);                          // fails: "(ptr < ptrEnd)"
//   all.SubView(6, 3);                          // fails: "!(ptr + count > ptrEnd)"
//   for (double& d : mid) d *= 2;               // unchecked
//   all[8];                                     // fails: "(index < m_size)"

#include <cstddef>
#include <type_traits>
#include <vector>

#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

template <class T>
class ArrayView {
public:
    using element_type = T;
    using value_type = std::remove_cv_t<T>;
    using size_type = unsigned int;
    using pointer = T*;
    using reference = T&;
    using iterator = T*;
    using const_iterator = T*;

    // An empty view; it points at nothing.
    constexpr ArrayView() noexcept = default;

    constexpr ArrayView(T* ptr, unsigned int size) noexcept : m_ptr(ptr), m_size(size) {}

    // A view of const elements from a view of mutable ones.
    template <class U>
    requires(std::is_same_v<T, U const> && !std::is_const_v<U>) constexpr ArrayView(
        ArrayView<U> const& other) noexcept  // NOLINT: implicit, like T* to T const*
        : m_ptr(other.data()), m_size(other.size()) {}

    // A view on the whole of a vector, which must outlive the view.
    template <class Allocator>
    explicit ArrayView(std::vector<value_type, Allocator>& vector) noexcept
        : m_ptr(vector.data()), m_size(static_cast<unsigned int>(vector.size())) {}
    template <class Allocator>
    requires std::is_const_v<T>
    explicit ArrayView(std::vector<value_type, Allocator> const& vector) noexcept
        : m_ptr(vector.data()), m_size(static_cast<unsigned int>(vector.size())) {}

    constexpr unsigned int size() const noexcept { return m_size; }
    constexpr bool empty() const noexcept { return m_size == 0; }

    // Unchecked access.
    constexpr T* data() const noexcept { return m_ptr; }
    constexpr T* begin() const noexcept { return m_ptr; }
    constexpr T* end() const noexcept { return m_ptr + m_size; }

    // The view of `count` elements from `start`. `start` must lie below the end of this view, so
    // a sub-view at the end fails even when it is empty, and so does any sub-view of an empty
    // view; then the sub-view must fit.
    ArrayView SubView(unsigned int start, unsigned int count) const { return MakeSubView(start, count); }

    // The element at `index`, checked against the size.
    T& operator[](unsigned int index) const { return At(index); }

    // The first and the last element, checked like operator[].
    T& front() const { return At(0); }
    T& back() const { return At(m_size - 1); }

private:
    ArrayView MakeSubView(unsigned int start, unsigned int count) const {
        T* const ptrEnd = m_ptr + m_size;
        T* const ptr = start < m_size ? m_ptr + start : ptrEnd;  // never a pointer past the end
        ZEL_CHECK(ptr < ptrEnd, ZelError::RangeViolation);
        ZEL_CHECK_EXACT(!(ptr + count > ptrEnd), ZelError::RangeViolation);
        return ArrayView(ptr, count);
    }

    // Kept out of line of operator[] so that every indexing reports the same source line; the
    // compiler inlines both.
    //
    // The bound is compared as unsigned, so an index computed by a wrapping subtraction (the
    // "last element" of an empty view) fails like any other index past the end.
    //
    // Reading an element through a pointer from data() skips the check; hot loops do that once
    // they have checked their range as a whole, for example by taking a SubView of it.
    //
    // An ArrayView<T const> reads; an ArrayView<T> also writes, into memory that its owner lent
    // out for writing (a buffer row range, a destination of CopyValues). Store values are
    // immutable: a view that one of them hands out is only read, whatever its element type.
    //
    // Nothing here allocates, locks or throws on the unchecked paths, so views may be copied and
    // read by any number of threads at once.
    //
    // Views compare by neither pointer nor content: whoever needs either compares data() and
    // size(), or the elements, explicitly.
    T& At(unsigned int index) const {
        ZEL_CHECK(index < m_size, ZelError::RangeViolation);
        return m_ptr[index];
    }

    T* m_ptr = nullptr;
    unsigned int m_size = 0;
};

// Deduction from a vector: ArrayView(v) is a view of v's element type, const for a const vector.
template <class T, class Allocator>
ArrayView(std::vector<T, Allocator>&) -> ArrayView<T>;
template <class T, class Allocator>
ArrayView(std::vector<T, Allocator> const&) -> ArrayView<T const>;

}  // namespace zel::core

#pragma GCC visibility pop
