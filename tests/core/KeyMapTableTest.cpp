#include <gtest/gtest.h>

#include <unordered_set>

#include "StoreValueTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test {
namespace {

namespace factory = core::factory;
using core::ConcatenateTables;
using core::SerializeValue;
using core::ZelError;

Value Int(int value) {
    return factory::MakeInt32(value);
}

std::shared_ptr<std::vector<unsigned int>> Rows(std::vector<unsigned int> rows) {
    return std::make_shared<std::vector<unsigned int>>(std::move(rows));
}

TEST(TupleTest, ElementsAreReadInOrderAndCheckedAtTheEnd) {
    auto const tuple = factory::MakeTuple({Int(1), nullptr, factory::MakeString(L"a")});
    EXPECT_EQ(tuple->GetCount(), 3u);
    EXPECT_EQ(tuple->AsTuple().GetElement(1), nullptr);
    EXPECT_EQ(SerializeValue(*tuple), L"(1, nullptr, \"a\")");
    ExpectRuntimeError([&] { tuple->AsTuple().GetElement(3); }, ZelError::RangeViolation, "element 3");
    ExpectRefusal([&] { tuple->AsKeyMap(); }, "tuple has no IStoreKeyMap");
}

TEST(NestedValueTest, HashEqualityAndOrderGoByValueAtEveryDepth) {
    auto make = [](int leaf) {
        return factory::MakeTuple(
            {KeyMap({{L"x", Int(leaf)}, {L"y", Int32Array({1, 2})}}), factory::MakeString(L"t")});
    };
    auto const a = make(1);
    auto const b = make(1);
    auto const c = make(2);
    EXPECT_TRUE(a->Equals(*b));
    EXPECT_EQ(a->Hash(), b->Hash());
    EXPECT_FALSE(a->Equals(*c));
    EXPECT_TRUE(a->IsLessThan(*c));
    EXPECT_TRUE(c->IsGreaterThan(*a));

    // The standard hash and equality of shared values compare contents, not pointers.
    std::unordered_set<Value> set{a, b, c};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_TRUE(std::equal_to<Value>()(nullptr, nullptr));
    EXPECT_FALSE(std::equal_to<Value>()(a, nullptr));

    // A shorter tuple that is a prefix orders first.
    EXPECT_TRUE(factory::MakeTuple({Int(1)})->IsLessThan(*factory::MakeTuple({Int(1), Int(0)})));
    // Kinds order by their type number: tuple (13) before key map (14) before table (15).
    EXPECT_TRUE(a->IsLessThan(*KeyMap({})));
    EXPECT_TRUE(KeyMap({})->IsLessThan(*Table({})));
}

TEST(KeyMapTest, EntriesAreFoundByNameWhateverTheirOrder) {
    auto const map = KeyMap({{L"b", Int(2)}, {L"a", Int(1)}});
    EXPECT_TRUE(map->AsKeyMap().Find(L"a")->Equals(*Int(1)));
    EXPECT_EQ(map->AsKeyMap().Find(L"c"), nullptr);
    EXPECT_EQ(map->AsMemberLookup().GetMember(L"b"), map->AsKeyMap().Find(L"b"));
    EXPECT_EQ(map->AsKeyMap().GetSortedNames(), (std::vector<TStringCore>{L"a", L"b"}));

    auto const same = KeyMap({{L"a", Int(1)}, {L"b", Int(2)}});
    EXPECT_TRUE(map->Equals(*same));
    EXPECT_EQ(map->Hash(), same->Hash());
    EXPECT_EQ(map->Compare(*same), 0);
    EXPECT_TRUE(map->IsLessThan(*KeyMap({{L"a", Int(1)}, {L"b", Int(3)}})));
    EXPECT_TRUE(KeyMap({{L"a", Int(1)}})->IsLessThan(*map));     // a prefix orders first
    EXPECT_TRUE(KeyMap({{L"a", Int(9)}})->IsGreaterThan(*map));  // entries before sizes

    auto const clone = Value(map->Clone());
    EXPECT_TRUE(clone->Equals(*map));
    EXPECT_EQ(clone->AsKeyMap().Find(L"a"), map->AsKeyMap().Find(L"a"));  // values are shared

    EXPECT_EQ(SerializeValue(*KeyMap({{L"b c", Int(2)}, {L"a", StringArray({L"x"})}})),
              L"{a: [\"x\"], \"b c\": 2}");
    ExpectRuntimeError([] { KeyMap({{L"gap", nullptr}}); }, ZelError::InvalidArgument, "\"gap\"");
    ExpectRefusal([&] { map->AsTable(); }, "keymap has no IStoreTable");
    ExpectRefusal([&] { map->AsArray(); }, "IStoreArrayOps");
}

TEST(TableTest, ColumnsAreMembersOfOneLength) {
    auto const amount = DoubleArray({1.5, 2.5, 3.5});
    auto const region = StringArray({L"n", L"s", L"n"});
    auto const table = Table({{L"amount", amount}, {L"region", region}});
    core::IStoreTable const& view = table->AsTable();
    EXPECT_EQ(view.GetRowCount(), 3u);
    EXPECT_EQ(table->GetCount(), 3u);
    EXPECT_EQ(view.GetColumn(L"amount"), amount);
    EXPECT_EQ(view.FindColumn(L"nope"), nullptr);
    EXPECT_EQ(table->AsMemberLookup().GetMember(L"region"), region);
    ExpectRuntimeError([&] { view.GetColumn(L"nope"); }, ZelError::KeyNotFound, "\"nope\"");
    ExpectRefusal([&] { table->AsCollection(); }, "table has no IStoreArray");
    EXPECT_EQ(Table({})->AsTable().GetRowCount(), 0u);
    EXPECT_EQ(SerializeValue(*Table({{L"a", Int32Array({1, 2})}})), L"table{a: [1, 2]}");

    struct Case {
        core::StoreValueMap columns;
        ZelError error;
        char const* text;
    };
    for (Case const& c : {Case{{{L"a", Int32Array({1, 2})}, {L"b", Int32Array({1})}},
                               ZelError::CreateTableRowCountMismatch,
                               "\"b\" has 1 rows but column \"a\" has 2"},
                          Case{{{L"a", Int32Array({1})}, {L"flag", factory::MakeBool(true)}},
                               ZelError::CreateTableInputInvalid,
                               "\"flag\" is a bool"},
                          Case{{{L"a", nullptr}}, ZelError::CreateTableInputInvalid, "\"a\" has no value"}}) {
        ExpectRuntimeError([&] { factory::MakeTable(core::StoreValueMap(c.columns)); }, c.error, c.text);
    }
}

TEST(TableTest, GatherRowsMovesEveryColumnInRowOrder) {
    auto const table = Table({{L"n", Int32Array({10, 20, 30})}, {L"s", StringArray({L"a", L"b", L"c"})}});
    EXPECT_TRUE(
        table->AsTable()
            .GatherRows(Rows({2, 0, 2}))
            ->Equals(*Table({{L"n", Int32Array({30, 10, 30})}, {L"s", StringArray({L"c", L"a", L"c"})}})));
    EXPECT_EQ(table->AsTable().GatherRows(Rows({}))->AsTable().GetRowCount(), 0u);
    EXPECT_THROW(table->AsTable().GatherRows(Rows({3})), core::ZelRuntimeException);
    ExpectRuntimeError([&] { Table({})->AsTable().GatherRows(Rows({3})); }, ZelError::RangeViolation,
                       "row 3");
}

TEST(TableTest, EqualityNeedsEqualColumns) {
    auto const a = Table({{L"n", Int32Array({1, 2})}});
    EXPECT_TRUE(a->Equals(*Table({{L"n", Int32Array({1, 2})}})));
    EXPECT_EQ(a->Hash(), Table({{L"n", Int32Array({1, 2})}})->Hash());
    EXPECT_FALSE(a->Equals(*Table({{L"m", Int32Array({1, 2})}})));
    EXPECT_FALSE(a->Equals(*KeyMap({{L"n", Int32Array({1, 2})}})));
    EXPECT_TRUE(Table({{L"n", Int32Array({1})}})->IsLessThan(*a));  // fewer rows first
}

TEST(ConcatenateTablesTest, RowsOfEarlierTablesComeFirstAndUnlikeColumnsAreRefused) {
    auto const first = Table({{L"n", Int32Array({1, 2})}, {L"s", StringArray({L"a", L"b"})}});
    auto const second = Table({{L"s", StringArray({L"c"})}, {L"n", Int32Array({3})}});
    EXPECT_TRUE(
        ConcatenateTables({first, second})
            ->Equals(*Table({{L"n", Int32Array({1, 2, 3})}, {L"s", StringArray({L"a", L"b", L"c"})}})));
    EXPECT_EQ(ConcatenateTables({first}), first);

    struct Case {
        Value other;
        char const* text;
    };
    Case const cases[] = {
        {Table({{L"n", Int32Array({2})}}), "lacks \"s\""},
        {Table({{L"n", Int32Array({2})}, {L"s", StringArray({L"b"})}, {L"x", Int32Array({0})}}),
         "has \"x\" in addition"},
        {Table({{L"n", DoubleArray({2})}, {L"s", StringArray({L"b"})}}),
         "column \"n\" holds double in input 1 but int32"},
        {Int32Array({1}), "input 1 is a array<int32>"},
    };
    for (auto const& c : cases) {
        ExpectRuntimeError([&] { ConcatenateTables({first, c.other}); }, ZelError::UnsupportedTypes, c.text);
    }
    ExpectRuntimeError([] { ConcatenateTables({}); }, ZelError::CreatorArgumentEmpty, "no tables");
}

TEST(SampleStoreValueTest, KeepsTheFirstElementsOfEachKind) {
    using core::SampleStoreValue;
    EXPECT_TRUE(SampleStoreValue(*Int32Array({1, 2, 3}), 2)->Equals(*Int32Array({1, 2})));
    EXPECT_TRUE(SampleStoreValue(*Int32Array({1}), 5)->Equals(*Int32Array({1})));
    EXPECT_EQ(SampleStoreValue(*Table({{L"n", Int32Array({1, 2, 3})}}), 1)->AsTable().GetRowCount(), 1u);
    EXPECT_EQ(SampleStoreValue(*factory::MakeTuple({Int(1), Int(2)}), 1)->GetCount(), 1u);
    auto const map = KeyMap({{L"b", Int32Array({1, 2, 3})}, {L"a", Int(0)}, {L"c", Int(0)}});
    EXPECT_EQ(SerializeValue(*SampleStoreValue(*map, 2)), L"{a: 0, b: [1, 2]}");
    EXPECT_TRUE(SampleStoreValue(*factory::MakeDouble(1.0), 0)->Equals(*factory::MakeDouble(1.0)));
}

}  // namespace
}  // namespace zel::test
