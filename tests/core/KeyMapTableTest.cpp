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
using core::IStoreTable;
using core::SerializeValue;
using core::StoreType;
using core::StoreTypeInfo;
using core::StoreValue;
using core::StoreValueMap;
using core::ZelError;
using Value = std::shared_ptr<StoreValue>;

Value KeyMap(std::initializer_list<std::pair<wchar_t const*, Value>> entries) {
    StoreValueMap map;
    for (auto const& [name, value] : entries) {
        map.emplace(name, value);
    }
    return factory::MakeKeyMap(std::move(map));
}

Value Table(std::initializer_list<std::pair<wchar_t const*, Value>> columns) {
    StoreValueMap map;
    for (auto const& [name, value] : columns) {
        map.emplace(name, value);
    }
    return factory::MakeTable(std::move(map));
}

TEST(TupleTest, ElementsAreReadInOrderAndCheckedAtTheEnd) {
    auto const tuple = factory::MakeTuple({factory::MakeInt32(1), nullptr, factory::MakeString(L"a")});
    EXPECT_EQ(tuple->GetStoreType(), StoreType::Tuple);
    EXPECT_EQ(tuple->GetCount(), 3u);
    EXPECT_EQ(tuple->AsTuple().GetElement(1), nullptr);
    EXPECT_EQ(SerializeValue(*tuple), L"(1, nullptr, \"a\")");
    ExpectRuntimeError([&] { tuple->AsTuple().GetElement(3); }, ZelError::RangeViolation, "element 3");
    ExpectRefusal([&] { tuple->AsKeyMap(); }, "tuple has no IStoreKeyMap");
}

