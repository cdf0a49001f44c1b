#include "transform/TransformFlatData.h"

#include <algorithm>
#include <string>
#include <utility>

#include "execute/WorkQueue.h"
#include "transform/flatdata/FlatDataTask.h"
#include "utility/StridedIndexGenerator.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/utility/StreamingStore.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

using core::ITypedArray;
using core::KeyPath;
using core::StoreType;
using core::StoreValue;
using core::ZelError;

template <class T>
TransformFlatData<T>::TransformFlatData(KeyPath inputPath, KeyPath outputPath,
                                        std::unique_ptr<FlatDataHandler<T>> handler,
                                        std::unique_ptr<IExecutionStrategy> strategy)
    : m_inputPath(std::move(inputPath)),
      m_outputPath(std::move(outputPath)),
      m_handler(std::move(handler)),
      m_strategy(std::move(strategy)) {}

template <class T>
TransformFlatData<T>::~TransformFlatData() = default;

template <class T>
TransformValues TransformFlatData<T>::DoTransform(TransformValues const& inputs,
                                                  ICancellationTokenSource const*) const {
    std::shared_ptr<StoreValue> input = inputs.GetValue(m_inputPath);
    ZEL_CHECK_NOT_NULL(input, ZelError::UnsupportedTypes);
    // The kind before expansion is the kind of the result: a Set comes out as a Set.
    StoreType const kind = input->GetStoreType();
    if (kind == StoreType::Set && m_handler->ExpandsSetInput()) {
        // The members' specials come along only when the function will see them.
        input =
            input->AsSet().AsArray(m_handler->UseSpecialFunction(input->AsCollection().HasSpecialValues()));
    }
    ITypedArray<T> const& array = input->AsTypedArray<T>();
    unsigned int const count = array.GetCount();

    TransformValues outputs;
    if (TakesConstantShortcut(array)) {
        outputs.SetValue(m_outputPath, m_handler->TransformConstant(inputs, array.GetRowValue(0),
                                                                    array.GetSpecial(0), count));
        return outputs;
    }
    std::unique_ptr<RawData> rawData = m_handler->MakeRawData(kind, count);
    RawDataView view(*rawData);
    TransformRange(inputs, array, view, 0, count);
    outputs.SetValue(m_outputPath, m_handler->EndTransform(inputs, input, *rawData));
    return outputs;
}

template <class T>
void TransformFlatData<T>::DoTransformOverRange(TransformValues const& inputs, unsigned int rangeStartIndex,
                                                unsigned int rangeLength, RawDataView& rawDataView,
                                                ICancellationTokenSource const*) const {
    ZEL_CHECK(m_handler->CanTransformPartialRange(), ZelError::UnsupportedOperation);
    std::shared_ptr<StoreValue> const& input = inputs.GetValue(m_inputPath);
    ZEL_CHECK_NOT_NULL(input, ZelError::UnsupportedTypes);
    ITypedArray<T> const& array = input->AsTypedArray<T>();
    if (TakesConstantShortcut(array)) {
        // Every row of a constant column is the same, so the range's position does not matter.
        m_handler->TransformConstantOverRange(inputs, array.GetRowValue(0), array.GetSpecial(0), rawDataView);
        return;
    }
    // Checked before anything is written: a range longer than its view would spill into the rows
    // of whoever owns the rest of the buffer. (A constant column fills the view alone, above.)
    if (m_handler->WritesRowPerRangeRow() && rangeLength > rawDataView.GetLength()) {
        ZEL_FAIL_WITH_TEXT(ZelError::RangeViolation,
                           L"a range of " + TStringCore(std::to_wstring(rangeLength)) +
                               L" rows does not fit a view of " +
                               TStringCore(std::to_wstring(rawDataView.GetLength())) + L" rows");
    }
    TransformRange(inputs, array, rawDataView, rangeStartIndex, rangeLength);
    m_handler->EndPartialTransform(rawDataView);
}

template <class T>
bool TransformFlatData<T>::CanTransformOverRange() const {
    return m_handler->CanTransformPartialRange();
}

template <class T>
std::vector<KeyPath> TransformFlatData<T>::GetInputPaths() const {
    std::vector<KeyPath> paths{m_inputPath};
    m_handler->AddInputPaths(paths);
    return paths;
}

template <class T>
std::vector<KeyPath> TransformFlatData<T>::GetOutputPaths() const {
    return {m_outputPath};
}

template <class T>
OperatorType TransformFlatData<T>::GetOperatorType() const {
    return m_handler->GetOperatorType();
}

template <class T>
TStringCore TransformFlatData<T>::GetMetricsString() const {
    return core::OperatorTypeToString(GetOperatorType());
}

template <class T>
std::unique_ptr<Transform> TransformFlatData<T>::Clone() const {
    return std::make_unique<TransformFlatData>(m_inputPath, m_outputPath, m_handler->Clone(),
                                               m_strategy->Clone());
}

template <class T>
bool TransformFlatData<T>::TakesConstantShortcut(ITypedArray<T> const& array) const {
    return array.IsConstant() && m_handler->CanUseConstantShortcut() && array.GetCount() > 0;
}

