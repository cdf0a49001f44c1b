#include <gtest/gtest.h>

#include <atomic>

#include "core/StoreValueTestSupport.h"
#include "support/FlagCancellationSource.h"
#include "support/LogCapture.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/io/BinaryProtocolReader.h"
#include "zel/core/io/BinaryProtocolWriter.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/materialize/MakeExecutionGraph.h"
#include "zel/vm/utility/KeyPathUtil.h"
#include "zel/vm/vtl/OpCopySpec.h"

namespace zel::vm {
namespace {

using core::KeyPath;
using core::ZelError;
using test::ExpectCheckFailure;
using test::Int32Array;
using test::KeyMap;

using FlagSource = test::FlagCancellationSource;

std::string Json(core::IDataStore const& store) {
    return core::JsonStoreWriter::WriteStore(store);
}

std::string Json(std::string_view storeText) {
    return Json(*core::StoreValueParser::MakeDataStore(storeText));
}

// Runs the machine to the end and gives its result.
std::string RunToEnd(VM& vm) {
    EXPECT_EQ(vm.Execute(), TransformStatus::Complete);
    return Json(*vm.MaterializeDataStore());
}

class VMTest : public ::testing::Test {
protected:
    std::unique_ptr<VM> Make(std::string_view program, std::string_view store,
                             VMOptions const& options = {}) {
        return VMFactory::Make(TStringCore::FromUtf8(program), TStringCore::FromUtf8(store), *m_functions,
                               options);
    }

    std::unique_ptr<core::IFunctionLookup> m_functions = core::MakeBuiltinFunctionLookup();
};

constexpr std::string_view c_chain = R"(
input ~init.a : int32
b : int32 = Copy(~init.a)
c : int32 = Copy(b)
)";

TEST_F(VMTest, RunsAProgramAndKeepsTheInputsItDidNotShadow) {
    auto vm = Make(c_chain, R"({"a": 1, "keep": "x"})");
    EXPECT_EQ(vm->GetExecutionGraph()->GetNodeCount(), 2u);
    EXPECT_EQ(vm->Execute(), TransformStatus::Complete);
    // b is read by c and not wanted by an output statement, yet with no output statement every
    // edge is retained. Materialising twice gives the same store.
    EXPECT_EQ(Json(*vm->MaterializeDataStore()), Json(R"({"a": 1, "b": 1, "c": 1, "keep": "x"})"));
    EXPECT_EQ(Json(*vm->MaterializeDataStore()), Json(R"({"a": 1, "b": 1, "c": 1, "keep": "x"})"));

    auto empty = Make("", R"({"a": [1, 2], "k": {"x": true}})");
    EXPECT_EQ(RunToEnd(*empty), Json(R"({"a": [1, 2], "k": {"x": true}})"));
}

// The result holds each top-level input whole: an output beneath an input value is not in it, and
// the machine warns of the statement. Output keys select parts of what is there; a wanted member
// that a value lacks is an error.
TEST_F(VMTest, AnOutputBeneathAnInputIsNotInTheResult) {
    constexpr std::string_view program = R"(
input ~init.sales : keymap, ~init.sales.south : array<double>
sales.north : array<double> = Copy(~init.sales.south)
north : array<double> = Copy(sales.north)
)";
    constexpr std::string_view store = R"({"sales": {"north": [1.0, 2.5], "south": [3.0]}, "keep": 1})";
    auto const run = [&](std::string_view outputs) {
        return RunToEnd(*Make(std::string(program) + std::string(outputs), store));
    };
    test::LogCapture log;
    EXPECT_EQ(run(""),
              Json(R"({"keep": 1, "north": [3.0], "sales": {"north": [1.0, 2.5], "south": [3.0]}})"));
    EXPECT_EQ(log.Count("warning", "sales.north beneath the input sales"), 1u) << log.Text();
    EXPECT_EQ(run("output sales.north, north"), Json(R"({"north": [3.0], "sales": {"north": [1.0, 2.5]}})"));
    // An output key may name an input with its prefix; the result knows it by its plain name.
    EXPECT_EQ(run("output ~init.keep, ~init.sales.south"), Json(R"({"keep": 1, "sales": {"south": [3.0]}})"));
    // A wanted member that the value lacks is refused when the result is made.
    auto vm = Make(std::string(program) + "output ~init.sales.nope", store);
    EXPECT_EQ(vm->Execute(), TransformStatus::Complete);
    test::ExpectRuntimeError([&] { vm->MaterializeDataStore(); }, ZelError::KeyNotFound, "nope");
}

