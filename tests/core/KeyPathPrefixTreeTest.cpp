#include <gtest/gtest.h>

#include <vector>

#include "zel/core/store/KeyPathPrefixTree.h"

using namespace zel::core;

namespace {

KeyPath P(wchar_t const* text) {
    return KeyPath::Parse(text);
}

std::vector<TStringCore> Texts(std::vector<KeyPath> const& paths) {
    std::vector<TStringCore> out;
    for (auto const& path : paths) {
        out.push_back(path.ToString());
    }
    return out;
}

}  // namespace

TEST(KeyPathPrefixTrees, AddMakesAncestorsAndReportsCreation) {
    auto tree = KeyPathPrefixTree::Make();
    auto const [abc, created] = tree->Add(P(L"a.b.c"), true);
    EXPECT_TRUE(created);
    ASSERT_NE(abc, nullptr);
    EXPECT_EQ(abc->GetDepth(), 3u);

    auto const* ab = tree->Find(P(L"a.b"));
    ASSERT_NE(ab, nullptr);
    EXPECT_FALSE(ab->IsConcrete());
    EXPECT_EQ(abc->GetParentNode(), ab);

    // The intermediate node exists already: not created, but now concrete.
    auto const [again, createdAgain] = tree->Add(P(L"a.b"), true);
    EXPECT_EQ(again, ab);
    EXPECT_FALSE(createdAgain);
    EXPECT_TRUE(ab->IsConcrete());

    // Adding without the flag never clears it.
    EXPECT_FALSE(tree->Add(P(L"a.b"), false).second);
    EXPECT_TRUE(ab->IsConcrete());
    EXPECT_TRUE(tree->Add(P(L"a.x"), false).second);
    EXPECT_FALSE(tree->Find(P(L"a.x"))->IsConcrete());

    // The empty path is the root.
    EXPECT_EQ(tree->Find(KeyPath()), tree.get());
    EXPECT_FALSE(tree->Add(KeyPath(), false).second);
}

TEST(KeyPathPrefixTrees, FindIgnoresTypesAndMissesUnknownPaths) {
    auto tree = KeyPathPrefixTree::Make();
    tree->Add(KeyPath(L"t", KeySegmentType(StoreTypeInfo::Table)).Add(L"col"), true);
    EXPECT_NE(tree->Find(P(L"t.col")), nullptr);
    EXPECT_EQ(tree->Find(P(L"t.other")), nullptr);
    EXPECT_EQ(tree->Find(P(L"t.col.deeper")), nullptr);
    EXPECT_EQ(tree->Find(P(L"col")), nullptr);
    // Nodes keep the segment of the path that made them.
    EXPECT_EQ(tree->Find(P(L"t"))->GetPath().GetLeafSegmentType().GetMainType(), StoreTypeInfo::Table);
    // Find on a node reads the path below that node.
    EXPECT_EQ(tree->Find(P(L"t"))->Find(P(L"col")), tree->Find(P(L"t.col")));
}

TEST(KeyPathPrefixTrees, ConcreteAncestorsAndDescendants) {
    auto tree = KeyPathPrefixTree::Make();
    tree->Add(P(L"a.b"), true);
    tree->Add(P(L"a.b.c.d"), true);
    tree->Add(P(L"x.y"), false);

    auto const* a = tree->Find(P(L"a"));
    auto const* ab = tree->Find(P(L"a.b"));
    auto const* abc = tree->Find(P(L"a.b.c"));
    auto const* abcd = tree->Find(P(L"a.b.c.d"));
    auto const* xy = tree->Find(P(L"x.y"));

    EXPECT_TRUE(a->HasConcreteDescendant());
    EXPECT_FALSE(ab->HasConcreteAncestor());  // strict: itself does not count
    EXPECT_TRUE(ab->HasConcreteDescendant());
    EXPECT_TRUE(abc->HasConcreteAncestor());
    EXPECT_FALSE(abcd->HasConcreteDescendant());
    EXPECT_FALSE(xy->HasConcreteAncestor());
    EXPECT_FALSE(tree->Find(P(L"x"))->HasConcreteDescendant());
    EXPECT_TRUE(tree->HasConcreteDescendant());

    // Marking a node twice counts it once for its ancestors.
    tree->Add(P(L"x.y"), true);
    tree->Add(P(L"x.y"), true);
    EXPECT_TRUE(tree->Find(P(L"x"))->HasConcreteDescendant());
    EXPECT_FALSE(xy->HasConcreteDescendant());
}

TEST(KeyPathPrefixTrees, EldersOfDescendantsAreWholePathsInAddOrder) {
    auto tree = KeyPathPrefixTree::Make();
    tree->Add(P(L"s.t.u"), true);
    tree->Add(P(L"s.t.u.v"), true);  // hidden by its concrete ancestor s.t.u
    tree->Add(P(L"s.a"), true);
    tree->Add(P(L"s.b.c"), false);  // not concrete
    tree->Add(P(L"s.b.d"), true);
    tree->Add(P(L"r"), true);

    EXPECT_EQ(Texts(tree->GetEldersOfDescendants()),
              (std::vector<TStringCore>{L"s.t.u", L"s.a", L"s.b.d", L"r"}));
    EXPECT_EQ(Texts(tree->Find(P(L"s.b"))->GetEldersOfDescendants()), (std::vector<TStringCore>{L"s.b.d"}));
    EXPECT_EQ(Texts(tree->Find(P(L"s.t.u"))->GetEldersOfDescendants()), (std::vector<TStringCore>{L"s.t.u"}));
    // Below a concrete node, a concrete descendant is an elder relative to the receiver.
    EXPECT_EQ(Texts(tree->Find(P(L"s.t.u.v"))->GetEldersOfDescendants()),
              (std::vector<TStringCore>{L"s.t.u.v"}));
    EXPECT_TRUE(tree->Find(P(L"s.b.c"))->GetEldersOfDescendants().empty());
    EXPECT_TRUE(KeyPathPrefixTree::Make()->GetEldersOfDescendants().empty());
}
