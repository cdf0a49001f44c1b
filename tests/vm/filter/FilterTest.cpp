// Filter programs: every instance reached from VTL with its exact result, the results that must be
// the very input value (every row kept, an empty column, a constant column kept), the empty
// selections, sets, tables, the stateful and host predicates, the parallel path, and the
// operators and types that are refused.

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/functions/builtin/InstanceTables.h"
#include "support/CheckFailure.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::filter {
namespace {

using core::KeyPath;
using core::StoreType;
using vm::TransformValues;
using vm::VMOptions;

struct InstanceCase {
    StoreType in;
    std::string_view predicate;  // as in `Filter(~init.a) fn <predicate>`
    std::string_view column;     // the JSON of ~init.a
    std::string_view expected;   // the JSON of the result
};

// Each column holds a Null row: the built-ins pass it on with the value false beside it (is_true
// reads it as false), so it is dropped; the first and last rows are dropped or kept in turn.
// clang-format off
std::vector<InstanceCase> const& Cases() {
    static std::vector<InstanceCase> const cases{
        {StoreType::Bool, "is_true()", R"([false, true, null, true])", R"([true, true])"},
        {StoreType::Int32, "gt(1)", R"([2, 1, null, 5, 0])", R"([2, 5])"},
        {StoreType::Int64, "between(2L, 4L)", R"({"$type": "array<int64>", "values": [5000000000, 2, null, 4]})", R"({"$type": "array<int64>", "values": [2, 4]})"},
        {StoreType::Float, "lt(1.0f)", R"({"$type": "array<float>", "values": [0.5, 1.0, null, -3.5]})", R"({"$type": "array<float>", "values": [0.5, -3.5]})"},
        {StoreType::Double, "gt(0.5)", R"([0.5, 0.75, null, 1e300])", R"([0.75, 1e300])"},
        {StoreType::String, R"(starts_with("a"))", R"(["ab", "ba", null, "a"])", R"(["ab", "a"])"},
        {StoreType::DateTime, R"(ge(datetime("2024-01-01T00:00:00")))", R"({"$type": "array<datetime>", "values": ["2023-12-31T23:59:59", "2024-01-01T00:00:00", null]})", R"({"$type": "array<datetime>", "values": ["2024-01-01T00:00:00"]})"},
        {StoreType::Tuple, "is_true()", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1]}, {"$type": "tuple", "values": []}, null]})", R"({"$type": "array<tuple>", "values": [{"$type": "tuple", "values": [1]}]})"},
    };
    return cases;
}
// clang-format on

std::string FilterProgram(StoreType in, std::string_view predicate) {
    std::string const type = "array<" + std::string(core::StoreTypeName(in)) + ">";
    return "input ~init.a : " + type + "\nb : " + type + " = Filter(~init.a) fn " + std::string(predicate) +
           " value false\n";
}

TEST(FilterInstances, TheCasesCoverEveryInstanceOnce) {
    std::set<StoreType> instances;
    for (auto const& row : builtin::FilterInstances()) {
        instances.insert(row.inputs.at(0));
    }
    std::set<StoreType> covered;
    for (auto const& c : Cases()) {
        EXPECT_TRUE(covered.insert(c.in).second) << "twice: " << core::StoreTypeName(c.in);
        EXPECT_TRUE(instances.contains(c.in)) << "not an instance: " << core::StoreTypeName(c.in);
    }
    EXPECT_EQ(covered, instances);
    EXPECT_EQ(covered.size(), 8u);
}

// Blocks of two rows (each column ends in a short block), the row path, and many threads.
TEST(FilterInstances, EachInstanceKeepsExactlyItsRowsOnEveryPath) {
    for (auto const& c : Cases()) {
        Value const column = Parse(c.column);
        ASSERT_EQ(column->AsCollection().GetElementTypeInfo().GetStoreType(), c.in);
        for (bool vectorized : {true, false}) {
            SCOPED_TRACE(std::string(c.predicate) + (vectorized ? ", blocks" : ", rows"));
            VMOptions options = SmallBlocks(2);
            options.SetUseVectorizedTransforms(vectorized);
            Value const b = RunProgram(FilterProgram(c.in, c.predicate), {{L"a", column}}, options);
            EXPECT_EQ(Json(b), Json(Parse(c.expected)));
        }
    }
}

