#pragma once

// ZipWithTransform<A, B, C>: combines two columns row by row with a registered binary function
// into a third, the first column's row before the second's. A and B are the logical types of the
// two inputs, C that of the result. It repeats the block scheme of the one-column transforms for
// two columns: blocks reach the function as spans over the columns' and the buffer's own memory,
// one call a block, on the calling thread or on a work queue.
//
// Columns of unlike length are not an error: the result has the length of the shorter one. Two
// constant columns cost one call of the function and give a constant column. The result is
// always an array, whatever kind the inputs have.
//
// The transform keeps no state of a run: the function object, its creator arguments and the
// scratch live in one call, so one transform may run several times at once.

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "execute/WorkQueue.h"
#include "transform/CreatorValues.h"
#include "transform/ZipWithInstances.h"
#include "transform/flatdata/FlatDataTask.h"
#include "transform/flatdata/LogicalStorage.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/RawData.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

template <core::LogicalType A, core::LogicalType B, core::LogicalType C>
class ZipWithTransform final : public Transform {
public:
    using Functions = core::ZelFunctions<A, B, C>;
    using FunctionRun = core::BinaryFunctionRun<A, B, C>;
    using StorageA = StorageOf<A>;
    using StorageB = StorageOf<B>;
    using StorageC = StorageOf<C>;

    // `outputType` is the element type of the result; `creatorValues` are the arguments of a
    // creator function, else null.
    ZipWithTransform(core::KeyPath inputPath1, core::KeyPath inputPath2, core::KeyPath outputPath,
                     core::StoreTypeInfo outputType, Functions functions,
                     std::unique_ptr<CreatorValues> creatorValues,
                     std::unique_ptr<IExecutionStrategy> strategy)
        : m_inputPath1(std::move(inputPath1)),
          m_inputPath2(std::move(inputPath2)),
          m_outputPath(std::move(outputPath)),
          m_outputType(std::move(outputType)),
          m_functions(std::move(functions)),
          m_creatorValues(std::move(creatorValues)),
          m_strategy(std::move(strategy)) {}

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override {
        core::ITypedArray<StorageA> const& first = InputArray<StorageA>(inputs, m_inputPath1);
        core::ITypedArray<StorageB> const& second = InputArray<StorageB>(inputs, m_inputPath2);
        // The rest of the longer column is never read.
        unsigned int const count = std::min(first.GetCount(), second.GetCount());

        TransformValues outputs;
        // A stateful function's calls differ from row to row, so its result is never repeated.
        if (!m_functions.IsStateful() && first.IsConstant() && second.IsConstant() && count != 0) {
            outputs.SetValue(m_outputPath, TransformConstant(inputs, first, second, count));
            return outputs;
        }
        // A function that writes every slot leaves the buffer untouched until its blocks
        // first-touch their own rows; any other may leave rows unwritten, so they start filled.
        TypedRawData<StorageC> rawData(
            StoreTypeInfo::Array, m_outputType, StoreTypeInfo::Empty, count,
            m_functions.WritesEverySlot() ? RawDataRows::WrittenByTheWork : RawDataRows::Filled);
        RawDataView view(rawData);
        DoTransformOverRange(inputs, 0, count, view, cancel);
        // The buffer is dropped next: the result takes its columns over rather than copying them.
        outputs.SetValue(m_outputPath, rawData.ReleaseStoreValue());
        return outputs;
    }

