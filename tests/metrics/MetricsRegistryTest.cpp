#include "vormetrics/MetricsRegistry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "metrics/MetricsFixture.h"
#include "vormetrics/MetricsScope.h"

using namespace metrics_test;

TEST_F(MetricsTest, AggregatesExactlyAcrossThreadsRecordingTheSameNames) {
    constexpr int c_threads = 8;
    constexpr int c_perThread = 2000;
    wchar_t const* const names[] = {L"zel_VM_Execute", L"RunNode_Map", L"RunNode_\u00e9t\u00e9"};
    auto const t0 = Clock::now();
    // Thread t gives its i-th sample of name k the duration (t * c_perThread + i + 1) * (k + 1) ns.
    auto duration = [](int t, int i, int k) { return nanoseconds((t * c_perThread + i + 1) * (k + 1)); };

    std::atomic<bool> done{false};
    std::thread reader([&] {  // snapshots while the writers run see counts that only grow
        std::uint64_t last = 0;
        while (!done.load()) {
            auto const all = Metrics::GetRegistry().Snapshot();
            std::uint64_t sum = 0;
            for (auto const& s : all) {
                EXPECT_LE(s.min, s.max);
                sum += s.count;
            }
            EXPECT_GE(sum, last);
            last = sum;
        }
    });
    std::vector<std::thread> writers;
    for (int t = 0; t < c_threads; ++t) {
        writers.emplace_back([&, t] {
            for (int i = 0; i < c_perThread; ++i) {
                for (int k = 0; k < 3; ++k) {
                    Metrics::GetRegistry().Record(Metrics::MetricsValue(names[k]), t0,
                                                  t0 + duration(t, i, k));
                }
            }
        });
    }
    for (auto& w : writers) {
        w.join();
    }
    done = true;
    reader.join();

    auto const all = Metrics::GetRegistry().Snapshot();
    ASSERT_EQ(all.size(), 3u);
    std::int64_t const n = std::int64_t{c_threads} * c_perThread;
    for (int k = 0; k < 3; ++k) {
        auto const s = Find(all, names[k]);
        ASSERT_TRUE(s) << k;
        EXPECT_EQ(s->count, static_cast<std::uint64_t>(n));
        EXPECT_EQ(s->total, nanoseconds(n * (n + 1) / 2 * (k + 1)));
        EXPECT_EQ(s->min, nanoseconds(k + 1));
        EXPECT_EQ(s->max, nanoseconds(n * (k + 1)));
        EXPECT_EQ(s->Mean(), s->total / n);
    }
}

TEST_F(MetricsTest, SnapshotIsSortedByTotalAndResetForgetsEverything) {
    Record(L"short", 10);
    Record(L"long", 500);
    Record(L"tie_b", 100);
    Record(L"tie_a", 60);
    Record(L"tie_a", 40);
    Record(L"short", 15);
    Record(L"backwards", 0);
    Record(L"backwards", -5);  // clamped to 0

    auto const all = Metrics::GetRegistry().Snapshot();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[0].name, L"long");
    EXPECT_EQ(all[1],
              (Metrics::ScopeStatistics{L"tie_a", 2, nanoseconds(100), nanoseconds(40), nanoseconds(60)}));
    EXPECT_EQ(all[2].name, L"tie_b");
    EXPECT_EQ(all[4],
              (Metrics::ScopeStatistics{L"backwards", 2, nanoseconds(0), nanoseconds(0), nanoseconds(0)}));

    Metrics::GetRegistry().Reset();
    EXPECT_TRUE(Metrics::GetRegistry().Report().isEmpty());
    Record(L"short", 7);
    EXPECT_EQ(Metrics::GetRegistry().Snapshot()[0].total, nanoseconds(7));
}
