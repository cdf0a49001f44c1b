// Every instance of Map, reached from a VTL program through a built-in function: one table row per
// pair of the function's input StoreType and output value class, each with a small column that
// holds a special where the function lets one through (or makes one), and the exact result. The
// rows are checked against the instance table, so an instance without a row fails, as does a row
// whose column or result is not of the types it claims to reach.

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/functions/builtin/InstanceTables.h"
#include "support/CheckFailure.h"
#include "vm/flatdata/MapTestSupport.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/host/VMFactory.h"

namespace zel::test::map {
namespace {

using builtin::MapInstances;
using builtin::ValueClass;
using builtin::ValueClassOf;
using core::StoreType;

struct InstanceCase {
    StoreType in;
    ValueClass out;
    std::string_view function;    // the VTL call, as in `Map(~init.a) fn <function>`
    std::string_view outputType;  // the VTL type of the result
    std::string_view column;      // the JSON of ~init.a
    std::string_view expected;    // the JSON of the result
};

using VC = ValueClass;
using ST = StoreType;

// The values sit where a wrong instance would show: integers that wrap or narrow, floats that
// round or saturate, a float widened to double, texts that do not parse, full case mapping and
// code points, calendar overflow, tuple elements that are missing or do not convert. Functions of
// both forms appear: a regular one passes a Null row on; a special-only one (power, to_datetime,
// to_bool of a text, add_days, get_float) makes its own specials.
// clang-format off
std::vector<InstanceCase> const& Cases() {
    static std::vector<InstanceCase> const cases{
        // bool
        {ST::Bool, VC::Bool, "not()", "array<bool>", R"([true, false, null])", R"({"$type": "array<bool>", "values": [false, true, null]})"},
        {ST::Bool, VC::Int64, "to_int64()", "array<int64>", R"([true, false, null])", R"({"$type": "array<int64>", "values": [1, 0, null]})"},
        {ST::Bool, VC::Double, "to_double()", "array<double>", R"([true, false, null])", R"({"$type": "array<double>", "values": [1.0, 0.0, null]})"},
        // int32
        {ST::Int32, VC::Bool, "gt(1)", "array<bool>", R"([1, 2, null])", R"({"$type": "array<bool>", "values": [false, true, null]})"},
        {ST::Int32, VC::Int32, "multiply(3)", "array<int32>", R"([1, -2, 2147483647, null])", R"({"$type": "array<int32>", "values": [3, -6, 2147483645, null]})"},
        {ST::Int32, VC::Int64, "power(2)", "array<int64>", R"([3, -2, 65536, null])", R"({"$type": "array<int64>", "values": [9, 4, 4294967296, null]})"},
        {ST::Int32, VC::Float, "to_float()", "array<float>", R"([3, -16777217, null])", R"({"$type": "array<float>", "values": [3.0, -16777216.0, null]})"},
        {ST::Int32, VC::Double, "sqrt()", "array<double>", R"([4, 2, null])", R"({"$type": "array<double>", "values": [2.0, 1.4142135623730951, null]})"},
        {ST::Int32, VC::String, "to_string()", "array<string>", R"([1, -20, null])", R"({"$type": "array<string>", "values": ["1", "-20", null]})"},
        // int64
        {ST::Int64, VC::Bool, "is_null()", "array<bool>", R"({"$type": "array<int64>", "values": [5000000000, 1, null]})", R"({"$type": "array<bool>", "values": [false, false, true]})"},
        {ST::Int64, VC::Int32, "to_int32()", "array<int32>", R"({"$type": "array<int64>", "values": [5000000000, -1, null]})", R"({"$type": "array<int32>", "values": [705032704, -1, null]})"},
        {ST::Int64, VC::Int64, "subtract(1L)", "array<int64>", R"({"$type": "array<int64>", "values": [5000000000, -9223372036854775808, null]})", R"({"$type": "array<int64>", "values": [4999999999, 9223372036854775807, null]})"},
        {ST::Int64, VC::Float, "to_float()", "array<float>", R"({"$type": "array<int64>", "values": [5000000000, 16777217, null]})", R"({"$type": "array<float>", "values": [5e9, 16777216.0, null]})"},
        {ST::Int64, VC::Double, "to_double()", "array<double>", R"({"$type": "array<int64>", "values": [5000000000, -3, null]})", R"({"$type": "array<double>", "values": [5e9, -3.0, null]})"},
        {ST::Int64, VC::Color, "to_color()", "array<color>", R"({"$type": "array<int64>", "values": [296419200, 255, null]})", R"({"$type": "array<color>", "values": ["#11AAFF80", "#000000FF", null]})"},
        // float
        {ST::Float, VC::Bool, "lt(1.0f)", "array<bool>", R"({"$type": "array<float>", "values": [0.5, 1.5, null]})", R"({"$type": "array<bool>", "values": [true, false, null]})"},
        {ST::Float, VC::Int32, "to_int32()", "array<int32>", R"({"$type": "array<float>", "values": [2.75, -2.75, "nan", null]})", R"({"$type": "array<int32>", "values": [2, -2, 0, null]})"},
        {ST::Float, VC::Int64, "to_int64()", "array<int64>", R"({"$type": "array<float>", "values": [1e10, -0.5, null]})", R"({"$type": "array<int64>", "values": [10000000000, 0, null]})"},
        {ST::Float, VC::Float, "multiply(2.0f)", "array<float>", R"({"$type": "array<float>", "values": [1.5, -0.25, null]})", R"({"$type": "array<float>", "values": [3.0, -0.5, null]})"},
        {ST::Float, VC::Double, "to_double()", "array<double>", R"({"$type": "array<float>", "values": [0.5, 0.1, null]})", R"({"$type": "array<double>", "values": [0.5, 0.10000000149011612, null]})"},
        // double
        {ST::Double, VC::Bool, "between(0.0, 1.0)", "array<bool>", R"([0.5, 2.0, null])", R"({"$type": "array<bool>", "values": [true, false, null]})"},
        {ST::Double, VC::Int32, "to_int32()", "array<int32>", R"({"$type": "array<double>", "values": [2.9, -1e20, "nan", null]})", R"({"$type": "array<int32>", "values": [2, -2147483648, 0, null]})"},
        {ST::Double, VC::Int64, "to_int64()", "array<int64>", R"([-2.9, 1e30, null])", R"({"$type": "array<int64>", "values": [-2, 9223372036854775807, null]})"},
        {ST::Double, VC::Float, "to_float()", "array<float>", R"([0.1, 1e300, null])", R"({"$type": "array<float>", "values": [0.1, "inf", null]})"},
        {ST::Double, VC::Double, "multiply(2.0)", "array<double>", R"([1.5, -0.25, null])", R"({"$type": "array<double>", "values": [3.0, -0.5, null]})"},
        {ST::Double, VC::DateTime, "to_datetime()", "array<datetime>", R"([0.0, 86400.5, 1e20, null])", R"({"$type": "array<datetime>", "values": ["1970-01-01T00:00:00", "1970-01-02T00:00:00.5", {"$special": "error"}, null]})"},
        {ST::Double, VC::Color, "to_color()", "array<color>", R"([255.0, 4278190335.0, null])", R"({"$type": "array<color>", "values": ["#000000FF", "#FF0000FF", null]})"},
        // string
        {ST::String, VC::Bool, "to_bool()", "array<bool>", R"(["true", " 0 ", "x", null])", R"({"$type": "array<bool>", "values": [true, false, {"$special": "error"}, null]})"},
        {ST::String, VC::Int32, "to_int32()", "array<int32>", R"(["12", " -3 ", "x", null])", R"({"$type": "array<int32>", "values": [12, -3, {"$special": "error"}, null]})"},
        {ST::String, VC::Int64, "length()", "array<int64>", R"(["straße", "", "\ud83d\ude00", null])", R"({"$type": "array<int64>", "values": [6, 0, 1, null]})"},
        {ST::String, VC::Double, "to_double()", "array<double>", R"(["1.5", "1e3", "x", null])", R"({"$type": "array<double>", "values": [1.5, 1000.0, {"$special": "error"}, null]})"},
        {ST::String, VC::String, "upper()", "array<string>", R"(["straße", "abc", null])", R"({"$type": "array<string>", "values": ["STRASSE", "ABC", null]})"},
        // datetime
        {ST::DateTime, VC::Bool, R"(gt(datetime("2024-01-01T00:00:00")))", "array<bool>", R"({"$type": "array<datetime>", "values": ["2023-12-31T23:59:59", "2024-01-01T00:00:00.000001", null]})", R"({"$type": "array<bool>", "values": [false, true, null]})"},
        {ST::DateTime, VC::Int32, "year()", "array<int32>", R"({"$type": "array<datetime>", "values": ["2023-12-31T23:59:59", "2024-01-01T00:00:00", null]})", R"({"$type": "array<int32>", "values": [2023, 2024, null]})"},
        {ST::DateTime, VC::Int64, "to_int64()", "array<int64>", R"({"$type": "array<datetime>", "values": ["1970-01-02T00:00:00", "1969-12-31T23:59:59", null]})", R"({"$type": "array<int64>", "values": [86400, -1, null]})"},
        {ST::DateTime, VC::Double, "to_double()", "array<double>", R"({"$type": "array<datetime>", "values": ["1970-01-01T00:00:01.5", null]})", R"({"$type": "array<double>", "values": [1.5, null]})"},
        {ST::DateTime, VC::DateTime, "add_days(1)", "array<datetime>", R"({"$type": "array<datetime>", "values": ["2024-02-28T12:00:00", "9999-12-31T00:00:00", null]})", R"({"$type": "array<datetime>", "values": ["2024-02-29T12:00:00", {"$special": "error"}, null]})"},
        // color: a null row filled
        {ST::Color, VC::Color, "fill_null(color(0x000000FF))", "array<color>", R"({"$type": "array<color>", "values": ["#11AAFF80", null]})", R"({"$type": "array<color>", "values": ["#11AAFF80", "#000000FF"]})"},
        // tuple
        {ST::Tuple, VC::Int64, "length()", "array<int64>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, "x"]}, {"$type": "tuple", "values": []}, null]})", R"({"$type": "array<int64>", "values": [2, 0, null]})"},
        {ST::Tuple, VC::Float, "get_float(0)", "array<float>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [2.5]}, {"$type": "tuple", "values": [null]}, {"$type": "tuple", "values": []}, {"$type": "tuple", "values": ["x"]}, null]})", R"({"$type": "array<float>", "values": [2.5, null, {"$special": "error"}, {"$special": "error"}, null]})"},
        {ST::Tuple, VC::Double, "get_double(1)", "array<double>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, 7]}, {"$type": "tuple", "values": [true, 2.5]}, null]})", R"({"$type": "array<double>", "values": [7.0, 2.5, null]})"},
        {ST::Tuple, VC::Value, "probe_rest()", "array<tuple>", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, "x"]}, {"$type": "tuple", "values": ["s"]}, null]})", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": ["x"]}, {"$type": "tuple", "values": []}, null]})"},
        // key map
        {ST::KeyMap, VC::String, "to_string()", "array<string>", R"({"$type": "array<keymap>", "values": [{"x": 1, "y": "z"}, null]})", R"({"$type": "array<string>", "values": ["{x: 1, y: \"z\"}", null]})"},
    };
    return cases;
}
// clang-format on

