// Zip as a program meets it: rows of tuples from two columns (the shorter wins) or from any other
// number (the longest wins, and a shorter one is read past its end), the constant shortcut, and
// exact tuples at block boundaries on one thread and on several.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "execute/MakeExecutionStrategy.h"
#include "transform/ZipTransform.h"
#include "vm/zipwith/ZipWithTestSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreTuple.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::zip {
namespace {

using core::KeyPath;
using zipwith::Json;
using zipwith::Parse;
using zipwith::RunProgram;
using Value = std::shared_ptr<core::StoreValue>;

std::string ZipProgram(unsigned int inputs) {
    std::string program = "input ~init.a : array<int32>, ~init.b : array<string>, ~init.d : array<double>\n";
    program += inputs == 2 ? "c : array<tuple> = Zip(~init.a, ~init.b)\n"
                           : "c : array<tuple> = Zip(~init.a, ~init.b, ~init.d)\n";
    return program;
}

// An empty double column, for the programs of two inputs that do not read it.
constexpr std::string_view c_noDoubles = R"({"$type":"array<double>","values":[]})";

struct Case {
    std::string_view what;
    unsigned int inputs;
    std::string_view a;
    std::string_view b;
    std::string_view d;
    std::string_view expected;
};

TEST(Zip, RowsOfTuplesTakeTheirCountByTheNumberOfInputs) {
    // clang-format off
    for (Case const& c : {
        Case{"two of 5 and 3 rows: the shorter", 2, "[1, 2, 3, 4, 5]", R"(["x", "y", null])", c_noDoubles,
             R"({"$type":"array<tuple>","values":[{"$type":"tuple","values":[1,"x"]},{"$type":"tuple","values":[2,"y"]},{"$type":"tuple","values":[3,{"$type":"string","special":"null"}]}]})"},
        Case{"three of 2 rows", 3, "[1, 2]", R"(["x", "y"])", "[0.5, null]",
             R"({"$type":"array<tuple>","values":[{"$type":"tuple","values":[1,"x",0.5]},{"$type":"tuple","values":[2,"y",{"$type":"double","special":"null"}]}]})"},
        Case{"two constants of 1000 and 10 rows: one tuple", 2, R"({"$type":"array<int32>","constant":7,"count":1000})",
             R"({"$type":"array<string>","constant":"z","count":10})", c_noDoubles,
             R"({"$type":"array<tuple>","constant":{"$type":"tuple","values":[7,"z"]},"count":10})"},
        Case{"three constants of 2, 2 and 4 rows: the longest", 3, R"({"$type":"array<int32>","constant":7,"count":2})",
             R"({"$type":"array<string>","constant":"z","count":2})", R"({"$type":"array<double>","constant":1.5,"count":4})",
             R"({"$type":"array<tuple>","constant":{"$type":"tuple","values":[7,"z",1.5]},"count":4})"},
        Case{"two empty columns", 2, R"({"$type":"array<int32>","values":[]})", R"({"$type":"array<string>","values":[]})", c_noDoubles,
             R"({"$type":"array<tuple>","values":[]})"},
        Case{"an empty constant and a constant", 2, R"({"$type":"array<int32>","constant":7,"count":0})",
             R"({"$type":"array<string>","constant":"z","count":3})", c_noDoubles, R"({"$type":"array<tuple>","values":[]})"},
    }) {
        // clang-format on
        SCOPED_TRACE(c.what);
        Value const result =
            RunProgram(ZipProgram(c.inputs), {{L"a", Parse(c.a)}, {L"b", Parse(c.b)}, {L"d", Parse(c.d)}},
                       zipwith::Blocks(2));
        EXPECT_EQ(Json(result), c.expected);
    }
}

// Many inputs take the longest count, so a shorter column is read past its end and the array
// refuses the row; an empty first column does not shorten the result either.
TEST(Zip, ManyInputsReadPastAShorterColumnAndFail) {
    for (auto const& [a, b, d] :
         {std::tuple{R"({"$type":"array<int32>","values":[]})", R"(["x", "y", "z"])", "[0.5, 1.5, 2.5]"},
          std::tuple{"[1, 2, 3]", R"(["x", "y", "z"])", "[0.5, 1.5]"}}) {
        SCOPED_TRACE(std::string(a) + ", " + d);
        try {
            RunProgram(ZipProgram(3), {{L"a", Parse(a)}, {L"b", Parse(b)}, {L"d", Parse(d)}});
            ADD_FAILURE() << "the run succeeded";
        } catch (core::ZelException const& e) {
            EXPECT_EQ(e.GetError(), core::ZelError::RangeViolation) << e.what();
        }
    }
}

// One input, which a program cannot write (Zip takes two or more), still makes one-element tuples.
TEST(Zip, OneInputMakesTuplesOfOne) {
    auto const zip = vm::ZipNTransform::Make(
        {KeyPath(L"a")}, KeyPath(L"c"), vm::MakeExecutionStrategy(vm::VMOptions(), core::OperatorType::Zip));
    EXPECT_EQ(zip->GetInputPaths(), std::vector<KeyPath>{KeyPath(L"a")});
    EXPECT_FALSE(zip->CanTransformOverRange());
    EXPECT_EQ(zip->GetMetricsString(), TStringCore(L"Zip"));
    vm::TransformValues const inputs{{KeyPath(L"a"), Parse("[1, 2]")}};
    std::string const expected =
        R"({"$type":"array<tuple>","values":[{"$type":"tuple","values":[1]},{"$type":"tuple","values":[2]}]})";
    EXPECT_EQ(Json(zip->DoTransform(inputs, nullptr).GetValue(KeyPath(L"c"))), expected);
    EXPECT_EQ(Json(zip->Clone()->DoTransform(inputs, nullptr).GetValue(KeyPath(L"c"))), expected);
}

// Long enough to go parallel, in blocks that do not divide the count: every tuple holds its own
// row, on one thread and on several.
TEST(Zip, EveryTupleIsExactAcrossBlocksSeriallyAndInParallel) {
    unsigned int const count = 100'003;
    auto first = std::make_unique<std::vector<unsigned int>>(count);
    auto second = std::make_unique<std::vector<unsigned int>>(count);
    for (unsigned int i = 0; i < count; ++i) {
        (*first)[i] = i;
        (*second)[i] = 3 * i + 1;
    }
    Value const a = core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, std::move(first));
    Value const b = core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, std::move(second));
    std::string const program =
        "input ~init.a : array<int32>, ~init.b : array<int32>\n"
        "c : array<tuple> = Zip(~init.b, ~init.a)\n";
    for (bool parallel : {true, false}) {
        SCOPED_TRACE(parallel ? "parallel" : "serial");
        Value const result = RunProgram(program, {{L"a", a}, {L"b", b}}, zipwith::Blocks(1000, parallel));
        ASSERT_EQ(result->GetCount(), count);
        unsigned int wrong = 0;
        for (unsigned int row = 0; row < count && wrong < 5; ++row) {
            Value const tuple = result->AsArray().GetStoreValue(row);
            auto const& elements = tuple->AsTuple().GetElements();
            if (elements.size() != 2 ||
                core::FetchStoreValue<int>(elements[0]) != static_cast<int>(3 * row + 1) ||
                core::FetchStoreValue<int>(elements[1]) != static_cast<int>(row)) {
                ADD_FAILURE() << "row " << row;
                ++wrong;
            }
        }
    }
}

}  // namespace
}  // namespace zel::test::zip