// The bare transform over values the test holds, so that identity can be checked.
Value Filtered(std::string const& program, TransformValues const& inputs, VMOptions const& options = {}) {
    return MakeFirst(program, options)->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
}

KeyPath const c_a = KeyPath::FromTexts({L"~init", L"a"});
std::string const c_doubles = "input ~init.a : array<double>\nb : array<double> = Filter(~init.a) fn ";

TEST(Filter, KeepingEveryRowReturnsTheVeryInputWithoutAGather) {
    struct Case {
        char const* what;
        Value column;
        std::string predicate;
    };
    for (auto const& [what, column, predicate] :
         {Case{"all rows kept", Parse("[1.0, 2.0, 3.0]"), "gt(0.0)"},
          Case{"an empty column", Parse(R"({"$type": "array<double>", "values": []})"), "gt(0.0)"},
          Case{"a constant column kept",
               core::factory::MakeConstantArray<unsigned long long>(
                   core::StoreTypeInfo::Double, std::bit_cast<unsigned long long>(2.0), 5),
               "gt(0.0)"}}) {
        SCOPED_TRACE(what);
        EXPECT_EQ(Filtered(c_doubles + predicate + " value false\n", {{c_a, column}}), column);
    }
}

TEST(Filter, ASelectionOfIndirectRowsIsGatheredEvenWhenAllAreKept) {
    // Rows read through indices are not the column's own flat values: they come out flat.
    Value const indexed = Parse(R"({"$type": "array<double>", "values": [1.0, 2.0], "indices": [1, 0, 1]})");
    Value const b = Filtered(c_doubles + "gt(0.0) value false\n", {{c_a, indexed}});
    EXPECT_NE(b, indexed);
    EXPECT_EQ(Json(b), Json(Parse("[2.0, 1.0, 2.0]")));
}

TEST(Filter, DroppingEveryRowGivesAnEmptyValueOfTheSameShape) {
    EXPECT_EQ(Json(Filtered(c_doubles + "gt(9.0) value false\n", {{c_a, Parse("[1.0, 2.0]")}})),
              Json(Parse(R"({"$type": "array<double>", "values": []})")));
    // A constant column whose one value is dropped: no row is read, the result is empty.
    Value const constant = core::factory::MakeConstantArray<unsigned long long>(
        core::StoreTypeInfo::Double, std::bit_cast<unsigned long long>(2.0), 5);
    Value const none = Filtered(c_doubles + "gt(9.0) value false\n", {{c_a, constant}});
    EXPECT_EQ(none->GetStoreType(), StoreType::Array);
    EXPECT_EQ(none->GetCount(), 0u);
}

TEST(Filter, AStatefulPredicateSeesEveryRowOfAConstantColumn) {
    Value const constant = core::factory::MakeConstantArray<unsigned long long>(
        core::StoreTypeInfo::Double, std::bit_cast<unsigned long long>(2.0), 5);
    // The predicate alternates, so rows 0, 2 and 4 stay; one call for the column would keep all or none.
    Value const b =
        RunProgram(c_doubles + "probe_alternate() value false\n", {{L"a", constant}}, SmallBlocks(2));
    EXPECT_EQ(b->GetCount(), 3u);
}

TEST(Filter, AHostPredicateThatLeavesSlotsUnwrittenDropsThoseRows) {
    std::vector<double> values(1000);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = i % 3 == 0 ? 1.0 : -1.0;
    }
    auto storage = std::make_unique<std::vector<unsigned long long>>();
    for (double v : values) {
        storage->push_back(std::bit_cast<unsigned long long>(v));
    }
    Value const column =
        core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(storage));
    Value const b =
        RunProgram(c_doubles + "probe_positive() value false\n", {{L"a", column}}, SmallBlocks(16));
    EXPECT_EQ(b->GetCount(), 334u);
}

TEST(Filter, ASetStaysASetWhenRowsAreRemovedAndIsReturnedAsItIsWhenNoneAre) {
    std::string const program = "input ~init.a : set<int32>\nb : set<int32> = Filter(~init.a) fn ";
    Value const set = Parse(R"({"$type": "set<int32>", "values": [4, 1, 3, 2]})");
    Value const some = Filtered(program + "gt(2) value false\n", {{c_a, set}});
    EXPECT_EQ(some->GetStoreType(), StoreType::Set);
    EXPECT_EQ(Json(some), Json(Parse(R"({"$type": "set<int32>", "values": [4, 3]})")));
    EXPECT_EQ(Filtered(program + "gt(0) value false\n", {{c_a, set}}), set);
}