std::string Describe(InstanceCase const& c) {
    return std::string(core::StoreTypeName(c.in)) + " -> " + std::string(builtin::ValueClassName(c.out)) +
           " by " + std::string(c.function);
}

std::string Program(InstanceCase const& c) {
    return MapProgram(std::string(c.function), "array<" + std::string(core::StoreTypeName(c.in)) + ">",
                      std::string(c.outputType));
}

// The column of a JSON text (plain or typed).
Value Column(std::string_view json) {
    return core::StoreValueParser::MakeDataStore("{\"a\": " + std::string(json) + "}")
        ->GetValue(core::KeyPath(L"a"));
}

std::string Json(core::StoreValue const& value) {
    return core::JsonStoreWriter::WriteValue(value);
}

TEST(MapInstances, TheCasesCoverEveryInstanceOnce) {
    std::set<std::pair<StoreType, ValueClass>> instances;
    for (auto const& row : MapInstances()) {
        ASSERT_EQ(row.inputs.size(), 1u);
        instances.insert({row.inputs.front(), row.output});
    }
    std::set<std::pair<StoreType, ValueClass>> covered;
    for (auto const& c : Cases()) {
        EXPECT_TRUE(covered.insert({c.in, c.out}).second) << "twice: " << Describe(c);
        EXPECT_TRUE(instances.contains({c.in, c.out})) << "not an instance: " << Describe(c);
    }
    for (auto const& [in, out] : instances) {
        EXPECT_TRUE(covered.contains({in, out}))
            << "no case for " << core::StoreTypeName(in) << " -> " << builtin::ValueClassName(out);
    }
    EXPECT_EQ(covered.size(), 43u);
}

