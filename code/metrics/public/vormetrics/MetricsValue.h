#pragma once

#pragma GCC visibility push(default)

#include <utility>

#include "vorsys/string/TStringCore.h"

namespace Metrics {

// The name a scope is recorded under. Scopes of the same name aggregate into one line of the
// report and share a name in the trace.
class MetricsValue {
public:
    MetricsValue() = default;
    MetricsValue(TStringCore name) noexcept : m_name(std::move(name)) {}  // NOLINT: implicit on purpose
    MetricsValue(wchar_t const* name) : m_name(name) {}                   // NOLINT: implicit on purpose

    TStringCore const& GetName() const& noexcept { return m_name; }
    TStringCore TakeName() && noexcept { return std::move(m_name); }

    friend bool operator==(MetricsValue const& a, MetricsValue const& b) noexcept {
        return a.m_name == b.m_name;
    }

private:
    TStringCore m_name;
};

}  // namespace Metrics

#pragma GCC visibility pop
