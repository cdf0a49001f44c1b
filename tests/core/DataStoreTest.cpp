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
using core::StoreType;
using core::StoreTypeInfo;
using core::StoreValue;
using core::StoreValueMap;
using core::ZelError;
using Value = std::shared_ptr<StoreValue>;

std::unique_ptr<IDataStore> EmptyStore() {
    return factory::MakeDataStore(factory::MakeKeyMap(std::make_unique<StoreValueMap>()));
}

KeyPath Path(std::initializer_list<TStringCore> texts) {
    return KeyPath::FromTexts(texts);
}

Value TableOf(std::initializer_list<std::pair<wchar_t const*, Value>> columns) {
    StoreValueMap map;
    for (auto const& [name, value] : columns) {
        map.emplace(name, value);
    }
    return factory::MakeTable(std::move(map));
}

TEST(DataStoreTest, SetValueMakesTheMissingKeyMapsOnTheWay) {
    auto store = EmptyStore();
    store->SetValue(Path({L"a", L"b", L"c", L"d"}), factory::MakeInt32(4));
    store->SetValue(Path({L"a", L"b", L"x"}), factory::MakeInt32(5));

    EXPECT_EQ(core::FetchStoreValue<int>(store->GetValue(Path({L"a", L"b", L"c", L"d"}))), 4);
    EXPECT_EQ(store->GetValue(Path({L"a", L"b"}))->GetStoreType(), StoreType::KeyMap);
    EXPECT_EQ(store->GetValue(Path({L"a", L"b"}))->GetCount(), 2u);
    EXPECT_EQ(store->GetRoot()->GetEntryCount(), 1u);
    EXPECT_EQ(store->GetValue(KeyPath()), store->GetRootValue());
    EXPECT_EQ(core::SerializeValue(*store->GetRootValue()), L"{a: {b: {c: {d: 4}, x: 5}}}");

    // Replacing a value keeps its siblings.
    store->SetValue(Path({L"a", L"b", L"x"}), factory::MakeString(L"five"));
    EXPECT_EQ(core::SerializeValue(*store->GetRootValue()), L"{a: {b: {c: {d: 4}, x: \"five\"}}}");
}

TEST(DataStoreTest, MissingPathsAreNullForFindAndNamedErrorsForGet) {
    auto store = EmptyStore();
    store->SetValue(Path({L"a", L"n"}), factory::MakeInt32(1));

    EXPECT_EQ(store->FindValue(Path({L"a", L"missing"})), nullptr);
    EXPECT_EQ(store->FindValue(Path({L"nowhere", L"deep", L"down"})), nullptr);
    EXPECT_EQ(store->FindValue(Path({L"a", L"n", L"below a scalar"})), nullptr);

    ExpectRuntimeError(
        [&] {
            store->GetValue(Path({L"a", L"missing"}));
        },
        ZelError::KeyNotFound, "no value at \"a.missing\"");
    ExpectRuntimeError(
        [&] {
            store->GetValue(Path({L"nowhere", L"deep"}));
        },
        ZelError::KeyNotFound, "\"nowhere\" is missing");
    ExpectRuntimeError(
        [&] {
            store->GetValue(Path({L"a", L"n", L"x"}));
        },
        ZelError::KeyNotFound, "\"a.n\" holds a int32");
}

TEST(DataStoreTest, ACloneSharesTheRootAndNeitherSeesTheOthersWrites) {
    auto store = EmptyStore();
    store->SetValue(Path({L"in", L"x"}), factory::MakeInt32(1));
    auto clone = store->Clone();
    EXPECT_EQ(clone->GetRootValue(), store->GetRootValue());

    clone->SetValue(Path({L"in", L"x"}), factory::MakeInt32(2));
    clone->SetValue(Path({L"in", L"y"}), factory::MakeInt32(3));
    store->SetValue(Path({L"out"}), factory::MakeInt32(4));

    EXPECT_EQ(core::SerializeValue(*store->GetRootValue()), L"{in: {x: 1}, out: 4}");
    EXPECT_EQ(core::SerializeValue(*clone->GetRootValue()), L"{in: {x: 2, y: 3}}");
}

