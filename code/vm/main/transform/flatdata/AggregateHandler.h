#pragma once

// AggregateHandler<A, B>: the handler of Reduce, Scan and ScanRight, which fold a column of A with
// a registered binary function into an accumulator of B, starting from the operator's initial
// value. The function is called with the accumulator first and the row's value second. Reduce
// keeps only the last accumulator (a buffer of one row), Scan every running accumulator from the
// first row on, ScanRight every running accumulator from the last row back.
//
// Each row depends on the one before it, so blocks run in order on one thread and the accumulator
// carries from block to block in the handler: a block costs one call of the function. A run, and
// each partial range, starts again from the initial value.

#include <algorithm>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "transform/flatdata/FlatDataHandler.h"
#include "transform/flatdata/LogicalStorage.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/transform/RawData.h"

namespace zel::vm {

template <core::LogicalType A, core::LogicalType B>
class AggregateHandler final : public FlatDataHandler<StorageOf<A>> {
public:
    using InStorage = StorageOf<A>;
    using OutStorage = StorageOf<B>;
    // The accumulator is the first input and the output; the row's value the second input.
    using Functions = core::ZelFunctions<B, A, B>;
    static_assert(Functions::c_canAccumulate);

    // `operatorType` is Reduce, Scan or ScanRight. `outputType` is the type of the accumulator:
    // the result of a Reduce, the element type of a Scan's result.
    AggregateHandler(core::OperatorType operatorType, std::shared_ptr<core::StoreValue> initialValue,
                     Functions functions, core::KeySegmentType outputType,
                     std::unique_ptr<CreatorValues> creatorValues)
        : m_creatorValues(std::move(creatorValues)),
          m_operatorType(operatorType),
          m_functions(std::move(functions)),
          m_outputType(std::move(outputType)),
          m_initialValue(std::move(initialValue)) {}

    void AddInputPaths(std::vector<core::KeyPath>& paths) const override {
        if (m_creatorValues) {
            m_creatorValues->GetKeys(paths);
        }
    }
    core::OperatorType GetOperatorType() const override { return m_operatorType; }
    std::unique_ptr<FlatDataHandler<InStorage>> Clone() const override {
        return std::make_unique<AggregateHandler>(m_operatorType, m_initialValue, m_functions, m_outputType,
                                                  CloneCreatorValues(m_creatorValues.get()));
    }
    FlatDataDirection GetDirection() const override {
        return IsScanRight() ? FlatDataDirection::Backwards : FlatDataDirection::Forwards;
    }
    // A Reduce reads a Set through its members; a Scan reads the Set's own rows.
    bool ExpandsSetInput() const override { return IsReduce(); }
    bool UseSpecialFunction(bool inputHasSpecials) const override {
        return m_functions.UseSpecialFunction(inputHasSpecials);
    }
    bool CanRunInParallel() const override { return false; }
    bool CanUseConstantShortcut() const override { return false; }
    bool CanTransformPartialRange() const override { return true; }
    // A Reduce writes its one accumulator into every row of its view, however long the range.
    bool WritesRowPerRangeRow() const override { return !IsReduce(); }

    std::unique_ptr<RawData> MakeRawData(core::StoreType kind, unsigned int count) const override {
        if (IsReduce()) {
            return std::make_unique<TypedRawData<OutStorage>>(
                m_outputType.GetMainType(), m_outputType.GetChildType(), core::StoreTypeInfo::Empty, 1);
        }
        // As for Map: a function that writes every slot leaves the buffer to its blocks; any other
        // may leave rows unwritten, which must then read as initial elements and specials 0.
        RawDataRows const rows =
            m_functions.WritesEverySlot() ? RawDataRows::WrittenByTheWork : RawDataRows::Filled;
        return std::make_unique<TypedRawData<OutStorage>>(core::StoreTypeInfo(kind, false),
                                                          m_outputType.GetMainType(),
                                                          m_outputType.GetChildType(), count, rows);
    }

    void BeginTransform(TransformValues const& inputs, bool useSpecial) override {
        m_accumulator = B{};
        m_accumulatorSpecial = core::SpecialKind::None;
        if (m_initialValue->IsSpecial()) {
            // The function starts from the empty value beside the special.
            m_accumulatorSpecial = m_initialValue->GetSpecialKind();
        } else {
            m_accumulator = ToLogical<B>(core::FetchStoreValue<OutStorage>(m_initialValue));
        }
        core::CreatorArguments const arguments =
            m_creatorValues ? m_creatorValues->GetValues(inputs) : core::CreatorArguments{};
        if (useSpecial) {
            m_specialFunction = m_functions.MakeSpecialFunctionFor(&arguments);
        } else {
            m_regularFunction = m_functions.MakeRegularFunctionFor(&arguments);
        }
    }

    void EndPartialTransform(RawDataView& view) override {
        if (IsReduce() && view.GetLength() > 0) {
            std::span<OutStorage> const out = view.GetElements<OutStorage>();
            std::fill(out.begin(), out.end(), ToStorage<B>(m_accumulator));
            std::span<core::SpecialKind> const specials = view.GetSpecialSpan();
            std::fill(specials.begin(), specials.end(), m_accumulatorSpecial);
            if (m_accumulatorSpecial != core::SpecialKind::None) {
                view.SetHasSpecials(true);
            }
        }
        DropFunctions();
    }

