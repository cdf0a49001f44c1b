#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace zel::vm::sort {

// Sorts `rows` stably by `keys`, which run parallel to them, in ascending order of the keys: a
// least-significant-digit radix sort with one byte a digit. A digit in which every key agrees is
// skipped, so a key of few distinct values costs few passes. On return both vectors are in the
// sorted order.
template <class U>
void RadixSortRows(std::vector<U>& keys, std::vector<unsigned int>& rows) {
    static_assert(std::is_unsigned_v<U>);
    constexpr unsigned int c_digits = sizeof(U);
    std::size_t const n = rows.size();
    if (n < 2) {
        return;
    }
    std::vector<std::size_t> counts(c_digits * 256, 0);
    for (std::size_t i = 0; i < n; ++i) {
        U const key = keys[i];
        for (unsigned int d = 0; d < c_digits; ++d) {
            ++counts[d * 256 + static_cast<unsigned char>(key >> (8 * d))];
        }
    }
    std::vector<U> keyScratch;
    std::vector<unsigned int> rowScratch;
    for (unsigned int d = 0; d < c_digits; ++d) {
        std::size_t* const bucket = counts.data() + d * 256;
        if (bucket[static_cast<unsigned char>(keys[0] >> (8 * d))] == n) {
            continue;
        }
        std::size_t offset = 0;
        for (unsigned int b = 0; b < 256; ++b) {
            std::size_t const count = bucket[b];
            bucket[b] = offset;
            offset += count;
        }
        keyScratch.resize(n);
        rowScratch.resize(n);
        for (std::size_t i = 0; i < n; ++i) {
            std::size_t const to = bucket[static_cast<unsigned char>(keys[i] >> (8 * d))]++;
            keyScratch[to] = keys[i];
            rowScratch[to] = rows[i];
        }
        keys.swap(keyScratch);
        rows.swap(rowScratch);
    }
}

}  // namespace zel::vm::sort
