#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace zel::vm::sort {

// Sorts `rows` stably by `keys`, which run parallel to them, in ascending order of the keys: a
// least-significant-digit radix sort with 11-bit digits (six passes at most for 64-bit keys, and
// the counts of a digit stay in the fastest caches). A digit in which every key agrees is skipped,
// so a key of few distinct values costs few passes. On return both vectors are in the sorted order.
template <class U>
void RadixSortRows(std::vector<U>& keys, std::vector<unsigned int>& rows) {
    static_assert(std::is_unsigned_v<U>);
    constexpr unsigned int c_bits = 11;
    constexpr unsigned int c_buckets = 1u << c_bits;
    constexpr unsigned int c_digits = (8 * sizeof(U) + c_bits - 1) / c_bits;
    std::size_t const n = rows.size();
    if (n < 2) {
        return;
    }
    auto const digit = [](U key, unsigned int d) {
        return static_cast<unsigned int>((key >> (d * c_bits)) & (c_buckets - 1));
    };
    std::vector<std::uint32_t> counts(c_digits * c_buckets, 0);
    for (std::size_t i = 0; i < n; ++i) {
        U const key = keys[i];
        for (unsigned int d = 0; d < c_digits; ++d) {
            ++counts[d * c_buckets + digit(key, d)];
        }
    }
    std::vector<U> keyScratch;
    std::vector<unsigned int> rowScratch;
    for (unsigned int d = 0; d < c_digits; ++d) {
        std::uint32_t* const bucket = counts.data() + d * c_buckets;
        if (bucket[digit(keys[0], d)] == n) {
            continue;
        }
        std::uint32_t offset = 0;
        for (unsigned int b = 0; b < c_buckets; ++b) {
            std::uint32_t const count = bucket[b];
            bucket[b] = offset;
            offset += count;
        }
        if (keyScratch.empty()) {
            // Made whole rather than resized: GCC 12 at -O3 misreads a resize of an empty vector
            // of bytes as a write out of bounds.
            keyScratch = std::vector<U>(n);
            rowScratch = std::vector<unsigned int>(n);
        }
        for (std::size_t i = 0; i < n; ++i) {
            std::uint32_t const to = bucket[digit(keys[i], d)]++;
            keyScratch[to] = keys[i];
            rowScratch[to] = rows[i];
        }
        keys.swap(keyScratch);
        rows.swap(rowScratch);
    }
}

}  // namespace zel::vm::sort
