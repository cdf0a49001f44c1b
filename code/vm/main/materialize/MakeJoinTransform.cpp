#include "materialize/MakeJoinTransform.h"

#include "transform/join/InnerJoinTransforms.h"
#include "transform/join/LeftOuterJoinTransforms.h"

namespace zel::vm {

std::unique_ptr<Transform> MakeInnerJoinTransform(OpInnerJoinSpec const& spec) {
    return std::make_unique<HashInnerJoinTransform>(spec.GetEquiJoinColumns(), spec.GetOutput());
}

std::unique_ptr<Transform> MakeLeftOuterJoinTransform(OpLeftOuterJoinSpec const& spec) {
    return std::make_unique<HashLeftOuterJoinTransform>(spec.GetEquiJoinColumns(), spec.GetOutput(),
                                                        core::SpecialKind::Null);
}

}  // namespace zel::vm
