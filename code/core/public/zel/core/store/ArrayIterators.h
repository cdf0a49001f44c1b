#pragma once

#pragma GCC visibility push(default)

// The value range and the value-and-special range of an array, and their iterators.
//
// Arrays come in three physical layouts, and a range reads all three without a virtual call:
//
//   flat         a values part, an optional indices part and an optional specials part. Without
//                indices, position p reads values[p]; with them, values[indices[p]]. The
//                specials part, when present, parallels the values part.
//   constant     the constant flag is set: every position reads element 0 of the values part
//                (and of the specials part, when present).
//   run-length   a table of runs {value, special, count}; position p lies in the run whose
//                counts, summed from the start, first pass p. With an indices part, position p
//                reads the element at indices[p] of the runs laid end to end.
//
// Every part is an ArrayView on memory that the part keeps alive through one of two owning
// references: the vector that a factory was given, or any other owner (a buffer allocated for
// huge pages, the array value itself). A part counts as present when either reference is set.
//
// A range holds the element type and shared references to the parts, so that it, and every
// iterator taken from it, stays valid after the array value is gone. A range caches its end
// iterator under a once-flag of its own: two threads may iterate one range object at once.
//
//   auto const& array = value->AsTypedArray<unsigned long long>();
//   if (!array.HasSpecialValues()) {
//       for (unsigned long long bits : array.GetValues()) { ... }
//   }
//   for (auto [bits, special] : array.GetValuesAndSpecials()) { ... }
//
// Reading a constant iterator at its end is a failed check, "(m_pos < m_size)" with
// ZelError::IteratorViolation (3), never a read past the end. Iterators compare by position only,
// so only iterators of one range may be compared.
//
// Reading an element costs no allocation and no lock: a few predictable branches on the flags,
// then a load through the views.

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <boost/thread/once.hpp>

#include "zel/core/store/StoreType.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/ArrayView.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core {

// One run of a run-length array: `count` elements (at least one) of the same value and special.
template <class T>
struct RunLengthEntry {
    T value;
    SpecialKind special;
    unsigned int count;

    friend bool operator==(RunLengthEntry const&, RunLengthEntry const&) = default;
};

// One part of an array: a view and what keeps its memory alive.
template <class E>
class ArrayPart {
public:
    using Vector = std::vector<E>;

    // An absent part.
    ArrayPart() noexcept = default;

    // The whole of a vector that a factory was given; the part shares it.
    explicit ArrayPart(std::shared_ptr<Vector const> vector) noexcept
        : m_vector(std::move(vector)),
          m_view(m_vector ? ArrayView<E const>(*m_vector) : ArrayView<E const>()) {}

    // Memory that `owner` keeps alive.
    ArrayPart(std::shared_ptr<void const> owner, ArrayView<E const> view) noexcept
        : m_owner(std::move(owner)), m_view(view) {}

    bool IsPresent() const noexcept { return m_vector != nullptr || m_owner != nullptr; }
    ArrayView<E const> const& View() const noexcept { return m_view; }
    unsigned int size() const noexcept { return m_view.size(); }

    // The bytes of the elements themselves, for memory usage. A vector counts its capacity.
    std::size_t GetByteCount() const noexcept {
        return (m_vector ? m_vector->capacity() : m_view.size()) * sizeof(E);
    }

private:
    std::shared_ptr<Vector const> m_vector;
    std::shared_ptr<void const> m_owner;
    ArrayView<E const> m_view;
};

// The parts of an array together with its element type: what a range and its iterators share.
template <class T>
struct ArrayParts {
    StoreTypeInfo elementType;
    ArrayPart<T> values;
    ArrayPart<unsigned int> indices;
    ArrayPart<SpecialKind> specials;
    ArrayPart<RunLengthEntry<T>> runs;
};

// The element a value-and-special iterator reads: the value by reference into the array's storage
// and the special kind. Structured bindings work: auto [value, special] = *it.
template <class T>
using ValueAndSpecial = std::pair<T const&, SpecialKind>;

// An iterator over the positions of a range. WithSpecials selects what it reads: the value alone
// (T const&) or the value with its special kind.
template <class T, bool WithSpecials>
class ArrayIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using difference_type = std::ptrdiff_t;
    using value_type = std::conditional_t<WithSpecials, std::pair<T, SpecialKind>, T>;
    using reference = std::conditional_t<WithSpecials, ValueAndSpecial<T>, T const&>;
    using pointer = void;

    ArrayIterator() = default;

    // The iterator at `position` of an array of `size` positions. Only 0 and `size` are valid
    // starting points of a run-length iterator without indices: it counts its runs from there.
    ArrayIterator(ArrayParts<T> const& parts, unsigned int position, unsigned int size, bool isConstant,
                  bool isRunLength)
        : m_parts(parts),
          m_pos(position),
          m_size(size),
          m_run(isRunLength && position >= size ? parts.runs.size() : 0),
          m_offsetInRun(0),
          m_isConstant(isConstant),
          m_isRunLength(isRunLength) {}

    reference operator*() const {
        if constexpr (WithSpecials) {
            return ReadValueAndSpecial();
        } else {
            return ReadValue();
        }
    }

    ArrayIterator& operator++() {
        // Runs are counted only where they are walked in order: with an indices part every read
        // walks the table from its start, and the position may pass the runs' total.
        if (m_isRunLength && !m_parts.indices.IsPresent()) {
            if (++m_offsetInRun == m_parts.runs.View().data()[m_run].count) {
                ++m_run;
                m_offsetInRun = 0;
            }
        }
        ++m_pos;
        return *this;
    }
    ArrayIterator operator++(int) {
        ArrayIterator before = *this;
        ++*this;
        return before;
    }

    friend bool operator==(ArrayIterator const& a, ArrayIterator const& b) noexcept {
        return a.m_pos == b.m_pos;
    }

    unsigned int GetPosition() const noexcept { return m_pos; }
    StoreTypeInfo const& GetElementTypeInfo() const noexcept { return m_parts.elementType; }

