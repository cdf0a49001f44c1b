// InnerJoin and LeftOuterJoin as a program meets them: every key type, the side that builds and the
// row order it gives, specials on either side, empty tables, several key pairs, the merge of the
// columns, and the failures.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/CheckFailure.h"
#include "support/LogCapture.h"
#include "transform/join/InnerJoinTransforms.h"
#include "transform/join/LeftOuterJoinTransforms.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::join {
namespace {

using core::KeyPath;
using core::ZelError;
using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

// The JSON the writer gives for the value that `json` reads as.
std::string Values(std::string_view json) {
    return Json(Parse(json));
}

Value Table(std::string const& columns) {
    return Parse(R"({"$type": "table", "columns": {)" + columns + "}}");
}

// `kind` joins ~init.x and ~init.y on x.k and y.<rightKey>.
Value Join(std::string_view kind, Value const& left, Value const& right, std::string_view rightKey = "k") {
    return RunProgram("input ~init.x : table, ~init.y : table\nb : table = " + std::string(kind) +
                          "(~init.x.k, ~init.y." + std::string(rightKey) + ", ~init.x, ~init.y)\n",
                      {{L"x", left}, {L"y", right}});
}

// The l and r columns of a join's result: which rows of each side it holds, in its order.
void ExpectRows(Value const& result, std::string_view l, std::string_view r) {
    EXPECT_EQ(Json(result->AsTable().GetColumn(L"l")), Values(l));
    EXPECT_EQ(Json(result->AsTable().GetColumn(L"r")), Values(r));
}

struct KeyCase {
    std::string_view type;
    std::string_view left;       // three keys A, B, C
    std::string_view right;      // four keys B', A', B', D: primes match under the column's equality
    std::string_view innerKeys;  // the key column of the inner join
    std::string_view outerKeys;  // of the left outer join
};

// clang-format off
std::vector<KeyCase> const c_keyCases{
    {"array<int32>", "[1, 2, 3]", "[2, 1, 2, 4]", "[2, 1, 2]", "[1, 2, 2, 3]"},
    {"array<int64>", "[5000000001, 5000000002, 3]", "[5000000002, 5000000001, 5000000002, 4]",
     "[5000000002, 5000000001, 5000000002]", "[5000000001, 5000000002, 5000000002, 3]"},
    {"array<float>", "[0.5, 1.5, 2.5]", "[1.5, 0.5, 1.5, 3.5]", "[1.5, 0.5, 1.5]", "[0.5, 1.5, 1.5, 2.5]"},
    {"array<double>", "[0.25, -1e300, 2.5]", "[-1e300, 0.25, -1e300, 3.5]", "[-1e300, 0.25, -1e300]",
     "[0.25, -1e300, -1e300, 2.5]"},
    {"array<string>", R"(["a", "b", "c"])", R"(["b", "a", "b", "B"])", R"(["b", "a", "b"])", R"(["a", "b", "b", "c"])"},
    {"array<string(nocase)>", R"(["a", "B", "c"])", R"(["b", "A", "B", "d"])", R"(["B", "a", "B"])",
     R"(["a", "B", "B", "c"])"},
};
// clang-format on

std::string Typed(std::string_view type, std::string_view values) {
    return R"({"$type": ")" + std::string(type) + R"(", "values": )" + std::string(values) + "}";
}

constexpr char const* c_layoutRight =
    R"("k": {"$type": "array<int32>", "runs": [{"value": 1, "count": 2}, {"value": 2, "count": 1}]},
       "r": {"$type": "array<int32>", "values": [10, 11, 12], "indices": [2, 1, 0]})";