TEST_F(VMTest, NoResultBeforeACompleteRun) {
    auto vm = Make(c_chain, R"({"a": 1})");
    EXPECT_EQ(vm->ExecuteNext(), TransformStatus::NotStarted);
    EXPECT_EQ(vm->GetExecutionGraph()->GetRemainingNodeCount(), 2u);
    ExpectCheckFailure([&] { vm->MaterializeDataStore(); }, ZelError::GraphNotComplete,
                       "(m_graphStatus == TransformStatus::Complete)");

    auto cancelled = std::make_shared<FlagSource>();
    cancelled->cancelled = true;
    vm->SetCancellationTokenSource(cancelled);
    EXPECT_EQ(vm->Execute(), TransformStatus::Cancelled);
    EXPECT_EQ(vm->GetExecutionGraph()->GetRemainingNodeCount(), 2u);
    ExpectCheckFailure([&] { vm->MaterializeDataStore(); }, ZelError::GraphNotComplete,
                       "(m_graphStatus == TransformStatus::Complete)");
    // A cleared source lets the same VM finish.
    cancelled->cancelled = false;
    EXPECT_EQ(RunToEnd(*vm), Json(R"({"a": 1, "b": 1, "c": 1})"));
}

TEST_F(VMTest, ASecondRunSeesTheUpdatedInputs) {
    auto store =
        core::StoreValueParser::MakeDataStore(std::string_view(R"({"a": 1, "m": {"x": 1, "y": 2}})"));
    auto vm = VMFactory::Make(TStringCore::FromUtf8(R"(
input ~init.a : int32, ~init.m : keymap
b : int32 = Copy(~init.a)
n : keymap = Copy(~init.m)
)"),
                              store, *m_functions);
    auto const first = RunToEnd(*vm);

    auto updater = vm->MakeDataStoreUpdater();
    updater->Set(KeyPath(L"a"), core::factory::MakeInt32(4))
        .Set(KeyPath(L"m"), KeyMap({{L"y", Int32Array({9})}}));
    vm->ApplyUpdater(std::move(updater));
    // The buffers were cleared: outputs of the first run are gone until the next run.
    EXPECT_THROW(vm->MaterializeDataStore()->GetValue(KeyPath(L"b")), core::ZelRuntimeException);
    EXPECT_EQ(RunToEnd(*vm), Json(R"({"a": 4, "b": 4, "m": {"x": 1, "y": [9]}, "n": {"x": 1, "y": [9]}})"));
    // The caller's store and the store given away before are untouched.
    EXPECT_EQ(Json(*store), Json(R"({"a": 1, "m": {"x": 1, "y": 2}})"));
    EXPECT_EQ(first, Json(R"({"a": 1, "b": 1, "m": {"x": 1, "y": 2}, "n": {"x": 1, "y": 2}})"));
}

TEST_F(VMTest, AnUpdateBeforeTheFirstRunIsSeenByIt) {
    auto vm = Make(c_chain, R"({"a": 1})");
    auto updater = vm->MakeDataStoreUpdater();
    updater->Set(KeyPath(L"a"), core::factory::MakeInt32(3));
    vm->ApplyUpdater(std::move(updater));
    // An empty update on a finished VM still clears and refeeds everything.
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(RunToEnd(*vm), Json(R"({"a": 3, "b": 3, "c": 3})"));
        vm->ApplyUpdater(vm->MakeDataStoreUpdater());
    }
}