TEST(Filter, TheTableModeSelectsWholeRowsAndKeepsTheTableWhenAllStay) {
    std::string const program =
        "input ~init.t : table { p : array<double>, n : array<string> }\n"
        "b : table = Filter(~init.t.p, ~init.t) fn ";
    Value const table =
        Parse(R"({"$type": "table", "columns": {"p": [0.5, 2.0, 0.1, 3.0], "n": ["a", "b", "c", "d"]}})");
    KeyPath const t = KeyPath::FromTexts({L"~init", L"t"});
    KeyPath const p = KeyPath::FromTexts({L"~init", L"t", L"p"});
    TransformValues const inputs{{t, table}, {p, table->AsTable().GetColumn(L"p")}};
    Value const some = Filtered(program + "gt(1.0) value true\n", inputs);
    EXPECT_EQ(Json(some),
              Json(Parse(R"({"$type": "table", "columns": {"p": [2.0, 3.0], "n": ["b", "d"]}})")));
    EXPECT_EQ(Filtered(program + "gt(0.0) value true\n", inputs), table);
    // Through a machine the parent is read as an input of its own.
    Value const viaVm = RunProgram(program + "lt(1.0) value true\n", {{L"t", table}});
    EXPECT_EQ(Json(viaVm),
              Json(Parse(R"({"$type": "table", "columns": {"p": [0.5, 0.1], "n": ["a", "c"]}})")));
}

TEST(Filter, LargeColumnsKeepTheSameRowsInParallelAsSerially) {
    unsigned int const count = 100003;
    auto storage = std::make_unique<std::vector<unsigned long long>>();
    std::vector<double> expected;
    for (unsigned int i = 0; i < count; ++i) {
        double const v = static_cast<double>((i * 7919u) % 1000u) / 1000.0;
        storage->push_back(std::bit_cast<unsigned long long>(v));
        if (v > 0.5) {
            expected.push_back(v);
        }
    }
    Value const column =
        core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(storage));
    for (bool parallel : {true, false}) {
        SCOPED_TRACE(parallel ? "parallel" : "serial");
        VMOptions options = SmallBlocks(64);
        options.SetUseParallelTransforms(parallel);
        Value const b = RunProgram(c_doubles + "gt(0.5) value false\n", {{L"a", column}}, options);
        auto const& typed = b->AsTypedArray<unsigned long long>();
        ASSERT_EQ(typed.GetCount(), expected.size());
        for (unsigned int row = 0; row < expected.size(); ++row) {
            ASSERT_EQ(std::bit_cast<double>(typed.GetValue(row)), expected[row]) << "row " << row;
        }
    }
}

TEST(Filter, TypesOutsideTheTableAndSliceAreRefusedWhenTheMachineIsMade) {
    struct Case {
        char const* what;
        std::string program;
        std::string store;
        core::ZelError error;
    };
    for (auto const& [what, program, store, error] :
         {Case{"a colour column",
               "input ~init.a : array<color>\nb : array<color> = Filter(~init.a) fn "
               "eq(color(0x000000FF)) value false\n",
               R"({"a": {"$type": "array<color>", "values": ["#000000FF"]}})",
               core::ZelError::UnsupportedTypes},
          Case{"a slice", "input ~init.a : array<int32>\nhead : array<int32> = Slice(~init.a) fn first(10)\n",
               R"({"a": [1, 2]})", core::ZelError::UnknownOperator}}) {
        SCOPED_TRACE(what);
        try {
            vm::VMFactory::Make(TStringCore::FromUtf8(program), TStringCore::FromUtf8(store), Functions(),
                                VMOptions{});
            ADD_FAILURE() << "made";
        } catch (core::ZelException const& e) {
            EXPECT_EQ(e.GetError(), error);
            if (error == core::ZelError::UnsupportedTypes) {
                EXPECT_NE(std::string(e.what()).find("unsupported types in Filter"), std::string::npos)
                    << e.what();
            }
        }
    }
}

}  // namespace
}  // namespace zel::test::filter
