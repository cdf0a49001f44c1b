#pragma once

// ProjectionHandler<In, Out>: the handler of Map, which applies a registered unary function to
// every row of one column. In and Out are the logical types of the function; the column stores
// In as StorageOf<In>, and the result buffer holds StorageOf<Out>. Blocks reach the function as
// spans of the logical types over the column's and the buffer's own memory, one call a block.
//
// Unless the function is stateful, blocks run on several threads at once on the same function
// object, and a constant column costs one call. A stateful function keeps state from row to row:
// its blocks run in order on one thread, and a constant column is not shortened.

#include <algorithm>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "transform/flatdata/FlatDataHandler.h"
#include "transform/flatdata/LogicalStorage.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/utility/StreamingStore.h"
#include "zel/vm/transform/RawData.h"

namespace zel::vm {

template <core::LogicalType In, core::LogicalType Out>
class ProjectionHandler final : public FlatDataHandler<StorageOf<In>> {
public:
    using InStorage = StorageOf<In>;
    using OutStorage = StorageOf<Out>;
    using Functions = core::ZelFunctions<In, Out>;

    // `outputType` types the result: its main type is the element type, its child type the
    // elements' child type. `creatorValues` are those of a creator function, else null.
    ProjectionHandler(Functions functions, core::KeySegmentType outputType,
                      std::unique_ptr<CreatorValues> creatorValues)
        : m_creatorValues(std::move(creatorValues)),
          m_functions(std::move(functions)),
          m_outputType(std::move(outputType)) {}

    void AddInputPaths(std::vector<core::KeyPath>& paths) const override {
        if (m_creatorValues) {
            m_creatorValues->GetKeys(paths);
        }
    }
    core::OperatorType GetOperatorType() const override { return core::OperatorType::Map; }
    std::unique_ptr<FlatDataHandler<InStorage>> Clone() const override {
        return std::make_unique<ProjectionHandler>(m_functions, m_outputType,
                                                   CloneCreatorValues(m_creatorValues.get()));
    }
    FlatDataDirection GetDirection() const override { return FlatDataDirection::Forwards; }
    bool ExpandsSetInput() const override { return true; }
    bool UseSpecialFunction(bool inputHasSpecials) const override {
        return m_functions.UseSpecialFunction(inputHasSpecials);
    }
    bool CanRunInParallel() const override { return !m_functions.IsStateful(); }
    bool CanUseConstantShortcut() const override { return !m_functions.IsStateful(); }
    bool CanTransformPartialRange() const override { return true; }

    std::unique_ptr<RawData> MakeRawData(core::StoreType kind, unsigned int count) const override {
        // A function that writes every slot leaves the buffer untouched until its blocks first-touch
        // their own rows. Any other may leave rows unwritten (a host's special form that writes
        // only the specials it raises), so its buffer starts as initial elements and specials 0.
        RawDataRows const rows =
            m_functions.WritesEverySlot() ? RawDataRows::WrittenByTheWork : RawDataRows::Filled;
        return std::make_unique<TypedRawData<OutStorage>>(core::StoreTypeInfo(kind, false),
                                                          m_outputType.GetMainType(),
                                                          m_outputType.GetChildType(), count, rows);
    }

    void BeginTransform(TransformValues const& inputs, bool useSpecial) override {
        // Exactly one form per run. A creator's arguments are resolved now, so they hold for the run.
        if (m_functions.IsCreator()) {
            core::CreatorArguments const arguments =
                m_creatorValues ? m_creatorValues->GetValues(inputs) : core::CreatorArguments{};
            if (useSpecial) {
                m_specialFunction = m_functions.MakeSpecialFunction(arguments);
            } else {
                m_regularFunction = m_functions.MakeRegularFunction(arguments);
            }
        } else if (useSpecial) {
            m_specialFunction = m_functions.MakeSpecialFunction();
        } else {
            m_regularFunction = m_functions.MakeRegularFunction();
        }
    }

    void EndPartialTransform(RawDataView&) override { DropFunctions(); }

    std::shared_ptr<core::StoreValue> EndTransform(TransformValues const&,
                                                   std::shared_ptr<core::StoreValue> const&,
                                                   RawData& rawData) override {
        DropFunctions();
        // The buffer is this handler's own and its owner drops it next: the result takes its
        // columns over rather than copying them.
        if (auto* const typed = dynamic_cast<TypedRawData<OutStorage>*>(&rawData)) {
            return typed->ReleaseStoreValue();
        }
        return rawData.MakeStoreValue();
    }

    std::shared_ptr<core::StoreValue> TransformConstant(TransformValues const& inputs, InStorage const& value,
                                                        core::SpecialKind special,
                                                        unsigned int count) override {
        auto const [result, resultSpecial] = EvaluateOnce(inputs, value, special);
        core::StoreTypeInfo const& elementType = m_outputType.GetMainType();
        if (resultSpecial != core::SpecialKind::None) {
            return core::factory::MakeConstantArray<OutStorage>(elementType, count, resultSpecial);
        }
        return core::factory::MakeConstantArray<OutStorage>(elementType, ToStorage<Out>(result), count);
    }

