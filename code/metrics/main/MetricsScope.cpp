#include "vormetrics/MetricsScope.h"

#include "vormetrics/MetricsRegistry.h"

namespace Metrics {

bool TestBitsAndContext(unsigned long long bits) noexcept {
    return MetricsFilter::PassesFilter(bits) && GetRegistry().IsCollecting();
}

void Scope::OpenImpl(MetricsValue&& value, unsigned long long bits) {
    Close();
    if (!TestBitsAndContext(bits)) {
        return;
    }
    m_name = std::move(value).TakeName();
    m_open = true;
    // Last, so that the work above isn't timed.
    m_start = std::chrono::steady_clock::now();
}

void Scope::Close() noexcept {
    if (!m_open) {
        return;
    }
    auto const end = std::chrono::steady_clock::now();
    m_open = false;
    GetRegistry().Record(MetricsValue(std::move(m_name)), m_start, end);
}

namespace Detail {

std::unique_ptr<Scope> OpenPassedScope(MetricsValue&& value, unsigned long long bits) {
    if (!GetRegistry().IsCollecting()) {
        return nullptr;
    }
    auto scope = std::make_unique<Scope>();
    scope->OpenImpl(std::move(value), bits);
    if (!scope->IsOpen()) {  // collecting was paused in between
        return nullptr;
    }
    return scope;
}

}  // namespace Detail

}  // namespace Metrics
