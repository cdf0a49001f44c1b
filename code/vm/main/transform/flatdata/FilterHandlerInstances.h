#pragma once

// The definition of MakeFilterHandlerTransform, for the sources that instantiate its groups of
// instances (FilterHandlerInstances<N>.cpp); everyone else sees only the declaration in
// FilterInstances.h.

#include <memory>
#include <utility>

#include "transform/TransformFlatData.h"
#include "transform/flatdata/FilterHandler.h"
#include "transform/flatdata/FilterInstances.h"

namespace zel::vm {

template <class In>
std::unique_ptr<Transform> MakeFilterHandlerTransform(FilterTransformParts& parts) {
    auto functions = core::ZelFunctions<In, bool>::Bind(parts.functions, parts.key, core::StoreType::Bool);
    auto handler = std::make_unique<FilterHandler<In>>(parts.makeTable, parts.inputPath, std::move(functions),
                                                       std::move(parts.creatorValues));
    return std::make_unique<TransformFlatData<StorageOf<In>>>(parts.inputPath, parts.outputPath,
                                                              std::move(handler), std::move(parts.strategy));
}

}  // namespace zel::vm

#define ZEL_INSTANTIATE_FILTER_INSTANCE(inType, In) \
    template std::unique_ptr<Transform> MakeFilterHandlerTransform<In>(FilterTransformParts & parts);
