// A Map transform made by MakeTransform and driven directly: its range form over part of a
// buffer, its refusals, and what it tells the graph about itself. Then the framework under a
// handler of the test's own, for the order of a backward walk.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <span>
#include <string>
#include <vector>

#include "core/StoreValueTestSupport.h"
#include "execute/MakeExecutionStrategy.h"
#include "support/CheckFailure.h"
#include "transform/TransformFlatData.h"
#include "vm/flatdata/MapTestSupport.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/TypeLookup.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/materialize/MakeTransform.h"
#include "zel/vm/transform/RawData.h"

namespace zel::test::map {
namespace {

using core::KeyPath;
using core::SpecialKind;
using core::ZelError;
using test::Int32Array;
using vm::RawDataView;
using vm::TransformValues;
using vm::TypedRawData;

std::unique_ptr<vm::Transform> MakeMap(std::string const& program,
                                       vm::VMOptions const& options = SmallBlocks(4)) {
    return MakeFirstWith(Functions(), program, options);
}

// The rows of `buffer` that are Null.
std::vector<unsigned int> NullsOf(TypedRawData<unsigned long long> const& buffer) {
    std::vector<unsigned int> rows;
    for (unsigned int row = 0; row < buffer.GetSpecialsView().size(); ++row) {
        if (buffer.GetSpecialsView()[row] == SpecialKind::Null) {
            rows.push_back(row);
        }
    }
    return rows;
}

TEST(MapRange, WritesTheRangeIntoItsViewAndNothingElse) {
    auto const map = MakeMap(MapProgram("multiply(2.0)"));
    KeyPath const a = KeyPath::FromTexts({L"~init", L"a"});
    ASSERT_TRUE(map->CanTransformOverRange());
    // Input rows 5 to 10 land on rows 2 to 7 of a buffer of 10, in blocks of 4 (4 + 2); input row 6
    // is Null and lands on buffer row 3.
    TransformValues const inputs{{a, Doubles(Ramp(12), {6})}};
    auto buffer = DoubleBuffer(10);
    RawDataView view(*buffer, 2, 6);
    map->DoTransformOverRange(inputs, 5, 6, view, nullptr);
    EXPECT_EQ(ValuesOf(*buffer), (std::vector<double>{0, 0, 11, 0, 15, 17, 19, 21, 0, 0}));
    EXPECT_EQ(NullsOf(*buffer), std::vector{3u});
    EXPECT_TRUE(buffer->HasSpecials());

    // An empty range writes nothing, even at the end of the input; one past the end is refused.
    auto untouched = DoubleBuffer(6);
    RawDataView all(*untouched);
    map->DoTransformOverRange(inputs, 12, 0, all, nullptr);
    ExpectCheckFailure([&] { map->DoTransformOverRange(inputs, 8, 5, all, nullptr); },
                       ZelError::RangeViolation, "(rangeStartIndex + rangeLength <= inputArray.GetCount())");
    // A range longer than its view is refused before a row is written, on both paths.
    for (bool vectorized : {true, false}) {
        vm::VMOptions options = SmallBlocks(4);
        options.SetUseVectorizedTransforms(vectorized);
        auto const rowMap = MakeMap(MapProgram("multiply(2.0)"), options);
        RawDataView three(*untouched, 1, 3);
        ExpectRuntimeError([&] { rowMap->DoTransformOverRange(inputs, 0, 6, three, nullptr); },
                           ZelError::RangeViolation, "a range of 6 rows does not fit a view of 3 rows");
    }
    EXPECT_EQ(ValuesOf(*untouched), std::vector<double>(6, 0.0));

    // A constant input fills the whole view, whatever the start and length.
    auto filled = DoubleBuffer(6);
    RawDataView middle(*filled, 1, 4);
    map->DoTransformOverRange({{a, ConstantDoubles(1.5, 100)}}, 90, 2, middle, nullptr);
    EXPECT_EQ(ValuesOf(*filled), (std::vector<double>{0, 3, 3, 3, 3, 0}));
    EXPECT_FALSE(filled->HasSpecials());
    TransformValues const nulls{{a, core::factory::MakeConstantArray<unsigned long long>(
                                        core::StoreTypeInfo::Double, 100, SpecialKind::Null)}};
    map->DoTransformOverRange(nulls, 0, 100, middle, nullptr);
    EXPECT_EQ(NullsOf(*filled), (std::vector{1u, 2u, 3u, 4u}));
    EXPECT_TRUE(filled->HasSpecials());
}

TEST(MapMaker, TheTransformNamesItsPathsAndClonesIntoAnEqualTransform) {
    auto const map = MakeMap(
        "input ~init.a : array<double>, ~init.f : double\nb : array<double> = Map(~init.a) fn "
        "multiply(~init.f)\n");
    KeyPath const a = KeyPath::FromTexts({L"~init", L"a"});
    KeyPath const f = KeyPath::FromTexts({L"~init", L"f"});
    // The column first, then the key arguments of the creator.
    std::vector<KeyPath> const inputs = map->GetInputPaths();
    ASSERT_EQ(inputs.size(), 2u);
    EXPECT_TRUE(KeyPath::KeyPathTypeAgnosticEqualTo()(inputs[0], a));
    EXPECT_TRUE(KeyPath::KeyPathTypeAgnosticEqualTo()(inputs[1], f));

    TransformValues const values{{a, Doubles({1.0, 2.0})}, {f, core::factory::MakeDouble(4.0)}};
    Value const fromClone = map->Clone()->DoTransform(values, nullptr).GetValue(KeyPath(L"b"));
    EXPECT_TRUE(fromClone->Equals(*map->DoTransform(values, nullptr).GetValue(KeyPath(L"b"))));
    EXPECT_EQ(*RowOf(fromClone, 1).value, 8.0);
}

// A handler that writes each value plus one and records the order in which blocks and rows reach
// it, walking forwards or backwards.
class RecordingHandler final : public vm::FlatDataHandler<unsigned int> {
public:
    explicit RecordingHandler(vm::FlatDataDirection direction) : m_direction(direction) {}