    // Writes the rows [rangeStartIndex, rangeStartIndex + rangeLength) of the two inputs into
    // `rawDataView`, whose row 0 takes input row rangeStartIndex. The inputs must hold the range.
    void DoTransformOverRange(TransformValues const& inputs, unsigned int rangeStartIndex,
                              unsigned int rangeLength, RawDataView& rawDataView,
                              ICancellationTokenSource const*) const override {
        if (rangeLength == 0) {
            return;
        }
        core::ITypedArray<StorageA> const& first = InputArray<StorageA>(inputs, m_inputPath1);
        core::ITypedArray<StorageB> const& second = InputArray<StorageB>(inputs, m_inputPath2);
        // Checked before anything is written: a range longer than its view would spill into the
        // rows of whoever owns the rest of the buffer.
        if (rangeLength > rawDataView.GetLength()) {
            ZEL_FAIL_WITH_TEXT(core::ZelError::RangeViolation,
                               L"a range of " + TStringCore(std::to_wstring(rangeLength)) +
                                   L" rows does not fit a view of " +
                                   TStringCore(std::to_wstring(rawDataView.GetLength())) + L" rows");
        }
        // The first input's width sets the block size; the other two do not count.
        ExecutionParameters const parameters =
            m_strategy->GetExecutionParameters(!m_functions.IsStateful(), sizeof(StorageA), rangeLength);
        core::CreatorArguments const arguments = ResolveArguments(inputs);
        // One function object for the whole range, shared by all its blocks.
        FunctionRun run(m_functions, first.HasSpecialValues() || second.HasSpecialValues(),
                        m_creatorValues ? &arguments : nullptr);
        if (parameters.useVectorized) {
            TransformBlocks(run, first, second, rawDataView, rangeStartIndex, rangeLength, parameters);
        } else {
            TransformRows(run, first, second, rawDataView, rangeStartIndex, rangeLength);
        }
    }

    bool CanTransformOverRange() const override { return true; }

    std::vector<core::KeyPath> GetInputPaths() const override {
        std::vector<core::KeyPath> paths{m_inputPath1, m_inputPath2};
        if (m_creatorValues) {
            m_creatorValues->GetKeys(paths);
        }
        return paths;
    }

    std::vector<core::KeyPath> GetOutputPaths() const override { return {m_outputPath}; }

    OperatorType GetOperatorType() const override { return OperatorType::ZipWith; }

    TStringCore GetMetricsString() const override {
        return Transform::GetMetricsString() + L"_" + m_functions.GetName();
    }

    std::unique_ptr<Transform> Clone() const override {
        return std::make_unique<ZipWithTransform>(
            m_inputPath1, m_inputPath2, m_outputPath, m_outputType, m_functions,
            m_creatorValues ? std::make_unique<CreatorValues>(*m_creatorValues) : nullptr,
            m_strategy->Clone());
    }

private:
    // One block of rows of both inputs, as a task of a work queue: one call of the function writes
    // the block's rows of the result.
    class ZipWithTask final : public ITransformTask {
    public:
        // `inputRow` is the first row of the task's rows in the inputs, `outputRow` the same row
        // relative to `view`; the task runs its `count` rows in blocks of `blockSize` (its whole
        // count when 0). Everything referred to outlives the task.
        ZipWithTask(FlatDataScratch<StorageA>& firstScratch, FlatDataScratch<StorageB>& secondScratch,
                    core::ITypedArray<StorageA> const& first, core::ITypedArray<StorageB> const& second,
                    RawDataView view, unsigned int outputRow, FunctionRun& run, unsigned int inputRow,
                    unsigned int count, unsigned int blockSize = 0)
            : m_firstScratch(firstScratch),
              m_secondScratch(secondScratch),
              m_first(first),
              m_second(second),
              m_view(view),
              m_outputRow(outputRow),
              m_run(run),
              m_inputRow(inputRow),
              m_count(count),
              m_blockSize(blockSize != 0 ? blockSize : count) {}

        bool Run(unsigned int threadIndex) override {
            core::StringArena::Scope const arena(m_firstScratch.arenas[threadIndex]);
            for (unsigned int done = 0; done < m_count; done += m_blockSize) {
                RunBlock(threadIndex, done, std::min(m_blockSize, m_count - done));
            }
            return true;
        }

