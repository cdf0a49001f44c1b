// Return programs: one input is handed back as the very value, several as one key map of their
// leaves, the first of two equal leaves kept.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/IStoreKeyMap.h"

namespace zel::test::ret {
namespace {

using core::KeyPath;
using filter::Json;
using filter::Parse;
using filter::Value;

vm::TransformValues Values(std::vector<std::pair<wchar_t const*, Value>> const& entries) {
    vm::TransformValues values;
    for (auto const& [path, value] : entries) {
        values.SetValue(KeyPath::Parse(path), value);
    }
    return values;
}

TEST(Return, OneInputIsTheValueItselfNotAKeyMapOfIt) {
    for (char const* input : {"[1, 2]", R"({"k": 1})", "2.5"}) {
        auto const transform = filter::MakeFirst("r = Return(~init.a)\n");
        Value const value = Parse(input);
        EXPECT_EQ(transform->DoTransform(Values({{L"~init.a", value}}), nullptr).GetValue(KeyPath(L"r")),
                  value)
            << input;
    }
}

TEST(Return, SeveralInputsBecomeOneKeyMapOfTheirLeaves) {
    Value const a = Parse("[1, 2]");
    Value const total = Parse("3.5");
    Value const other = Parse(R"("other")");
    auto const transform = filter::MakeFirst("r : keymap = Return(~init.a, ~init.sums.total, ~init.x.a)\n");
    Value const result =
        transform
            ->DoTransform(Values({{L"~init.a", a}, {L"~init.sums.total", total}, {L"~init.x.a", other}}),
                          nullptr)
            .GetValue(KeyPath(L"r"));
    ASSERT_EQ(result->GetStoreType(), core::StoreType::KeyMap);
    EXPECT_EQ(Json(result), Json(Parse(R"({"a": [1, 2], "total": 3.5})")));
    // The members are the inputs themselves; of the two leaves "a" the first stays.
    EXPECT_EQ(result->AsKeyMap().Find(L"a"), a);
    EXPECT_EQ(result->AsKeyMap().Find(L"total"), total);
}

TEST(Return, RunsInAProgram) {
    EXPECT_EQ(Json(filter::RunProgram(
                  "input ~init.a : array<int32>, ~init.c : double\nb : keymap = Return(~init.a, ~init.c)\n",
                  {{L"a", Parse("[4]")}, {L"c", Parse("0.5")}})),
              Json(Parse(R"({"a": [4], "c": 0.5})")));
    auto const transform = filter::MakeFirst("r = Return(~init.a, ~init.c)\n");
    EXPECT_EQ(transform->GetOperatorType(), vm::OperatorType::Return);
    EXPECT_EQ(filter::Texts(transform->GetInputPaths()), "~init.a ~init.c");
    EXPECT_EQ(filter::Texts(transform->Clone()->GetOutputPaths()), "r");
}

}  // namespace
}  // namespace zel::test::ret
