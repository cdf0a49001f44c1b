// Every instance of ZipWith, reached from a VTL program through a built-in function: one table row
// per triple of the function's first input, second input and output type, each with two small
// columns that hold specials where the function lets them through (or makes them), and the exact
// result. The rows are checked against the instance table, so an instance without a row fails,
// as does a row whose columns or result are not of the types it claims to reach.

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "core/functions/builtin/InstanceTables.h"
#include "support/CheckFailure.h"
#include "vm/zipwith/ZipWithTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::zipwith {
namespace {

using builtin::ValueClass;
using builtin::ValueClassOf;
using builtin::ZipWithInstances;
using core::StoreType;

struct InstanceCase {
    StoreType a;
    StoreType b;
    ValueClass out;
    std::string_view function;    // the VTL call, as in `ZipWith(~init.a, ~init.b) fn <function>`
    std::string_view outputType;  // the VTL type of the result
    std::string_view columnA;     // the JSON of ~init.a
    std::string_view columnB;     // the JSON of ~init.b
    std::string_view expected;    // the JSON of the result
};

using VC = ValueClass;
using ST = StoreType;

// The values sit where a wrong instance would show: integers that wrap, floats that round, texts
// that do not parse, tuple elements that are missing or do not convert, and a special in either
// column. Regular functions pass a special row on; special-only ones (power and divide of integers,
// date_part, to_color and to_float of a text, mask, where, pick_*, get_double) make their own.
// clang-format off
std::vector<InstanceCase> const& Cases() {
    static std::vector<InstanceCase> const cases{
        {ST::Bool, ST::Bool, VC::Bool, "and()", "array<bool>", R"([true, true, false, null])", R"([true, false, true, true])", R"({"$type":"array<bool>","values":[true,false,false,null]})"},
        {ST::Int32, ST::Int32, VC::Int32, "add()", "array<int32>", R"([1, 2147483647, -5, null])", R"([2, 1, 5, 7])", R"({"$type":"array<int32>","values":[3,-2147483648,0,null]})"},
        {ST::Int64, ST::Int64, VC::Int64, "subtract()", "array<int64>", R"({"$type": "array<int64>", "values": [5000000000, -9223372036854775808, 1]})", R"({"$type": "array<int64>", "values": [1, 1, null]})", R"({"$type":"array<int64>","values":[4999999999,9223372036854775807,null]})"},
        {ST::Float, ST::Float, VC::Float, "multiply()", "array<float>", R"({"$type": "array<float>", "values": [1.5, -0.25, null]})", R"({"$type": "array<float>", "values": [2.0, 4.0, 1.0]})", R"({"$type":"array<float>","values":[3.0,-1.0,null]})"},
        {ST::Double, ST::Double, VC::Double, "divide()", "array<double>", R"([1.0, 1.0, -1.0, null])", R"([4.0, 0.0, 0.0, 2.0])", R"({"$type":"array<double>","values":[0.25,"inf","-inf",null]})"},
        {ST::String, ST::Bool, VC::Color, "to_color()", "array<color>", R"(["#11AAFF80", "#11AAFF80", "x", null])", R"([false, true, true, false])", R"({"$type":"array<color>","values":["#11AAFF80","#11AAFFFF",{"$special":"error"},null]})"},
        {ST::Double, ST::Bool, VC::Double, "mask()", "array<double>", R"([1.5, 2.5, null, 4.0])", R"([true, false, true, null])", R"({"$type":"array<double>","values":[1.5,null,null,null]})"},
        {ST::Color, ST::Bool, VC::Color, "mask()", "array<color>", R"({"$type": "array<color>", "values": ["#11AAFF80", "#000000FF", null]})", R"([true, false, true])", R"({"$type":"array<color>","values":["#11AAFF80",null,null]})"},
        {ST::Int32, ST::Bool, VC::Int32, "mask()", "array<int32>", R"([7, -8, 9])", R"([true, false, true])", R"({"$type":"array<int32>","values":[7,null,9]})"},
        {ST::Bool, ST::Int32, VC::Int32, "where()", "array<int32>", R"([true, false, true, null])", R"([1, 2, null, 4])", R"({"$type":"array<int32>","values":[1,null,null,null]})"},
        {ST::Tuple, ST::Bool, VC::Int32, "pick_int32(1)", "array<int32>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, 7]}, {"$type": "tuple", "values": [true, 2.9]}, {"$type": "tuple", "values": [1]}, {"$type": "tuple", "values": [1, "x"]}, {"$type": "tuple", "values": [1, 2]}]})", R"([true, true, true, true, false])", R"({"$type":"array<int32>","values":[7,2,{"$special":"error"},{"$special":"error"},null]})"},
        {ST::Bool, ST::Tuple, VC::Int32, "pick_int32(0)", "array<int32>", R"([true, false, null])", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [5]}, {"$type": "tuple", "values": [6]}, {"$type": "tuple", "values": [7]}]})", R"({"$type":"array<int32>","values":[5,null,null]})"},
        {ST::Float, ST::Int32, VC::Float, "add()", "array<float>", R"({"$type": "array<float>", "values": [1.5, 16777216.0, null]})", R"([1, 1, 1])", R"({"$type":"array<float>","values":[2.5,16777216.0,null]})"},
        {ST::String, ST::Int32, VC::Float, "to_float()", "array<float>", R"(["3.14159", " 2.5 ", "x", null])", R"([2, 0, 1, 1])", R"({"$type":"array<float>","values":[3.14,3.0,{"$special":"error"},null]})"},
        {ST::Int32, ST::Float, VC::Float, "multiply()", "array<float>", R"([3, -2, null])", R"({"$type": "array<float>", "values": [0.5, 0.25, 1.0]})", R"({"$type":"array<float>","values":[1.5,-0.5,null]})"},
        {ST::Double, ST::Int32, VC::Double, "round()", "array<double>", R"([1.25, -2.5, null])", R"([1, 0, 3])", R"({"$type":"array<double>","values":[1.3,-3.0,null]})"},
        {ST::Int32, ST::Int32, VC::Int64, "power()", "array<int64>", R"([2, -3, 0, 2, null])", R"([40, 3, -1, -1, 2])", R"({"$type":"array<int64>","values":[1099511627776,-27,{"$special":"error"},0,null]})"},
        {ST::Tuple, ST::Int32, VC::Double, "get_double()", "array<double>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, 7]}, {"$type": "tuple", "values": [true, 2.5]}, {"$type": "tuple", "values": [1]}, {"$type": "tuple", "values": [null]}]})", R"([1, 1, 3, 0])", R"({"$type":"array<double>","values":[7.0,2.5,{"$special":"error"},null]})"},
        {ST::Float, ST::Int32, VC::Double, "power()", "array<double>", R"({"$type": "array<float>", "values": [2.0, 0.5, null]})", R"([3, -1, 2])", R"({"$type":"array<double>","values":[8.0,2.0,null]})"},
        {ST::Tuple, ST::Bool, VC::Value, "mask()", "array<tuple>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, "x"]}, {"$type": "tuple", "values": ["s"]}, {"$type": "tuple", "values": [2]}]})", R"([true, false, null])", R"({"$type":"array<tuple>","values":[{"$type":"tuple","values":[1,"x"]},null,null]})"},
        {ST::Double, ST::Tuple, VC::Double, "add()", "array<double>", R"([0.5, 1.0, null])", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, 2.5, "x"]}, {"$type": "tuple", "values": []}, {"$type": "tuple", "values": [3]}]})", R"({"$type":"array<double>","values":[4.0,1.0,null]})"},
        {ST::Double, ST::Double, VC::Bool, "gt()", "array<bool>", R"([1.0, 2.0, null])", R"([0.5, 2.0, 1.0])", R"({"$type":"array<bool>","values":[true,false,null]})"},
        {ST::DateTime, ST::Int32, VC::Int32, "date_part()", "array<int32>", R"({"$type": "array<datetime>", "values": ["2024-02-29T13:45:10", "2024-02-29T13:45:10", "2024-02-29T13:45:10", null]})", R"([0, 1, 9, 0])", R"({"$type":"array<int32>","values":[2024,2,{"$special":"error"},null]})"},
        {ST::Bool, ST::Tuple, VC::DateTime, "pick_datetime(0)", "array<datetime>", R"([true, false, true])", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [{"$type": "datetime", "value": "2024-01-31T12:00:00"}]}, {"$type": "tuple", "values": [1]}, {"$type": "tuple", "values": [1]}]})", R"({"$type":"array<datetime>","values":["2024-01-31T12:00:00",null,{"$special":"error"}]})"},
        {ST::DateTime, ST::DateTime, VC::Int64, "subtract()", "array<int64>", R"({"$type": "array<datetime>", "values": ["2024-01-01T00:00:01", "2024-01-01T00:00:00", null]})", R"({"$type": "array<datetime>", "values": ["2024-01-01T00:00:00", "2024-01-02T00:00:00", "2024-01-01T00:00:00"]})", R"({"$type":"array<int64>","values":[1000000,-86400000000,null]})"},
        {ST::Bool, ST::Tuple, VC::Float, "pick_float(1)", "array<float>", R"([true, true, false])", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [0, 2.5]}, {"$type": "tuple", "values": [0]}, {"$type": "tuple", "values": [0, 1]}]})", R"({"$type":"array<float>","values":[2.5,{"$special":"error"},null]})"},
    };
    return cases;
}
// clang-format on

