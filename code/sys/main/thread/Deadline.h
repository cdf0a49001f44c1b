#pragma once

#include <chrono>
#include <optional>

namespace vorsys_detail {

// The point at which a wait of `timeout` from now ends, or nothing when it never ends: the
// sentinel milliseconds::max(), and any timeout too long for the clock, wait for ever instead
// of overflowing. A timeout of zero or less ends now.
inline std::optional<std::chrono::steady_clock::time_point> DeadlineAfter(std::chrono::milliseconds timeout) {
    using Clock = std::chrono::steady_clock;
    auto const now = Clock::now();
    if (timeout <= std::chrono::milliseconds::zero()) {
        return now;
    }
    auto const room = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now);
    if (timeout >= room) {
        return std::nullopt;
    }
    return now + timeout;
}

// What is left of a wait that ends at `deadline`; milliseconds::max() when it never ends.
inline std::chrono::milliseconds RemainingUntil(
    std::optional<std::chrono::steady_clock::time_point> deadline) {
    if (!deadline) {
        return std::chrono::milliseconds::max();
    }
    auto const left = *deadline - std::chrono::steady_clock::now();
    if (left <= std::chrono::steady_clock::duration::zero()) {
        return std::chrono::milliseconds::zero();
    }
    // Rounded up, so that a wait of the rest does not end just short of the deadline.
    return std::chrono::ceil<std::chrono::milliseconds>(left);
}

}  // namespace vorsys_detail
