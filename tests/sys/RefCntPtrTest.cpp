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
    auto* raw = new Derived(&destroyed);
    {
        RefCntPtr<Derived> a(raw);
        RefCntPtr<Counted> b = a;  // upcast
        RefCntPtr<Counted> c = std::move(b);
        EXPECT_FALSE(b);
        EXPECT_EQ(raw->GetReferenceCount(), 2u);
        // A plain pointer to a shared object becomes one more owner: the count is in the object.
        RefCntPtr<Counted> d(c.get());
        EXPECT_EQ(raw->GetReferenceCount(), 3u);
        c = d;  // same object: no change
        EXPECT_EQ(raw->GetReferenceCount(), 3u);
        EXPECT_TRUE(d == a.get());
        d.reset();
        c = nullptr;
        EXPECT_EQ(raw->GetReferenceCount(), 1u);
        EXPECT_EQ(destroyed, 0);

        RefCntPtr<Counted> other(new Counted(&destroyed));
        std::set<RefCntPtr<Counted>> ordered{other, RefCntPtr<Counted>(a), other};
        EXPECT_EQ(ordered.size(), 2u);
    }
    EXPECT_EQ(destroyed, 2);
}
