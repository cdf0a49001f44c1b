// Index programs: row numbers of arrays and tables from the statement's value, wrapping at 32
// bits, the refusal of other values, and the metric name that carries the output's leaf.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/CheckFailure.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/ITypedArray.h"

namespace zel::test::index {
namespace {

using core::KeyPath;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Texts;
using filter::Value;

Value RunIndex(Value const& input, std::string const& inputType, std::string const& first) {
    return RunProgram(
        "input ~init.a : " + inputType + "\nb : array<int32> = Index(~init.a) value " + first + "\n",
        {{L"a", input}});
}

TEST(Index, NumbersTheRowsOfArraysAndTablesFromTheFirstValue) {
    struct IndexCase {
        char const* type;
        char const* input;
        char const* first;
        char const* expected;
    };
    std::vector<IndexCase> const cases = {
        {"array<string>", R"(["x", null, "z"])", "1", "[1, 2, 3]"},
        {"array<double>", "[0.5, 0.25]", "-1", "[-1, 0]"},
        {"table", R"({"$type": "table", "columns": {"id": [7, 8, 9, 10]}})", "0", "[0, 1, 2, 3]"},
        {"array<int32>", R"({"$type": "array<int32>", "constant": 4, "count": 3})", "10", "[10, 11, 12]"},
        // An empty input gives an empty int32 array.
        {"array<string>", R"({"$type": "array<string>", "values": []})", "5",
         R"({"$type": "array<int32>", "values": []})"},
        {"table", R"({"$type": "table", "columns": {"id": {"$type": "array<int32>", "values": []}}})", "5",
         R"({"$type": "array<int32>", "values": []})"},
    };
    for (IndexCase const& c : cases) {
        EXPECT_EQ(Json(RunIndex(Parse(c.input), c.type, c.first)), Json(Parse(c.expected))) << c.input;
    }
}

// Past the top of the range the numbers wrap round: the stored bits are the wrapped values.
TEST(Index, WrapsAtThirtyTwoBits) {
    Value const result = RunIndex(Parse("[0, 0, 0, 0]"), "array<int32>", "2147483646");
    EXPECT_EQ(Json(result), Json(Parse("[2147483646, 2147483647, -2147483648, -2147483647]")));
    auto const& typed = result->AsTypedArray<unsigned int>();
    std::vector<unsigned int> bits;
    for (unsigned int row = 0; row < result->GetCount(); ++row) {
        bits.push_back(typed.GetValue(row));
    }
    EXPECT_EQ(bits, (std::vector<unsigned int>{0x7FFFFFFEu, 0x7FFFFFFFu, 0x80000000u, 0x80000001u}));
}

TEST(Index, RefusesAValueThatIsNeitherArrayNorTable) {
    auto const transform = filter::MakeFirst("b : array<int32> = Index(~init.a) value 0\n");
    for (char const* input : {"3", R"({"$type": "set<int32>", "values": [1]})", R"({"k": [1]})"}) {
        vm::TransformValues values;
        values.SetValue(KeyPath::Parse(L"~init.a"), Parse(input));
        ExpectCheckFailure([&] { transform->DoTransform(values, nullptr); },
                           core::ZelError::IndexInputInvalid,
                           "(value->GetStoreType() == StoreType::Array || value->GetStoreType() == "
                           "StoreType::Table)",
                           CheckSite{"code/vm/main/transform/IndexTransform.cpp"});
    }
}

TEST(Index, ItsMetricNameEndsInTheLeafOfItsOutput) {
    auto const transform = filter::MakeFirst("rows.number : array<int32> = Index(~init.a) value 0\n");
    EXPECT_EQ(transform->GetOperatorType(), vm::OperatorType::Index);
    EXPECT_EQ(transform->GetMetricsString().ToUtf8(), "Index_number");
    EXPECT_EQ(transform->Clone()->GetMetricsString().ToUtf8(), "Index_number");
    EXPECT_EQ(Texts(transform->GetInputPaths()), "~init.a");
    EXPECT_EQ(Texts(transform->GetOutputPaths()), "rows.number");
}

}  // namespace
}  // namespace zel::test::index
