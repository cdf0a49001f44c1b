#pragma once

// The eight instances of Filter, one for each StoreType of the predicate's input, and the maker of
// one instance. The result of the predicate is Bool in all of them. The makers are compiled in two
// groups (FilterHandlerInstances<N>.cpp).
//
// Each entry is X(input StoreType, In).

#include <memory>

#include "transform/CreatorValues.h"
#include "transform/flatdata/FlatDataHandler.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/ZelDateTime.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/Transform.h"

// clang-format off
#define ZEL_FILTER_INSTANCES_1(X)                  \
    X(Bool, bool)                                  \
    X(Int32, int)                                  \
    X(Int64, long long)                            \
    X(Float, float)

#define ZEL_FILTER_INSTANCES_2(X)                  \
    X(Double, double)                              \
    X(String, ::zel::core::RIndirectString)        \
    X(DateTime, ::zel::core::ZelDateTime)          \
    X(Tuple, ::std::shared_ptr<::zel::core::StoreValue>)
// clang-format on

#define ZEL_FILTER_INSTANCES(X) \
    ZEL_FILTER_INSTANCES_1(X)   \
    ZEL_FILTER_INSTANCES_2(X)

namespace zel::vm {

// What the maker of one instance needs, read from the TransformSpec and the lookups once.
struct FilterTransformParts {
    core::KeyPath inputPath;
    core::KeyPath outputPath;
    bool makeTable;
    core::FunctionKey key;
    core::IFunctionLookup const& functions;
    std::unique_ptr<CreatorValues> creatorValues;
    std::unique_ptr<IExecutionStrategy> strategy;
};

// Binds the predicate of `parts.key` from the unary registry for In and builds the
// TransformFlatData of a FilterHandler<In>. Defined for the eight input types above only.
template <class In>
std::unique_ptr<Transform> MakeFilterHandlerTransform(FilterTransformParts& parts);

}  // namespace zel::vm
