// Distinct programs: the distinct values of arrays in order of first occurrence, specials counted
// once or dropped, and sets, which come back as the very value that went in unless they have
// specials to drop.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vm/filter/FilterTestSupport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::distinct {
namespace {

using core::KeyPath;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Texts;
using filter::Value;

std::string Program(char const* type, bool includeSpecial) {
    return std::string("input ~init.a : ") + type + "\nb : set = Distinct(~init.a) value " +
           (includeSpecial ? "true" : "false") + "\n";
}

TEST(Distinct, KeepsTheFirstOccurrenceOfEachValueOfAnArray) {
    struct DistinctCase {
        char const* type;
        char const* input;
        bool includeSpecial;
        char const* expected;
    };
    std::vector<DistinctCase> const cases = {
        {"array<int32>", "[3, 1, 3, 2, 1]", false, R"({"$type": "set<int32>", "values": [3, 1, 2]})"},
        {"array<int32>", "[null, 3, null, 3]", true, R"({"$type": "set<int32>", "values": [null, 3]})"},
        {"array<int32>", "[null, 3, null, 3]", false, R"({"$type": "set<int32>", "values": [3]})"},
        {"array<string>", R"(["b", "a", "b"])", false, R"({"$type": "set<string>", "values": ["b", "a"]})"},
        {"array<int32>", R"({"$type": "array<int32>", "values": []})", false,
         R"({"$type": "set<int32>", "values": []})"},
        {"set<int32>", R"({"$type": "set<int32>", "values": [3, null, 2]})", false,
         R"({"$type": "set<int32>", "values": [3, 2]})"},
        {"set<int32>", R"({"$type": "set<int32>", "values": [3, null, 2]})", true,
         R"({"$type": "set<int32>", "values": [3, null, 2]})"},
    };
    for (DistinctCase const& c : cases) {
        EXPECT_EQ(Json(RunProgram(Program(c.type, c.includeSpecial), {{L"a", Parse(c.input)}})),
                  Json(Parse(c.expected)))
            << c.input << " include specials " << c.includeSpecial;
    }
}

// A set is distinct already: with nothing to drop, the result is the input itself. A clone keeps
// the flag that says whether specials stay.
TEST(Distinct, ASetWithNothingToDropIsTheVeryInputValue) {
    struct SetCase {
        char const* input;
        bool includeSpecial;
        bool same;
    };
    std::vector<SetCase> const cases = {
        {R"({"$type": "set<int32>", "values": [3, 2]})", false, true},
        {R"({"$type": "set<int32>", "values": [3, 2]})", true, true},
        {R"({"$type": "set<int32>", "values": [3, null]})", true, true},
        {R"({"$type": "set<int32>", "values": [3, null]})", false, false},
    };
    for (SetCase const& c : cases) {
        auto const transform = filter::MakeFirst(Program("set<int32>", c.includeSpecial))->Clone();
        EXPECT_EQ(transform->GetOperatorType(), vm::OperatorType::Distinct);
        EXPECT_EQ(Texts(transform->GetInputPaths()) + " -> " + Texts(transform->GetOutputPaths()),
                  "~init.a -> b");
        Value const input = Parse(c.input);
        vm::TransformValues values;
        values.SetValue(KeyPath::Parse(L"~init.a"), input);
        Value const result = transform->DoTransform(values, nullptr).GetValue(KeyPath(L"b"));
        EXPECT_EQ(result == input, c.same) << c.input << " include specials " << c.includeSpecial;
        EXPECT_EQ(result->GetCount(), c.same ? input->GetCount() : 1u) << c.input;
    }
}

TEST(Distinct, AValueThatIsNoCollectionIsRefused) {
    auto const transform = filter::MakeFirst(Program("int32", false));
    vm::TransformValues values;
    values.SetValue(KeyPath::Parse(L"~init.a"), Parse("3"));
    EXPECT_THROW(transform->DoTransform(values, nullptr), core::ZelException);
}

}  // namespace
}  // namespace zel::test::distinct
