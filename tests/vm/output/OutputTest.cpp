// Output programs: a host's function gets the resolved arguments (keys read from the store,
// literals as they stand) on the thread that runs the statement; a function of literals alone
// reads nothing and still runs; functions that return something, and empty callables, are refused.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/CheckFailure.h"
#include "support/ProgramSupport.h"
#include "transform/OutputTransform.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/vm/transform/Execution.h"

namespace zel::test::output {
namespace {

using core::KeyPath;
using filter::Json;
using filter::Parse;
using filter::Value;

// What probe_record was handed, call by call, and the thread of each call.
struct Calls {
    std::mutex mutex;
    std::vector<core::CreatorArguments> arguments;
    std::vector<std::thread::id> threads;
};

Calls& Recorded() {
    static Calls calls;
    return calls;
}

core::FunctionLookup const& Functions() {
    static std::unique_ptr<core::FunctionLookup> const lookup = [] {
        auto l = std::make_unique<core::FunctionLookup>();
        core::RegisterBuiltinFunctions(*l);
        l->RegisterMultinary(L"probe_record", {}, [](core::CreatorArguments const& arguments) {
            std::lock_guard lock(Recorded().mutex);
            Recorded().arguments.push_back(arguments);
            Recorded().threads.push_back(std::this_thread::get_id());
        });
        return l;
    }();
    return *lookup;
}

class Output : public ::testing::Test {
protected:
    void SetUp() override {
        Recorded().arguments.clear();
        Recorded().threads.clear();
    }

    static std::unique_ptr<vm::Transform> Make(std::string const& statement) {
        return MakeFirstWith(Functions(), statement, vm::VMOptions());
    }
};

TEST_F(Output, HandsTheFunctionKeysFromTheStoreAndLiteralsOnTheRunningThread) {
    Value const a = Parse("[1, 2]");
    auto store = core::factory::MakeDataStore(
        core::StoreValueMap{{L"~init", core::factory::MakeKeyMap(core::StoreValueMap{{L"a", a}})}});
    auto const transform = Make(R"(Output() fn probe_record("total", ~init.a, 2.5))");
    EXPECT_EQ(transform->GetOperatorType(), vm::OperatorType::Output);
    EXPECT_EQ(transform->GetInputPaths(), std::vector<KeyPath>{KeyPath::Parse(L"~init.a")});
    EXPECT_TRUE(transform->GetOutputPaths().empty());

    ASSERT_TRUE(vm::Execution::TransformInPlace(*transform, *store, nullptr));
    ASSERT_EQ(Recorded().arguments.size(), 1u);
    core::CreatorArguments const& arguments = Recorded().arguments[0];
    ASSERT_EQ(arguments.size(), 3u);
    EXPECT_EQ(Json(arguments[0]), R"("total")");
    EXPECT_EQ(arguments[1], a);  // the store's value itself
    EXPECT_EQ(Json(arguments[2]), "2.5");
    EXPECT_EQ(Recorded().threads[0], std::this_thread::get_id());
    // It writes nothing back.
    EXPECT_EQ(store->GetRoot()->GetSortedNames().size(), 1u);
}

TEST_F(Output, AFunctionOfLiteralsAloneReadsNothingAndStillRuns) {
    for (char const* statement : {R"(Output() fn probe_record("done", 1))", "Output() fn probe_record()"}) {
        auto const transform = Make(statement);
        EXPECT_TRUE(transform->GetInputPaths().empty()) << statement;
        auto store = core::factory::MakeDataStore(core::StoreValueMap{});
        ASSERT_TRUE(vm::Execution::TransformInPlace(*transform->Clone(), *store, nullptr)) << statement;
    }
    ASSERT_EQ(Recorded().arguments.size(), 2u);
    EXPECT_EQ(Recorded().arguments[0].size(), 2u);
    EXPECT_TRUE(Recorded().arguments[1].empty());
}

TEST_F(Output, RunsOncePerRunOfAMachine) {
    RunProgramWith(Functions(),
                   "input ~init.a : array<double>\ns : double = Reduce(~init.a) fn add() value 0.0\n"
                   "Output() fn probe_record(\"sum\", s)\n",
                   {{L"a", Parse("[1.5, 2.5]")}}, vm::VMOptions(), L"s");
    ASSERT_EQ(Recorded().arguments.size(), 1u);
    EXPECT_EQ(Json(Recorded().arguments[0][1]), Json(Parse("4.0")));
}

TEST_F(Output, RefusesAFunctionThatReturnsSomethingOrIsMissing) {
    ExpectPlainThrow([] { Make("Output() fn add(1, 2)"); }, core::ZelError::FunctionTypeMismatch, "add");
    EXPECT_THROW(Make("Output() fn no_such_function(1)"), core::ZelException);
}

TEST_F(Output, AnEmptyCallableFailsAsAnEmptyFunctionDoes) {
    auto const spec = std::make_shared<core::FunctionSpec>(L"nothing", std::vector<core::ValueSpec>{});
    vm::OutputTransform const transform(L"nothing", nullptr, std::make_unique<vm::CreatorValues>(*spec));
    EXPECT_THROW(transform.DoTransform({}, nullptr), std::bad_function_call);
    EXPECT_THROW(transform.Clone()->DoTransform({}, nullptr), std::bad_function_call);
}

}  // namespace
}  // namespace zel::test::output
