// Constant programs: each storage type reached from VTL, by a literal and by a key, as one constant
// array whatever the length; a table's rows, an empty input, a special literal, a key read again
// after an update, and the types without an instance.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/CheckFailure.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StorageType.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/host/DataStoreUpdater.h"

namespace zel::test::constant {
namespace {

using core::StorageType;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

struct StorageCase {
    std::string_view statement;  // the statement that writes b; ~init.rows holds three rows
    std::string_view keyType;    // the VTL type of ~init.k, when the statement reads it
    std::string_view key;        // the JSON of ~init.k
    std::string_view expected;   // the JSON of b
};

// clang-format off
std::vector<StorageCase> const& Cases() {
    static std::vector<StorageCase> const cases{
        {"b : array<bool> = Constant(~init.rows) value true", "", "", R"({"$type": "array<bool>", "constant": true, "count": 3})"},
        {"b : array<float> = Constant(~init.rows) value 0.1f", "", "", R"({"$type": "array<float>", "constant": 0.1, "count": 3})"},
        {"b : array<int64> = Constant(~init.rows, ~init.k)", "int64", R"({"$type": "int64", "value": -5000000000})", R"({"$type": "array<int64>", "constant": -5000000000, "count": 3})"},
        {"b : array<string(nocase)> = Constant(~init.rows, ~init.k)", "string(nocase)", R"j({"$type": "string(nocase)", "value": "Ab"})j", R"j({"$type": "array<string(nocase)>", "constant": "Ab", "count": 3})j"},
        {"b : array<object> = Constant(~init.rows, ~init.k)", "object", R"({"$type": "object", "value": 5})", R"({"$type": "array<object>", "constant": 5, "count": 3})"},
    };
    return cases;
}
// clang-format on

Value Rows(unsigned int count) {
    return Parse(R"({"$type": "array<int32>", "constant": 0, "count": )" + std::to_string(count) + "}");
}

std::string Program(StorageCase const& c) {
    std::string inputs = "input ~init.rows : array<int32>";
    if (!c.keyType.empty()) {
        inputs += ", ~init.k : " + std::string(c.keyType);
    }
    return inputs + "\n" + std::string(c.statement) + "\n";
}

TEST(ConstantInstances, EveryStorageTypeGivesOneConstantArray) {
    std::set<StorageType> reached;
    for (auto const& c : Cases()) {
        std::vector<std::pair<wchar_t const*, Value>> inputs{{L"rows", Rows(3)}};
        if (!c.keyType.empty()) {
            inputs.emplace_back(L"k", Parse(c.key));
        }
        Value const result = RunProgram(Program(c), inputs);
        ASSERT_TRUE(result) << c.statement;
        EXPECT_EQ(Json(result), Json(Parse(c.expected))) << c.statement;
        EXPECT_TRUE(result->AsCollection().IsConstant()) << c.statement;
        reached.insert(*core::GetStorageType(result->GetValueTypeInfo().GetStoreType()));
    }
    EXPECT_EQ(reached, (std::set<StorageType>{StorageType::UInt8, StorageType::UInt32, StorageType::UInt64,
                                              StorageType::String, StorageType::Value}));
}

TEST(Constant, TakesItsLengthFromTheInput) {
    struct LengthCase {
        std::string_view inputType;
        std::string_view input;
        std::string_view expected;
    };
    // A table gives its rows, not its column count; an empty array gives an empty array; a long
    // input costs one value, not one per row.
    for (auto const& c : std::vector<LengthCase>{
             {"table", R"({"$type": "table", "columns": {"x": [1, 2], "y": [3, 4]}})",
              R"({"$type": "array<int32>", "constant": 7, "count": 2})"},
             {"table", R"({"$type": "table", "columns": {"x": [1, 2, 3]}})",
              R"({"$type": "array<int32>", "constant": 7, "count": 3})"},
             {"array<int32>", R"({"$type": "array<int32>", "values": []})",
              R"({"$type": "array<int32>", "constant": 7, "count": 0})"},
             {"set<string>", R"({"$type": "set<string>", "values": ["a", "b", "c", "d"]})",
              R"({"$type": "array<int32>", "constant": 7, "count": 4})"},
         }) {
        Value const result = RunProgram("input ~init.a : " + std::string(c.inputType) +
                                            "\nb : array<int32> = Constant(~init.a) value 7\n",
                                        {{L"a", Parse(c.input)}});
        EXPECT_EQ(Json(result), Json(Parse(c.expected))) << c.input;
    }
    Value const large =
        RunProgram("input ~init.a : array<int32>\nb : array<int32> = Constant(~init.a) value 7\n",
                   {{L"a", Rows(10'000'000)}});
    EXPECT_EQ(large->GetCount(), 10'000'000u);
    EXPECT_TRUE(large->AsCollection().IsConstant());
}

TEST(Constant, ASpecialGivesAnArrayOfThatSpecial) {
    Value const literal = RunProgram(
        "input ~init.a : array<int32>\nb : array<double> = Constant(~init.a) value null : double\n",
        {{L"a", Rows(2)}});
    EXPECT_EQ(Json(literal), Json(Parse(R"({"$type": "array<double>", "constant": null, "count": 2})")));
    Value const key = RunProgram(
        "input ~init.a : array<int32>, ~init.k : string\nb : array<string> = Constant(~init.a, ~init.k)\n",
        {{L"a", Rows(2)}, {L"k", Parse(R"({"$type": "string", "special": "error"})")}});
    EXPECT_EQ(Json(key),
              Json(Parse(R"({"$type": "array<string>", "constant": {"$special": "error"}, "count": 2})")));
}

TEST(Constant, ReadsItsKeyAgainOnASecondRun) {
    auto store = core::factory::MakeDataStore(
        core::StoreValueMap{{L"a", Rows(2)}, {L"k", core::factory::MakeDouble(1.5)}});
    auto vm = vm::VMFactory::Make(
        L"input ~init.a : array<int32>, ~init.k : double\n"
        L"b : array<double> = Constant(~init.a, ~init.k)\n",
        std::move(store), filter::Functions());
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    EXPECT_EQ(Json(vm->MaterializeDataStore()->GetValue(core::KeyPath(L"b"))),
              Json(Parse(R"({"$type": "array<double>", "constant": 1.5, "count": 2})")));
    auto updater = vm->MakeDataStoreUpdater();
    updater->Set(core::KeyPath(L"k"), core::factory::MakeDouble(-4.0));
    vm->ApplyUpdater(std::move(updater));
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    EXPECT_EQ(Json(vm->MaterializeDataStore()->GetValue(core::KeyPath(L"b"))),
              Json(Parse(R"({"$type": "array<double>", "constant": -4.0, "count": 2})")));
}

TEST(Constant, RefusesAValueWithoutPrimitiveStorage) {
    try {
        filter::MakeFirst(
            "input ~init.a : array<int32>, ~init.k : tuple\nb : array<tuple> = Constant(~init.a, ~init.k)\n");
        ADD_FAILURE() << "a tuple constant was made";
    } catch (core::ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), core::ZelError::UnsupportedTypes);
        EXPECT_NE(e.GetText().ToUtf8().find("tuple"), std::string::npos) << e.what();
    }
}

}  // namespace
}  // namespace zel::test::constant
