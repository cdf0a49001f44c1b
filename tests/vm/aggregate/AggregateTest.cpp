// Reduce, Scan and ScanRight programs: every instance reached from VTL, folded forwards into its
// running results, into its last result, and backwards over the reversed column; exact results at
// block edges in both directions; empty columns, special initial values with and without a special
// form, Sets, the range form, and the pairs that are refused.

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/functions/builtin/InstanceTables.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/transform/RawData.h"

namespace zel::test::filter {
namespace {

using core::KeyPath;
using core::StoreType;
using vm::TransformValues;
using vm::VMOptions;

struct InstanceCase {
    StoreType in;
    StoreType accumulator;
    std::string_view call;     // as in `Scan(~init.a) fn <call>`, with its initial value
    std::string_view column;   // the JSON of ~init.a
    std::string_view running;  // the JSON of the Scan's result
};

// The rows sit where a wrong fold shows: integers that wrap, doubles whose sum depends on the
// order, texts whose concatenation does, Null rows that count and truth skip.
// clang-format off
std::vector<InstanceCase> const& Cases() {
    static std::vector<InstanceCase> const cases{
        {StoreType::Bool, StoreType::Bool, "and() value true", "[true, true, false, true]", "[true, true, false, false]"},
        {StoreType::Int32, StoreType::Int32, "add() value 0", "[1, 2147483647, 3]", "[1, -2147483648, -2147483645]"},
        {StoreType::Int32, StoreType::Bool, "any() value false", "[0, 0, 5, 0]", "[false, false, true, true]"},
        {StoreType::Int64, StoreType::Int64, "add() value 0L", R"({"$type": "array<int64>", "values": [5000000000, -1, 2]})", R"({"$type": "array<int64>", "values": [5000000000, 4999999999, 5000000001]})"},
        {StoreType::Int64, StoreType::Int32, "count() value 0", R"({"$type": "array<int64>", "values": [7, null, 9]})", "[1, 1, 2]"},
        {StoreType::Int64, StoreType::Bool, "all() value true", R"({"$type": "array<int64>", "values": [1, 2, 0, 3]})", "[true, true, false, false]"},
        {StoreType::Float, StoreType::Float, "add() value 0.0f", R"({"$type": "array<float>", "values": [0.5, 0.25, 2.0]})", R"({"$type": "array<float>", "values": [0.5, 0.75, 2.75]})"},
        {StoreType::Float, StoreType::Int32, "count() value 0", R"({"$type": "array<float>", "values": [0.5, null, 1.5]})", "[1, 1, 2]"},
        {StoreType::Float, StoreType::Bool, "any() value false", R"({"$type": "array<float>", "values": [0.0, null, 1.0]})", "[false, false, true]"},
        {StoreType::Double, StoreType::Double, "add() value 0.0", "[0.1, 0.2, 0.3]", "[0.1, 0.30000000000000004, 0.6000000000000001]"},
        {StoreType::Double, StoreType::Int32, "count() value 0", "[1.0, null, 2.0]", "[1, 1, 2]"},
        {StoreType::Double, StoreType::Bool, "all() value true", "[1.0, 0.0, 2.0]", "[true, false, false]"},
        {StoreType::DateTime, StoreType::DateTime, R"(max() value datetime("2000-01-01T00:00:00"))", R"({"$type": "array<datetime>", "values": ["2024-01-01T00:00:00", "2023-01-01T00:00:00", "2025-01-01T00:00:00"]})", R"({"$type": "array<datetime>", "values": ["2024-01-01T00:00:00", "2024-01-01T00:00:00", "2025-01-01T00:00:00"]})"},
        {StoreType::DateTime, StoreType::Bool, "any() value false", R"({"$type": "array<datetime>", "values": ["0001-01-01T00:00:00", "2024-01-01T00:00:00"]})", "[false, true]"},
        {StoreType::String, StoreType::String, R"(concat() value "")", R"(["a", "b", "c"])", R"(["a", "ab", "abc"])"},
        {StoreType::String, StoreType::Int32, "count() value 0", R"(["a", null, "b"])", "[1, 1, 2]"},
        {StoreType::String, StoreType::Bool, "any() value false", R"(["", "", "x"])", "[false, false, true]"},
        {StoreType::Tuple, StoreType::Double, "add() value 0.0", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1, 2.5]}, {"$type": "tuple", "values": [3]}]})", "[3.5, 6.5]"},
        {StoreType::Tuple, StoreType::Int32, "count() value 0", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1]}, null, {"$type": "tuple", "values": []}]})", "[1, 1, 2]"},
        {StoreType::Tuple, StoreType::Bool, "any() value false", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": []}, {"$type": "tuple", "values": [1]}]})", "[false, true]"},
    };
    return cases;
}
// clang-format on