std::string Describe(InstanceCase const& c) {
    return std::string(core::StoreTypeName(c.a)) + ", " + std::string(core::StoreTypeName(c.b)) + " -> " +
           std::string(builtin::ValueClassName(c.out)) + " by " + std::string(c.function);
}

std::string TypeOf(StoreType type) {
    return "array<" + std::string(core::StoreTypeName(type)) + ">";
}

std::string Program(InstanceCase const& c) {
    return ZipWithProgram(std::string(c.function), TypeOf(c.a), TypeOf(c.b), std::string(c.outputType));
}

// The same column in the indexed layout: `indices` into its own flat values.
Value Indexed(Value const& column, std::vector<unsigned int> const& indices) {
    std::string typed = Json(column);
    std::string list;
    for (unsigned int index : indices) {
        list += (list.empty() ? "" : ",") + std::to_string(index);
    }
    typed.insert(typed.size() - 1, ",\"indices\":[" + list + "]");
    return Parse(typed);
}

TEST(ZipWithInstances, TheCasesCoverEveryInstanceOnce) {
    using Triple = std::tuple<StoreType, StoreType, ValueClass>;
    std::set<Triple> instances;
    for (auto const& row : ZipWithInstances()) {
        ASSERT_EQ(row.inputs.size(), 2u);
        instances.insert({row.inputs[0], row.inputs[1], row.output});
    }
    std::set<Triple> covered;
    for (auto const& c : Cases()) {
        EXPECT_TRUE(covered.insert({c.a, c.b, c.out}).second) << "twice: " << Describe(c);
        EXPECT_TRUE(instances.contains({c.a, c.b, c.out})) << "not an instance: " << Describe(c);
    }
    for (auto const& [a, b, out] : instances) {
        EXPECT_TRUE(covered.contains({a, b, out}))
            << "no case for " << core::StoreTypeName(a) << ", " << core::StoreTypeName(b) << " -> "
            << builtin::ValueClassName(out);
    }
    EXPECT_EQ(covered.size(), 26u);
}

