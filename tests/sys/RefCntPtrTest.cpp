#include "vorsys/base/RefCntPtr.h"

#include <gtest/gtest.h>

#include <set>

namespace {

class Counted : public RefCntObject {
public:
    explicit Counted(int* destroyed) : m_destroyed(destroyed) {}
    ~Counted() override { ++*m_destroyed; }

private:
    int* m_destroyed;
};

class Derived final : public Counted {
public:
    using Counted::Counted;
};

}  // namespace

TEST(RefCntPtr, CountsCopiesButNotMovesAndDeletesOnceAtZero) {
    int destroyed = 0;
    auto* raw = new Counted(&destroyed);
    {
        RefCntPtr<Counted> a(raw);
        EXPECT_EQ(raw->GetReferenceCount(), 1u);
        RefCntPtr<Counted> b = a;
        EXPECT_EQ(raw->GetReferenceCount(), 2u);
        RefCntPtr<Counted> c = std::move(b);
        EXPECT_FALSE(b);
        EXPECT_EQ(raw->GetReferenceCount(), 2u);
        // A plain pointer to a shared object becomes one more owner: the count is in the object.
        RefCntPtr<Counted> d(c.get());
        EXPECT_EQ(raw->GetReferenceCount(), 3u);
        c = d;  // same object: no change
        EXPECT_EQ(raw->GetReferenceCount(), 3u);
        d.reset();
        c = nullptr;
        EXPECT_EQ(raw->GetReferenceCount(), 1u);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(RefCntPtr, ResetsUpcastsAndCompares) {
    int destroyed = 0;
    RefCntPtr<Derived> derived(new Derived(&destroyed));
    RefCntPtr<Counted> base = derived;
    EXPECT_EQ(base.get(), derived.get());
    EXPECT_EQ(derived->GetReferenceCount(), 2u);
    EXPECT_TRUE(base == RefCntPtr<Counted>(derived.get()));
    EXPECT_TRUE(base == derived.get());
    EXPECT_FALSE(base == nullptr);
    EXPECT_TRUE(RefCntPtr<Counted>() == nullptr);

    RefCntPtr<Counted> other(new Counted(&destroyed));
    EXPECT_NE(base, other);
    std::set<RefCntPtr<Counted>> ordered{base, other, base};
    EXPECT_EQ(ordered.size(), 2u);
    ordered.clear();

    base.reset(other.get());  // the derived object keeps its other owner
    EXPECT_EQ(destroyed, 0);
    derived.reset();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(&*base, other.get());
}
