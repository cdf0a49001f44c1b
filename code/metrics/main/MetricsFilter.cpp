#include "vormetrics/MetricsFilter.h"

namespace MetricsFilter {

namespace Detail {
std::atomic<Bits> g_mask{c_noBits};
}

void SetFilter(Bits mask) noexcept {
    Detail::g_mask.store(mask, std::memory_order_relaxed);
}

Bits GetFilter() noexcept {
    return Detail::g_mask.load(std::memory_order_relaxed);
}

}  // namespace MetricsFilter
