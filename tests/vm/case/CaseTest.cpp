// Case programs: the first true condition chooses the branch, else the Else list; the branch runs
// in a private store seeded from the captured keys, nested cases in stores of their own; outputs
// are read back; cancellation between children; metric scopes per child; When and Else alone are
// refused.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "metrics/MetricsFixture.h"
#include "support/CheckFailure.h"
#include "vm/partition/ChildProgramSupport.h"
#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/vtl/OpElseSpec.h"
#include "zel/vm/vtl/OpWhenSpec.h"

namespace zel::test::casetest {
namespace {

using child::GetProbes;
using child::Json;
using child::MakeFirst;
using child::Parse;
using child::Path;
using child::RunToJson;
using core::ZelError;

std::string Store(std::string const& limit) {
    return R"({"a": [1.5, -2.0], "limit": )" + limit + "}";
}

constexpr char const* c_unchanged = R"({"$type":"array<double>","values":[1.5,-2.0]})";
constexpr char const* c_negated = R"({"$type":"array<double>","values":[-1.5,2.0]})";

constexpr char const* c_threeBranches = R"(input ~init.a : array<double>, ~init.limit : double
b : array<double> = Case(~init.a, ~init.limit) {
  when gt(~init.limit, 10.0) { b = Map(~init.a) fn negate() }
  when gt(~init.limit, 5.0) { b = Map(~init.a) fn multiply(2.0) }
  else { b = Copy(~init.a) }
}
)";

TEST(Case, TheFirstTrueConditionChoosesTheBranchAndNoneTrueChoosesElse) {
    struct Row {
        char const* limit;
        char const* expected;
    };
    // 20 makes both conditions true: the earlier one wins.
    for (Row const& row :
         {Row{"20.0", c_negated}, Row{"7.0", R"({"$type":"array<double>","values":[3.0,-4.0]})"},
          Row{"1.0", c_unchanged}}) {
        EXPECT_EQ(RunToJson(c_threeBranches, Store(row.limit), L"b"), row.expected) << "limit " << row.limit;
    }
}

// A condition of literals alone is called, and the case reads its captured keys and nothing else.
// No condition after the first true one is evaluated.
TEST(Case, AConditionIsEvaluatedOnlyUntilOneHolds) {
    struct Row {
        char const* firstCondition;
        char const* expected;
        int probeCalls;
    };
    for (Row const& row : {Row{"always()", c_negated, 0}, Row{"gt(2, 1)", c_negated, 0},
                           Row{"never()", c_unchanged, 1}, Row{"gt(1, 2)", c_unchanged, 1}}) {
        child::ResetProbes();
        std::string const program =
            std::string("input ~init.a : array<double>\nb : array<double> = Case(~init.a) {\n") + "  when " +
            row.firstCondition + " { b = Map(~init.a) fn negate() }\n" +
            "  when probe_true() { b = Copy(~init.a) }\n  else { b = Copy(~init.a) }\n}\n";
        EXPECT_EQ(RunToJson(program, Store("0.0"), L"b"), row.expected) << row.firstCondition;
        EXPECT_EQ(GetProbes().calls.load(), row.probeCalls) << row.firstCondition;
        std::vector<core::KeyPath> const inputs = MakeFirst(program)->GetInputPaths();
        ASSERT_EQ(inputs.size(), 1u);
        EXPECT_TRUE(inputs[0].TypeAgnosticEquals(Path(L"~init.a")));
    }
}

TEST(Case, ALaterChildOfABranchSeesWhatAnEarlierOneWroteAndNothingElseLeaves) {
    std::string const program = R"(input ~init.a : array<double>
output b
b : array<double> = Case(~init.a) {
  when always() {
    scaled : array<double> = Map(~init.a) fn multiply(10.0)
    b = Map(scaled) fn add(1.0)
  }
  else { b = Copy(~init.a) }
}
)";
    auto vm = child::MakeVM(program, Store("0.0"));
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    auto const result = vm->MaterializeDataStore();
    EXPECT_EQ(Json(result->GetValue(Path(L"b"))), R"({"$type":"array<double>","values":[16.0,-19.0]})");
    EXPECT_EQ(result->FindValue(Path(L"scaled")), nullptr);
}

