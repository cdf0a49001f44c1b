#include "vorsys/base/TSystem.h"
#include "vorsys/base/VorlaneException.h"
#include "vorsys/thread/TManualResetEvent.h"
#include "vorsys/thread/TRecursiveMutex.h"
#include "vorsys/thread/WaitForAll.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

using namespace std::chrono_literals;

TEST(TManualResetEvent, StaysSignalledUntilResetAndTimesOutOtherwise) {
    TManualResetEvent event;
    EXPECT_FALSE(event.WaitFor(0ms));
    EXPECT_FALSE(event.WaitFor(-5ms));
    EXPECT_FALSE(event.WaitFor(5ms));
    EXPECT_TRUE(event.Signal());
    EXPECT_FALSE(event.Signal());
    EXPECT_TRUE(event.WaitFor(std::chrono::milliseconds::max()));
    event.Reset();
    EXPECT_FALSE(event.WaitFor(0ms));

    std::jthread signaller([&] { event.Signal(); });  // the longest timeout waits for it
    EXPECT_TRUE(event.WaitFor(std::chrono::milliseconds::max() - 1ms));
}

TEST(WaitForAll, IsTrueOnlyWhenEveryEventIsSignalledInTime) {
    TManualResetEvent a;
    TManualResetEvent b;
    EXPECT_TRUE(WaitForAll({}, 0ms));
    a.Signal();
    EXPECT_FALSE(WaitForAll({&a, &b}, 10ms));  // one is not enough
    std::jthread signaller([&] { b.Signal(); });
    EXPECT_TRUE(WaitForAll({&a, &b}, std::chrono::milliseconds::max()));
    EXPECT_THROW(WaitForAll({&a, nullptr}, 0ms), VorlaneLogicException);
}

TEST(TRecursiveMutex, TheOwnerRelocksAndOthersWaitUntilFullyUnlocked) {
    TRecursiveMutex mutex;
    mutex.Lock();
    {
        std::lock_guard guard(mutex);
        std::thread([&] { EXPECT_FALSE(mutex.TryLock()); }).join();
    }
    std::thread([&] { EXPECT_FALSE(mutex.TryLock()); }).join();
    mutex.Unlock();
    std::thread([&] {
        ASSERT_TRUE(mutex.TryLock());
        mutex.Unlock();
    }).join();
}

TEST(TSystem, OnlyTheMarkedThreadIsTheDesktopMainThread) {
    std::thread([] { EXPECT_FALSE(TSystem::IsDesktopMainThread()); }).join();
    std::thread([] {
        TSystem::SetDesktopMainThread();
        EXPECT_TRUE(TSystem::IsDesktopMainThread());
    }).join();
    EXPECT_FALSE(TSystem::IsDesktopMainThread());
}
