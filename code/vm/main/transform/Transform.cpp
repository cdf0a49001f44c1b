#include "zel/vm/transform/Transform.h"

#include "zel/core/utility/ZelCheck.h"

namespace zel::vm {

Transform::~Transform() = default;

void Transform::DoTransformOverRange(TransformValues const&, unsigned int, unsigned int, RawDataView&,
                                     ICancellationTokenSource const*) const {
    // Callers must ask CanTransformOverRange first; one that did not fails here, loudly.
    ZEL_FAIL(core::ZelError::UnsupportedOperation);
}

bool Transform::CanTransformOverRange() const {
    return false;
}

TStringCore Transform::GetMetricsString() const {
    return core::OperatorTypeToString(GetOperatorType());
}

}  // namespace zel::vm