TEST(Case, AnEmptyElsePassesACapturedOutputThroughAndFailsOnAnyOther) {
    // An output that is also a captured key is read back from the seeded store as it came in.
    std::string const passThrough = R"(edge none
x : array<double> = Case(x) {
  when never() { x = Map(x) fn negate() }
  else { }
}
)";
    auto const transform = MakeFirst(passThrough);
    child::Value const x = Parse("[1.5, -2.0]");
    vm::TransformValues const outputs = transform->DoTransform({{Path(L"x"), x}}, nullptr);
    EXPECT_EQ(outputs.GetValue(Path(L"x")), x) << "the very value that came in";

    // An output that no branch wrote is missing from the store when it is read back.
    std::string const missing = R"(input ~init.a : array<double>
b : array<double> = Case(~init.a) {
  when never() { b = Copy(~init.a) }
  else { }
}
)";
    ExpectRuntimeError([&] { child::MakeVM(missing, Store("0.0"))->Execute(); }, ZelError::KeyNotFound, "b");
}

TEST(Case, ANestedCaseRunsInAStoreOfItsOwn) {
    std::string const nested = R"(input ~init.a : array<double>, ~init.limit : double
b : array<double> = Case(~init.a, ~init.limit) {
  when gt(~init.limit, 0.0) {
    inner : array<double> = Case(~init.a) {
      when always() {
        scaled : array<double> = Map(~init.a) fn multiply(10.0)
        inner = Map(scaled) fn add(1.0)
      }
      else { inner = Copy(~init.a) }
    }
    b = Map(inner) fn negate()
  }
  else { b = Copy(~init.a) }
}
)";
    EXPECT_EQ(RunToJson(nested, Store("1.0"), L"b"), R"({"$type":"array<double>","values":[-16.0,19.0]})");
    EXPECT_EQ(RunToJson(nested, Store("-1.0"), L"b"), c_unchanged);

    // What the inner case wrote but does not hand back stays in its store.
    std::string const leaking = R"(input ~init.a : array<double>
b : array<double> = Case(~init.a) {
  when always() {
    inner : array<double> = Case(~init.a) {
      when always() { scaled : array<double> = Map(~init.a) fn multiply(10.0); inner = Copy(scaled) }
      else { inner = Copy(~init.a) }
    }
    b = Copy(scaled)
  }
  else { b = Copy(~init.a) }
}
)";
    ExpectRuntimeError([&] { child::MakeVM(leaking, Store("0.0"))->Execute(); }, ZelError::KeyNotFound,
                       "scaled");
}

TEST(Case, ABranchMayHoldAPartitionOfItsCapturedTable) {
    std::string const program =
        R"(input ~init.t : table { k : array<string>, v : array<double> }, ~init.by_key : bool
out : table = Case(~init.t, ~init.t.k, ~init.by_key) {
  when is_true(~init.by_key) {
    out = GroupBy(~init.t, ~init.t.k) { out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0 }
  }
  else { out = Copy(~init.t) }
}
)";
    std::string const table =
        R"({"$type": "table", "columns": {"k": ["a", "a", "b"], "v": [1.0, 2.0, 4.0]}})";
    EXPECT_EQ(RunToJson(program, R"({"by_key": true, "t": )" + table + "}", L"out"),
              R"({"$type":"table","columns":{"k":{"$type":"array<string>","values":["a","b"]},)"
              R"("total":{"$type":"array<double>","values":[3.0,4.0]}}})");
    EXPECT_EQ(RunToJson(program, R"({"by_key": false, "t": )" + table + "}", L"out"),
              R"({"$type":"table","columns":{"k":{"$type":"array<string>","values":["a","a","b"]},)"
              R"("v":{"$type":"array<double>","values":[1.0,2.0,4.0]}}})");
}

