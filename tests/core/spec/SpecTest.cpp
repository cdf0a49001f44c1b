// Specs as values: what the constructors fill in, what copies share, equality by value, operator
// names, function argument types and function keys.

#include <gtest/gtest.h>

#include <boost/unordered/unordered_flat_set.hpp>

#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/spec/OperatorType.h"
#include "zel/core/spec/SortSpec.h"
#include "zel/core/spec/TransformSpec.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/StoreValueFactory.h"

namespace zel::core {
namespace {

KeyPath const a(L"a");
KeyPath const b(L"b");

TEST(SpecTest, ConstructorsFillTheOtherFieldsAndCopiesShare) {
    // A single output is kept also when it is the empty path; a block's name becomes its value.
    TransformSpec const plain(OperatorType::Concat, {a, b}, KeyPath::Empty(), std::vector<TransformSpec>{});
    EXPECT_EQ(plain.GetOutputs().size(), 1u);
    TransformSpec const named(OperatorType::Block, {a}, b, {TransformSpec(plain)}, L"blk");
    EXPECT_TRUE(named.GetValue()->Equals(*factory::MakeString(L"blk")));

    auto const function = FunctionSpec::Make(L"f", a);
    auto const value = factory::MakeInt32(3);
    TransformSpec const full(OperatorType::Reduce, a, b, function, value);
    TransformSpec const copy(full);
    EXPECT_EQ(copy.GetFunctionSpec().get(), function.get());
    EXPECT_EQ(copy.GetValue().get(), value.get());
    EXPECT_EQ(copy, full);
}

TEST(SpecTest, EqualityComparesTypedPathsAndValuesByValueAndType) {
    auto const spec = [](KeyPath const& in, std::shared_ptr<StoreValue> const& value, TStringCore const& fn) {
        return TransformSpec(OperatorType::Reduce, in, b, FunctionSpec::Make(fn, {ValueSpec(value)}), value);
    };
    KeyPath const typedA(L"a", KeySegmentType(StoreTypeInfo::Array, StoreTypeInfo::Double));
    EXPECT_EQ(spec(a, factory::MakeDouble(1.5), L"f"), spec(a, factory::MakeDouble(1.5), L"f"));
    EXPECT_NE(spec(a, factory::MakeDouble(1.5), L"f"), spec(typedA, factory::MakeDouble(1.5), L"f"));
    EXPECT_NE(spec(a, factory::MakeInt32(1), L"f"), spec(a, factory::MakeInt64(1), L"f"));
    EXPECT_NE(spec(a, factory::MakeString(L"x"), L"f"),
              spec(a, factory::MakeString(L"X", Collation::Named(L"nocase")), L"f"));
    EXPECT_NE(spec(a, factory::MakeDouble(1.5), L"f"), spec(a, factory::MakeDouble(1.5), L"g"));
    EXPECT_NE(ValueSpec(a), ValueSpec(factory::MakeInt32(1)));
    GraphEdge const edge{true, {0}, {1}, a};
    EXPECT_EQ(edge, (GraphEdge{true, {0}, {1}, a}));
    EXPECT_NE(edge, (GraphEdge{false, {0}, {1}, a}));
}

TEST(SpecTest, OperatorNamesRoundTripAndUnknownNumbersHaveNone) {
    for (unsigned int i = 0; i < c_operatorTypeCount; ++i) {
        auto const type = static_cast<OperatorType>(i);
        EXPECT_EQ(ParseOperatorTypeName(OperatorTypeToString(type).view()), type);
    }
    EXPECT_EQ(OperatorTypeToString(OperatorType::ApplyByPartition), L"ApplyByPartition");
    EXPECT_EQ(OperatorTypeToString(OperatorType::InternalCreateKeyMap), L"InternalCreateKeyMap");
    EXPECT_TRUE(OperatorTypeToString(static_cast<OperatorType>(32)).isEmpty());
    EXPECT_EQ(ParseOperatorTypeName(L"map"), std::nullopt);
    EXPECT_EQ(static_cast<unsigned int>(SortSpecOrder::Descending), 1u);
    EXPECT_EQ(TStringCore(SortFuncName), L"sort");
}

TEST(SpecTest, FunctionArgumentTypes) {
    KeySegmentType const doubles(StoreTypeInfo::Array, StoreTypeInfo::Double);
    auto const column = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32,
                                                         std::make_unique<std::vector<unsigned int>>(2, 7u));
    auto const mixed =
        FunctionSpec::Make(L"f", {ValueSpec(KeyPath(L"x", doubles)), ValueSpec(factory::MakeInt64(1)),
                                  ValueSpec(column), ValueSpec(std::shared_ptr<StoreValue>())});
    auto const types = GetFunctionInputTypes(*mixed, KeyPathTypeLookup());
    ASSERT_EQ(types.size(), 4u);
    EXPECT_EQ(types[0], doubles);                               // a key: by the lookup
    EXPECT_EQ(types[1], KeySegmentType(StoreTypeInfo::Int64));  // a constant: its own type
    EXPECT_EQ(types[2], KeySegmentType(StoreTypeInfo::Array, StoreTypeInfo::Int32));
    EXPECT_FALSE(types[3].HasType());
}

TEST(SpecTest, FunctionKeysCompareAndHashByNameAndTypes) {
    KeySegmentType const nocase(StoreTypeInfo(StoreType::String, false, Collation::Named(L"nocase")));
    FunctionKey const key(L"upper", {KeySegmentType(StoreTypeInfo::String)});
    boost::unordered_flat_set<FunctionKey> keys = {
        key, FunctionKey(L"upper", {nocase}), FunctionKey(L"lower", {KeySegmentType(StoreTypeInfo::String)})};
    EXPECT_EQ(keys.size(), 3u);
    EXPECT_TRUE(keys.contains(FunctionKey(L"upper", {KeySegmentType(StoreTypeInfo::String)})));
    EXPECT_EQ(hash_value(key), hash_value(FunctionKey(key)));
}

}  // namespace
}  // namespace zel::core
