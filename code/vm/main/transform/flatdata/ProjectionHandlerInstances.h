#pragma once

// The definition of MakeProjectionTransform, for the sources that instantiate its groups of
// instances (ProjectionHandlerInstances<N>.cpp); everyone else sees only the declaration in
// MapInstances.h.

#include <memory>
#include <utility>

#include "transform/TransformFlatData.h"
#include "transform/flatdata/MapInstances.h"
#include "transform/flatdata/ProjectionHandler.h"

namespace zel::vm {

template <class In, class Out>
std::unique_ptr<Transform> MakeProjectionTransform(MapTransformParts& parts) {
    auto functions = core::ZelFunctions<In, Out>::Bind(parts.functions, parts.key,
                                                       parts.outputType.GetMainType().GetStoreType());
    auto handler = std::make_unique<ProjectionHandler<In, Out>>(std::move(functions), parts.outputType,
                                                                std::move(parts.creatorValues));
    return std::make_unique<TransformFlatData<StorageOf<In>>>(parts.inputPath, parts.outputPath,
                                                              std::move(handler), std::move(parts.strategy));
}

}  // namespace zel::vm

#define ZEL_INSTANTIATE_MAP_INSTANCE(inType, outClass, In, Out) \
    template std::unique_ptr<Transform> MakeProjectionTransform<In, Out>(MapTransformParts & parts);