// Each case with blocks of two rows, so that every column spans a short last block; again on the row
// path; and again in the indexed layout (the rows backwards, then the first twice more), where the
// blocks read values and specials through the indices.
TEST(MapInstances, EachInstanceGivesTheExactResultOnEveryPath) {
    for (auto const& c : Cases()) {
        Value const column = Column(c.column);
        ASSERT_EQ(column->AsCollection().GetElementTypeInfo().GetStoreType(), c.in) << Describe(c);
        std::vector<unsigned int> indices;
        for (unsigned int row = column->GetCount(); row-- > 0;) {
            indices.push_back(row);
        }
        indices.insert(indices.end(), {0u, 0u});
        // The writer prints the flat form as {"$type": ..., "values": [...]}; the indexed one adds "indices".
        std::string typed = Json(*column);
        std::string list;
        for (unsigned int index : indices) {
            list += (list.empty() ? "" : ",") + std::to_string(index);
        }
        typed.insert(typed.size() - 1, ",\"indices\":[" + list + "]");
        Value const indexed = Column(typed);
        ASSERT_EQ(indexed->AsCollection().GetLayout(), core::ArrayLayout::Indexed);
        Value const expected = Column(c.expected);
        for (int path : {0, 1, 2}) {
            SCOPED_TRACE(Describe(c) + (path == 0 ? ", blocks" : path == 1 ? ", rows" : ", indexed"));
            vm::VMOptions options;
            options.SetBaseVectorizationBlockSize(2);
            options.SetUseVectorizedTransforms(path != 1);
            if (Value const b = RunProgram(Program(c), {{L"a", path == 2 ? indexed : column}}, options)) {
                EXPECT_EQ(Json(*b->AsArray().Flatten()),
                          Json(path == 2 ? *expected->AsArray().Gather(
                                               std::make_shared<std::vector<unsigned int>>(indices))
                                         : *expected));
                EXPECT_EQ(ValueClassOf(b->AsCollection().GetElementTypeInfo().GetStoreType()), c.out);
            }
        }
    }
}