TEST(DataStoreTest, ValuesHandedOutNeverChangeAfterwards) {
    // The store updates a key map in place only when it alone holds it; anything handed out is a
    // holder too, so it keeps what it saw.
    auto store = EmptyStore();
    store->SetValue(Path({L"a", L"b"}), factory::MakeInt32(1));
    Value const root = store->GetRootValue();
    Value const inner = store->GetValue(Path({L"a"}));
    auto const rootMap = store->GetRoot();

    store->SetValue(Path({L"a", L"b"}), factory::MakeInt32(2));
    store->SetValue(Path({L"a", L"c"}), factory::MakeInt32(3));

    EXPECT_EQ(core::SerializeValue(*root), L"{a: {b: 1}}");
    EXPECT_EQ(core::SerializeValue(*inner), L"{b: 1}");
    EXPECT_EQ(rootMap->GetEntryCount(), 1u);
    EXPECT_EQ(core::SerializeValue(*store->GetRootValue()), L"{a: {b: 2, c: 3}}");

    // A value stored in two places is shared, and a write under one place leaves the other.
    auto other = EmptyStore();
    Value const shared = factory::MakeKeyMap(StoreValueMap{{L"k", factory::MakeInt32(0)}});
    other->SetValue(Path({L"p"}), shared);
    other->SetValue(Path({L"q"}), shared);
    other->SetValue(Path({L"p", L"k"}), factory::MakeInt32(9));
    EXPECT_EQ(core::SerializeValue(*other->GetRootValue()), L"{p: {k: 9}, q: {k: 0}}");
    EXPECT_EQ(core::SerializeValue(*shared), L"{k: 0}");
}

TEST(DataStoreTest, PathsWalkTablesByColumn) {
    auto store = EmptyStore();
    store->SetValue(Path({L"sales"}),
                    TableOf({{L"amount", DoubleArray({1, 2})}, {L"n", Int32Array({1, 2})}}));
    Value const before = store->GetValue(Path({L"sales"}));

    EXPECT_TRUE(store->GetValue(Path({L"sales", L"amount"}))->Equals(*DoubleArray({1, 2})));
    store->SetValue(Path({L"sales", L"amount"}), DoubleArray({3, 4}));
    store->SetValue(Path({L"sales", L"extra"}), Int32Array({7, 8}));

    Value const after = store->GetValue(Path({L"sales"}));
    EXPECT_EQ(after->GetStoreType(), StoreType::Table);
    EXPECT_EQ(after->AsTable().GetRowCount(), 2u);
    EXPECT_EQ(after->AsTable().GetColumns().size(), 3u);
    EXPECT_TRUE(store->GetValue(Path({L"sales", L"amount"}))->Equals(*DoubleArray({3, 4})));
    EXPECT_EQ(after->AsTable().GetColumn(L"n"), before->AsTable().GetColumn(L"n"));  // shared, not copied
    EXPECT_TRUE(before->AsTable().GetColumn(L"amount")->Equals(*DoubleArray({1, 2})));
}

TEST(DataStoreTest, BadWritesAreRefusedByPathAndChangeNothing) {
    auto store = EmptyStore();
    store->SetValue(Path({L"t"}), TableOf({{L"c", Int32Array({1, 2})}}));
    store->SetValue(Path({L"s"}), factory::MakeInt32(1));
    Value const root = store->GetRootValue();

    ExpectRuntimeError(
        [&] {
            store->SetValue(Path({L"t", L"c"}), Int32Array({1}));
        },
        ZelError::CreateTableRowCountMismatch, "\"t.c\" to an array of 1 elements: the table has 2");
    ExpectRuntimeError(
        [&] {
            store->SetValue(Path({L"t", L"c"}), factory::MakeInt32(1));
        },
        ZelError::CreateTableInputInvalid, "\"t.c\" to a int32");
    ExpectRuntimeError(
        [&] {
            store->SetValue(Path({L"t", L"c", L"deeper"}), factory::MakeInt32(1));
        },
        ZelError::UnsupportedTypes, "\"t.c\" is a table column");
    ExpectRuntimeError(
        [&] {
            store->SetValue(Path({L"s", L"x"}), factory::MakeInt32(1));
        },
        ZelError::UnsupportedTypes, "\"s\" holds a int32");
    ExpectRuntimeError([&] { store->SetValue(Path({L"n"}), nullptr); }, ZelError::InvalidArgument,
                       "\"n\" to no value");
    ExpectRuntimeError([&] { store->SetValue(KeyPath(), factory::MakeInt32(1)); }, ZelError::UnsupportedTypes,
                       "must be a key map");
    EXPECT_EQ(store->GetRootValue(), root);
}

