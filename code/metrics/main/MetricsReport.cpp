#include "vormetrics/MetricsReport.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>

namespace Metrics {

namespace {

struct Unit {
    double nanoseconds;
    wchar_t const* name;
};

constexpr Unit c_units[] = {{1e9, L"s"}, {1e6, L"ms"}, {1e3, L"\u00b5s"}, {1, L"ns"}};

// Three significant digits for values of 1 to 999, fewer decimals as the value grows.
void AppendNumber(std::wstring& out, double value) {
    int const decimals = value < 10 ? 2 : value < 100 ? 1 : 0;
    char buffer[32];
    auto const result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    out.append(buffer, result.ptr);
}

void AppendInteger(std::wstring& out, std::uint64_t value) {
    char buffer[24];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

void AppendDuration(std::wstring& out, std::chrono::nanoseconds duration) {
    auto const ns = duration.count();
    if (ns < 1000) {  // whole nanoseconds, without decimals
        AppendInteger(out, static_cast<std::uint64_t>(std::max<std::int64_t>(ns, 0)));
        out += L" ns";
        return;
    }
    auto const value = static_cast<double>(ns);
    // A value that would round up to 1000 of one unit is written in the next: "1.00 ms", not
    // "1000 µs".
    Unit const& unit = *std::find_if(std::begin(c_units), std::end(c_units),
                                     [&](Unit const& u) { return value >= u.nanoseconds * 0.9995; });
    AppendNumber(out, value / unit.nanoseconds);
    out += L' ';
    out += unit.name;
}

}  // namespace

TStringCore FormatDuration(std::chrono::nanoseconds duration) {
    std::wstring out;
    AppendDuration(out, duration);
    return TStringCore(std::move(out));
}

TStringCore FormatReport(std::span<ScopeStatistics const> statistics) {
    std::size_t width = 0;
    for (auto const& s : statistics) {
        width = std::max(width, s.name.size());
    }
    std::wstring out;
    for (auto const& s : statistics) {
        out += s.name.view();
        out.append(width - s.name.size() + 2, L' ');
        out += L"count ";
        AppendInteger(out, s.count);
        out += L"  total ";
        AppendDuration(out, s.total);
        out += L"  mean ";
        AppendDuration(out, s.Mean());
        out += L"  min ";
        AppendDuration(out, s.min);
        out += L"  max ";
        AppendDuration(out, s.max);
        out += L'\n';
    }
    return TStringCore(std::move(out));
}

}  // namespace Metrics
