#pragma once

// The 20 instances of Reduce, Scan and ScanRight, one for each pair of the input column's
// StoreType and the accumulator's StoreType, and the maker of one instance. The makers are
// compiled in three groups (AggregateHandlerInstances<N>.cpp).
//
// Each entry is X(input StoreType, accumulator StoreType, A, B).

#include <memory>

#include "transform/CreatorValues.h"
#include "transform/flatdata/FlatDataHandler.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/OperatorType.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/ZelDateTime.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/Transform.h"

// clang-format off
#define ZEL_AGGREGATE_INSTANCES_1(X)                                              \
    X(Bool, Bool, bool, bool)                                                     \
    X(Int32, Int32, int, int)                                                     \
    X(Int32, Bool, int, bool)                                                     \
    X(Int64, Int64, long long, long long)                                         \
    X(Int64, Int32, long long, int)                                               \
    X(Int64, Bool, long long, bool)                                               \
    X(Float, Float, float, float)

#define ZEL_AGGREGATE_INSTANCES_2(X)                                              \
    X(Float, Int32, float, int)                                                   \
    X(Float, Bool, float, bool)                                                   \
    X(Double, Double, double, double)                                             \
    X(Double, Int32, double, int)                                                 \
    X(Double, Bool, double, bool)                                                 \
    X(DateTime, DateTime, ::zel::core::ZelDateTime, ::zel::core::ZelDateTime)     \
    X(DateTime, Bool, ::zel::core::ZelDateTime, bool)

#define ZEL_AGGREGATE_INSTANCES_3(X)                                              \
    X(String, String, ::zel::core::RIndirectString, ::zel::core::RIndirectString) \
    X(String, Int32, ::zel::core::RIndirectString, int)                           \
    X(String, Bool, ::zel::core::RIndirectString, bool)                           \
    X(Tuple, Double, ::std::shared_ptr<::zel::core::StoreValue>, double)          \
    X(Tuple, Int32, ::std::shared_ptr<::zel::core::StoreValue>, int)              \
    X(Tuple, Bool, ::std::shared_ptr<::zel::core::StoreValue>, bool)
// clang-format on

#define ZEL_AGGREGATE_INSTANCES(X) \
    ZEL_AGGREGATE_INSTANCES_1(X)   \
    ZEL_AGGREGATE_INSTANCES_2(X)   \
    ZEL_AGGREGATE_INSTANCES_3(X)

namespace zel::vm {

// What the maker of one instance needs, read from the TransformSpec and the lookups once.
struct AggregateTransformParts {
    core::OperatorType operatorType;
    core::KeyPath inputPath;
    core::KeyPath outputPath;
    std::shared_ptr<core::StoreValue> initialValue;
    core::FunctionKey key;
    core::IFunctionLookup const& functions;
    core::KeySegmentType outputType;
    std::unique_ptr<CreatorValues> creatorValues;
    std::unique_ptr<IExecutionStrategy> strategy;
};

// Binds the function of `parts.key` from the binary registry, the accumulator B first and the
// element A second, and builds the TransformFlatData of an AggregateHandler<A, B>. Defined for the
// 20 pairs above only.
template <class A, class B>
std::unique_ptr<Transform> MakeAggregateHandlerTransform(AggregateTransformParts& parts);

}  // namespace zel::vm