// Pairs with a registered function that Map has no instance for are refused when the machine is
// made, before anything runs and without a debug report: int32 to colour (int64 to colour is
// served), bool to int32, a date column, which no instance reads, and date and object results,
// which no instance makes.
TEST(MapInstances, APairOutsideTheTableIsRefusedWhenTheMachineIsMade) {
    for (InstanceCase const& r :
         {InstanceCase{ST::Int32, VC::Color, "to_color()", "array<color>", "[1, 2]", ""},
          InstanceCase{ST::Bool, VC::Int32, "to_int32()", "array<int32>", "[true]", ""},
          InstanceCase{ST::Date, VC::DateTime, "to_datetime()", "array<datetime>",
                       R"({"$type": "array<date>", "values": ["2024-01-31"]})", ""},
          // Map makes no column of dates or objects.
          InstanceCase{ST::DateTime, VC::DateTime, "to_date()", "array<date>",
                       R"({"$type": "array<datetime>", "values": ["2024-01-31T00:00:00"]})", ""},
          InstanceCase{ST::Tuple, VC::Value, "get(0)", "array<object>",
                       R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1]}]})", ""}}) {
        SCOPED_TRACE(Describe(r));
        ReportCollector reports;
        try {
            vm::VMFactory::Make(TStringCore::FromUtf8(Program(r)),
                                TStringCore::FromUtf8("{\"a\": " + std::string(r.column) + "}"), Functions(),
                                vm::VMOptions());
            ADD_FAILURE() << "the machine was made";
        } catch (core::ZelRuntimeException const& e) {
            EXPECT_EQ(static_cast<int>(e.GetError()), 185);
            EXPECT_NE(std::string_view(e.what()).find("unsupported types in Map"), std::string_view::npos)
                << e.what();
        }
        EXPECT_TRUE(reports.Reports().empty());
    }
}

}  // namespace
}  // namespace zel::test::map