// The left has 3 rows and the right 4. The inner join builds on the left and follows the right's
// rows; the left outer join builds on the right, follows the left's rows and ends with the row of
// C, unmatched. The key column of both sides is one column, the left's.
TEST(JoinKeyTypes, EveryKeyTypeJoinsInnerAndLeftOuter) {
    std::set<core::StoreType> reached;
    for (KeyCase const& c : c_keyCases) {
        SCOPED_TRACE(c.type);
        Value const left = Table(R"("k": )" + Typed(c.type, c.left) + R"(, "l": [0, 1, 2])");
        Value const right = Table(R"("k": )" + Typed(c.type, c.right) + R"(, "r": [10, 11, 12, 13])");
        reached.insert(left->AsTable().GetColumn(L"k")->GetValueTypeInfo().GetStoreType());

        Value const inner = Join("InnerJoin", left, right);
        ExpectRows(inner, "[1,0,1]", "[10,11,12]");
        EXPECT_EQ(Json(inner->AsTable().GetColumn(L"k")), Json(Parse(Typed(c.type, c.innerKeys))));
        EXPECT_EQ(inner->AsTable().GetColumns().size(), 3u);

        Value const outer = Join("LeftOuterJoin", left, right);
        ExpectRows(outer, "[0,1,1,2]", "[11,10,12,null]");
        EXPECT_EQ(Json(outer->AsTable().GetColumn(L"k")), Json(Parse(Typed(c.type, c.outerKeys))));
    }
    // Bools: few keys, many rows to a key, each key's rows in their order.
    Value const left = Table(R"("k": [true, false, false], "l": [0, 1, 2])");
    Value const right = Table(R"("k": [false, true, true, true], "r": [10, 11, 12, 13])");
    reached.insert(core::StoreType::Bool);
    Value const inner = Join("InnerJoin", left, right);
    ExpectRows(inner, "[1,2,0,0,0]", "[10,10,11,12,13]");
    Value const outer = Join("LeftOuterJoin", left, right);
    ExpectRows(outer, "[0,0,0,1,2]", "[11,12,13,10,10]");
    EXPECT_EQ(reached.size(), 6u);
}