// Each case with blocks of two rows, so that every column spans a short last block; again on the
// row path; and again with both columns in the indexed layout (the rows backwards, then the first
// twice more), where the blocks read values and specials through the indices.
TEST(ZipWithInstances, EachInstanceGivesTheExactResultOnEveryPath) {
    for (auto const& c : Cases()) {
        Value const a = Parse(c.columnA);
        Value const b = Parse(c.columnB);
        ASSERT_EQ(a->AsCollection().GetElementTypeInfo().GetStoreType(), c.a) << Describe(c);
        ASSERT_EQ(b->AsCollection().GetElementTypeInfo().GetStoreType(), c.b) << Describe(c);
        ASSERT_EQ(a->GetCount(), b->GetCount()) << Describe(c);
        std::vector<unsigned int> indices;
        for (unsigned int row = a->GetCount(); row-- > 0;) {
            indices.push_back(row);
        }
        indices.insert(indices.end(), {0u, 0u});
        Value const expected = Parse(c.expected);
        Value const expectedIndexed =
            expected->AsArray().Gather(std::make_shared<std::vector<unsigned int>>(indices));
        for (int path : {0, 1, 2}) {
            SCOPED_TRACE(Describe(c) + (path == 0 ? ", blocks" : path == 1 ? ", rows" : ", indexed"));
            bool const indexed = path == 2;
            Value const result = RunProgram(
                Program(c),
                {{L"a", indexed ? Indexed(a, indices) : a}, {L"b", indexed ? Indexed(b, indices) : b}},
                Blocks(2, true, path != 1));
            ASSERT_TRUE(result);
            EXPECT_EQ(Json(result->AsArray().Flatten()), Json(indexed ? expectedIndexed : expected));
            EXPECT_EQ(ValueClassOf(result->AsCollection().GetElementTypeInfo().GetStoreType()), c.out);
        }
    }
}

// Triples with a registered binary function that ZipWith has no instance for are refused when the
// machine is made, before anything runs and without a debug report.
TEST(ZipWithInstances, ATripleOutsideTheTableIsRefusedWhenTheMachineIsMade) {
    for (InstanceCase const& r : {
             InstanceCase{ST::String, ST::String, VC::String, "concat()", "array<string>", R"(["a"])",
                          R"(["b"])", ""},
             InstanceCase{ST::Int32, ST::Int32, VC::Bool, "eq()", "array<bool>", "[1]", "[1]", ""},
             InstanceCase{ST::Int32, ST::Double, VC::Double, "add()", "array<double>", "[1]", "[1.5]", ""},
         }) {
        SCOPED_TRACE(Describe(r));
        ReportCollector reports;
        try {
            vm::VMFactory::Make(TStringCore::FromUtf8(Program(r)),
                                TStringCore::FromUtf8("{\"a\": " + std::string(r.columnA) +
                                                      ", \"b\": " + std::string(r.columnB) + "}"),
                                Functions(), vm::VMOptions());
            ADD_FAILURE() << "the machine was made";
        } catch (core::ZelRuntimeException const& e) {
            EXPECT_EQ(static_cast<int>(e.GetError()), 185);
            EXPECT_NE(std::string_view(e.what()).find("unsupported types in ZipWith"), std::string_view::npos)
                << e.what();
        }
        EXPECT_TRUE(reports.Reports().empty());
    }
}

}  // namespace
}  // namespace zel::test::zipwith