    void TransformConstantOverRange(TransformValues const& inputs, InStorage const& value,
                                    core::SpecialKind special, RawDataView view) override {
        auto const [result, resultSpecial] = EvaluateOnce(inputs, value, special);
        if (view.GetLength() == 0) {
            return;
        }
        std::span<OutStorage> const out = view.GetElements<OutStorage>();
        std::fill(out.begin(), out.end(), ToStorage<Out>(result));
        if (resultSpecial != core::SpecialKind::None) {
            std::span<core::SpecialKind> const outSpecials = view.GetSpecialSpan();
            std::fill(outSpecials.begin(), outSpecials.end(), resultSpecial);
            view.SetHasSpecials(true);
        }
    }

    void TransformValueWithSpecial(InStorage const& value, core::SpecialKind special, RawDataView view,
                                   unsigned int row) override {
        auto [result, resultSpecial] = m_specialFunction->Call(ToLogical<In>(value), special);
        *static_cast<OutStorage*>(view.GetElementAt(row)) = ToStorage<Out>(std::move(result));
        *view.GetSpecialAt(row) = resultSpecial;
        if (resultSpecial != core::SpecialKind::None) {
            view.SetHasSpecials(true);
        }
    }

    void TransformValue(InStorage const& value, RawDataView view, unsigned int row) override {
        *static_cast<OutStorage*>(view.GetElementAt(row)) =
            ToStorage<Out>(m_regularFunction->Call(ToLogical<In>(value)));
    }

    void TransformBlockWithSpecials(core::ArrayView<InStorage const> values,
                                    core::ArrayView<core::SpecialKind const> specials, RawDataView view,
                                    unsigned int row) override {
        RawDataView const block = view.SubView(row, values.size());
        std::span<OutStorage> const out = block.GetElements<OutStorage>();
        std::span<core::SpecialKind> const outSpecials = block.GetSpecialSpan();
        m_specialFunction->CallBlock(AsLogicalSpan<In>(values.data(), values.size()),
                                     std::span<core::SpecialKind const>(specials.data(), specials.size()),
                                     AsLogicalSpan<Out>(out.data(), out.size()), outSpecials);
        // One word shared by all blocks: read it first so that blocks after the first special
        // neither scan nor write it.
        if (!block.HasSpecials() &&
            std::any_of(outSpecials.begin(), outSpecials.end(),
                        [](core::SpecialKind s) { return s != core::SpecialKind::None; })) {
            block.SetHasSpecials(true);
        }
    }

    void TransformBlock(core::ArrayView<InStorage const> values, RawDataView view,
                        unsigned int row) override {
        RawDataView const block = view.SubView(row, values.size());
        std::span<OutStorage> const out = block.GetElements<OutStorage>();
        if constexpr (std::is_arithmetic_v<OutStorage>) {
            // A function that may leave rows unwritten keeps its plain path: the buffer's rows
            // start filled, and a piece would carry unwritten rows over them.
            if (m_functions.WritesEverySlot() &&
                std::size_t{view.GetLength()} * sizeof(OutStorage) >= core::c_streamingStoreBytes) {
                StreamBlock(values, out);
                return;
            }
        }
        m_regularFunction->CallBlock(AsLogicalSpan<In>(values.data(), values.size()),
                                     AsLogicalSpan<Out>(out.data(), out.size()));
    }

private:
    // A result too large to stay in the cache: the function writes each piece of the block into a
    // small buffer that stays in the first-level cache, and the piece goes on to the result with
    // streaming stores, which write each line of the result once instead of reading it first. Whoever
    // runs the blocks fences once they are done.
    void StreamBlock(core::ArrayView<InStorage const> values, std::span<OutStorage> out)
        requires std::is_arithmetic_v<OutStorage>
    {
        constexpr std::size_t c_pieceBytes = 8192;
        constexpr std::size_t c_pieceRows = c_pieceBytes / sizeof(OutStorage);
        alignas(64) OutStorage piece[c_pieceRows];
        for (std::size_t start = 0; start < out.size(); start += c_pieceRows) {
            std::size_t const rows = std::min(c_pieceRows, out.size() - start);
            m_regularFunction->CallBlock(AsLogicalSpan<In>(values.data() + start, rows),
                                         AsLogicalSpan<Out>(piece, rows));
            core::CopyPastCache(out.data() + start, piece, rows * sizeof(OutStorage));
        }
    }

    // One call of the function for the one value of a constant column, in a run of its own.
    std::pair<Out, core::SpecialKind> EvaluateOnce(TransformValues const& inputs, InStorage const& value,
                                                   core::SpecialKind special) {
        bool const useSpecial = UseSpecialFunction(special != core::SpecialKind::None);
        BeginTransform(inputs, useSpecial);
        std::pair<Out, core::SpecialKind> result{Out{}, core::SpecialKind::None};
        if (useSpecial) {
            result = m_specialFunction->Call(ToLogical<In>(value), special);
        } else {
            result.first = m_regularFunction->Call(ToLogical<In>(value));
        }
        DropFunctions();
        return result;
    }

    void DropFunctions() noexcept {
        m_regularFunction.reset();
        m_specialFunction.reset();
    }

    std::unique_ptr<CreatorValues> m_creatorValues;
    Functions m_functions;
    core::KeySegmentType m_outputType;
    std::unique_ptr<typename Functions::RegularFunction> m_regularFunction;
    std::unique_ptr<typename Functions::SpecialFunction> m_specialFunction;
};

}  // namespace zel::vm