template <class T>
void TransformFlatData<T>::TransformRange(TransformValues const& inputs, ITypedArray<T> const& inputArray,
                                          RawDataView& rawDataView, unsigned int rangeStartIndex,
                                          unsigned int rangeLength) const {
    ZEL_CHECK(rangeStartIndex + rangeLength <= inputArray.GetCount(), ZelError::RangeViolation);
    ExecutionParameters const parameters =
        m_strategy->GetExecutionParameters(m_handler->CanRunInParallel(), sizeof(T), rangeLength);
    bool const useSpecial = m_handler->UseSpecialFunction(inputArray.HasSpecialValues());
    m_handler->BeginTransform(inputs, useSpecial);
    if (parameters.useVectorized) {
        TransformVectorized(inputArray, rawDataView, rangeStartIndex, rangeLength, parameters, useSpecial);
    } else {
        TransformRowByRow(inputArray, rawDataView, rangeStartIndex, rangeLength, useSpecial);
    }
}

template <class T>
void TransformFlatData<T>::TransformVectorized(ITypedArray<T> const& inputArray, RawDataView& rawDataView,
                                               unsigned int rangeStartIndex, unsigned int rangeLength,
                                               ExecutionParameters const& parameters, bool useSpecial) const {
    unsigned int const blockSize = parameters.blockSize;
    int const stride = static_cast<int>(blockSize);
    // A backward walk starts from the last row of the range; every block still lands on its own
    // rows of the buffer, so only the order of the blocks changes.
    StridedIndexGenerator blocks =
        m_handler->GetDirection() == FlatDataDirection::Forwards
            ? StridedIndexGenerator(rangeStartIndex, rangeLength, stride)
            : StridedIndexGenerator(rangeStartIndex + rangeLength - 1, rangeLength, -stride);
    if (!parameters.runInParallel) {
        // On the calling thread the blocks run in order as they are cut: no task is kept, so a
        // long column costs no allocation per block.
        // A handler may stream its blocks past the cache: fenced once, however the run ends.
        core::StreamingStoreFence const fence;
        FlatDataScratch<T> scratch(1);
        while (blocks.Next()) {
            unsigned int const start = blocks.GetStartIndex();
            FlatDataTask<T>(*m_handler, scratch, inputArray, useSpecial, start, start - rangeStartIndex,
                            blocks.GetLength(), rawDataView)
                .Run(0);
        }
        return;
    }

    // Declared so that they go in the order tasks, scratch, queue: the queue has stopped every
    // worker before Run returns, and nothing refers to the scratch once the tasks are gone.
    std::unique_ptr<TransformWorkQueue> const queue = MakeWorkQueue(parameters);
    FlatDataScratch<T> scratch(queue->GetThreadCount());
    std::vector<std::unique_ptr<ITransformTask>> tasks;
    if (m_handler->GetDirection() == FlatDataDirection::Forwards) {
        // A task runs a run of blocks; the function still sees blocks of the block size.
        unsigned int const taskRows = RowsPerTask(rangeLength, blockSize, queue->GetThreadCount());
        for (unsigned int offset = 0; offset < rangeLength; offset += std::min(taskRows, rangeLength - offset)) {
            tasks.push_back(std::make_unique<FlatDataTask<T>>(
                *m_handler, scratch, inputArray, useSpecial, rangeStartIndex + offset, offset,
                std::min(taskRows, rangeLength - offset), rawDataView, blockSize));
        }
        queue->Run(tasks);
        return;
    }
    tasks.reserve(rangeLength / blockSize + 1);
    while (blocks.Next()) {
        unsigned int const start = blocks.GetStartIndex();
        tasks.push_back(std::make_unique<FlatDataTask<T>>(*m_handler, scratch, inputArray, useSpecial, start,
                                                          start - rangeStartIndex, blocks.GetLength(),
                                                          rawDataView));
    }
    // Flat tasks never ask the queue to stop, so its answer carries nothing.
    queue->Run(tasks);
}

template <class T>
void TransformFlatData<T>::TransformRowByRow(ITypedArray<T> const& inputArray, RawDataView& rawDataView,
                                             unsigned int rangeStartIndex, unsigned int rangeLength,
                                             bool useSpecial) const {
    core::StringArena arena;
    core::StringArena::Scope const arenaScope(arena);
    auto const transformRow = [&](unsigned int row) {
        unsigned int const inputRow = rangeStartIndex + row;
        if (useSpecial) {
            m_handler->TransformValueWithSpecial(inputArray.GetValue(inputRow),
                                                 inputArray.GetSpecial(inputRow), rawDataView, row);
        } else {
            m_handler->TransformValue(inputArray.GetValue(inputRow), rawDataView, row);
        }
    };
    if (m_handler->GetDirection() == FlatDataDirection::Forwards) {
        for (unsigned int row = 0; row < rangeLength; ++row) {
            transformRow(row);
        }
    } else {
        for (unsigned int row = rangeLength; row-- > 0;) {
            transformRow(row);
        }
    }
}

template class TransformFlatData<unsigned char>;
template class TransformFlatData<unsigned int>;
template class TransformFlatData<unsigned long long>;
template class TransformFlatData<core::RIndirectString>;
template class TransformFlatData<std::shared_ptr<core::StoreValue>>;

}  // namespace zel::vm