    std::shared_ptr<core::StoreValue> EndTransform(TransformValues const&,
                                                   std::shared_ptr<core::StoreValue> const&,
                                                   RawData& rawData) override {
        RawDataView all(rawData);
        EndPartialTransform(all);
        // The buffer is this handler's own and its owner drops it next: a Scan's result takes its
        // columns over rather than copying them.
        if (!IsReduce()) {
            return static_cast<TypedRawData<OutStorage>&>(rawData).ReleaseStoreValue();
        }
        return rawData.MakeStoreValue();
    }

    // A fold takes no constant shortcut, so these are never reached.
    std::shared_ptr<core::StoreValue> TransformConstant(TransformValues const&, InStorage const&,
                                                        core::SpecialKind, unsigned int) override {
        ZEL_FAIL(core::ZelError::UnsupportedOperation);
    }
    void TransformConstantOverRange(TransformValues const&, InStorage const&, core::SpecialKind,
                                    RawDataView) override {
        ZEL_FAIL(core::ZelError::UnsupportedOperation);
    }

    void TransformValue(InStorage const& value, RawDataView view, unsigned int row) override {
        m_accumulator = m_regularFunction->Call(m_accumulator, ToLogical<A>(value));
        if (!IsReduce()) {
            *static_cast<OutStorage*>(view.GetElementAt(row)) = ToStorage<B>(m_accumulator);
        }
    }

    void TransformValueWithSpecial(InStorage const& value, core::SpecialKind special, RawDataView view,
                                   unsigned int row) override {
        auto [result, resultSpecial] =
            m_specialFunction->Call(m_accumulator, m_accumulatorSpecial, ToLogical<A>(value), special);
        m_accumulator = std::move(result);
        m_accumulatorSpecial = resultSpecial;
        if (!IsReduce()) {
            *static_cast<OutStorage*>(view.GetElementAt(row)) = ToStorage<B>(m_accumulator);
            *view.GetSpecialAt(row) = m_accumulatorSpecial;
        }
        // Raised for a Reduce too: an intermediate special is enough.
        if (m_accumulatorSpecial != core::SpecialKind::None) {
            view.SetHasSpecials(true);
        }
    }

    void TransformBlock(core::ArrayView<InStorage const> values, RawDataView view,
                        unsigned int row) override {
        std::span<B> out;
        if (!IsReduce()) {
            RawDataView const block = view.SubView(row, static_cast<unsigned int>(values.size()));
            std::span<OutStorage> const elements = block.GetElements<OutStorage>();
            out = AsLogicalSpan<B>(elements.data(), elements.size());
        }
        m_regularFunction->CallAccumulate(m_accumulator, AsLogicalSpan<A>(values.data(), values.size()), out,
                                          IsScanRight());
    }

    void TransformBlockWithSpecials(core::ArrayView<InStorage const> values,
                                    core::ArrayView<core::SpecialKind const> specials, RawDataView view,
                                    unsigned int row) override {
        std::span<B> out;
        std::span<core::SpecialKind> outSpecials;
        if (!IsReduce()) {
            RawDataView const block = view.SubView(row, values.size());
            std::span<OutStorage> const elements = block.GetElements<OutStorage>();
            out = AsLogicalSpan<B>(elements.data(), elements.size());
            outSpecials = block.GetSpecialSpan();
        }
        m_specialFunction->CallAccumulate(
            m_accumulator, m_accumulatorSpecial, AsLogicalSpan<A>(values.data(), values.size()),
            std::span<core::SpecialKind const>(specials.data(), specials.size()), out, outSpecials,
            IsScanRight());
        // A Reduce leaves the flag to its end, which sees the last accumulator.
        if (!view.HasSpecials() &&
            std::any_of(outSpecials.begin(), outSpecials.end(),
                        [](core::SpecialKind s) { return s != core::SpecialKind::None; })) {
            view.SetHasSpecials(true);
        }
    }

private:
    bool IsReduce() const noexcept { return m_operatorType == core::OperatorType::Reduce; }
    bool IsScanRight() const noexcept { return m_operatorType == core::OperatorType::ScanRight; }

    void DropFunctions() noexcept {
        m_regularFunction.reset();
        m_specialFunction.reset();
    }

    std::unique_ptr<CreatorValues> m_creatorValues;
    core::OperatorType m_operatorType;
    Functions m_functions;
    core::KeySegmentType m_outputType;
    std::shared_ptr<core::StoreValue> m_initialValue;
    std::unique_ptr<typename Functions::RegularFunction> m_regularFunction;
    std::unique_ptr<typename Functions::SpecialFunction> m_specialFunction;
    // The running value of a run and its special, from BeginTransform to the end of the run.
    B m_accumulator{};
    core::SpecialKind m_accumulatorSpecial = core::SpecialKind::None;
};

}  // namespace zel::vm
