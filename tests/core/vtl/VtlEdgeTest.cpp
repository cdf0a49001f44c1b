// Edges as the parser infers them, explicit edges, output keys, and the types that every
// occurrence of a path carries.

#include "VtlTestSupport.h"
#include "zel/core/store/StoreValue.h"

namespace zel::test {
namespace {

using core::GraphEdge;
using core::KeyPath;
using core::KeySegmentType;
using core::StoreTypeInfo;

KeyPath P(char const* text) {
    return KeyPath::Parse(TStringCore::FromUtf8(text));
}

GraphEdge Edge(bool retain, std::vector<unsigned int> sources, std::vector<unsigned int> sinks,
               char const* key) {
    return GraphEdge{retain, std::move(sources), std::move(sinks), P(key)};
}

TEST(VtlEdgeTest, OneEdgePerReadKeyWithWritersAsSourcesAndReadersAsSinks) {
    VtlProgram const program = ParseVtl(R"(
        doubled = Map(~init.a) fn multiply(~init.k)
        total = Reduce(doubled) fn add() value 0.0
        Output() fn log(total, doubled, total)
        unread = Copy(~init.a)
    )");
    std::vector<GraphEdge> const expected = {
        Edge(true, {}, {0, 3}, "~init.a"),  // an input of the program: no source
        Edge(true, {}, {0}, "~init.k"),     // read as a function argument
        Edge(true, {0}, {1, 2}, "doubled"),
        Edge(true, {1}, {2}, "total"),  // read twice by one statement: one sink
        Edge(true, {3}, {}, "unread"),  // nobody reads it: an edge of its own
    };
    EXPECT_EQ(EdgesText(program.edges), EdgesText(expected));
    EXPECT_TRUE(program.outputKeys.empty());
}

TEST(VtlEdgeTest, OutputDeclarationKeepsOnlyWantedAndUnreadEdges) {
    VtlProgram const program = ParseVtl(R"(
        output t.sum
        x = Map(~init.a) fn f()
        t = CreateTable(x)
        s.sum = Reduce(x) fn add() value 0
        y = Copy(t)
    )");
    std::vector<GraphEdge> const expected = {
        Edge(false, {}, {0}, "~init.a"), Edge(false, {0}, {1, 2}, "x"),
        Edge(true, {1}, {3}, "t"),     // holds the wanted t.sum
        Edge(true, {2}, {}, "s.sum"),  // unread and unwanted: retained for want of a reader
        Edge(true, {3}, {}, "y"),
    };
    EXPECT_EQ(EdgesText(program.edges), EdgesText(expected));
    ASSERT_EQ(program.outputKeys.size(), 1u);
    EXPECT_TRUE(program.outputKeys.contains(P("t.sum")));
}

TEST(VtlEdgeTest, ReadsFindWritersOfAncestorsAndWritesAreReadThroughDescendants) {
    VtlProgram const program = ParseVtl(R"(
        t = CreateTable(~init.a)
        u.b = Copy(~init.a)
        v = Zip(t.b.c, u.b.c)
    )");
    std::vector<GraphEdge> const expected = {
        Edge(true, {}, {0, 1}, "~init.a"),
        Edge(true, {0}, {2}, "t.b.c"),  // t is read through t.b.c
        Edge(true, {1}, {2}, "u.b.c"),
        Edge(true, {2}, {}, "v"),
    };
    EXPECT_EQ(EdgesText(program.edges), EdgesText(expected));
}

TEST(VtlEdgeTest, ChildrenHaveNoEdgesOfTheirOwn) {
    VtlProgram const program = ParseVtl(R"(
        flag = Case(~init.a, ~init.limit) {
          when gt(~init.limit, 10.0) { flag = Map(~init.a) fn negate() }
          else { flag = Copy(~init.a) }
        }
    )");
    std::vector<GraphEdge> const expected = {
        Edge(true, {}, {0}, "~init.a"),
        Edge(true, {}, {0}, "~init.limit"),
        Edge(true, {0}, {}, "flag"),
    };
    EXPECT_EQ(EdgesText(program.edges), EdgesText(expected));
}

TEST(VtlEdgeTest, ExplicitEdgesAreTakenAsStatedAndTurnInferenceOff) {
    VtlProgram const program = ParseVtl(R"(
        edge b retained from [0] to [1]
        edge c : double from [1, 0] to []
        b = Map(~init.a) fn negate()
        c = Copy(b)
    )");
    std::vector<GraphEdge> const expected = {Edge(true, {0}, {1}, "b"), Edge(false, {1, 0}, {}, "c")};
    ASSERT_EQ(program.edges.size(), 2u);
    EXPECT_EQ(program.edges[0], expected[0]);
    EXPECT_TRUE(program.edges[1].key.TypeAgnosticEquals(P("c")));
    EXPECT_EQ(program.edges[1].key.GetLeafSegmentType(), KeySegmentType(StoreTypeInfo::Double));
    EXPECT_EQ(program.edges[1].sources, (std::vector<unsigned int>{1, 0}));
    // The statement writing c carries the type declared on the edge.
    EXPECT_EQ(program.specs[1].GetOutputs()[0], program.edges[1].key);
}

TEST(VtlEdgeTest, EveryOccurrenceCarriesTheTypesDeclaredOnceAnywhere) {
    VtlProgram const program = ParseVtl(R"(
        y = Copy(x)
        input ~init.s : table { a : array<double>, n : string(nocase) }
        x : array<set> = Map(~init.s.a) fn f(~init.s.n, (~init.k : keymap).`odd key` : date)
    )");
    ASSERT_EQ(program.specs.size(), 2u);
    // Declared after its first use.
    KeySegmentType const arrayOfSets(StoreTypeInfo::Array, StoreTypeInfo::Set);
    KeyPath const& x = program.specs[0].GetInputs()[0];
    EXPECT_EQ(x.GetLeafSegmentType(), arrayOfSets);
    EXPECT_EQ(program.specs[1].GetOutputs()[0], x);

    KeyPath const& a = program.specs[1].GetInputs()[0];
    ASSERT_EQ(a.GetCount(), 3u);
    EXPECT_FALSE(a.GetSegment(0).HasType());
    EXPECT_EQ(a.GetSegment(1).GetType(), KeySegmentType(StoreTypeInfo::Table));
    EXPECT_EQ(a.GetSegment(2).GetType(), KeySegmentType(StoreTypeInfo::Array, StoreTypeInfo::Double));

    auto const& arguments = program.specs[1].GetFunctionSpec()->GetFunctionInputs();
    ASSERT_EQ(arguments.size(), 2u);
    StoreTypeInfo const& n = arguments[0].GetKeyPath().GetLeafSegmentType().GetMainType();
    EXPECT_EQ(n.GetStoreType(), core::StoreType::String);
    EXPECT_EQ(n.GetCollation().GetName(), L"nocase");
    KeyPath const& odd = arguments[1].GetKeyPath();
    EXPECT_EQ(odd.GetSegment(1).GetType(), KeySegmentType(StoreTypeInfo::KeyMap));
    EXPECT_EQ(odd.GetLeaf(), L"odd key");
    EXPECT_EQ(odd.GetLeafSegmentType(), KeySegmentType(StoreTypeInfo::Date));
    // An edge key carries the types too.
    EXPECT_EQ(program.edges[0].key, x);
}

}  // namespace
}  // namespace zel::test