TEST(Join, EmptyTablesGiveAllColumns) {
    Value const none = Table(
        R"("k": {"$type": "array<int32>", "values": []}, "l": {"$type": "array<int32>", "values": []})");
    Value const right = Table(R"("k": [1, 2], "r": [0.5, 1.5])");
    EXPECT_EQ(
        Json(Join("InnerJoin", none, right)),
        Json(Table(
            R"("k": {"$type": "array<int32>", "values": []}, "l": {"$type": "array<int32>", "values": []},
                            "r": {"$type": "array<double>", "values": []})")));
    EXPECT_EQ(Json(Join("LeftOuterJoin", none, right)), Json(Join("InnerJoin", none, right)));
    // An empty right: every left row, with a Null in every right column.
    Value const noRight = Table(
        R"("k": {"$type": "array<int32>", "values": []}, "r": {"$type": "array<double>", "values": []})");
    EXPECT_EQ(
        Json(Join("LeftOuterJoin", Table(R"("k": [1, 2], "l": [0, 1])"), noRight)),
        Json(Table(R"("k": [1, 2], "l": [0, 1], "r": {"$type": "array<double>", "values": [null, null]})")));
}

// A special on the build side never matches, and then a special probe row is not looked up. A
// build side without specials looks every probe row up by its slot, so a Null probe row finds the
// fill value (0 for int32).
TEST(Join, SpecialKeysFollowTheBuildSide) {
    struct SpecialCase {
        std::string_view what;
        std::string_view kind;
        std::string_view left;
        std::string_view right;
        std::string_view l;
        std::string_view r;
    };
    for (SpecialCase const& c : std::vector<SpecialCase>{
             {"two Null keys do not join", "InnerJoin", "[null, 1]", "[null, 1, 5]", "[1]", "[11]"},
             {"a Null probe row against a build side with a special", "LeftOuterJoin", "[null, 1]",
              "[0, 1, null]", "[1,0]", "[11,null]"},
             {"a Null probe row against a build side without one finds 0", "LeftOuterJoin", "[null, 1]",
              "[0, 1]", "[0,1]", "[10,11]"},
             {"an inner join built on the left probes the right's Null by its fill", "InnerJoin", "[0, 1]",
              "[null, 1, 7]", "[0,1]", "[10,11]"},
             {"a left built with a special leaves the right's specials out", "InnerJoin",
              R"([0, {"$special": "error"}])", R"([null, {"$special": "error"}, 0])", "[0]", "[12]"},
         }) {
        SCOPED_TRACE(c.what);
        Value const left = Table(R"("k": )" + std::string(c.left) + R"(, "l": [0, 1])");
        std::string r = "[10";
        for (unsigned int i = 1; i < Parse(std::string(c.right))->GetCount(); ++i) {
            r += ", " + std::to_string(10 + i);
        }
        Value const right = Table(R"("k": )" + std::string(c.right) + R"(, "r": )" + r + "]");
        Value const result = Join(c.kind, left, right);
        ExpectRows(result, c.l, c.r);
    }
}

TEST(Join, RowsFollowTheProbeSideAndKeysMatchByTheirBits) {
    struct OrderCase {
        std::string_view what;
        std::string_view kind;
        std::string left;
        std::string right;
        std::string_view l;
        std::string_view r;
    };
    std::string const right = R"("k": [2, 1, 2], "r": [10, 11, 12])";
    for (OrderCase const& c : std::vector<OrderCase>{
             // On equal row counts the left builds and the result follows the right's rows; a
             // larger left is probed, and the result follows the left's rows.
             {"equal row counts", "InnerJoin", R"("k": [1, 2, 2], "l": [0, 1, 2])", right, "[1,2,0,1,2]",
              "[10,10,11,12,12]"},
             {"a larger left", "InnerJoin", R"("k": [1, 2, 2, 3], "l": [0, 1, 2, 3])", right, "[0,1,1,2,2]",
              "[11,10,12,10,12]"},
             // Numbers match by their bits: +0 and -0 are two keys, and a NaN matches a NaN.
             {"doubles", "LeftOuterJoin",
              R"("k": {"$type": "array<double>", "values": [0.0, -0.0, "nan"]}, "l": [0, 1, 2])",
              R"("k": {"$type": "array<double>", "values": ["nan", -0.0, 0.0, 1.0]}, "r": [10, 11, 12, 13])",
              "[0,1,2]", "[12,11,10]"},
             {"floats", "InnerJoin",
              R"("k": {"$type": "array<float>", "values": [-0.0, "nan"]}, "l": [0, 1])",
              R"("k": {"$type": "array<float>", "values": [0.0, "nan", -0.0]}, "r": [10, 11, 12])", "[1,0]",
              "[11,12]"},
             // Key columns in the constant, run-length and indexed layouts match as their flat
             // forms do.
             {"constant and runs", "InnerJoin",
              R"("k": {"$type": "array<int32>", "constant": 2, "count": 2}, "l": [0, 1])", c_layoutRight,
              "[0,1]", "[10,10]"},
             {"runs and constant", "LeftOuterJoin", c_layoutRight,
              R"("k": {"$type": "array<int32>", "constant": 2, "count": 2}, "l": [0, 1])", "[0,1,null,null]",
              "[10,10,12,11]"},
         }) {
        SCOPED_TRACE(c.what);
        ExpectRows(Join(c.kind, Table(c.left), Table(c.right)), c.l, c.r);
    }
}

TEST(Join, EveryPairJoinsTheReducedTablesAnew) {
    Value const left = Table(R"("a": [1, 1, 2], "b": ["x", "y", "x"], "l": [0, 1, 2])");
    Value const right = Table(R"("a": [1, 2], "c": ["y", "x"], "r": [10, 11])");
    Value const result = RunProgram(
        "input ~init.x : table, ~init.y : table\nb : table = InnerJoin(~init.x.a, ~init.y.a, ~init.x.b, "
        "~init.y.c, "
        "~init.x, ~init.y)\n",
        {{L"x", left}, {L"y", right}});
    // The first pair gives (l, r) = (0, 10), (1, 10), (2, 11) with b x, y, x and c y, y, x; the
    // second matches b against c among these: each b = x row with each c = x row, and so on.
    ExpectRows(result, "[1,1,0,2]", "[10,10,11,11]");
    EXPECT_EQ(Json(result->AsTable().GetColumn(L"c")), Values(R"(["y","y","x","x"])"));
    EXPECT_EQ(result->AsTable().GetColumns().size(), 5u);
}

TEST(Join, AColumnOnBothSidesMustBeARightKey) {
    Value const left = Table(R"("k": [1], "v": [0])");
    Value const right = Table(R"("id": [1], "v": [2])");
    for (std::string_view kind : {"InnerJoin", "LeftOuterJoin"}) {
        LogCapture log;
        ExpectCheckFailure([&] { Join(kind, left, right, "id"); }, ZelError::JoinFailure, "");
        EXPECT_EQ(log.Count("warning", "Found column v in both sides of a join, but not as a key."), 1u)
            << log.Text();
    }
    // Named by their own leaves, both key columns stay.
    Value const both = Join("LeftOuterJoin", Table(R"("k": [1, 2])"), Table(R"("id": [2], "w": [7])"), "id");
    EXPECT_EQ(Json(both), Json(Table(R"("k": [2, 1], "id": [2, null], "w": [7, null])")));
}

TEST(Join, RefusesKeysOfTwoTypesAndTypesWithoutAnIndex) {
    for (std::string_view kind : {"InnerJoin", "LeftOuterJoin"}) {
        SCOPED_TRACE(kind);
        for (auto const& [left, right] :
             {std::pair{R"("k": [1])", R"("k": {"$type": "array<int64>", "values": [1]})"},
              std::pair{R"("k": ["a"])", R"("k": {"$type": "array<string(nocase)>", "values": ["a"]})"}}) {
            ExpectCheckFailure([&] { Join(kind, Table(left), Table(right)); }, ZelError::JoinTypeMismatch,
                               "(input1Type == input2Type)");
        }
        Value const dates = Table(R"("k": {"$type": "array<date>", "values": ["2024-01-31"]})");
        ExpectCheckFailure<core::ZelLogicException>([&] { Join(kind, dates, dates); },
                                                    ZelError::JoinTypeUnsupported, "(false)");
    }
}

TEST(Join, TransformsReadTheTwoTablesAndCloneWhole) {
    std::vector<std::pair<KeyPath, KeyPath>> const pairs{
        {KeyPath::Parse(L"~init.x.k"), KeyPath::Parse(L"~init.y.k")}};
    vm::HashInnerJoinTransform const inner(pairs, KeyPath(L"b"));
    vm::HashLeftOuterJoinTransform const outer(pairs, KeyPath(L"b"), core::SpecialKind::Error);
    EXPECT_EQ(inner.GetInputPaths(),
              (std::vector<KeyPath>{KeyPath::Parse(L"~init.x"), KeyPath::Parse(L"~init.y")}));
    EXPECT_EQ(inner.GetOutputPaths(), std::vector<KeyPath>{KeyPath(L"b")});
    EXPECT_EQ(inner.Clone()->GetOperatorType(), core::OperatorType::InnerJoin);
    EXPECT_EQ(outer.GetOperatorType(), core::OperatorType::LeftOuterJoin);
    // The missing kind travels with a clone.
    vm::TransformValues inputs;
    inputs.SetValue(KeyPath::Parse(L"~init.x"), Table(R"("k": [1, 2])"));
    inputs.SetValue(KeyPath::Parse(L"~init.y"), Table(R"("k": [2], "r": [5])"));
    EXPECT_EQ(
        Json(outer.Clone()->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"))->AsTable().GetColumn(L"r")),
        Json(Parse(R"([5, {"$special": "error"}])")));
    ExpectCheckFailure<core::ZelLogicException>([] { vm::HashInnerJoinTransform({}, KeyPath(L"b")); },
                                                ZelError::LogicFailure, "!(m_columnPairs).empty()");
}

}  // namespace
}  // namespace zel::test::join
