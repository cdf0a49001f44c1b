#pragma once

#pragma GCC visibility push(default)

#include <atomic>

// The gate in front of every metric scope. A scope is made only when its bits meet the mask the
// host has set, so a metric that is filtered out costs one relaxed load and one AND. The mask is 0
// (everything off) until a host sets it; the machine asks with all bits, so any non-zero mask turns
// its scopes on.
namespace MetricsFilter {

using Bits = unsigned long long;
static_assert(sizeof(Bits) * 8 == 64);

inline constexpr Bits c_noBits = 0;
inline constexpr Bits c_allBits = ~Bits{0};

namespace Detail {
extern std::atomic<Bits> g_mask;
}

// Sets the process-wide mask; 0 turns every metric off. Safe from any thread: scopes opened after
// the store see the new mask, scopes already open still close and record.
void SetFilter(Bits mask) noexcept;
Bits GetFilter() noexcept;

inline bool PassesFilter(Bits bits) noexcept {
    return (Detail::g_mask.load(std::memory_order_relaxed) & bits) != 0;
}

}  // namespace MetricsFilter

#pragma GCC visibility pop
