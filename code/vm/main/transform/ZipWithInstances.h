#pragma once

// The 26 instances of ZipWith, one for each triple of the function's first input, second input
// and output logical type that ZipWith serves, and the maker of one instance. The makers are
// compiled in three groups (ZipWithInstances<N>.cpp) so that no one translation unit
// instantiates them all.
//
// Each entry is X(A, B, C): the logical types of the first input, the second input and the
// result. An instance serves every StoreType that reaches a function as its logical type
// (IsLogicalTypeOf): a Date column as ZelDateTime, a Tuple or any other nested value as a shared
// value.

#include <memory>

#include "transform/CreatorValues.h"
#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/Transform.h"

// clang-format off
#define ZEL_ZIPWITH_INSTANCES_1(X)                                                                  \
    X(bool, bool, bool)                                                                             \
    X(int, int, int)                                                                                \
    X(long long, long long, long long)                                                              \
    X(float, float, float)                                                                          \
    X(double, double, double)                                                                       \
    X(::zel::core::RIndirectString, bool, ::zel::core::ZelColor)                                    \
    X(double, bool, double)                                                                         \
    X(::zel::core::ZelColor, bool, ::zel::core::ZelColor)                                           \
    X(int, bool, int)

#define ZEL_ZIPWITH_INSTANCES_2(X)                                                                  \
    X(bool, int, int)                                                                               \
    X(::std::shared_ptr<::zel::core::StoreValue>, bool, int)                                        \
    X(bool, ::std::shared_ptr<::zel::core::StoreValue>, int)                                        \
    X(float, int, float)                                                                            \
    X(::zel::core::RIndirectString, int, float)                                                     \
    X(int, float, float)                                                                            \
    X(double, int, double)                                                                          \
    X(int, int, long long)                                                                          \
    X(::std::shared_ptr<::zel::core::StoreValue>, int, double)

#define ZEL_ZIPWITH_INSTANCES_3(X)                                                                  \
    X(float, int, double)                                                                           \
    X(::std::shared_ptr<::zel::core::StoreValue>, bool, ::std::shared_ptr<::zel::core::StoreValue>) \
    X(double, ::std::shared_ptr<::zel::core::StoreValue>, double)                                   \
    X(double, double, bool)                                                                         \
    X(::zel::core::ZelDateTime, int, int)                                                           \
    X(bool, ::std::shared_ptr<::zel::core::StoreValue>, ::zel::core::ZelDateTime)                   \
    X(::zel::core::ZelDateTime, ::zel::core::ZelDateTime, long long)                                \
    X(bool, ::std::shared_ptr<::zel::core::StoreValue>, float)
// clang-format on

#define ZEL_ZIPWITH_INSTANCES(X) \
    ZEL_ZIPWITH_INSTANCES_1(X)   \
    ZEL_ZIPWITH_INSTANCES_2(X)   \
    ZEL_ZIPWITH_INSTANCES_3(X)

namespace zel::vm {

// What the maker of one instance needs, read from the TransformSpec and the lookups once.
struct ZipWithTransformParts {
    core::KeyPath inputPath1;
    core::KeyPath inputPath2;
    core::KeyPath outputPath;
    core::FunctionKey key;
    core::IFunctionLookup const& functions;
    // The element type of the result: the main type of the function's output type.
    core::StoreTypeInfo outputType;
    std::unique_ptr<CreatorValues> creatorValues;
    std::unique_ptr<IExecutionStrategy> strategy;
};

// Binds the function of `parts.key` from the binary registry for A, B and C and builds the
// ZipWithTransform<A, B, C>. Defined for the 26 triples above only.
template <core::LogicalType A, core::LogicalType B, core::LogicalType C>
std::unique_ptr<Transform> MakeZipWithTransformOf(ZipWithTransformParts& parts);

}  // namespace zel::vm