TEST(DataStoreTest, UpdateValueNeedsAValueAlreadyThere) {
    auto store = EmptyStore();
    store->SetValue(Path({L"a", L"x"}), factory::MakeInt32(1));
    store->UpdateValue(Path({L"a", L"x"}), factory::MakeInt32(2));
    EXPECT_EQ(core::FetchStoreValue<int>(store->GetValue(Path({L"a", L"x"}))), 2);
    ExpectRuntimeError(
        [&] {
            store->UpdateValue(Path({L"a", L"y"}), factory::MakeInt32(2));
        },
        ZelError::KeyNotFound, "cannot update \"a.y\"");
    EXPECT_EQ(store->FindValue(Path({L"a", L"y"})), nullptr);
}

TEST(DataStoreTest, FactoriesTakeAKeyMapOrItsEntries) {
    StoreValueMap entries{{L"x", factory::MakeInt32(1)}};
    auto fromMap = factory::MakeDataStore(std::move(entries));
    EXPECT_EQ(core::FetchStoreValue<int>(fromMap->GetValue(KeyPath(L"x"))), 1);
    auto fromPointer =
        factory::MakeDataStore(std::make_unique<StoreValueMap>(StoreValueMap{{L"y", factory::MakeInt32(2)}}));
    EXPECT_EQ(fromPointer->GetRoot()->GetEntries().begin()->first, L"y");

    Value const root = factory::MakeKeyMap(StoreValueMap{{L"z", factory::MakeInt32(3)}});
    EXPECT_EQ(factory::MakeDataStore(root)->GetRootValue(), root);
    ExpectRuntimeError([] { factory::MakeDataStore(factory::MakeInt32(1)); }, ZelError::UnsupportedTypes,
                       "not a int32");
    ExpectRuntimeError([] { factory::MakeDataStore(Value()); }, ZelError::UnsupportedTypes, "missing");
}

TEST(DataStoreTest, AStoreTypeLookupAnswersFromTheValuesItHolds) {
    auto store = EmptyStore();
    store->SetValue(Path({L"in", L"amount"}), DoubleArray({1}));
    store->SetValue(Path({L"in", L"name"}), factory::MakeString(L"n"));
    auto const lookup = core::MakeStoreTypeLookup(*store);
    store->SetValue(Path({L"later"}), factory::MakeInt32(1));  // not in the snapshot

    EXPECT_EQ(lookup.GetStoreType(Path({L"in", L"amount"})), StoreType::Array);
    EXPECT_EQ(lookup.GetChildStoreType(Path({L"in", L"amount"})), StoreType::Double);
    EXPECT_EQ(lookup.GetStoreType(Path({L"in", L"name"})), StoreType::String);
    EXPECT_EQ(lookup.GetStoreType(Path({L"in"})), StoreType::KeyMap);
    EXPECT_EQ(lookup.GetStoreType(Path({L"later"})), StoreType::Empty);
    // A path the store lacks answers from its own segment type.
    EXPECT_EQ(lookup.GetStoreType(KeyPath(L"typed", core::KeySegmentType(StoreTypeInfo::Int64))),
              StoreType::Int64);
}

}  // namespace
}  // namespace zel::test
