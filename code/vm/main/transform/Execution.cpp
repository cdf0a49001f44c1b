#include "zel/vm/transform/Execution.h"

namespace zel::vm::Execution {

namespace {

TransformValues ReadInputs(Transform const& transform, core::IDataStore const& store) {
    TransformValues inputs;
    for (auto const& path : transform.GetInputPaths()) {
        inputs.SetValue(path, store.GetValue(path));
    }
    return inputs;
}

}  // namespace

bool TransformInPlace(Transform const& transform, core::IDataStore& store,
                      ICancellationTokenSource const* cancel) {
    if (IsCancelled(cancel)) {
        return false;
    }
    TransformValues outputs = transform.DoTransform(ReadInputs(transform, store), cancel);
    if (IsCancelled(cancel)) {
        return false;
    }
    for (auto const& [key, value] : outputs) {
        store.SetValue(key, value);
    }
    return true;
}

bool TransformOverRangeInPlace(Transform const& transform, core::IDataStore const& store,
                               unsigned int rangeStartIndex, unsigned int rangeLength, RawDataView& output,
                               ICancellationTokenSource const* cancel) {
    if (IsCancelled(cancel)) {
        return false;
    }
    transform.DoTransformOverRange(ReadInputs(transform, store), rangeStartIndex, rangeLength, output,
                                   cancel);
    return true;
}

}  // namespace zel::vm::Execution
