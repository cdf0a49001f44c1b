#pragma once

#pragma GCC visibility push(default)

#include <memory>
#include <vector>

#include "vorsys/string/TStringCore.h"
#include "zel/core/spec/OperatorType.h"
#include "zel/core/store/KeyPath.h"
#include "zel/vm/transform/ICancellationTokenSource.h"
#include "zel/vm/transform/TransformValues.h"

namespace zel::vm {

using core::OperatorType;

class RawDataView;

// One operator of a program, ready to run: named values in, named values out. A transform knows
// nothing of graphs, buffers or stores, keeps its configuration unchanged, and does all its work
// in const operations. `cancel` may be null everywhere, meaning not cancellable; a cancelled
// DoTransform may return anything, since every caller tests `cancel` afterwards and drops it.
class Transform {
public:
    Transform() = default;
    virtual ~Transform();

    // All outputs from `inputs`, which hold at least the paths of GetInputPaths. The result holds
    // each path of GetOutputPaths or an ancestor of it (a key map whose members are the outputs).
    virtual TransformValues DoTransform(TransformValues const& inputs,
                                        ICancellationTokenSource const* cancel) const = 0;
    // The outputs for the rows [rangeStartIndex, rangeStartIndex + rangeLength) of the input,
    // written into `output`. Only when CanTransformOverRange; the base fails with
    // UnsupportedOperation (1).
    virtual void DoTransformOverRange(TransformValues const& inputs, unsigned int rangeStartIndex,
                                      unsigned int rangeLength, RawDataView& output,
                                      ICancellationTokenSource const* cancel) const;
    virtual bool CanTransformOverRange() const;
    // The whole data dependency of the transform.
    virtual std::vector<core::KeyPath> GetInputPaths() const = 0;
    virtual std::vector<core::KeyPath> GetOutputPaths() const = 0;
    virtual OperatorType GetOperatorType() const = 0;
    // The name of the transform's metric scope: the operator's name unless a transform adds a word.
    virtual TStringCore GetMetricsString() const;
    // An independent copy that shares nothing mutable with this one.
    virtual std::unique_ptr<Transform> Clone() const = 0;

protected:
    Transform(Transform const&) = default;
    Transform& operator=(Transform const&) = default;
};

}  // namespace zel::vm

#pragma GCC visibility pop
