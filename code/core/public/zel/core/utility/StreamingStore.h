#pragma once

#pragma GCC visibility push(default)

// Writes that go past the cache. A result far larger than the cache cannot stay in it: a plain
// store first reads each line of the target into the cache and later writes it back, so the
// memory bus carries the result twice. A streaming store writes the line once, which is what lets
// a loop bound by memory bandwidth run faster.
//
// Streaming stores are weakly ordered: until the thread that made them fences, another thread may
// not see them. Code that streams into a buffer fences before it tells another thread the buffer
// is ready (FenceStreamingStores); a fence costs about a trip to memory, so it comes once after a
// long run of stores, never after each small one.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zel::core {

// Results of at least this many bytes are worth writing past the cache: more than the part of a
// last-level cache one thread can count on, so a plain store's line would be evicted before it is
// read again anyway.
inline constexpr std::size_t c_streamingStoreBytes = std::size_t{16} << 20;

// Copies `bytes` bytes from `from` to `to` (which do not overlap), writing `to` past the cache
// where the hardware allows it and plainly elsewhere.
inline void CopyPastCache(void* to, void const* from, std::size_t bytes) noexcept {
#if defined(__SSE2__)
    auto* target = static_cast<unsigned char*>(to);
    auto const* source = static_cast<unsigned char const*>(from);
    // Streaming stores need 16-byte aligned targets: the bytes before the first such address are
    // copied plainly, as are those after the last whole 16.
    std::size_t const head = std::min(bytes, (16 - reinterpret_cast<std::uintptr_t>(target) % 16) % 16);
    std::memcpy(target, source, head);
    target += head;
    source += head;
    bytes -= head;
    std::size_t const vectors = bytes / 16;
    for (std::size_t i = 0; i < vectors; ++i) {
        __m128i const value = _mm_loadu_si128(reinterpret_cast<__m128i const*>(source) + i);
        _mm_stream_si128(reinterpret_cast<__m128i*>(target) + i, value);
    }
    std::memcpy(target + vectors * 16, source + vectors * 16, bytes % 16);
#else
    std::memcpy(to, from, bytes);
#endif
}

// Makes this thread's streaming stores so far visible to any thread that synchronises with it
// afterwards.
inline void FenceStreamingStores() noexcept {
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

// Fences on leaving its scope, however that is left: held by code that runs work which may stream.
struct StreamingStoreFence {
    StreamingStoreFence() = default;
    StreamingStoreFence(StreamingStoreFence const&) = delete;
    StreamingStoreFence& operator=(StreamingStoreFence const&) = delete;
    ~StreamingStoreFence() { FenceStreamingStores(); }
};

}  // namespace zel::core

#pragma GCC visibility pop
