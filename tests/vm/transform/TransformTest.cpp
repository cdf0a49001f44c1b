#include <gtest/gtest.h>

#include <atomic>

#include "core/StoreValueTestSupport.h"
#include "support/FlagCancellationSource.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/vm/materialize/MakeTransform.h"
#include "zel/vm/transform/Execution.h"
#include "zel/vm/transform/RawData.h"
#include "zel/vm/vtl/OpCopySpec.h"

namespace zel::vm {
namespace {

using core::KeyPath;
using core::ZelError;
using test::ExpectCheckFailure;
using test::Int32Array;
using test::KeyMap;
using test::Value;

using FlagSource = test::FlagCancellationSource;

// Writes the value of its input under its output, counts its calls, and can raise the flag of a
// source while it runs.
class ProbeTransform final : public Transform {
public:
    ProbeTransform(KeyPath input, KeyPath output) : m_inputs{std::move(input)}, m_output(std::move(output)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const*) const override {
        ++calls;
        if (raise != nullptr) {
            raise->cancelled = true;
        }
        return TransformValues{{m_output, inputs.GetValue(m_inputs[0])}};
    }
    std::vector<KeyPath> GetInputPaths() const override {
        ++inputPathCalls;
        return m_inputs;
    }
    std::vector<KeyPath> GetOutputPaths() const override { return {m_output}; }
    OperatorType GetOperatorType() const override { return OperatorType::Copy; }
    std::unique_ptr<Transform> Clone() const override { return std::make_unique<ProbeTransform>(*this); }

    mutable int calls = 0;
    mutable int inputPathCalls = 0;
    FlagSource* raise = nullptr;

private:
    std::vector<KeyPath> m_inputs;
    KeyPath m_output;
};

std::unique_ptr<core::IDataStore> StoreWithA() {
    return core::factory::MakeDataStore(KeyMap({{L"a", Int32Array({1, 2})}}));
}

TEST(TransformValues, FirstWriterWinsAndTypesDoNotMatter) {
    Value const first = Int32Array({1});
    Value const second = Int32Array({2});
    KeyPath const typed(L"x", core::KeySegmentType(core::StoreTypeInfo::Int32));
    TransformValues values{{KeyPath(L"x"), first}, {typed, second}};
    values.SetValue(KeyPath(L"x"), second);
    EXPECT_EQ(values.GetValue(typed), first);
    EXPECT_TRUE(values.HasValue(typed));
    EXPECT_EQ(values.size(), 1u);
    values.SetValue(KeyPath(L"null"), nullptr);
    EXPECT_TRUE(values.HasValue(KeyPath(L"null")));
    try {
        values.GetValue(KeyPath::FromTexts({L"no", L"such"}));
        ADD_FAILURE() << "no exception";
    } catch (core::ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), ZelError::KeyNotFound);
        EXPECT_NE(std::string(e.what()).find("no"), std::string::npos);
    }
}

TEST(TransformInPlace, ReadsRunsAndWritesBack) {
    auto store = StoreWithA();
    ProbeTransform const copy(KeyPath(L"a"), KeyPath::FromTexts({L"b", L"c"}));
    EXPECT_TRUE(Execution::TransformInPlace(copy, *store, nullptr));
    // The value is shared, not copied; the key maps on the way are made.
    EXPECT_EQ(store->GetValue(KeyPath::FromTexts({L"b", L"c"})), store->GetValue(KeyPath(L"a")));

    // A missing input fails before the transform runs.
    ProbeTransform const missing(KeyPath(L"missing"), KeyPath(L"b"));
    EXPECT_THROW(Execution::TransformInPlace(missing, *store, nullptr), core::ZelRuntimeException);
    EXPECT_EQ(missing.calls, 0);
}

TEST(TransformInPlace, CancellationLeavesTheStoreUntouched) {
    auto store = StoreWithA();
    FlagSource cancelled;
    cancelled.cancelled = true;
    ProbeTransform const before(KeyPath(L"a"), KeyPath(L"b"));
    EXPECT_FALSE(Execution::TransformInPlace(before, *store, &cancelled));
    EXPECT_EQ(before.calls, 0);
    EXPECT_EQ(before.inputPathCalls, 0);

    FlagSource during;
    ProbeTransform raising(KeyPath(L"a"), KeyPath(L"b"));
    raising.raise = &during;
    EXPECT_FALSE(Execution::TransformInPlace(raising, *store, &during));
    EXPECT_EQ(raising.calls, 1);
    EXPECT_EQ(store->FindValue(KeyPath(L"b")), nullptr);
}

TEST(Transform, TheRangeFormIsRefusedUnlessOverridden) {
    ProbeTransform const probe(KeyPath(L"a"), KeyPath(L"b"));
    EXPECT_FALSE(probe.CanTransformOverRange());
    auto store = StoreWithA();
    TypedRawData<unsigned int> data(StoreTypeInfo::Array, StoreTypeInfo::Int32, StoreTypeInfo::Empty, 1);
    RawDataView view(data);
    ExpectCheckFailure([&] { Execution::TransformOverRangeInPlace(probe, *store, 0, 1, view, nullptr); },
                       ZelError::UnsupportedOperation, "");
    EXPECT_EQ(probe.GetMetricsString(), L"Copy");
}

class MakeTransformTest : public ::testing::Test {
protected:
    std::unique_ptr<Transform> Make(core::TransformSpec const& spec) {
        return MakeTransform(spec, *m_functions, m_types, VMOptions());
    }
    std::unique_ptr<core::IFunctionLookup> m_functions = core::MakeBuiltinFunctionLookup();
    core::KeyPathTypeLookup m_types;
};

TEST_F(MakeTransformTest, CopySharesItsInputUnderTheOutputPath) {
    auto const copy = Make(OpCopySpec::Create(KeyPath(L"a"), KeyPath(L"b")));
    auto store = StoreWithA();
    EXPECT_TRUE(Execution::TransformInPlace(*copy->Clone(), *store, nullptr));
    EXPECT_EQ(store->GetValue(KeyPath(L"b")), store->GetValue(KeyPath(L"a")));
}

TEST_F(MakeTransformTest, RefusedOperatorsFailBeforeTheirViewIsMade) {
    // A Block with no outputs would fail its own view; the switch refuses it first.
    for (auto const type :
         {OperatorType::Block, OperatorType::Call, OperatorType::Else, OperatorType::When}) {
        core::TransformSpec const spec(type, {}, std::vector<KeyPath>{}, nullptr, {}, nullptr);
        ExpectCheckFailure([&] { Make(spec); }, ZelError::OperatorNotMaterialised, "");
    }
    core::TransformSpec const noOp(OperatorType::NoOp, {}, std::vector<KeyPath>{}, nullptr, {}, nullptr);
    ExpectCheckFailure([&] { Make(noOp); }, ZelError::SpecError216, "");
    for (auto const type : {OperatorType::Input, OperatorType::Slice, static_cast<OperatorType>(77)}) {
        core::TransformSpec const spec(type, {}, KeyPath(L"x"), nullptr);
        ExpectCheckFailure([&] { Make(spec); }, ZelError::UnknownOperator, "");
    }
}

TEST_F(MakeTransformTest, ABadSpecFailsWithItsViewsError) {
    core::TransformSpec const twoInputs(OperatorType::Copy, {KeyPath(L"a"), KeyPath(L"b")}, KeyPath(L"c"),
                                        nullptr);
    EXPECT_THROW(Make(twoInputs), core::ZelRuntimeException);
}

}  // namespace
}  // namespace zel::vm
