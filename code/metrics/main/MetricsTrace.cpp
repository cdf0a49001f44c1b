#include "vormetrics/MetricsTrace.h"

#include <unistd.h>

#include <charconv>
#include <cstdint>

namespace Metrics {

namespace {

// Nanoseconds as microseconds with three decimals, so that no precision is lost; to_chars keeps
// the decimal point a point whatever the locale.
void AppendMicroseconds(std::string& out, std::chrono::nanoseconds value) {
    std::int64_t const ns = value.count();
    std::uint64_t const magnitude =
        ns < 0 ? 0 - static_cast<std::uint64_t>(ns) : static_cast<std::uint64_t>(ns);
    if (ns < 0) {
        out += '-';
    }
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, magnitude / 1000);
    out.append(buffer, result.ptr);
    out += '.';
    unsigned const fraction = static_cast<unsigned>(magnitude % 1000);
    out += static_cast<char>('0' + fraction / 100);
    out += static_cast<char>('0' + fraction / 10 % 10);
    out += static_cast<char>('0' + fraction % 10);
}

template <typename Integer>
void AppendInteger(std::string& out, Integer value) {
    char buffer[24];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

}  // namespace

void AppendJsonEscaped(std::string& out, std::string_view text) {
    static constexpr char c_hex[] = "0123456789abcdef";
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (byte < 0x20) {
                    out += "\\u00";
                    out += c_hex[byte >> 4];
                    out += c_hex[byte & 0xF];
                } else {
                    out += c;  // printable ASCII and the bytes of UTF-8 sequences
                }
        }
    }
}

std::string FormatTraceJson(std::span<TraceEvent const> events) {
    long const pid = static_cast<long>(::getpid());
    std::string out = "{\"traceEvents\":[";
    bool first = true;
    for (TraceEvent const& e : events) {
        out += first ? "\n" : ",\n";
        first = false;
        out += "{\"name\":\"";
        AppendJsonEscaped(out, e.name.ToUtf8());
        out += "\",\"ph\":\"X\",\"ts\":";
        AppendMicroseconds(out, e.start);
        out += ",\"dur\":";
        AppendMicroseconds(out, e.duration);
        out += ",\"pid\":";
        AppendInteger(out, pid);
        out += ",\"tid\":";
        AppendInteger(out, e.thread);
        out += '}';
    }
    out += "\n]}\n";
    return out;
}

}  // namespace Metrics