    void AddInputPaths(std::vector<KeyPath>&) const override {}
    core::OperatorType GetOperatorType() const override { return core::OperatorType::Scan; }
    std::unique_ptr<FlatDataHandler> Clone() const override {
        return std::make_unique<RecordingHandler>(*this);
    }
    vm::FlatDataDirection GetDirection() const override { return m_direction; }
    bool ExpandsSetInput() const override { return true; }
    bool UseSpecialFunction(bool) const override { return false; }
    bool CanRunInParallel() const override { return false; }
    bool CanUseConstantShortcut() const override { return false; }
    bool CanTransformPartialRange() const override { return true; }
    std::unique_ptr<vm::RawData> MakeRawData(core::StoreType kind, unsigned int count) const override {
        return std::make_unique<TypedRawData<unsigned int>>(
            core::StoreTypeInfo(kind, false), core::StoreTypeInfo::Int32, core::StoreTypeInfo::Empty, count);
    }
    void BeginTransform(TransformValues const&, bool) override { visits.clear(); }
    void EndPartialTransform(RawDataView&) override {}
    Value EndTransform(TransformValues const&, Value const&, vm::RawData& rawData) override {
        return rawData.MakeStoreValue();
    }
    Value TransformConstant(TransformValues const&, unsigned int const&, SpecialKind, unsigned int) override {
        return nullptr;
    }
    void TransformConstantOverRange(TransformValues const&, unsigned int const&, SpecialKind,
                                    RawDataView) override {}
    void TransformValueWithSpecial(unsigned int const&, SpecialKind, RawDataView, unsigned int) override {}
    void TransformValue(unsigned int const& value, RawDataView view, unsigned int row) override {
        visits.emplace_back(row, 1);
        *static_cast<unsigned int*>(view.GetElementAt(row)) = value + 1;
    }
    void TransformBlockWithSpecials(core::ArrayView<unsigned int const>, core::ArrayView<SpecialKind const>,
                                    RawDataView, unsigned int) override {}
    void TransformBlock(core::ArrayView<unsigned int const> values, RawDataView view,
                        unsigned int row) override {
        visits.emplace_back(row, values.size());
        std::span<unsigned int> const out = view.SubView(row, values.size()).GetElements<unsigned int>();
        std::transform(values.begin(), values.end(), out.begin(), [](unsigned int v) { return v + 1; });
    }

    // (first row relative to the view, row count) of each call, in call order.
    std::vector<std::pair<unsigned int, unsigned int>> visits;

private:
    vm::FlatDataDirection m_direction;
};

TEST(TransformFlatData, ABackwardWalkVisitsBlocksFromTheTopAndKeepsEachInPlace) {
    using Visits = std::vector<std::pair<unsigned int, unsigned int>>;
    Value const input = Int32Array({0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120});
    TransformValues const inputs{{KeyPath(L"in"), input}};
    for (bool vectorized : {true, false}) {
        for (auto direction : {vm::FlatDataDirection::Forwards, vm::FlatDataDirection::Backwards}) {
            SCOPED_TRACE(testing::Message() << "vectorized " << vectorized << ", backwards "
                                            << (direction == vm::FlatDataDirection::Backwards));
            // 4-byte elements with a base of 2 make blocks of 4 rows.
            vm::VMOptions options = SmallBlocks(2);
            options.SetUseVectorizedTransforms(vectorized);
            auto handler = std::make_unique<RecordingHandler>(direction);
            RecordingHandler& recorder = *handler;
            vm::TransformFlatData<unsigned int> const transform(
                KeyPath(L"in"), KeyPath(L"out"), std::move(handler),
                vm::MakeExecutionStrategy(options, core::OperatorType::Scan));

            // Input rows 3 to 12 into a buffer of 10 rows: the short block is the last one walked.
            auto buffer = std::make_unique<TypedRawData<unsigned int>>(
                core::StoreTypeInfo::Array, core::StoreTypeInfo::Int32, core::StoreTypeInfo::Empty, 10);
            RawDataView view(*buffer);
            transform.DoTransformOverRange(inputs, 3, 10, view, nullptr);
            std::vector<unsigned int> const written(buffer->GetValues().begin(), buffer->GetValues().end());
            EXPECT_EQ(written, (std::vector<unsigned int>{31, 41, 51, 61, 71, 81, 91, 101, 111, 121}));
            Visits expected;
            if (vectorized) {
                expected = direction == vm::FlatDataDirection::Forwards ? Visits{{0, 4}, {4, 4}, {8, 2}}
                                                                        : Visits{{6, 4}, {2, 4}, {0, 2}};
            } else {
                for (unsigned int i = 0; i < 10; ++i) {
                    expected.emplace_back(direction == vm::FlatDataDirection::Forwards ? i : 9 - i, 1);
                }
            }
            EXPECT_EQ(recorder.visits, expected);

            // The whole column through DoTransform: the buffer is the handler's, at full length.
            Value const whole = transform.DoTransform(inputs, nullptr).GetValue(KeyPath(L"out"));
            EXPECT_EQ(whole->GetCount(), 13u);
            EXPECT_EQ(whole->AsTypedArray<unsigned int>().GetValue(12), 121u);
        }
    }
}

}  // namespace
}  // namespace zel::test::map