    private:
        void RunBlock(unsigned int threadIndex, unsigned int offset, unsigned int count) {
            unsigned int const inputRow = m_inputRow + offset;
            ArrayView<StorageA const> const first =
                m_first.GetValuesBlock(m_firstScratch.values.at(threadIndex), inputRow, count);
            ArrayView<StorageB const> const second =
                m_second.GetValuesBlock(m_secondScratch.values.at(threadIndex), inputRow, count);
            RawDataView const block = m_view.SubView(m_outputRow + offset, count);
            std::span<StorageC> const out = block.GetElements<StorageC>();
            std::span<C> const results = AsLogicalSpan<C>(out.data(), out.size());
            if (!m_run.IsSpecial()) {
                m_run.CallBlock(AsLogicalSpan<A>(first.data(), first.size()), {},
                                AsLogicalSpan<B>(second.data(), second.size()), {}, results, {});
                return;
            }
            // The special form sees the specials of both inputs, also where only one has any.
            ArrayView<SpecialKind const> const firstSpecials =
                m_first.GetSpecialsBlock(m_firstScratch.specials.at(threadIndex), inputRow, count);
            ArrayView<SpecialKind const> const secondSpecials =
                m_second.GetSpecialsBlock(m_secondScratch.specials.at(threadIndex), inputRow, count);
            std::span<SpecialKind> const outSpecials = block.GetSpecialSpan();
            m_run.CallBlock(AsLogicalSpan<A>(first.data(), first.size()),
                            std::span<SpecialKind const>(firstSpecials.data(), firstSpecials.size()),
                            AsLogicalSpan<B>(second.data(), second.size()),
                            std::span<SpecialKind const>(secondSpecials.data(), secondSpecials.size()),
                            results, outSpecials);
            // One word shared by all blocks: read it first so that blocks after the first special
            // neither scan nor write it.
            if (!block.HasSpecials() && std::any_of(outSpecials.begin(), outSpecials.end(),
                                                    [](SpecialKind s) { return s != SpecialKind::None; })) {
                block.SetHasSpecials(true);
            }
        }

        FlatDataScratch<StorageA>& m_firstScratch;
        FlatDataScratch<StorageB>& m_secondScratch;
        core::ITypedArray<StorageA> const& m_first;
        core::ITypedArray<StorageB> const& m_second;
        RawDataView m_view;
        unsigned int m_outputRow;
        FunctionRun& m_run;
        unsigned int m_inputRow;
        unsigned int m_count;
        unsigned int m_blockSize;
    };

    template <class T>
    static core::ITypedArray<T> const& InputArray(TransformValues const& inputs, core::KeyPath const& path) {
        std::shared_ptr<core::StoreValue> const& value = inputs.GetValue(path);
        ZEL_CHECK_NOT_NULL(value, core::ZelError::UnsupportedTypes);
        return value->AsTypedArray<T>();
    }

    // A creator's arguments as this run sees them; nothing for another function.
    core::CreatorArguments ResolveArguments(TransformValues const& inputs) const {
        return m_creatorValues ? m_creatorValues->GetValues(inputs) : core::CreatorArguments{};
    }

    // One call of the function on row 0 of two constant columns, repeated `count` times.
    std::shared_ptr<core::StoreValue> TransformConstant(TransformValues const& inputs,
                                                        core::ITypedArray<StorageA> const& first,
                                                        core::ITypedArray<StorageB> const& second,
                                                        unsigned int count) const {
        core::CreatorArguments const arguments = ResolveArguments(inputs);
        FunctionRun run(m_functions, first.HasSpecialValues() || second.HasSpecialValues(),
                        m_creatorValues ? &arguments : nullptr);
        auto [value, special] = run.Call(ToLogical<A>(first.GetRowValue(0)), first.GetSpecial(0),
                                         ToLogical<B>(second.GetRowValue(0)), second.GetSpecial(0));
        if (special != SpecialKind::None) {
            return core::factory::MakeConstantArray<StorageC>(m_outputType, count, special);
        }
        return core::factory::MakeConstantArray<StorageC>(m_outputType, ToStorage<C>(std::move(value)),
                                                          count);
    }

