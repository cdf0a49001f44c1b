#include "vormetrics/MetricsTrace.h"

#include <gtest/gtest.h>
#include <simdjson.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>

#include "metrics/MetricsFixture.h"
#include "vormetrics/MetricsScope.h"

using namespace metrics_test;

namespace {

struct ParsedEvent {
    std::string name;
    std::string ph;
    double ts;
    double dur;
    std::int64_t pid;
    std::int64_t tid;
};

std::vector<ParsedEvent> Parse(std::string const& json) {
    simdjson::dom::parser parser;
    simdjson::dom::element const doc = parser.parse(json);
    std::vector<ParsedEvent> events;
    for (simdjson::dom::element e : doc["traceEvents"].get_array()) {
        events.push_back({std::string(std::string_view(e["name"])), std::string(std::string_view(e["ph"])),
                          double(e["ts"]), double(e["dur"]), std::int64_t(e["pid"]), std::int64_t(e["tid"])});
    }
    return events;
}

}  // namespace

TEST_F(MetricsTest, TracingIsOffUnlessAskedAndBoundedByTheLimit) {
    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    auto& registry = Metrics::GetRegistry();
    Metrics::OpenScope(L"untraced").reset();
    EXPECT_TRUE(Parse(registry.ExportTrace()).empty());
    EXPECT_EQ(registry.DroppedTraceEventCount(), 0u);

    registry.SetTraceEventLimit(3);
    for (wchar_t const* name : {L"e1", L"e2", L"e3", L"e4", L"e5"}) {
        Metrics::OpenScope(name).reset();
    }
    auto const events = registry.TraceEvents();
    ASSERT_EQ(events.size(), 3u);  // the first ones are kept
    EXPECT_EQ(events[0].name, L"e1");
    EXPECT_EQ(events[2].name, L"e3");
    EXPECT_EQ(registry.DroppedTraceEventCount(), 2u);
    EXPECT_EQ(registry.Snapshot().size(), 6u);  // statistics go on beyond the limit

    registry.Reset();
    EXPECT_TRUE(registry.TraceEvents().empty());
    EXPECT_EQ(registry.GetTraceEventLimit(), 3u);
}

TEST_F(MetricsTest, TraceExportIsJsonWithOneCompleteEventPerScopeInMicroseconds) {
    auto& registry = Metrics::GetRegistry();
    registry.SetTraceEventLimit(100);
    auto const t0 = Clock::now();
    registry.Record(Metrics::MetricsValue(L"outer"), t0, t0 + nanoseconds(1'234'567));
    registry.Record(Metrics::MetricsValue(L"inner"), t0 + nanoseconds(10'000), t0 + nanoseconds(10'999));
    std::thread([&] {
        registry.Record(Metrics::MetricsValue(L"other thread"), t0, t0 + nanoseconds(5));
    }).join();

    auto const kept = registry.TraceEvents();
    auto const parsed = Parse(registry.ExportTrace());
    ASSERT_EQ(parsed.size(), 3u);
    EXPECT_EQ(parsed[0].name, "outer");
    EXPECT_EQ(parsed[1].name, "inner");
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        EXPECT_EQ(parsed[i].ph, "X");
        EXPECT_EQ(parsed[i].pid, ::getpid());
        EXPECT_EQ(parsed[i].tid, kept[i].thread);
        EXPECT_NEAR(parsed[i].ts, static_cast<double>(kept[i].start.count()) / 1000, 1e-6);
    }
    EXPECT_DOUBLE_EQ(parsed[0].dur, 1234.567);
    EXPECT_DOUBLE_EQ(parsed[1].dur, 0.999);
    EXPECT_DOUBLE_EQ(parsed[2].dur, 0.005);
    EXPECT_NEAR(parsed[1].ts - parsed[0].ts, 10.0, 1e-6);

    // Small per-thread numbers: this thread and the other one differ.
    EXPECT_LE(parsed[2].tid, 64);
    EXPECT_EQ(parsed[0].tid, parsed[1].tid);
    EXPECT_NE(parsed[0].tid, parsed[2].tid);
}

TEST_F(MetricsTest, TraceNamesAreEscapedUtf8) {
    std::wstring name = L"q\"uote\\back\n\t\r\b\f\x01\x1f/\u00e9\u20ac";
    name += static_cast<wchar_t>(0x1F600);
    name += static_cast<wchar_t>(0xD800);  // no scalar value: written as U+FFFD
    std::string const expected =
        "q\"uote\\back\n\t\r\b\f\x01\x1f/\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xef\xbf\xbd";

    Metrics::GetRegistry().SetTraceEventLimit(10);
    Record(name.c_str(), 1);
    std::string const json = Metrics::GetRegistry().ExportTrace();
    EXPECT_NE(json.find(R"(q\"uote\\back\n\t\r\b\f\u0001\u001f/)"), std::string::npos) << json;

    auto const parsed = Parse(json);
    ASSERT_EQ(parsed.size(), 1u);
    EXPECT_EQ(parsed[0].name, expected);
}

TEST(MetricsTrace, EscapesEveryControlCharacterAndNothingElse) {
    std::string all;
    for (int c = 1; c < 0x80; ++c) {
        all += static_cast<char>(c);
    }
    std::string escaped = "\"";
    Metrics::AppendJsonEscaped(escaped, all);
    escaped += '"';
    simdjson::dom::parser parser;
    EXPECT_EQ(std::string_view(parser.parse(escaped)), all);
    EXPECT_EQ(std::count_if(escaped.begin(), escaped.end(), [](char c) { return c < 0x20; }), 0);
    EXPECT_NE(escaped.find("\\u0001"), std::string::npos);
    EXPECT_NE(escaped.find("~\x7f"), std::string::npos);  // DEL needs no escape
}
