// SetValue and SetValueMulti programs: every instance reached from VTL with its exact scalar, the
// first argument alone read, the refused functions and pairs, and multinary functions of keys and
// literals.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "transform/SetValueInstances.h"
#include "transform/SetValueMultiInstances.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::setvalue {
namespace {

using core::StoreType;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

struct InstanceCase {
    StoreType in;
    StoreType out;
    std::string_view function;  // as in `SetValue() fn <function>(~init.a)`
    std::string_view inType;    // the VTL type of ~init.a
    std::string_view outType;   // the VTL type of the result
    std::string_view input;     // the JSON of ~init.a
    std::string_view expected;  // the JSON of the result
};

// Values where a wrong instance shows: a truncation, a widening, bits read as the wrong type.
// clang-format off
std::vector<InstanceCase> const& Cases() {
    static std::vector<InstanceCase> const cases{
        {StoreType::Bool, StoreType::Bool, "not", "bool", "bool", "true", "false"},
        {StoreType::Int32, StoreType::Int32, "negate", "int32", "int32", "-2147483647", "2147483647"},
        {StoreType::Int64, StoreType::Int64, "negate", "int64", "int64", R"({"$type": "int64", "value": 5000000000})", R"({"$type": "int64", "value": -5000000000})"},
        {StoreType::Float, StoreType::Float, "sqrt", "float", "float", R"({"$type": "float", "value": 2.25})", R"({"$type": "float", "value": 1.5})"},
        {StoreType::Double, StoreType::Double, "sqrt", "double", "double", "2.25", "1.5"},
        {StoreType::Int64, StoreType::Double, "sqrt", "int64", "double", R"({"$type": "int64", "value": 10000000000})", "100000.0"},
        {StoreType::DateTime, StoreType::Double, "to_double", "datetime", "double", R"({"$type": "datetime", "value": "1970-01-01T00:00:01.5"})", "1.5"},
        {StoreType::Int32, StoreType::Double, "sqrt", "int32", "double", "9", "3.0"},
        {StoreType::Double, StoreType::Int32, "to_int32", "double", "int32", "-2.9", "-2"},
        {StoreType::Double, StoreType::Int64, "to_int64", "double", "int64", "1e12", R"({"$type": "int64", "value": 1000000000000})"},
        {StoreType::DateTime, StoreType::DateTime, "start_of_day", "datetime", "datetime", R"({"$type": "datetime", "value": "2024-02-29T23:59:59"})", R"({"$type": "datetime", "value": "2024-02-29T00:00:00"})"},
        {StoreType::Double, StoreType::Float, "to_float", "double", "float", "0.1", R"({"$type": "float", "value": 0.1})"},
        {StoreType::Int32, StoreType::Int64, "to_int64", "int32", "int64", "-7", R"({"$type": "int64", "value": -7})"},
        {StoreType::DateTime, StoreType::Int32, "year", "datetime", "int32", R"({"$type": "datetime", "value": "2023-12-31T23:59:59"})", "2023"},
    };
    return cases;
}
// clang-format on

std::string SetValueProgram(std::string_view function, std::string_view inType, std::string_view outType) {
    return "input ~init.a : " + std::string(inType) + "\nb : " + std::string(outType) + " = SetValue() fn " +
           std::string(function) + "(~init.a)\n";
}

std::string Describe(InstanceCase const& c) {
    return std::string(core::StoreTypeName(c.in)) + " -> " + std::string(core::StoreTypeName(c.out));
}

TEST(SetValueInstances, TheCasesCoverEveryInstanceOnce) {
    std::set<std::pair<StoreType, StoreType>> instances;
#define ZEL_LIST_INSTANCE(inClass, outClass, A, B) \
    instances.insert({StoreType::inClass, StoreType::outClass});
    ZEL_SET_VALUE_INSTANCES(ZEL_LIST_INSTANCE)
#undef ZEL_LIST_INSTANCE
    std::set<std::pair<StoreType, StoreType>> covered;
    for (auto const& c : Cases()) {
        EXPECT_TRUE(covered.insert({c.in, c.out}).second) << "twice: " << Describe(c);
    }
    EXPECT_EQ(covered, instances);
    EXPECT_EQ(covered.size(), 14u);
}

TEST(SetValueInstances, EachInstanceGivesItsExactScalar) {
    for (auto const& c : Cases()) {
        Value const input = Parse(c.input);
        Value const result = RunProgram(SetValueProgram(c.function, c.inType, c.outType), {{L"a", input}});
        ASSERT_TRUE(result) << Describe(c);
        EXPECT_EQ(Json(result), Json(Parse(c.expected))) << Describe(c);
    }
}

TEST(SetValue, ADateIsServedAsADateTime) {
    Value const result = RunProgram(SetValueProgram("to_datetime", "date", "datetime"),
                                    {{L"a", Parse(R"({"$type": "date", "value": "1999-12-31"})")}});
    EXPECT_EQ(Json(result), Json(Parse(R"({"$type": "datetime", "value": "1999-12-31T00:00:00"})")));
}

// A host's unary function registered under two input types: SetValue calls it on the first
// argument and reads the second only as an input of the statement.
TEST(SetValue, OnlyTheFirstArgumentReachesTheFunction) {
    core::FunctionLookup lookup;
    core::FunctionLookup scratch;
    auto const& plain = scratch.RegisterUnary(L"twice", [](double x) { return 2 * x; });
    core::KeySegmentType const d(core::StoreTypeInfo::Double);
    lookup.Register(core::RegisteredFunctions::Make(
        core::FunctionKind::Unary, core::FunctionKey(L"twice", {d, d}), plain.GetOutputType(), false, false,
        reinterpret_cast<core::FunctionFactory<core::IUnaryFunction<double, double>>>(plain.GetFunction()),
        reinterpret_cast<core::FunctionFactory<core::IUnarySpecialFunction<double, double>>>(
            plain.GetSpecialFunction())));
    auto store = core::factory::MakeDataStore(core::StoreValueMap{{L"a", core::factory::MakeDouble(1.5)},
                                                                  {L"c", core::factory::MakeDouble(100.0)}});
    auto vm = vm::VMFactory::Make(
        L"input ~init.a : double, ~init.c : double\n"
        L"b : double = SetValue() fn twice(~init.a, ~init.c)\n",
        std::move(store), lookup);
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    EXPECT_EQ(Json(vm->MaterializeDataStore()->GetValue(core::KeyPath(L"b"))), "3.0");
}

TEST(SetValue, RefusesWhatItCannotCall) {
    // A pair without an instance.
    ExpectPlainThrow([] { filter::MakeFirst(SetValueProgram("to_string", "int32", "string")); },
                     core::ZelError::UnsupportedTypes, "unsupported types in SetValue");
    // A function with only the special form: SetValue calls the regular one.
    ExpectCheckFailure([] { filter::MakeFirst(SetValueProgram("to_int32", "datetime", "int32")); },
                       core::ZelError::SetValueFunctionMissing, "(f.HasFunction())");
    // A creator: its arguments would make it, not feed it.
    ExpectCheckFailure(
        [] {
            filter::MakeFirst("input ~init.a : double\nb : double = SetValue() fn multiply(~init.a)\n")
                ->DoTransform({}, nullptr);
        },
        core::ZelError::FunctionIsCreator, "!(m_isCreator)");
}

TEST(SetValue, ReportsItsFunctionInItsMetricsName) {
    EXPECT_EQ(filter::MakeFirst(SetValueProgram("sqrt", "double", "double"))->GetMetricsString().ToUtf8(),
              "SetValue_sqrt");
}

struct MultiCase {
    std::string_view call;      // as in `SetValueMulti() fn <call>`
    std::string_view outType;   // the VTL type of the result
    std::string_view expected;  // the JSON of the result
};

// ~init.a is the double 2.5, ~init.t the datetime 2024-01-01T00:00:00.
// clang-format off
std::vector<MultiCase> const& MultiCases() {
    static std::vector<MultiCase> const cases{
        {"gt(~init.a, 2)", "bool", "true"},
        {"max(7, -3)", "int32", "7"},
        {"add(5000000000L, 1L)", "int64", R"({"$type": "int64", "value": 5000000001})"},
        {"min(1.5f, 0.25f)", "float", R"({"$type": "float", "value": 0.25})"},
        {"add(~init.a, 0.25)", "double", "2.75"},
        {R"(max(~init.t, datetime("2023-06-01T00:00:00")))", "datetime", R"({"$type": "datetime", "value": "2024-01-01T00:00:00"})"},
        {R"(tuple(~init.a, "x"))", "tuple", R"({"$type": "tuple", "values": [2.5, "x"]})"},
    };
    return cases;
}
// clang-format on

TEST(SetValueMultiInstances, EachResultTypeHasItsInstanceAndValue) {
    EXPECT_EQ(MultiCases().size(), 7u);
    std::set<std::string> instances;
#define ZEL_LIST_MULTI_INSTANCE(storeType, T) instances.insert(#storeType);
    ZEL_SET_VALUE_MULTI_INSTANCES(ZEL_LIST_MULTI_INSTANCE)
#undef ZEL_LIST_MULTI_INSTANCE
    EXPECT_EQ(instances.size(), MultiCases().size());
    Value const a = core::factory::MakeDouble(2.5);
    Value const t = Parse(R"({"$type": "datetime", "value": "2024-01-01T00:00:00"})");
    for (auto const& c : MultiCases()) {
        std::string const program =
            "input ~init.a : double, ~init.t : datetime\nb : " + std::string(c.outType) +
            " = SetValueMulti() fn " + std::string(c.call) + "\n";
        Value const result = RunProgram(program, {{L"a", a}, {L"t", t}});
        ASSERT_TRUE(result) << c.call;
        EXPECT_EQ(Json(result), Json(Parse(c.expected))) << c.call;
    }
}

TEST(SetValueMulti, ReadsItsKeyArgumentsInOrder) {
    auto const transform = filter::MakeFirst(
        "input ~init.a : double, ~init.t : datetime\n"
        "b : bool = SetValueMulti() fn lt(~init.a, 3, ~init.t)\n");
    std::vector<std::string> leaves;
    for (core::KeyPath const& path : transform->GetInputPaths()) {
        leaves.push_back(path.GetLeaf().ToUtf8());
    }
    EXPECT_EQ(leaves, (std::vector<std::string>{"a", "t"}));
    EXPECT_EQ(transform->GetMetricsString().ToUtf8(), "SetValueMulti_lt");
}

}  // namespace
}  // namespace zel::test::setvalue