TEST(DataStoreUpdater, FlattensKeyMapsAndKeepsTheLastValue) {
    auto store = core::StoreValueParser::MakeDataStore(
        std::string_view(R"({"~init": {"a": 1, "k": {"x": 1, "y": 1}}})"));
    DataStoreUpdater updater;
    updater.Set(KeyPath(L"a"), Int32Array({2})).Set(KeyPath(L"a"), Int32Array({3}));
    updater.Set(KeyPath(L"k"), KeyMap({{L"x", Int32Array({5})}, {L"y", Int32Array({6})}}));
    ChangedKeySet const changed = updater.PushChanges(*store);
    EXPECT_EQ(changed, (ChangedKeySet{KeyPath(L"a"), KeyPath::FromTexts({L"k", L"x"}),
                                      KeyPath::FromTexts({L"k", L"y"})}));
    EXPECT_EQ(Json(*store), Json(R"({"~init": {"a": [3], "k": {"x": [5], "y": [6]}}})"));
    EXPECT_TRUE(updater.PushChanges(*store).empty());

    updater.Set(KeyPathUtil::AddInitial(KeyPath(L"a")), Int32Array({1}));
    ExpectCheckFailure([&] { updater.PushChanges(*store); }, ZelError::AlreadyInitialPath,
                       "(keySegments[0]->GetSegment() != c_InitialSegment)");
}

// A plain JSON store is read as the program declares its inputs: [1, 2] under array<double>.
TEST_F(VMTest, AJsonStoreIsReadAsTheProgramDeclaresItsInputs) {
    auto const vm = Make("input ~init.x : array<double>\ny : array<double> = Map(~init.x) fn multiply(2.0)",
                         R"({"x": [1, 2]})");
    EXPECT_EQ(RunToEnd(*vm), Json(R"({"x": {"$type": "array<double>", "values": [1.0, 2.0]},
                                      "y": {"$type": "array<double>", "values": [2.0, 4.0]}})"));
}

TEST_F(VMTest, BadProgramsAndStoresFailInMake) {
    EXPECT_THROW(Make("b = Copy(", "{}"), core::ZelRuntimeException);
    EXPECT_THROW(Make(c_chain, "{"), core::ZelRuntimeException);
    // A well-formed program that the machine cannot make: StatementFailureTest.
}

// The transforms are chosen for the declared types, so a store that holds other types is refused
// with both types named, when the VM is made and when an update brings one.
TEST_F(VMTest, InputsMustHoldTheirDeclaredTypes) {
    test::ExpectRuntimeError([&] { Make(c_chain, R"({"a": "text"})"); }, ZelError::InputTypeMismatch,
                             "the input ~init.a is declared int32 but the store holds string");
    auto vm = Make(c_chain, R"({"a": 1, "k": {"x": 1}})");
    std::string const first = RunToEnd(*vm);
    // A refused update changes nothing: not the result, not the status, not the working store,
    // even when another change of the same updater was good.
    auto updater = vm->MakeDataStoreUpdater();
    updater->Set(KeyPath(L"a"), core::factory::MakeInt64(2))
        .Set(KeyPath::FromTexts({L"k", L"x"}), Int32Array({5}));
    test::ExpectRuntimeError([&] { vm->ApplyUpdater(std::move(updater)); }, ZelError::InputTypeMismatch,
                             "declared int32 but the store holds int64");
    EXPECT_EQ(Json(*vm->MaterializeDataStore()), first);
    EXPECT_EQ(RunToEnd(*vm), first);
    // An empty update feeds every input again from the working store, which still holds a = 1.
    vm->ApplyUpdater(vm->MakeDataStoreUpdater());
    EXPECT_EQ(RunToEnd(*vm), first);
}

