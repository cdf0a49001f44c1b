// CreateKeySet programs: every pair of key and value storage reached from VTL and compared with the
// key set that the store reader builds from the same entries; special keys, the failures of the
// data and of the types, collated keys, and lookups into a key set that the program built.

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "transform/CreateKeySetInstances.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::keyset {
namespace {

using core::StorageType;
using core::ZelError;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

// Two distinct elements of one element type, in JSON.
struct Column {
    std::string_view type;    // the VTL element type
    std::string_view values;  // the JSON array of two elements
};

// One key column per key storage type and one value column per value storage type; every key
// meets every value. The keys are ones a wrong map would merge: -0.0 and 0.0, texts that differ
// in case under a binary collation, tuples equal in part.
// clang-format off
std::vector<Column> const& KeyColumns() {
    static std::vector<Column> const columns{
        {"bool", "[true, false]"},
        {"float", R"([0.0, -0.0])"},
        {"date", R"(["2024-01-31", "1969-12-31"])"},
        {"string", R"(["a", "A"])"},
        {"tuple", R"([{"$type": "tuple", "values": [1, "x"]}, {"$type": "tuple", "values": [1, "y"]}])"},
    };
    return columns;
}
std::vector<Column> const& ValueColumns() {
    static std::vector<Column> const columns{
        {"bool", "[false, true]"},
        {"color", R"(["#11AAFF80", "#000000FF"])"},
        {"int64", "[5000000000, -1]"},
        {"string(nocase)", R"(["x", "X"])"},
        {"tuple", R"([{"$type": "tuple", "values": [1]}, {"$type": "tuple", "values": []}])"},
    };
    return columns;
}
// clang-format on

std::string Typed(std::string_view container, Column const& column) {
    return R"({"$type": ")" + std::string(container) + "<" + std::string(column.type) + R"(>", "values": )" +
           std::string(column.values) + "}";
}

std::string Program(std::string_view keyType, std::string_view valueType) {
    return "input ~init.k : array<" + std::string(keyType) + ">, ~init.v : array<" + std::string(valueType) +
           ">\nb : object = CreateKeySet(~init.k, ~init.v)\n";
}

TEST(CreateKeySetInstances, EveryPairOfStorageTypesBuildsTheKeySetOfItsEntries) {
    std::set<StorageType> keyStorage;
    std::set<StorageType> valueStorage;
#define ZEL_LIST_KEY(storeType, K) keyStorage.insert(core::StorageTraits<K>::c_storageType);
#define ZEL_LIST_VALUE(storeType, V) valueStorage.insert(core::StorageTraits<V>::c_storageType);
    ZEL_CREATE_KEY_SET_KEY_TYPES(ZEL_LIST_KEY)
    ZEL_CREATE_KEY_SET_VALUE_TYPES(ZEL_LIST_VALUE)
#undef ZEL_LIST_KEY
#undef ZEL_LIST_VALUE
    std::set<std::pair<StorageType, StorageType>> instances;
    for (StorageType k : keyStorage) {
        for (StorageType v : valueStorage) {
            instances.insert({k, v});
        }
    }
    ASSERT_EQ(instances.size(), 25u);

    std::set<std::pair<StorageType, StorageType>> reached;
    for (Column const& key : KeyColumns()) {
        for (Column const& value : ValueColumns()) {
            std::string const what = std::string(key.type) + " -> " + std::string(value.type);
            Value const result =
                RunProgram(Program(key.type, value.type),
                           {{L"k", Parse(Typed("array", key))}, {L"v", Parse(Typed("array", value))}});
            ASSERT_TRUE(result) << what;
            Value const expected =
                Parse(R"({"$type": "keyset<)" + std::string(key.type) + "," + std::string(value.type) +
                      R"(>", "keys": )" + std::string(key.values) + R"(, "values": )" +
                      std::string(value.values) + "}");
            EXPECT_EQ(Json(result), Json(expected)) << what;
            EXPECT_EQ(result->AsKeySet().GetKeyCount(), 2u) << what;
            reached.insert(
                {result->AsKeySet().GetKeyStorageType(), result->AsKeySet().GetValueStorageType()});
        }
    }
    EXPECT_EQ(reached, instances);
}

