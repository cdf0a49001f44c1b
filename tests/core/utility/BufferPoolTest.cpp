// Large column buffers return to a pool and serve later requests of a similar size; the cache
// keeps within its bound, oldest out first, and a cached buffer is poisoned for AddressSanitizer.
// The JSON reader's parser follows the same bound.
// The pool is the process's own: each test starts from an empty cache and counts from its start.

#include "zel/core/utility/BufferPool.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "zel/core/io/StoreValueParser.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace zel::test {
namespace {

using core::GetBufferPoolStatistics;
using core::HugePageVector;

constexpr std::size_t c_mib = std::size_t{1} << 20;

// The address of a fresh buffer of `mib` MiB, freed again at once.
void const* UseAndFree(std::size_t mib) {
    HugePageVector<char> buffer(mib * c_mib);
    buffer[0] = 1;
    return buffer.data();
}

class BufferPool : public testing::Test {
protected:
    void SetUp() override {
        core::SetBufferCacheBound(core::c_defaultBufferCacheBound);
        core::ReleaseCachedBuffers();
        m_start = GetBufferPoolStatistics();
    }
    std::uint64_t Hits() const { return GetBufferPoolStatistics().hits - m_start.hits; }
    std::uint64_t Misses() const { return GetBufferPoolStatistics().misses - m_start.misses; }

    core::BufferPoolStatistics m_start;
};

TEST_F(BufferPool, AReturnedBufferServesTheSameOrASlightlySmallerSizeOnly) {
    void const* const first = UseAndFree(8);
    auto stats = GetBufferPoolStatistics();
    EXPECT_EQ(Misses(), 1u);
    EXPECT_EQ(stats.cachedBytes, 8 * c_mib);
    EXPECT_EQ(stats.inUseBytes, 0u);

    EXPECT_EQ(UseAndFree(8), first);
    EXPECT_EQ(UseAndFree(6), first);  // the 8 MiB buffer is at most a third larger
    EXPECT_EQ(Hits(), 2u);

    // A request far smaller does not take the large buffer; small buffers bypass the pool.
    HugePageVector<char> const small(2 * c_mib);
    EXPECT_NE(static_cast<void const*>(small.data()), first);
    HugePageVector<char> const tiny(1000);
    stats = GetBufferPoolStatistics();
    EXPECT_EQ(Misses(), 2u);
    EXPECT_EQ(stats.inUseBytes, 2 * c_mib);
    EXPECT_EQ(stats.cachedBytes, 8 * c_mib);
}

TEST_F(BufferPool, TheCacheKeepsWithinItsBoundReleasingTheOldestFirst) {
    core::SetBufferCacheBound(10 * c_mib);
    {
        HugePageVector<char> older(4 * c_mib);
        HugePageVector<char> newer(6 * c_mib);
        HugePageVector<char> const newest(2 * c_mib);
        older.clear();
        older.shrink_to_fit();  // returned first: the oldest in the cache
        newer.clear();
        newer.shrink_to_fit();
        EXPECT_EQ(GetBufferPoolStatistics().cachedBytes, 10 * c_mib);
    }
    // The 2 MiB buffer came back last and pushed the 4 MiB one out.
    auto stats = GetBufferPoolStatistics();
    EXPECT_EQ(stats.cachedBytes, 8 * c_mib);
    EXPECT_EQ(stats.cachedBuffers, 2u);

    core::SetBufferCacheBound(2 * c_mib);
    EXPECT_EQ(GetBufferPoolStatistics().cachedBytes, 2 * c_mib);
    core::ReleaseCachedBuffers();
    EXPECT_EQ(GetBufferPoolStatistics().cachedBytes, 0u);

    // A buffer larger than the bound is never kept.
    core::SetBufferCacheBound(0);
    UseAndFree(4);
    EXPECT_EQ(GetBufferPoolStatistics().cachedBuffers, 0u);
    EXPECT_EQ(GetBufferPoolStatistics().bound, 0u);
}

TEST_F(BufferPool, ThreadsThatTakeAndReturnBuffersLeaveNothingInUse) {
    core::SetBufferCacheBound(64 * c_mib);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 50; ++i) {
                HugePageVector<int> values(static_cast<std::size_t>(2 + (t + i) % 4) * c_mib / sizeof(int));
                values.front() = i;
                values.back() = t;
                ASSERT_EQ(values.front() + values.back(), i + t);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    auto const stats = GetBufferPoolStatistics();
    EXPECT_EQ(stats.inUseBytes, 0u);
    EXPECT_EQ(Hits() + Misses(), 200u);
    EXPECT_GT(Hits(), 0u);
    EXPECT_LE(stats.cachedBytes, 64 * c_mib);
}

// The JSON reader keeps its parser for the next document under the same bound: what the parser
// reserves shows in the statistics, a bound below it or a release frees it, and a bound of 0 keeps
// nothing. Loads on several threads at once each get a parser of their own.
TEST_F(BufferPool, TheJsonReaderKeepsItsParserUnderTheBound) {
    std::string json = "{\"a\": [";
    for (int i = 0; i < 20000; ++i) {
        json += (i == 0 ? "" : ", ") + std::to_string(i);
    }
    json += "]}";
    auto const load = [&json] { EXPECT_NE(core::StoreValueParser::MakeDataStore(std::string_view(json)), nullptr); };

    load();
    std::size_t const kept = GetBufferPoolStatistics().readerBytes;
    EXPECT_GE(kept, 8 * json.size());  // the tape alone takes eight bytes a byte
    load();
    EXPECT_EQ(GetBufferPoolStatistics().readerBytes, kept);  // the same parser, taken back

    core::SetBufferCacheBound(kept);
    EXPECT_EQ(GetBufferPoolStatistics().readerBytes, kept);
    core::SetBufferCacheBound(kept - 1);
    EXPECT_EQ(GetBufferPoolStatistics().readerBytes, 0u);
    load();
    EXPECT_EQ(GetBufferPoolStatistics().readerBytes, 0u);

    core::SetBufferCacheBound(core::c_defaultBufferCacheBound);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&load] {
            for (int i = 0; i < 5; ++i) {
                load();
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_GE(GetBufferPoolStatistics().readerBytes, kept);
    core::ReleaseCachedBuffers();
    EXPECT_EQ(GetBufferPoolStatistics().readerBytes, 0u);
}

#if defined(__SANITIZE_ADDRESS__)
TEST(BufferPoolDeathTest, TouchingACachedBufferIsAUseAfterFree) {
    core::SetBufferCacheBound(core::c_defaultBufferCacheBound);
    EXPECT_DEATH(
        {
            char* stale = nullptr;
            {
                HugePageVector<char> buffer(4 * c_mib);
                stale = buffer.data();
            }
            stale[100] = 1;
        },
        "use-after-poison");
}
#endif

}  // namespace
}  // namespace zel::test
