#include "vormetrics/MetricsRegistry.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "MetricsThreadNumber.h"
#include "vormetrics/MetricsReport.h"
#include "vormetrics/MetricsTrace.h"

namespace Metrics {

namespace {

using Name = std::shared_ptr<TStringCore const>;

struct NameStatistics {
    // Owns the text that the map's key views, and is shared with the trace events of the name, so
    // that a name is allocated once per registry reset and never per event.
    Name name;
    std::uint64_t count = 0;
    std::int64_t total = 0;
    std::int64_t min = 0;
    std::int64_t max = 0;
};

struct KeptEvent {
    Name name;
    std::int64_t start = 0;
    std::int64_t duration = 0;
    unsigned thread = 0;
};

// Names are spread over shards by hash; each shard is one lock and one map, on its own cache line
// so that threads recording into neighbouring shards don't share one.
constexpr std::size_t c_shardCount = 16;

struct alignas(64) Shard {
    mutable std::mutex mutex;
    std::unordered_map<std::wstring_view, NameStatistics> aggregates;
};

class RegistryImpl final : public Registry {
public:
    RegistryImpl() : m_epoch(Clock::now()) {}

    void Record(MetricsValue&& value, Clock::time_point start, Clock::time_point end) noexcept override {
        std::int64_t const duration = std::max<std::int64_t>(0, (end - start).count());
        try {
            Name name = AddToStatistics(std::move(value), duration);
            if (m_traceLimit.load(std::memory_order_relaxed) != 0) {
                Keep(std::move(name), (start - m_epoch).count(), duration);
            }
        } catch (...) {
            // Out of memory (or a lock that failed): the sample is lost, the machine goes on.
        }
    }

    std::vector<ScopeStatistics> Snapshot() const override {
        std::vector<ScopeStatistics> result;
        for (Shard const& shard : m_shards) {
            std::lock_guard lock(shard.mutex);
            for (auto const& [key, a] : shard.aggregates) {
                result.push_back({*a.name, a.count, std::chrono::nanoseconds(a.total),
                                  std::chrono::nanoseconds(a.min), std::chrono::nanoseconds(a.max)});
            }
        }
        std::sort(result.begin(), result.end(), [](ScopeStatistics const& a, ScopeStatistics const& b) {
            return a.total != b.total ? a.total > b.total : a.name < b.name;
        });
        return result;
    }

    void Reset() override {
        for (Shard& shard : m_shards) {
            std::lock_guard lock(shard.mutex);
            shard.aggregates.clear();
        }
        std::lock_guard lock(m_eventMutex);
        m_events.clear();
        m_droppedEvents = 0;
    }

    void SetCollecting(bool collecting) noexcept override {
        m_collecting.store(collecting, std::memory_order_relaxed);
    }
    bool IsCollecting() const noexcept override { return m_collecting.load(std::memory_order_relaxed); }

    void SetTraceEventLimit(std::size_t limit) noexcept override {
        m_traceLimit.store(limit, std::memory_order_relaxed);
    }
    std::size_t GetTraceEventLimit() const noexcept override {
        return m_traceLimit.load(std::memory_order_relaxed);
    }

    std::vector<TraceEvent> TraceEvents() const override {
        std::vector<KeptEvent> kept;
        {
            std::lock_guard lock(m_eventMutex);
            kept.assign(m_events.begin(), m_events.end());
        }
        std::vector<TraceEvent> result;
        result.reserve(kept.size());
        for (KeptEvent const& e : kept) {
            result.push_back(
                {*e.name, std::chrono::nanoseconds(e.start), std::chrono::nanoseconds(e.duration), e.thread});
        }
        return result;
    }

    std::uint64_t DroppedTraceEventCount() const noexcept override {
        std::lock_guard lock(m_eventMutex);
        return m_droppedEvents;
    }

private:
    // Adds the duration to the statistics of the name and returns the name's shared text.
    Name AddToStatistics(MetricsValue&& value, std::int64_t duration) {
        std::wstring_view const key = value.GetName().view();
        Shard& shard = m_shards[std::hash<std::wstring_view>{}(key) % c_shardCount];
        std::lock_guard lock(shard.mutex);
        auto it = shard.aggregates.find(key);
        if (it == shard.aggregates.end()) {
            auto name = std::make_shared<TStringCore const>(std::move(value).TakeName());
            it = shard.aggregates.emplace(name->view(), NameStatistics{name, 0, 0, duration, duration}).first;
        }
        NameStatistics& a = it->second;
        ++a.count;
        a.total += duration;
        a.min = std::min(a.min, duration);
        a.max = std::max(a.max, duration);
        return a.name;
    }

    void Keep(Name name, std::int64_t start, std::int64_t duration) {
        unsigned const thread = Detail::CurrentThreadNumber();
        std::lock_guard lock(m_eventMutex);
        if (m_events.size() < m_traceLimit.load(std::memory_order_relaxed)) {
            // A deque grows by blocks and never moves what it holds, so the lock is held briefly.
            m_events.push_back({std::move(name), start, duration, thread});
        } else {
            ++m_droppedEvents;
        }
    }

    Clock::time_point const m_epoch;
    std::atomic<bool> m_collecting{true};
    std::atomic<std::size_t> m_traceLimit{0};
    std::array<Shard, c_shardCount> m_shards;
    mutable std::mutex m_eventMutex;
    std::deque<KeptEvent> m_events;
    std::uint64_t m_droppedEvents = 0;
};

}  // namespace

TStringCore Registry::Report() const {
    auto const statistics = Snapshot();
    return FormatReport(statistics);
}

std::string Registry::ExportTrace() const {
    auto const events = TraceEvents();
    return FormatTraceJson(events);
}

Registry& GetRegistry() {
    // Deliberately never destroyed: scopes may close in static destructors and detached threads.
    static Registry* const registry = new RegistryImpl;
    return *registry;
}

}  // namespace Metrics