private:
    // The element a flat or constant position reads.
    unsigned int ElementIndex() const;

    T const& ReadValue() const {
        if (m_isRunLength) {
            return ReadRun().value;
        }
        return m_parts.values.View().data()[ElementIndex()];
    }

    ValueAndSpecial<T> ReadValueAndSpecial() const {
        if (m_isRunLength) {
            RunLengthEntry<T> const& run = ReadRun();
            return {run.value, run.special};
        }
        unsigned int const index = ElementIndex();
        SpecialKind const special =
            m_parts.specials.IsPresent() ? m_parts.specials.View().data()[index] : SpecialKind::None;
        return {m_parts.values.View().data()[index], special};
    }

    // The run of the current position: the counted run, or through the indices part the run
    // reached by walking the table from its start.
    RunLengthEntry<T> const& ReadRun() const {
        ArrayView<RunLengthEntry<T> const> const& runs = m_parts.runs.View();
        if (!m_parts.indices.IsPresent()) {
            return runs[m_run];
        }
        unsigned int k = m_parts.indices.View()[m_pos];
        unsigned int run = 0;
        while (!(k < runs[run].count)) {
            k -= runs[run].count;
            ++run;
        }
        return runs[run];
    }

    ArrayParts<T> m_parts;
    unsigned int m_pos = 0;
    unsigned int m_size = 0;
    unsigned int m_run = 0;
    unsigned int m_offsetInRun = 0;
    bool m_isConstant = false;
    bool m_isRunLength = false;
};

template <class T>
using ValueIterator = ArrayIterator<T, false>;
template <class T>
using ValueAndSpecialIterator = ArrayIterator<T, true>;

// The positions of one array, in order. Made by ITypedArray<T>::GetValues (WithSpecials false)
// and GetValuesAndSpecials (true).
template <class T, bool WithSpecials>
class ArrayRange {
public:
    using iterator = ArrayIterator<T, WithSpecials>;
    using const_iterator = iterator;

    ArrayRange(ArrayParts<T> parts, unsigned int size, bool isConstant, bool isRunLength)
        : m_parts(std::move(parts)), m_size(size), m_isConstant(isConstant), m_isRunLength(isRunLength) {}

    // A moved or copied range caches its own end.
    ArrayRange(ArrayRange const& other)
        : m_parts(other.m_parts),
          m_size(other.m_size),
          m_isConstant(other.m_isConstant),
          m_isRunLength(other.m_isRunLength) {}
    ArrayRange& operator=(ArrayRange const&) = delete;

    iterator begin() const { return iterator(m_parts, 0, m_size, m_isConstant, m_isRunLength); }
    iterator const& end() const {
        boost::call_once(m_endOnce,
                         [this] { m_end.emplace(m_parts, m_size, m_size, m_isConstant, m_isRunLength); });
        return *m_end;
    }

    unsigned int size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }
    bool IsConstant() const noexcept { return m_isConstant; }
    bool IsRunLength() const noexcept { return m_isRunLength; }
    StoreTypeInfo const& GetElementTypeInfo() const noexcept { return m_parts.elementType; }

private:
    ArrayParts<T> m_parts;
    unsigned int m_size;
    bool m_isConstant;
    bool m_isRunLength;
    mutable boost::once_flag m_endOnce = BOOST_ONCE_INIT;
    mutable std::optional<iterator> m_end;
};

template <class T>
using ValueRange = ArrayRange<T, false>;
template <class T>
using ValueAndSpecialRange = ArrayRange<T, true>;

// The element index of a flat or constant position:
//   1. constant: the position must lie below the size (reading at the end is an iterator
//      violation, not a read past the one stored element); the index is 0;
//   2. without an indices part: the position itself;
//   3. otherwise indices[position], through the checked view.
template <class T, bool WithSpecials>
inline unsigned int ArrayIterator<T, WithSpecials>::ElementIndex() const {
    if (m_isConstant) {
        ZEL_CHECK(m_pos < m_size, ZelError::IteratorViolation);
        return 0;
    }
    if (!m_parts.indices.IsPresent()) {
        return m_pos;
    }
    return m_parts.indices.View()[m_pos];
}

}  // namespace zel::core

#pragma GCC visibility pop
