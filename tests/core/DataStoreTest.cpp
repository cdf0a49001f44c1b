#include <gtest/gtest.h>

#include "StoreValueTestSupport.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test {
namespace {

namespace factory = core::factory;
using core::IDataStore;
using core::KeyPath;
using core::SerializeValue;
using core::StoreType;
using core::ZelError;

std::unique_ptr<IDataStore> EmptyStore() {
    return factory::MakeDataStore(std::make_unique<core::StoreValueMap>());
}

KeyPath P(wchar_t const* text) {
    return KeyPath::Parse(text);
}

TEST(DataStoreTest, SetValueMakesTheMissingKeyMapsOnTheWay) {
    auto store = EmptyStore();
    store->SetValue(P(L"a.b.c.d"), factory::MakeInt32(4));
    store->SetValue(P(L"a.b.x"), factory::MakeInt32(5));
    EXPECT_EQ(core::FetchStoreValue<int>(store->GetValue(P(L"a.b.c.d"))), 4);
    EXPECT_EQ(store->GetValue(P(L"a.b"))->GetStoreType(), StoreType::KeyMap);
    EXPECT_EQ(store->GetValue(KeyPath()), store->GetRootValue());
    EXPECT_EQ(SerializeValue(*store->GetRootValue()), L"{a: {b: {c: {d: 4}, x: 5}}}");

    // Replacing a value keeps its siblings.
    store->SetValue(P(L"a.b.x"), factory::MakeString(L"five"));
    EXPECT_EQ(SerializeValue(*store->GetRootValue()), L"{a: {b: {c: {d: 4}, x: \"five\"}}}");
}

TEST(DataStoreTest, MissingPathsAreNullForFindAndNamedErrorsForGet) {
    auto store = EmptyStore();
    store->SetValue(P(L"a.n"), factory::MakeInt32(1));
    struct Case {
        wchar_t const* path;
        char const* text;
    };
    for (auto const& c : {Case{L"a.missing", "no value at \"a.missing\""},
                          Case{L"nowhere.deep.down", "\"nowhere\" is missing"},
                          Case{L"a.n.below", "\"a.n\" holds a int32"}}) {
        EXPECT_EQ(store->FindValue(P(c.path)), nullptr) << c.text;
        ExpectRuntimeError([&] { store->GetValue(P(c.path)); }, ZelError::KeyNotFound, c.text);
    }
}

TEST(DataStoreTest, ACloneSharesTheRootAndNeitherSeesTheOthersWrites) {
    auto store = EmptyStore();
    store->SetValue(P(L"in.x"), factory::MakeInt32(1));
    auto clone = store->Clone();
    EXPECT_EQ(clone->GetRootValue(), store->GetRootValue());

    clone->SetValue(P(L"in.x"), factory::MakeInt32(2));
    clone->SetValue(P(L"in.y"), factory::MakeInt32(3));
    store->SetValue(P(L"out"), factory::MakeInt32(4));
    EXPECT_EQ(SerializeValue(*store->GetRootValue()), L"{in: {x: 1}, out: 4}");
    EXPECT_EQ(SerializeValue(*clone->GetRootValue()), L"{in: {x: 2, y: 3}}");
}

TEST(DataStoreTest, ValuesHandedOutNeverChangeAfterwards) {
    // The store updates a key map in place only when it alone holds it; anything handed out is a
    // holder too, so it keeps what it saw.
    auto store = EmptyStore();
    store->SetValue(P(L"a.b"), factory::MakeInt32(1));
    Value const root = store->GetRootValue();
    Value const inner = store->GetValue(P(L"a"));
    auto const rootMap = store->GetRoot();

    store->SetValue(P(L"a.b"), factory::MakeInt32(2));
    store->SetValue(P(L"a.c"), factory::MakeInt32(3));
    EXPECT_EQ(SerializeValue(*root), L"{a: {b: 1}}");
    EXPECT_EQ(SerializeValue(*inner), L"{b: 1}");
    EXPECT_EQ(rootMap->GetEntryCount(), 1u);
    EXPECT_EQ(SerializeValue(*store->GetRootValue()), L"{a: {b: 2, c: 3}}");

    // A value stored in two places is shared, and a write under one place leaves the other.
    auto other = EmptyStore();
    Value const shared = KeyMap({{L"k", factory::MakeInt32(0)}});
    other->SetValue(P(L"p"), shared);
    other->SetValue(P(L"q"), shared);
    other->SetValue(P(L"p.k"), factory::MakeInt32(9));
    EXPECT_EQ(SerializeValue(*other->GetRootValue()), L"{p: {k: 9}, q: {k: 0}}");
    EXPECT_EQ(SerializeValue(*shared), L"{k: 0}");
}

TEST(DataStoreTest, PathsWalkTablesByColumn) {
    auto store = EmptyStore();
    store->SetValue(P(L"sales"), Table({{L"amount", DoubleArray({1, 2})}, {L"n", Int32Array({1, 2})}}));
    Value const before = store->GetValue(P(L"sales"));
    EXPECT_TRUE(store->GetValue(P(L"sales.amount"))->Equals(*DoubleArray({1, 2})));

    store->SetValue(P(L"sales.amount"), DoubleArray({3, 4}));
    store->SetValue(P(L"sales.extra"), Int32Array({7, 8}));
    Value const after = store->GetValue(P(L"sales"));
    EXPECT_EQ(after->GetStoreType(), StoreType::Table);
    EXPECT_EQ(after->AsTable().GetColumns().size(), 3u);
    EXPECT_TRUE(store->GetValue(P(L"sales.amount"))->Equals(*DoubleArray({3, 4})));
    EXPECT_EQ(after->AsTable().GetColumn(L"n"), before->AsTable().GetColumn(L"n"));  // shared, not copied
    EXPECT_TRUE(before->AsTable().GetColumn(L"amount")->Equals(*DoubleArray({1, 2})));
}

TEST(DataStoreTest, BadWritesAreRefusedByPathAndChangeNothing) {
    auto store = EmptyStore();
    store->SetValue(P(L"t"), Table({{L"c", Int32Array({1, 2})}}));
    store->SetValue(P(L"s"), factory::MakeInt32(1));
    Value const root = store->GetRootValue();
    struct Case {
        KeyPath path;
        Value value;
        ZelError error;
        char const* text;
    };
    Case const cases[] = {
        {P(L"t.c"), Int32Array({1}), ZelError::CreateTableRowCountMismatch,
         "\"t.c\" to an array of 1 elements: the table has 2"},
        {P(L"t.c"), factory::MakeInt32(1), ZelError::CreateTableInputInvalid, "\"t.c\" to a int32"},
        {P(L"t.c.deeper"), factory::MakeInt32(1), ZelError::UnsupportedTypes, "\"t.c\" is a table column"},
        {P(L"s.x"), factory::MakeInt32(1), ZelError::UnsupportedTypes, "\"s\" holds a int32"},
        {P(L"n"), nullptr, ZelError::InvalidArgument, "\"n\" to no value"},
        {KeyPath(), factory::MakeInt32(1), ZelError::UnsupportedTypes, "must be a key map"},
    };
    for (auto const& c : cases) {
        ExpectRuntimeError([&] { store->SetValue(c.path, c.value); }, c.error, c.text);
    }
    EXPECT_EQ(store->GetRootValue(), root);

    ExpectRuntimeError([&] { store->UpdateValue(P(L"s2"), factory::MakeInt32(2)); }, ZelError::KeyNotFound,
                       "cannot update \"s2\"");
    EXPECT_EQ(store->FindValue(P(L"s2")), nullptr);
    store->UpdateValue(P(L"s"), factory::MakeInt32(2));
    EXPECT_EQ(core::FetchStoreValue<int>(store->GetValue(P(L"s"))), 2);
}

TEST(DataStoreTest, FactoriesTakeAKeyMapOrItsEntries) {
    auto fromMap = factory::MakeDataStore(MapOf({{L"x", factory::MakeInt32(1)}}));
    EXPECT_EQ(core::FetchStoreValue<int>(fromMap->GetValue(P(L"x"))), 1);
    Value const root = KeyMap({{L"z", factory::MakeInt32(3)}});
    EXPECT_EQ(factory::MakeDataStore(root)->GetRootValue(), root);
    ExpectRuntimeError([] { factory::MakeDataStore(factory::MakeInt32(1)); }, ZelError::UnsupportedTypes,
                       "not a int32");
    ExpectRuntimeError([] { factory::MakeDataStore(Value()); }, ZelError::UnsupportedTypes, "missing");
}

TEST(DataStoreTest, AStoreTypeLookupAnswersFromTheValuesItHolds) {
    auto store = EmptyStore();
    store->SetValue(P(L"in.amount"), DoubleArray({1}));
    store->SetValue(P(L"in.name"), factory::MakeString(L"n"));
    auto const lookup = core::MakeStoreTypeLookup(*store);
    store->SetValue(P(L"later"), factory::MakeInt32(1));  // not in the snapshot

    EXPECT_EQ(lookup.GetStoreType(P(L"in.amount")), StoreType::Array);
    EXPECT_EQ(lookup.GetChildStoreType(P(L"in.amount")), StoreType::Double);
    EXPECT_EQ(lookup.GetStoreType(P(L"in.name")), StoreType::String);
    EXPECT_EQ(lookup.GetStoreType(P(L"in")), StoreType::KeyMap);
    EXPECT_EQ(lookup.GetStoreType(P(L"later")), StoreType::Empty);
    // A path the store lacks answers from its own segment type.
    EXPECT_EQ(lookup.GetStoreType(KeyPath(L"typed", core::KeySegmentType(core::StoreTypeInfo::Int64))),
              StoreType::Int64);
}

}  // namespace
}  // namespace zel::test
