#pragma once

// The definition of MakeAggregateHandlerTransform, for the sources that instantiate its groups of
// instances (AggregateHandlerInstances<N>.cpp); everyone else sees only the declaration in
// AggregateInstances.h.

#include <memory>
#include <utility>

#include "transform/TransformFlatData.h"
#include "transform/flatdata/AggregateHandler.h"
#include "transform/flatdata/AggregateInstances.h"

namespace zel::vm {

template <class A, class B>
std::unique_ptr<Transform> MakeAggregateHandlerTransform(AggregateTransformParts& parts) {
    auto functions = core::ZelFunctions<B, A, B>::Bind(parts.functions, parts.key,
                                                       parts.outputType.GetMainType().GetStoreType());
    auto handler =
        std::make_unique<AggregateHandler<A, B>>(parts.operatorType, parts.initialValue, std::move(functions),
                                                 parts.outputType, std::move(parts.creatorValues));
    return std::make_unique<TransformFlatData<StorageOf<A>>>(parts.inputPath, parts.outputPath,
                                                             std::move(handler), std::move(parts.strategy));
}

}  // namespace zel::vm

#define ZEL_INSTANTIATE_AGGREGATE_INSTANCE(inType, accType, A, B) \
    template std::unique_ptr<Transform> MakeAggregateHandlerTransform<A, B>(AggregateTransformParts & parts);