std::string TypeName(StoreType type) {
    return std::string(core::StoreTypeName(type));
}

std::string Describe(InstanceCase const& c) {
    return TypeName(c.in) + " into " + TypeName(c.accumulator) + " by " + std::string(c.call);
}

// `op` over ~init.a into b; a Reduce's result is a scalar, a Scan's an array.
std::string FoldProgram(std::string const& op, StoreType in, StoreType accumulator, std::string_view call) {
    std::string const result =
        op == "Reduce" ? TypeName(accumulator) : "array<" + TypeName(accumulator) + ">";
    return "input ~init.a : array<" + TypeName(in) + ">\nb : " + result + " = " + op + "(~init.a) fn " +
           std::string(call) + "\n";
}

// The rows of an array in reverse order, flat.
Value Reversed(Value const& array) {
    auto rows = std::make_shared<std::vector<unsigned int>>();
    for (unsigned int row = array->GetCount(); row-- > 0;) {
        rows->push_back(row);
    }
    return array->AsArray().Gather(rows);
}

TEST(AggregateInstances, TheCasesCoverEveryInstanceOnce) {
    std::set<std::pair<StoreType, StoreType>> instances;
    for (auto const& row : builtin::AggregateInstances()) {
        // The key lists the accumulator first, the element second.
        instances.insert({row.inputs.at(1), row.inputs.at(0)});
    }
    std::set<std::pair<StoreType, StoreType>> covered;
    for (auto const& c : Cases()) {
        EXPECT_TRUE(covered.insert({c.in, c.accumulator}).second) << "twice: " << Describe(c);
        EXPECT_TRUE(instances.contains({c.in, c.accumulator})) << "not an instance: " << Describe(c);
    }
    EXPECT_EQ(covered, instances);
    EXPECT_EQ(covered.size(), 20u);
}

// Scan gives the running results; Reduce the last of them; ScanRight over the reversed column the
// running results reversed. Blocks of two rows, so that the accumulator crosses a block edge, and
// the row path.
TEST(AggregateInstances, EachInstanceFoldsExactlyInAllThreeOperators) {
    for (auto const& c : Cases()) {
        Value const column = Parse(c.column);
        ASSERT_EQ(column->AsCollection().GetElementTypeInfo().GetStoreType(), c.in) << Describe(c);
        Value const running = Parse(c.running);
        for (bool vectorized : {true, false}) {
            SCOPED_TRACE(Describe(c) + (vectorized ? ", blocks" : ", rows"));
            VMOptions options = SmallBlocks(2);
            options.SetUseVectorizedTransforms(vectorized);
            Value const scan =
                RunProgram(FoldProgram("Scan", c.in, c.accumulator, c.call), {{L"a", column}}, options);
            EXPECT_EQ(Json(scan), Json(running));
            Value const reduce =
                RunProgram(FoldProgram("Reduce", c.in, c.accumulator, c.call), {{L"a", column}}, options);
            EXPECT_EQ(Json(reduce), Json(running->AsArray().GetStoreValue(running->GetCount() - 1)));
            Value const right = RunProgram(FoldProgram("ScanRight", c.in, c.accumulator, c.call),
                                           {{L"a", Reversed(column)}}, options);
            EXPECT_EQ(Json(right), Json(Reversed(running)));
        }
    }
}

Value DoubleColumn(std::vector<double> const& values) {
    auto storage = std::make_unique<std::vector<unsigned long long>>();
    for (double v : values) {
        storage->push_back(std::bit_cast<unsigned long long>(v));
    }
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(storage));
}

std::vector<double> DoublesOf(Value const& array) {
    std::vector<double> values;
    auto const& typed = array->AsTypedArray<unsigned long long>();
    for (unsigned int row = 0; row < typed.GetCount(); ++row) {
        values.push_back(std::bit_cast<double>(typed.GetValue(row)));
    }
    return values;
}

std::string const c_scan = "input ~init.a : array<double>\nb : array<double> = ";

