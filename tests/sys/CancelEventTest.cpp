#include "vorsys/thread/TCancelEvent.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using CancelPtr = RefCntPtr<TCancelEvent, RefCntObject>;

TEST(TCancelEvent, ASignalReachesDescendantsButNotAncestorsOrDetachedChildren) {
    CancelPtr const root(new TCancelEvent());
    CancelPtr const child(new TCancelEvent(root));
    CancelPtr const grandchild(new TCancelEvent(child));
    CancelPtr const sibling(new TCancelEvent(root));
    CancelPtr const detached(new TCancelEvent(root));
    detached->DetachFromParent();

    child->Signal();
    EXPECT_TRUE(child->IsSignalled());
    EXPECT_TRUE(grandchild->IsSignalled());
    EXPECT_FALSE(root->IsSignalled());
    EXPECT_FALSE(sibling->IsSignalled());

    root->Signal();
    EXPECT_TRUE(sibling->IsSignalled());
    EXPECT_FALSE(detached->IsSignalled());
}

TEST(TCancelEvent, AChildOfASignalledParentIsBornSignalledAndKeepsItsParentAlive) {
    CancelPtr root(new TCancelEvent());
    root->Signal();
    CancelPtr const child(new TCancelEvent(root));
    EXPECT_TRUE(child->IsSignalled());

    CancelPtr parent(new TCancelEvent());
    TCancelEvent* const rawParent = parent.get();
    CancelPtr const orphan(new TCancelEvent(parent));
    parent.reset();
    EXPECT_EQ(rawParent->GetReferenceCount(), 1u);
    orphan->DetachFromParent();  // the last reference goes: ASan would see a use after this
    EXPECT_FALSE(orphan->IsSignalled());
}

TEST(TCancelEvent, CallbacksRunOnceByKeyAndAtOnceAfterTheSignal) {
    CancelPtr const event(new TCancelEvent());
    int a = 0;
    int b = 0;
    int removed = 0;
    event->AddOnSignalCallback(&a, [&] { ++removed; });
    event->AddOnSignalCallback(&a, [&] { ++a; });  // same key: replaces
    event->AddOnSignalCallback(&removed, [&] { ++removed; });
    event->RemoveOnSignalCallback(&removed);
    event->Signal();
    event->Signal();
    EXPECT_EQ(a, 1);
    EXPECT_EQ(removed, 0);

    event->AddOnSignalCallback(&b, [&] { ++b; });
    EXPECT_EQ(b, 1);
}

TEST(TCancelEvent, ConcurrentSignalsAndDetachesLeaveEveryChildConsistent) {
    // Children that detach or die while their parent signals: each is either reached or not,
    // and none is touched after it is gone.
    CancelPtr const root(new TCancelEvent());
    std::vector<CancelPtr> children;
    for (int i = 0; i < 64; ++i) {
        children.emplace_back(new TCancelEvent(root));
    }
    std::latch start(2);
    std::jthread dropper([&] {
        start.arrive_and_wait();
        for (std::size_t i = 0; i < children.size(); i += 2) {
            children[i]->DetachFromParent();
            children[i].reset();
        }
    });
    start.arrive_and_wait();
    root->Signal();
    dropper.join();
    for (std::size_t i = 1; i < children.size(); i += 2) {
        EXPECT_TRUE(children[i]->IsSignalled());
    }
}