// Null arguments at the entry points are refused with a check, not a crash.
TEST_F(VMTest, NullArgumentsAreRefused) {
    auto vm = Make(c_chain, R"({"a": 1})");
    ExpectCheckFailure([&] { vm->ApplyUpdater(nullptr); }, ZelError::InvalidArgument, "(updater) != nullptr");
    EXPECT_EQ(RunToEnd(*vm), Json(R"({"a": 1, "b": 1, "c": 1})"));

    auto store = core::StoreValueParser::MakeDataStore(std::string_view("{}"));
    ExpectCheckFailure([&] { VMFactory::Make(std::unique_ptr<IExecutionGraph>(), *store); },
                       ZelError::InvalidArgument, "(graph) != nullptr");
    ExpectCheckFailure(
        [&] { VMFactory::Make(TStringCore(L""), std::shared_ptr<core::IDataStore>(), *m_functions); },
        ZelError::InvalidArgument, "(store) != nullptr");
    core::KeyPathTypeLookup const types;
    auto builder = SerialExecutionGraphBuilder::Make();
    ExpectCheckFailure(
        [&] { MakeExecutionGraph({nullptr}, *store, {}, *builder, *m_functions, types, VMOptions()); },
        ZelError::InvalidArgument, "(instruction) != nullptr");
    ExpectCheckFailure([&] { builder->AddNode(0, nullptr); }, ZelError::InvalidArgument,
                       "(m_transform) != nullptr");
}

// The instruction overloads, with the caller's builder and type lookup, over JSON and binary, and
// a finished graph over a store.
TEST_F(VMTest, InstructionsBuildTheSameMachine) {
    KeyPath const input = KeyPathUtil::AddInitial(KeyPath(L"a"));
    std::vector<std::shared_ptr<ExecutionGraphBuilderInstruction>> const instructions{
        ExecutionGraphBuilderInstruction::AddNode(0, OpCopySpec::Create(input, KeyPath(L"b"))),
        ExecutionGraphBuilderInstruction::AddEdge({}, {0}, input, false),
        ExecutionGraphBuilderInstruction::AddEdge({0}, {}, KeyPath(L"b"), true)};
    core::KeyPathTypeLookup const types;
    core::OutputKeySet const wanted{KeyPath(L"b")};
    // A fresh builder for each machine.
    auto const builder = [] { return SerialExecutionGraphBuilder::Make(); };

    EXPECT_EQ(RunToEnd(*VMFactory::Make(instructions, TStringCore(L"{\"a\": 8}"), wanted, *builder(),
                                        *m_functions, types, VMOptions())),
              Json(R"({"b": 8})"));

    std::vector<std::uint8_t> const bytes = core::BinaryProtocolWriter::WriteStore(
        *core::StoreValueParser::MakeDataStore(std::string_view(R"({"a": 9})")));
    core::BinaryProtocolReader reader(bytes);
    EXPECT_EQ(RunToEnd(*VMFactory::Make(instructions, reader, wanted, *builder(), *m_functions, types,
                                        VMOptions())),
              Json(R"({"b": 9})"));

    auto store = core::StoreValueParser::MakeDataStore(std::string_view(R"({"a": 10})"));
    auto inProc = VMFactory::Make(
        MakeExecutionGraph(instructions, *store, wanted, *builder(), *m_functions, types, VMOptions()),
        *store);
    EXPECT_EQ(RunToEnd(*inProc), Json(R"({"b": 10})"));
    EXPECT_GT(inProc->GetMemoryUsage()->GetTotalBytes(), 0u);

    // An edge before its node.
    ExpectCheckFailure(
        [&] {
            VMFactory::Make(std::vector{instructions[2]}, TStringCore(L"{}"), {}, *builder(), *m_functions,
                            types, VMOptions());
        },
        ZelError::EdgeSourceMissing, "(source != m_nodes.end())");
}

}  // namespace
}  // namespace zel::vm