TEST(Aggregate, ScanRightOfOneTwoThreeFromZeroGivesSixFiveThree) {
    for (bool vectorized : {true, false}) {
        VMOptions options = SmallBlocks(2);
        options.SetUseVectorizedTransforms(vectorized);
        Value const b = RunProgram(c_scan + "ScanRight(~init.a) fn add() value 0.0\n",
                                   {{L"a", DoubleColumn({1.0, 2.0, 3.0})}}, options);
        EXPECT_EQ(DoublesOf(b), (std::vector<double>{6.0, 5.0, 3.0}));
    }
}

// Sums whose bits depend on the order of the additions, compared with plain loops, at every length
// around the edges of blocks of four rows, both ways, serial and with parallel work allowed.
TEST(Aggregate, RunningSumsAreExactAtBlockEdgesBothWays) {
    for (unsigned int count : {1u, 3u, 4u, 5u, 8u, 9u, 4099u}) {
        std::vector<double> values(count);
        for (unsigned int i = 0; i < count; ++i) {
            values[i] = 0.1 * (i + 1) + 1e-7 * (i % 7);
        }
        std::vector<double> forwards(count);
        std::vector<double> backwards(count);
        double acc = 0.0;
        for (unsigned int i = 0; i < count; ++i) {
            forwards[i] = acc += values[i];
        }
        acc = 0.0;
        for (unsigned int i = count; i-- > 0;) {
            backwards[i] = acc += values[i];
        }
        for (bool parallel : {false, true}) {
            for (bool vectorized : {true, false}) {
                SCOPED_TRACE(testing::Message()
                             << count << " rows, parallel " << parallel << ", vectorized " << vectorized);
                VMOptions options = SmallBlocks(4);
                options.SetUseParallelTransforms(parallel);
                options.SetUseVectorizedTransforms(vectorized);
                Value const column = DoubleColumn(values);
                EXPECT_EQ(DoublesOf(RunProgram(c_scan + "Scan(~init.a) fn add() value 0.0\n",
                                               {{L"a", column}}, options)),
                          forwards);
                EXPECT_EQ(DoublesOf(RunProgram(c_scan + "ScanRight(~init.a) fn add() value 0.0\n",
                                               {{L"a", column}}, options)),
                          backwards);
                Value const total = RunProgram(
                    "input ~init.a : array<double>\nb : double = Reduce(~init.a) fn add() value 0.0\n",
                    {{L"a", column}}, options);
                EXPECT_EQ(core::FetchStoreValue<double>(total), forwards.back());
            }
        }
    }
}

TEST(Aggregate, AnEmptyColumnGivesTheInitialValueOrAnEmptyScan) {
    Value const empty = Parse(R"({"$type": "array<double>", "values": []})");
    std::string const reduce = "input ~init.a : array<double>\nb : double = Reduce(~init.a) fn add() value ";
    EXPECT_EQ(Json(RunProgram(reduce + "2.5\n", {{L"a", empty}})), "2.5");
    Value const special = RunProgram(reduce + "null : double\n", {{L"a", empty}});
    EXPECT_EQ(special->GetSpecialKind(), SpecialKind::Null);
    for (char const* op : {"Scan", "ScanRight"}) {
        Value const b = RunProgram(c_scan + op + "(~init.a) fn add() value 0.0\n", {{L"a", empty}});
        EXPECT_EQ(b->GetStoreType(), StoreType::Array) << op;
        EXPECT_EQ(b->GetCount(), 0u) << op;
    }
}

// A special initial value: a function with only a regular form starts from the accumulator's empty
// value, and the special stays beside it (Reduce returns it, Scan stores none); the special form
// of a built-in, taken for a column with specials, passes the accumulator's special on.
TEST(Aggregate, ASpecialInitialValueWithAndWithoutASpecialForm) {
    Value const plain = DoubleColumn({1.0, 2.0, 3.0});
    for (bool vectorized : {true, false}) {
        SCOPED_TRACE(vectorized ? "blocks" : "rows");
        VMOptions options = SmallBlocks(2);
        options.SetUseVectorizedTransforms(vectorized);
        Value const reduce = RunProgram(
            "input ~init.a : array<double>\nb : double = Reduce(~init.a) fn probe_sum() value null : "
            "double\n",
            {{L"a", plain}}, options);
        EXPECT_EQ(reduce->GetSpecialKind(), SpecialKind::Null);
        Value const scan = RunProgram(c_scan + "Scan(~init.a) fn probe_sum() value null : double\n",
                                      {{L"a", plain}}, options);
        EXPECT_FALSE(scan->AsCollection().HasSpecialValues());
        EXPECT_EQ(DoublesOf(scan), (std::vector<double>{1.0, 3.0, 6.0}));

        Value const withNull = Parse("[1.0, null, 2.0]");
        Value const special =
            RunProgram(c_scan + "Scan(~init.a) fn add() value null : double\n", {{L"a", withNull}}, options);
        EXPECT_EQ(Json(special), Json(Parse(R"({"$type": "array<double>", "values": [null, null, null]})")));
    }
}

