#pragma once

// TransformFlatData<T>: the one machine behind the columnar operators that read one column of
// storage type T and write one result per row. It reads the column, cuts it into blocks, runs the
// blocks on the calling thread or on a work queue, and hands back one store value; everything
// that belongs to the operator (Map, Filter, the aggregates) lives in its FlatDataHandler<T>.
//
// A column goes this way:
//   DoTransform          expands a Set into its members, takes the constant shortcut or makes
//                        the result buffer at full length;
//   TransformRange       asks the strategy for block size and parallelism, picks the regular or
//                        the special form of the function and begins the handler's run;
//   TransformVectorized  one FlatDataTask per block, all handed to the work queue at once; or
//   TransformRowByRow    one row at a time on the calling thread, when vectorising is off;
//   the handler's end    turns the buffer into the result.
//
// Nothing polls for cancellation here: a flat transform, once begun, runs to its end, and
// cancellation acts between transforms.

#include <memory>
#include <vector>

#include "transform/flatdata/FlatDataHandler.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/KeyPath.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/RawData.h"
#include "zel/vm/transform/Transform.h"

namespace zel::vm {

template <class T>
class TransformFlatData final : public Transform {
public:
    TransformFlatData(core::KeyPath inputPath, core::KeyPath outputPath,
                      std::unique_ptr<FlatDataHandler<T>> handler,
                      std::unique_ptr<IExecutionStrategy> strategy);
    ~TransformFlatData() override;

    TransformValues DoTransform(TransformValues const& inputs,
                                ICancellationTokenSource const* cancel) const override;
    // Writes the rows [rangeStartIndex, rangeStartIndex + rangeLength) of the input into
    // `rawDataView`, whose row 0 takes input row rangeStartIndex. A Set is not expanded here. A
    // constant input fills the whole view from one call of the function.
    void DoTransformOverRange(TransformValues const& inputs, unsigned int rangeStartIndex,
                              unsigned int rangeLength, RawDataView& rawDataView,
                              ICancellationTokenSource const* cancel) const override;
    bool CanTransformOverRange() const override;
    std::vector<core::KeyPath> GetInputPaths() const override;
    std::vector<core::KeyPath> GetOutputPaths() const override;
    OperatorType GetOperatorType() const override;
    TStringCore GetMetricsString() const override;
    std::unique_ptr<Transform> Clone() const override;

    FlatDataHandler<T> const& GetHandler() const noexcept { return *m_handler; }

private:
    // A constant, non-empty column whose operator allows it is answered from one call.
    bool TakesConstantShortcut(core::ITypedArray<T> const& array) const;
    void TransformRange(TransformValues const& inputs, core::ITypedArray<T> const& inputArray,
                        RawDataView& rawDataView, unsigned int rangeStartIndex,
                        unsigned int rangeLength) const;
    void TransformVectorized(core::ITypedArray<T> const& inputArray, RawDataView& rawDataView,
                             unsigned int rangeStartIndex, unsigned int rangeLength,
                             ExecutionParameters const& parameters, bool useSpecial) const;
    void TransformRowByRow(core::ITypedArray<T> const& inputArray, RawDataView& rawDataView,
                           unsigned int rangeStartIndex, unsigned int rangeLength, bool useSpecial) const;

    core::KeyPath m_inputPath;
    core::KeyPath m_outputPath;
    // The handler keeps the function objects of a run; the transform's operations are const
    // towards the graph, not towards the state of the run.
    std::unique_ptr<FlatDataHandler<T>> m_handler;
    std::unique_ptr<IExecutionStrategy> m_strategy;
};

extern template class TransformFlatData<unsigned char>;
extern template class TransformFlatData<unsigned int>;
extern template class TransformFlatData<unsigned long long>;
extern template class TransformFlatData<core::RIndirectString>;
extern template class TransformFlatData<std::shared_ptr<core::StoreValue>>;

}  // namespace zel::vm
