#pragma once

#pragma GCC visibility push(default)

#include <chrono>
#include <memory>
#include <utility>

#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsValue.h"

namespace Metrics {

// True when `bits` pass MetricsFilter and the context is collecting. The context is the
// process-wide registry (GetRegistry()); it collects from the start of the process unless the
// host pauses it with Registry::SetCollecting(false), e.g. to leave a warm-up run out of the
// figures without touching the filter that the rest of the process sees.
bool TestBitsAndContext(unsigned long long bits) noexcept;

// Times a stretch of code, from OpenImpl to Close or destruction, and records the elapsed steady
// time under its name in the process-wide registry. A default-constructed scope records nothing
// until it is opened. Callers first test MetricsFilter::PassesFilter and make the scope only when
// it passes, so that a filtered metric costs one test and no scope.
class Scope {
public:
    Scope() noexcept = default;
    Scope(Scope const&) = delete;
    Scope& operator=(Scope const&) = delete;
    ~Scope() { Close(); }

    // Starts timing if TestBitsAndContext(bits) holds; otherwise the scope stays closed and the
    // name is dropped. Opening a scope that is already open first closes (records) the running one.
    void OpenImpl(MetricsValue&& value, unsigned long long bits);

    // Records the elapsed time now instead of at destruction; does nothing on a closed scope.
    void Close() noexcept;

    bool IsOpen() const noexcept { return m_open; }

private:
    TStringCore m_name;
    std::chrono::steady_clock::time_point m_start;
    bool m_open = false;
};

namespace Detail {
std::unique_ptr<Scope> OpenPassedScope(MetricsValue&& value, unsigned long long bits);
}

// The caller's pattern in one call: an open scope, or null when the bits are filtered out or the
// context isn't collecting. A filtered call costs the filter test only; the name is turned into a
// TStringCore after the test passes.
inline std::unique_ptr<Scope> OpenScope(wchar_t const* name,
                                        unsigned long long bits = MetricsFilter::c_allBits) {
    if (!MetricsFilter::PassesFilter(bits)) {
        return nullptr;
    }
    return Detail::OpenPassedScope(MetricsValue(name), bits);
}

// For names built at run time. Build them only after testing MetricsFilter::PassesFilter, or the
// building is paid for even when metrics are off.
inline std::unique_ptr<Scope> OpenScope(MetricsValue&& value,
                                        unsigned long long bits = MetricsFilter::c_allBits) {
    if (!MetricsFilter::PassesFilter(bits)) {
        return nullptr;
    }
    return Detail::OpenPassedScope(std::move(value), bits);
}

}  // namespace Metrics

#pragma GCC visibility pop