TEST(Aggregate, AReduceReadsTheMembersOfASet) {
    Value const set = Parse(R"({"$type": "set<int32>", "values": [3, 1, 2]})");
    Value const b = RunProgram("input ~init.a : set<int32>\nb : int32 = Reduce(~init.a) fn add() value 10\n",
                               {{L"a", set}});
    EXPECT_EQ(Json(b), "16");
}

// The range form: each range starts again from the initial value; a Reduce writes its one result
// into every row of its view, a Scan one row per row of the range and refuses a view too short.
TEST(Aggregate, TheRangeFormFoldsEachRangeOnItsOwn) {
    KeyPath const a = KeyPath::FromTexts({L"~init", L"a"});
    TransformValues const inputs{{a, DoubleColumn({1.0, 2.0, 3.0, 4.0, 5.0})}};
    auto const buffer = [] {
        return std::make_unique<vm::TypedRawData<unsigned long long>>(
            core::StoreTypeInfo::Array, core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, 4);
    };
    auto const rows = [](vm::TypedRawData<unsigned long long> const& data) {
        std::vector<double> values;
        for (unsigned long long bits : data.GetValues()) {
            values.push_back(std::bit_cast<double>(bits));
        }
        return values;
    };

    auto const reduce =
        MakeFirst("input ~init.a : array<double>\nb : double = Reduce(~init.a) fn add() value 0.0\n");
    auto reduced = buffer();
    vm::RawDataView reduceView(*reduced, 1, 3);
    reduce->DoTransformOverRange(inputs, 1, 2, reduceView, nullptr);
    EXPECT_EQ(rows(*reduced), (std::vector<double>{0.0, 5.0, 5.0, 5.0}));

    auto const scan = MakeFirst(c_scan + "Scan(~init.a) fn add() value 0.0\n");
    auto scanned = buffer();
    vm::RawDataView scanView(*scanned, 1, 3);
    scan->DoTransformOverRange(inputs, 2, 3, scanView, nullptr);
    scan->DoTransformOverRange(inputs, 0, 1, scanView, nullptr);
    EXPECT_EQ(rows(*scanned), (std::vector<double>{0.0, 1.0, 7.0, 12.0}));
    try {
        scan->DoTransformOverRange(inputs, 0, 4, scanView, nullptr);
        ADD_FAILURE() << "a range of 4 rows went into a view of 3";
    } catch (core::ZelException const& e) {
        EXPECT_EQ(e.GetError(), core::ZelError::RangeViolation);
    }
}

TEST(Aggregate, PairsOutsideTheTableAreRefusedWhenTheMachineIsMade) {
    struct Case {
        char const* what;
        std::string program;
        std::string store;
    };
    for (auto const& [what, program, store] :
         {Case{"an int32 start with a double result",
               "input ~init.a : array<double>\nb : double = Reduce(~init.a) fn add() value 0\n",
               R"({"a": [1.5]})"},
          Case{"a colour column",
               "input ~init.a : array<color>\nb : bool = Reduce(~init.a) fn eq() value color(0x000000FF)\n",
               R"({"a": {"$type": "array<color>", "values": ["#000000FF"]}})"}}) {
        SCOPED_TRACE(what);
        try {
            vm::VMFactory::Make(TStringCore::FromUtf8(program), TStringCore::FromUtf8(store), Functions(),
                                VMOptions{});
            ADD_FAILURE() << "made";
        } catch (core::ZelException const& e) {
            EXPECT_EQ(e.GetError(), core::ZelError::UnsupportedTypes);
            EXPECT_NE(std::string(e.what()).find("unsupported types in Aggregate"), std::string::npos)
                << e.what();
        }
    }
}

}  // namespace
}  // namespace zel::test::filter
