#include "vormetrics/MetricsScope.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "metrics/MetricsFixture.h"

using namespace metrics_test;

namespace {

// How the machine opens a scope: the filter test first, and a scope only when it passes.
std::unique_ptr<Metrics::Scope> OpenAsTheMachineDoes(wchar_t const* name) {
    std::unique_ptr<Metrics::Scope> scope;
    if (MetricsFilter::PassesFilter(static_cast<MetricsFilter::Bits>(-1))) {
        scope = std::make_unique<Metrics::Scope>();
        scope->OpenImpl(Metrics::MetricsValue(TStringCore(name)), static_cast<unsigned long long>(-1));
    }
    return scope;
}

}  // namespace

TEST_F(MetricsTest, OffByDefaultSoThatNoScopeRecords) {
    EXPECT_FALSE(Metrics::TestBitsAndContext(MetricsFilter::c_allBits));
    EXPECT_EQ(OpenAsTheMachineDoes(L"zel_VM_Execute"), nullptr);
    EXPECT_EQ(Metrics::OpenScope(L"convenience"), nullptr);
    {
        Metrics::Scope scope;  // opened directly, without the filter test
        scope.OpenImpl(Metrics::MetricsValue(L"direct"), MetricsFilter::c_allBits);
        EXPECT_FALSE(scope.IsOpen());
    }
    EXPECT_TRUE(Metrics::GetRegistry().Snapshot().empty());

    // On, then off again: only the scopes of the time between are counted.
    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    OpenAsTheMachineDoes(L"zel_VM_Execute").reset();
    MetricsFilter::SetFilter(0);
    EXPECT_EQ(OpenAsTheMachineDoes(L"zel_VM_Execute"), nullptr);
    auto const all = Metrics::GetRegistry().Snapshot();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].name, L"zel_VM_Execute");
    EXPECT_EQ(all[0].count, 1u);
}

TEST_F(MetricsTest, OnlyBitsThatMeetTheMaskOpenAScope) {
    MetricsFilter::SetFilter(0b0100);
    EXPECT_TRUE(MetricsFilter::PassesFilter(0b0100));
    EXPECT_FALSE(MetricsFilter::PassesFilter(0b1011));
    EXPECT_TRUE(Metrics::TestBitsAndContext(0b0110));
    EXPECT_FALSE(Metrics::TestBitsAndContext(0b0010));

    Metrics::Scope direct;
    direct.OpenImpl(Metrics::MetricsValue(L"masked"), 0b0010);
    EXPECT_FALSE(direct.IsOpen());
    EXPECT_NE(Metrics::OpenScope(L"passing", 0b0100), nullptr);
    auto const all = Metrics::GetRegistry().Snapshot();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].name, L"passing");
}

TEST_F(MetricsTest, APausedRegistryIsNoContextAndRecordsNothing) {
    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    Metrics::GetRegistry().SetCollecting(false);
    EXPECT_FALSE(Metrics::TestBitsAndContext(MetricsFilter::c_allBits));
    EXPECT_FALSE(OpenAsTheMachineDoes(L"paused")->IsOpen());
    EXPECT_TRUE(Metrics::GetRegistry().Snapshot().empty());

    Metrics::GetRegistry().SetCollecting(true);
    EXPECT_TRUE(OpenAsTheMachineDoes(L"resumed")->IsOpen());
    EXPECT_EQ(Metrics::GetRegistry().Snapshot().size(), 1u);
}

TEST_F(MetricsTest, ScopeTimesFromOpenToCloseAndRecordsOnce) {
    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    auto const pause = std::chrono::milliseconds(3);
    {
        Metrics::Scope scope;
        scope.OpenImpl(Metrics::MetricsValue(TStringCore(L"first")), MetricsFilter::c_allBits);
        std::this_thread::sleep_for(pause);
        // Reopening records the running timing and starts the next one.
        scope.OpenImpl(Metrics::MetricsValue(L"second"), MetricsFilter::c_allBits);
        std::this_thread::sleep_for(pause);
        scope.Close();
        EXPECT_FALSE(scope.IsOpen());
        scope.Close();
    }  // the destructor of a closed scope records nothing more
    auto const all = Metrics::GetRegistry().Snapshot();
    ASSERT_EQ(all.size(), 2u);
    for (auto const& s : all) {
        EXPECT_EQ(s.count, 1u) << s.name;
        EXPECT_GE(s.min, pause) << s.name;
        EXPECT_LT(s.max, std::chrono::seconds(5)) << s.name;  // no stray epoch in the difference
    }
}