    void TransformBlocks(FunctionRun& run, core::ITypedArray<StorageA> const& first,
                         core::ITypedArray<StorageB> const& second, RawDataView& view,
                         unsigned int rangeStartIndex, unsigned int rangeLength,
                         ExecutionParameters const& parameters) const {
        unsigned int const blockSize = parameters.blockSize;
        if (!parameters.runInParallel) {
            // On the calling thread the blocks run in order, as one task: a long column costs no
            // allocation per block.
            FlatDataScratch<StorageA> firstScratch(1);
            FlatDataScratch<StorageB> secondScratch(1);
            ZipWithTask(firstScratch, secondScratch, first, second, view, 0, run, rangeStartIndex, rangeLength,
                        blockSize)
                .Run(0);
            return;
        }
        // Declared so that they go in the order tasks, scratch, queue: the queue has stopped every
        // worker before Run returns, and nothing refers to the scratch once the tasks are gone.
        std::unique_ptr<TransformWorkQueue> const queue = MakeWorkQueue(parameters);
        FlatDataScratch<StorageA> firstScratch(queue->GetThreadCount());
        FlatDataScratch<StorageB> secondScratch(queue->GetThreadCount());
        std::vector<std::unique_ptr<ITransformTask>> tasks;
        // A task runs a run of blocks; the function still sees blocks of the block size.
        unsigned int const taskRows = RowsPerTask(rangeLength, blockSize, queue->GetThreadCount());
        for (unsigned int offset = 0; offset < rangeLength; offset += std::min(taskRows, rangeLength - offset)) {
            tasks.push_back(std::make_unique<ZipWithTask>(firstScratch, secondScratch, first, second, view,
                                                          offset, run, rangeStartIndex + offset,
                                                          std::min(taskRows, rangeLength - offset), blockSize));
        }
        // The tasks never ask the queue to stop, so its answer carries nothing.
        queue->Run(tasks);
    }

    void TransformRows(FunctionRun& run, core::ITypedArray<StorageA> const& first,
                       core::ITypedArray<StorageB> const& second, RawDataView& view,
                       unsigned int rangeStartIndex, unsigned int rangeLength) const {
        bool const special = run.IsSpecial();
        core::StringArena arena;
        core::StringArena::Scope const arenaScope(arena);
        for (unsigned int row = 0; row < rangeLength; ++row) {
            unsigned int const inputRow = rangeStartIndex + row;
            // The regular form reads no specials.
            auto [value, resultSpecial] = run.Call(ToLogical<A>(first.GetValue(inputRow)),
                                                   special ? first.GetSpecial(inputRow) : SpecialKind::None,
                                                   ToLogical<B>(second.GetValue(inputRow)),
                                                   special ? second.GetSpecial(inputRow) : SpecialKind::None);
            *static_cast<StorageC*>(view.GetElementAt(row)) = ToStorage<C>(std::move(value));
            if (special) {
                *view.GetSpecialAt(row) = resultSpecial;
                if (resultSpecial != SpecialKind::None && !view.HasSpecials()) {
                    view.SetHasSpecials(true);
                }
            }
        }
    }

    core::KeyPath m_inputPath1;
    core::KeyPath m_inputPath2;
    core::KeyPath m_outputPath;
    core::StoreTypeInfo m_outputType;
    Functions m_functions;
    std::unique_ptr<CreatorValues> m_creatorValues;
    std::unique_ptr<IExecutionStrategy> m_strategy;
};

// The definition of MakeZipWithTransformOf, for the sources that instantiate its groups of
// instances (ZipWithInstances<N>.cpp).
template <core::LogicalType A, core::LogicalType B, core::LogicalType C>
std::unique_ptr<Transform> MakeZipWithTransformOf(ZipWithTransformParts& parts) {
    auto functions =
        core::ZelFunctions<A, B, C>::Bind(parts.functions, parts.key, parts.outputType.GetStoreType());
    return std::make_unique<ZipWithTransform<A, B, C>>(
        parts.inputPath1, parts.inputPath2, parts.outputPath, parts.outputType, std::move(functions),
        std::move(parts.creatorValues), std::move(parts.strategy));
}

}  // namespace zel::vm

#define ZEL_INSTANTIATE_ZIPWITH_INSTANCE(A, B, C) \
    template std::unique_ptr<Transform> MakeZipWithTransformOf<A, B, C>(ZipWithTransformParts & parts);
