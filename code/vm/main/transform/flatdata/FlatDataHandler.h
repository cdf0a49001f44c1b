#pragma once

// FlatDataHandler<T>: what a columnar operator over a column of storage type T does, as seen by
// TransformFlatData<T>. The transform reads the column, cuts it into blocks, runs them, and asks
// the handler for everything that belongs to the operator: the result buffer, the function of the
// run, one block or one row at a time, and the value that the buffer becomes.
//
// A handler holds only configuration between runs. BeginTransform makes the function objects of
// one run and the end operations (EndTransform, EndPartialTransform) drop them, so one handler
// must not run twice at the same time; Clone gives each concurrent user its own.
//
// Row numbers given with a RawDataView are relative to that view.

#include <memory>
#include <vector>

#include "transform/CreatorValues.h"
#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/spec/OperatorType.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/StoreType.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/ArrayView.h"
#include "zel/vm/transform/RawData.h"
#include "zel/vm/transform/TransformValues.h"

namespace zel::vm {

// Which way the blocks of a column are walked.
enum class FlatDataDirection : unsigned char {
    Forwards = 0,
    Backwards = 1,
};

template <class T>
class FlatDataHandler {
public:
    using ValueType = T;

    virtual ~FlatDataHandler() = default;

    // Adds the paths that the operator reads beside its column (key arguments of a creator).
    virtual void AddInputPaths(std::vector<core::KeyPath>& paths) const = 0;
    virtual core::OperatorType GetOperatorType() const = 0;
    // A copy of the configuration, without the function objects of a running transform.
    virtual std::unique_ptr<FlatDataHandler> Clone() const = 0;
    virtual FlatDataDirection GetDirection() const = 0;
    // Whether a Set input is walked as the array of its members.
    virtual bool ExpandsSetInput() const = 0;
    // Whether a run over an input with or without specials takes the special form of the function.
    virtual bool UseSpecialFunction(bool inputHasSpecials) const = 0;
    // Whether blocks may run on several threads at once.
    virtual bool CanRunInParallel() const = 0;
    // Whether a constant column may be answered from one call of the function.
    virtual bool CanUseConstantShortcut() const = 0;
    // Whether the operator can write a part of a larger buffer (DoTransformOverRange).
    virtual bool CanTransformPartialRange() const = 0;
    // Whether a partial range writes one row of its view per row of the range, so that the view
    // must hold the range. An operator that writes one value into every row of its view, however
    // long the range, answers false.
    virtual bool WritesRowPerRangeRow() const { return true; }

    // The result buffer of `count` rows; `kind` is the StoreType of the input value (Array or Set).
    virtual std::unique_ptr<RawData> MakeRawData(core::StoreType kind, unsigned int count) const = 0;
    // Makes the function object of the run: the special form when `useSpecial`, else the regular.
    virtual void BeginTransform(TransformValues const& inputs, bool useSpecial) = 0;
    // Ends a run over a partial range.
    virtual void EndPartialTransform(RawDataView& view) = 0;
    // Ends a run and turns the buffer into the result.
    virtual std::shared_ptr<core::StoreValue> EndTransform(TransformValues const& inputs,
                                                           std::shared_ptr<core::StoreValue> const& input,
                                                           RawData& rawData) = 0;

    // The result for a constant column of `count` rows whose one value is `value` (or `special`).
    virtual std::shared_ptr<core::StoreValue> TransformConstant(TransformValues const& inputs, T const& value,
                                                                core::SpecialKind special,
                                                                unsigned int count) = 0;
    // The same, written into every row of `view`.
    virtual void TransformConstantOverRange(TransformValues const& inputs, T const& value,
                                            core::SpecialKind special, RawDataView view) = 0;

    // One row, with or without its special.
    virtual void TransformValueWithSpecial(T const& value, core::SpecialKind special, RawDataView view,
                                           unsigned int row) = 0;
    virtual void TransformValue(T const& value, RawDataView view, unsigned int row) = 0;
    // One block of rows starting at `row`, with or without the specials of the block. One call of
    // the function covers the block.
    virtual void TransformBlockWithSpecials(core::ArrayView<T const> values,
                                            core::ArrayView<core::SpecialKind const> specials,
                                            RawDataView view, unsigned int row) = 0;
    virtual void TransformBlock(core::ArrayView<T const> values, RawDataView view, unsigned int row) = 0;

protected:
    FlatDataHandler() = default;
    FlatDataHandler(FlatDataHandler const&) = default;
    FlatDataHandler& operator=(FlatDataHandler const&) = default;
};

}  // namespace zel::vm