Value Build(std::string_view keyType, std::string_view keys, std::string_view valueType,
            std::string_view values) {
    return RunProgram(Program(keyType, valueType), {{L"k", Parse(Typed("array", {keyType, keys}))},
                                                    {L"v", Parse(Typed("array", {valueType, values}))}});
}

TEST(CreateKeySet, SpecialKeysHaveAMapOfTheirOwn) {
    Value const empty = Build("int32", "[]", "double", "[]");
    EXPECT_EQ(empty->GetCount(), 0u);
    Value const withNull = Build("int32", "[1, null, 2]", "double", "[0.5, 1.5, 2.5]");
    auto const& keySet = core::AsTypedKeySet<unsigned int, unsigned long long>(*withNull);
    EXPECT_EQ(keySet.GetKeyCount(), 2u);
    ASSERT_NE(keySet.FindSpecial(core::SpecialKind::Null), nullptr);
    EXPECT_EQ(std::bit_cast<double>(*keySet.FindSpecial(core::SpecialKind::Null)), 1.5);
    EXPECT_EQ(std::bit_cast<double>(*keySet.Find(2u)), 2.5);
}

TEST(CreateKeySet, RefusesRepeatedKeysAndSpecialValues) {
    struct FailureCase {
        std::string_view keyType;
        std::string_view keys;
        std::string_view values;
        ZelError error;
        std::string_view condition;
    };
    // clang-format off
    for (auto const& c : std::vector<FailureCase>{
             {"int64", "[3, 4, 3]", "[1, 2, 3]", ZelError::DuplicateKey, "(result.second)"},
             {"int64", "[null, 4, null]", "[1, 2, 3]", ZelError::DuplicateKey, "(result.second)"},
             {"string(nocase)", R"(["a", "A"])", "[1, 2]", ZelError::DuplicateKey, "(result.second)"},
             {"int64", "[null, 4]", "[null, 2]", ZelError::KeySetValuesHaveSpecials, "!(valueArray.HasSpecialValues())"},
             {"int64", "[1, 2, 3]", "[1, 2]", ZelError::KeySetLengthMismatch, "(valuePtr->GetCount() == keyCount)"},
         }) {
        // clang-format on
        ExpectCheckFailure([&] { Build(c.keyType, c.keys, "int32", c.values); }, c.error,
                           std::string(c.condition));
    }
}

TEST(CreateKeySet, RefusesTypesAKeySetCannotHold) {
    ExpectCheckFailure(
        [] {
            filter::MakeFirst(
                "input ~init.k : set<int32>, ~init.v : array<int32>\nb : object = CreateKeySet(~init.k, "
                "~init.v)\n");
        },
        ZelError::KeySetNeedsArrays, "(keyType == StoreType::Array)");
    ExpectCheckFailure(
        [] {
            filter::MakeFirst(
                "input ~init.k : array<int32>, ~init.v : int32\nb : object = CreateKeySet(~init.k, "
                "~init.v)\n");
        },
        ZelError::KeySetNeedsArrays, "(valueType == StoreType::Array)");
    // An object may be a value and not a key; a table is neither.
    ExpectPlainThrow([] { filter::MakeFirst(Program("object", "int32")); },
                     ZelError::KeySetKeyTypeUnsupported, "");
    ExpectPlainThrow([] { filter::MakeFirst(Program("int32", "table")); }, ZelError::KeySetKeyTypeUnsupported,
                     "");
    EXPECT_NO_THROW(filter::MakeFirst(Program("int32", "object")));
}

// The built-in lookup reads the key set that the program built, with the special key's value for
// a Null row and Null for a key that the set lacks.
TEST(CreateKeySet, AnswersLookupsInAMap) {
    Value const result = RunProgram(
        "input ~init.k : array<int64>, ~init.v : array<double>, ~init.q : array<int64>\n"
        "prices : object = CreateKeySet(~init.k, ~init.v)\n"
        "b : array<double> = Map(~init.q) fn lookup_double(prices)\n",
        {{L"k", Parse(R"({"$type": "array<int64>", "values": [7, null, 5000000000]})")},
         {L"v", Parse("[0.5, 0.0, 2.5]")},
         {L"q", Parse(R"({"$type": "array<int64>", "values": [5000000000, 8, null, 7]})")}});
    EXPECT_EQ(Json(result), Json(Parse("[2.5, null, 0.0, 0.5]")));
}

}  // namespace
}  // namespace zel::test::keyset