// The branch: a first child that raises the probes' flag, a second that counts its rows.
constexpr char const* c_cancellingBranch = R"(input ~init.a : array<double>
b : array<double> = Case(~init.a) {
  when always() {
    t : array<double> = Map(~init.a) fn probe_cancel()
    b = Map(t) fn probe_count()
  }
  else { b = Copy(~init.a) }
}
)";

// Raised by the first child, the flag keeps the second from running, and b, which it would write,
// is not read. Without a source the same case runs to its end.
TEST(Case, ACancelledRunStopsBetweenChildrenAndReadsNoOutput) {
    auto const transform = MakeFirst(c_cancellingBranch);
    vm::TransformValues const inputs{{Path(L"~init.a"), Parse("[1.5, -2.0]")}};
    vm::TransformValues const outputs = child::ExpectStopsWhenCancelled(*transform, inputs, 2);
    EXPECT_EQ(Json(outputs.GetValue(Path(L"b"))), c_unchanged);
    EXPECT_EQ(GetProbes().calls.load(), 4);
    child::ExpectMachineCancelled(c_cancellingBranch, Store("0.0"), 2);
}

class CaseMetrics : public ::testing::Test {
protected:
    void SetUp() override { metrics_test::RestoreMetricsDefaults(); }
    void TearDown() override { metrics_test::RestoreMetricsDefaults(); }
};

TEST_F(CaseMetrics, EachChildRunsInAScopeNamedAfterTheCaseAndTheChild) {
    std::string const program = R"(input ~init.a : array<double>
b : array<double> = Case(~init.a) {
  when always() {
    one : double = SetValueMulti() fn `probe|pipe`()
    b = Map(~init.a) fn multiply(one)
  }
  else { b = Copy(~init.a) }
}
)";
    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    EXPECT_EQ(RunToJson(program, Store("0.0"), L"b"), c_unchanged);
    std::vector<std::wstring> names;
    for (auto const& scope : Metrics::GetRegistry().Snapshot()) {
        names.push_back(scope.name.str());
    }
    EXPECT_NE(std::find(names.begin(), names.end(), L"Case_SetValueMulti_probe?pipe"), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), L"Case_Map"), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), L"RunNode_Case"), names.end());
}

TEST(CaseMaking, AConditionMustBeAMultinaryFunctionReturningBool) {
    std::string const program = R"(input ~init.a : array<double>
b : array<double> = Case(~init.a) {
  when add(1, 2) { b = Copy(~init.a) }
  else { b = Copy(~init.a) }
}
)";
    ExpectPlainThrow([&] { MakeFirst(program); }, ZelError::FunctionTypeMismatch, "add");
}

TEST(CaseMaking, AFailingChildNamesItsOwnStatement) {
    child::ExpectMakeFailsAt(R"(input ~init.a : array<string>
b : array<string> = Case(~init.a) {
  when always() { b = Copy(~init.a) }
  else { b = Map(~init.a) fn negate() }
}
)",
                             R"({"a": ["x"]})", "line 4, column 10: Map:");
}

TEST(CaseMaking, WhenAndElseAloneAreRefused) {
    core::TransformSpec const when =
        vm::OpWhenSpec::Create(core::FunctionSpec::Make(L"always", std::vector<core::ValueSpec>{}), {});
    core::TransformSpec const otherwise = vm::OpElseSpec::Create({});
    for (core::TransformSpec const* spec : {&when, &otherwise}) {
        ExpectCheckFailure(
            [&] { vm::MakeTransform(*spec, child::Functions(), core::KeyPathTypeLookup(), vm::VMOptions()); },
            ZelError::OperatorNotMaterialised, "");
    }
}

}  // namespace
}  // namespace zel::test::casetest
