#pragma once

// ASCII tests and widening for the short texts that fill string columns. A reader checks and
// widens a text of a dozen bytes per element, so both work in overlapping 8-byte words: a text
// of 8 to 16 bytes is two loads and no loop, and a run of texts of mixed lengths takes few
// branches that depend on the length.

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zel::core::ascii {

namespace detail {

inline std::uint64_t Load8(char const* bytes) noexcept {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

inline std::uint32_t Load4(char const* bytes) noexcept {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

// The 8 bytes of `word`, in memory order, as characters 0 to 7 of `out`.
inline void Widen8(std::uint64_t word, wchar_t* out) noexcept {
    static_assert(sizeof(wchar_t) == 4, "characters are UTF-32");
#if defined(__SSE2__)
    __m128i const zero = _mm_setzero_si128();
    __m128i const half = _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(word)), zero);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi16(half, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4), _mm_unpackhi_epi16(half, zero));
#else
    unsigned char bytes[8];
    std::memcpy(bytes, &word, sizeof(word));
    for (int i = 0; i < 8; ++i) {
        out[i] = static_cast<wchar_t>(bytes[i]);
    }
#endif
}

}  // namespace detail

// Whether every one of the `length` bytes from `bytes` on is below 0x80.
inline bool IsAscii(char const* bytes, std::size_t length) noexcept {
    constexpr std::uint64_t c_high8 = 0x8080808080808080ULL;
    if (length >= 8) {
        std::uint64_t high = detail::Load8(bytes + length - 8);
        for (std::size_t i = 0; i + 8 < length; i += 8) {
            high |= detail::Load8(bytes + i);
        }
        return (high & c_high8) == 0;
    }
    if (length >= 4) {
        return ((detail::Load4(bytes) | detail::Load4(bytes + length - 4)) & 0x80808080U) == 0;
    }
    unsigned char high = 0;
    for (std::size_t i = 0; i < length; ++i) {
        high |= static_cast<unsigned char>(bytes[i]);
    }
    return high < 0x80;
}

// The `length` ASCII bytes from `bytes` on, as characters from `out` on.
inline void Widen(char const* bytes, std::size_t length, wchar_t* out) noexcept {
    if (length >= 8) {
        for (std::size_t i = 0; i + 8 < length; i += 8) {
            detail::Widen8(detail::Load8(bytes + i), out + i);
        }
        detail::Widen8(detail::Load8(bytes + length - 8), out + length - 8);
        return;
    }
    for (std::size_t i = 0; i < length; ++i) {
        out[i] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]));
    }
}

}  // namespace zel::core::ascii
