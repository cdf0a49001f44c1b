#include "MetricsThreadNumber.h"

#include <atomic>

namespace Metrics::Detail {

unsigned CurrentThreadNumber() noexcept {
    static std::atomic<unsigned> next{1};
    thread_local unsigned const number = next.fetch_add(1, std::memory_order_relaxed);
    return number;
}

}  // namespace Metrics::Detail