TEST(NestedValueTest, HashEqualityAndOrderGoByValueAtEveryDepth) {
    auto make = [](int leaf) {
        return factory::MakeTuple({KeyMap({{L"x", factory::MakeInt32(leaf)}, {L"y", Int32Array({1, 2})}}),
                                   factory::MakeString(L"t")});
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
    EXPECT_TRUE(factory::MakeTuple({factory::MakeInt32(1)})
                    ->IsLessThan(*factory::MakeTuple({factory::MakeInt32(1), factory::MakeInt32(0)})));
    // Kinds order by their type number: tuple (13) before key map (14) before table (15).
    EXPECT_TRUE(a->IsLessThan(*KeyMap({})));
    EXPECT_TRUE(KeyMap({})->IsLessThan(*Table({})));
}

TEST(KeyMapTest, EntriesAreFoundByNameWhateverTheirOrder) {
    auto const map = KeyMap({{L"b", factory::MakeInt32(2)}, {L"a", factory::MakeInt32(1)}});
    EXPECT_EQ(map->GetCount(), 2u);
    EXPECT_EQ(map->AsKeyMap().GetEntryCount(), 2u);
    EXPECT_TRUE(map->AsKeyMap().Find(L"a")->Equals(*factory::MakeInt32(1)));
    EXPECT_EQ(map->AsKeyMap().Find(L"c"), nullptr);
    EXPECT_EQ(map->AsMemberLookup().GetMember(L"b"), map->AsKeyMap().Find(L"b"));
    EXPECT_EQ(map->AsKeyMap().GetSortedNames(), (std::vector<TStringCore>{L"a", L"b"}));

    auto const same = KeyMap({{L"a", factory::MakeInt32(1)}, {L"b", factory::MakeInt32(2)}});
    EXPECT_TRUE(map->Equals(*same));
    EXPECT_EQ(map->Hash(), same->Hash());
    EXPECT_EQ(map->Compare(*same), 0);
    auto const other = KeyMap({{L"a", factory::MakeInt32(1)}, {L"b", factory::MakeInt32(3)}});
    EXPECT_TRUE(map->IsLessThan(*other));
    EXPECT_TRUE(KeyMap({{L"a", factory::MakeInt32(1)}})->IsLessThan(*map));     // a prefix orders first
    EXPECT_TRUE(KeyMap({{L"a", factory::MakeInt32(9)}})->IsGreaterThan(*map));  // entries before sizes

    auto const clone = Value(map->Clone());
    EXPECT_TRUE(clone->Equals(*map));
    EXPECT_EQ(clone->AsKeyMap().Find(L"a"), map->AsKeyMap().Find(L"a"));  // values are shared

    EXPECT_EQ(SerializeValue(*KeyMap({{L"b c", factory::MakeInt32(2)}, {L"a", StringArray({L"x"})}})),
              L"{a: [\"x\"], \"b c\": 2}");
    ExpectRuntimeError([] { KeyMap({{L"gap", nullptr}}); }, ZelError::InvalidArgument, "\"gap\"");
    ExpectRefusal([&] { map->AsTable(); }, "keymap has no IStoreTable");
    ExpectRefusal([&] { map->AsArray(); }, "IStoreArrayOps");
}

TEST(TableTest, ColumnsAreMembersOfOneLength) {
    auto const amount = DoubleArray({1.5, 2.5, 3.5});
    auto const region = StringArray({L"n", L"s", L"n"});
    auto const table = Table({{L"amount", amount}, {L"region", region}});
    IStoreTable const& view = table->AsTable();
    EXPECT_EQ(view.GetRowCount(), 3u);
    EXPECT_EQ(table->GetCount(), 3u);
    EXPECT_EQ(view.GetColumn(L"amount"), amount);
    EXPECT_EQ(view.FindColumn(L"nope"), nullptr);
    EXPECT_EQ(view.GetColumns().size(), 2u);
    EXPECT_EQ(table->AsKeyMap().Find(L"region"), region);
    EXPECT_EQ(table->AsMemberLookup().GetMember(L"region"), region);
    auto const columns = view.CloneColumns();
    EXPECT_EQ(columns->at(L"amount"), amount);
    ExpectRuntimeError([&] { view.GetColumn(L"nope"); }, ZelError::KeyNotFound, "\"nope\"");
    ExpectRefusal([&] { table->AsCollection(); }, "table has no IStoreArray");

    EXPECT_EQ(Table({})->AsTable().GetRowCount(), 0u);
    EXPECT_EQ(SerializeValue(*Table({{L"a", Int32Array({1, 2})}})), L"table{a: [1, 2]}");
}

TEST(TableTest, ColumnsOfUnequalLengthOrNoArrayAreRefusedByName) {
    ExpectRuntimeError(
        [] {
            Table({{L"a", Int32Array({1, 2})}, {L"b", Int32Array({1})}});
        },
        ZelError::CreateTableRowCountMismatch, "\"b\" has 1 rows but column \"a\" has 2");
    ExpectRuntimeError(
        [] {
            Table({{L"a", Int32Array({1})}, {L"flag", factory::MakeBool(true)}});
        },
        ZelError::CreateTableInputInvalid, "\"flag\" is a bool");
    ExpectRuntimeError(
        [] {
            Table({{L"a", nullptr}});
        },
        ZelError::CreateTableInputInvalid, "\"a\" has no value");
}

TEST(TableTest, GatherRowsMovesEveryColumnInRowOrder) {
    auto const table = Table({{L"n", Int32Array({10, 20, 30})}, {L"s", StringArray({L"a", L"b", L"c"})}});
    auto const rows = std::make_shared<std::vector<unsigned int>>(std::vector<unsigned int>{2, 0, 2});
    auto const gathered = table->AsTable().GatherRows(rows);
    EXPECT_EQ(gathered->AsTable().GetRowCount(), 3u);
    EXPECT_TRUE(gathered->Equals(
        *Table({{L"n", Int32Array({30, 10, 30})}, {L"s", StringArray({L"c", L"a", L"c"})}})));
    EXPECT_EQ(
        table->AsTable().GatherRows(std::make_shared<std::vector<unsigned int>>())->AsTable().GetRowCount(),
        0u);

    auto const past = std::make_shared<std::vector<unsigned int>>(std::vector<unsigned int>{3});
    EXPECT_THROW(table->AsTable().GatherRows(past), core::ZelRuntimeException);
    ExpectRuntimeError([&] { Table({})->AsTable().GatherRows(past); }, ZelError::RangeViolation, "row 3");
}

TEST(TableTest, EqualityNeedsEqualColumns) {
    auto const a = Table({{L"n", Int32Array({1, 2})}});
    EXPECT_TRUE(a->Equals(*Table({{L"n", Int32Array({1, 2})}})));
    EXPECT_EQ(a->Hash(), Table({{L"n", Int32Array({1, 2})}})->Hash());
    EXPECT_FALSE(a->Equals(*Table({{L"m", Int32Array({1, 2})}})));
    EXPECT_FALSE(a->Equals(*KeyMap({{L"n", Int32Array({1, 2})}})));
    EXPECT_TRUE(Table({{L"n", Int32Array({1})}})->IsLessThan(*a));  // fewer rows first
}

TEST(ConcatenateTablesTest, RowsOfEarlierTablesComeFirst) {
    auto const first = Table({{L"n", Int32Array({1, 2})}, {L"s", StringArray({L"a", L"b"})}});
    auto const second = Table({{L"s", StringArray({L"c"})}, {L"n", Int32Array({3})}});
    auto const joined = core::ConcatenateTables({first, second});
    EXPECT_TRUE(
        joined->Equals(*Table({{L"n", Int32Array({1, 2, 3})}, {L"s", StringArray({L"a", L"b", L"c"})}})));
    EXPECT_EQ(core::ConcatenateTables({first}), first);
}

TEST(ConcatenateTablesTest, UnlikeColumnsAreRefusedClearly) {
    auto const first = Table({{L"n", Int32Array({1})}, {L"s", StringArray({L"a"})}});
    ExpectRuntimeError(
        [&] {
            core::ConcatenateTables({first, Table({{L"n", Int32Array({2})}})});
        },
        ZelError::UnsupportedTypes, "lacks \"s\"");
    ExpectRuntimeError(
        [&] {
            core::ConcatenateTables(
                {first,
                 Table({{L"n", Int32Array({2})}, {L"s", StringArray({L"b"})}, {L"x", Int32Array({0})}})});
        },
        ZelError::UnsupportedTypes, "has \"x\" in addition");
    ExpectRuntimeError(
        [&] {
            core::ConcatenateTables({first, Table({{L"n", DoubleArray({2})}, {L"s", StringArray({L"b"})}})});
        },
        ZelError::UnsupportedTypes, "column \"n\" holds double in input 1 but int32");
    ExpectRuntimeError(
        [&] {
            core::ConcatenateTables({first, Int32Array({1})});
        },
        ZelError::UnsupportedTypes, "input 1 is a array<int32>");
    ExpectRuntimeError([] { core::ConcatenateTables({}); }, ZelError::CreatorArgumentEmpty, "no tables");
}

TEST(SampleStoreValueTest, KeepsTheFirstElementsOfEachKind) {
    using core::SampleStoreValue;
    EXPECT_TRUE(SampleStoreValue(*Int32Array({1, 2, 3}), 2)->Equals(*Int32Array({1, 2})));
    EXPECT_TRUE(SampleStoreValue(*Int32Array({1}), 5)->Equals(*Int32Array({1})));
    auto const table = Table({{L"n", Int32Array({1, 2, 3})}});
    EXPECT_EQ(SampleStoreValue(*table, 1)->AsTable().GetRowCount(), 1u);
    auto const tuple = factory::MakeTuple({factory::MakeInt32(1), factory::MakeInt32(2)});
    EXPECT_EQ(SampleStoreValue(*tuple, 1)->GetCount(), 1u);
    auto const map =
        KeyMap({{L"b", Int32Array({1, 2, 3})}, {L"a", factory::MakeInt32(0)}, {L"c", factory::MakeInt32(0)}});
    EXPECT_EQ(SerializeValue(*SampleStoreValue(*map, 2)), L"{a: 0, b: [1, 2]}");
    EXPECT_TRUE(SampleStoreValue(*factory::MakeDouble(1.0), 0)->Equals(*factory::MakeDouble(1.0)));
}

}  // namespace
}  // namespace zel::test
