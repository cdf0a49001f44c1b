#pragma once

// The 43 instances of Map, one for each pair of the function's input and output StoreType that
// Map serves, and the maker of one instance. The makers are compiled in four groups
// (ProjectionHandlerInstances<N>.cpp) so that no one translation unit instantiates them all.
//
// Each entry is X(input StoreType, output value class, In, Out). The value class names the C++
// value type of the output: Value stands for Tuple and KeyMap outputs. No instance makes a column
// of Date, Object, Array, Set or Table: those pairs are refused. A KeyMap column and a Tuple column both hold
// shared values; the KeyMap one is served only towards String, the Tuple one towards the other four.

#include <memory>

#include "transform/CreatorValues.h"
#include "transform/flatdata/FlatDataHandler.h"
#include "zel/core/functions/RegisteredFunctions.h"
#include "zel/core/spec/FunctionSpec.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/KeySegmentType.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"
#include "zel/vm/execute/ExecutionStrategy.h"
#include "zel/vm/transform/Transform.h"

// clang-format off
#define ZEL_MAP_INSTANCES_1(X)                                      \
    X(Bool, Bool, bool, bool)                                       \
    X(Bool, Int64, bool, long long)                                 \
    X(Bool, Double, bool, double)                                   \
    X(Int32, Bool, int, bool)                                       \
    X(Int32, Int32, int, int)                                       \
    X(Int32, Int64, int, long long)                                 \
    X(Int32, Float, int, float)                                     \
    X(Int32, Double, int, double)                                   \
    X(Int32, String, int, ::zel::core::RIndirectString)

#define ZEL_MAP_INSTANCES_2(X)                                      \
    X(Int64, Bool, long long, bool)                                 \
    X(Int64, Int32, long long, int)                                 \
    X(Int64, Int64, long long, long long)                           \
    X(Int64, Float, long long, float)                               \
    X(Int64, Double, long long, double)                             \
    X(Int64, Color, long long, ::zel::core::ZelColor)               \
    X(Float, Bool, float, bool)                                     \
    X(Float, Int32, float, int)                                     \
    X(Float, Int64, float, long long)                               \
    X(Float, Float, float, float)                                   \
    X(Float, Double, float, double)

#define ZEL_MAP_INSTANCES_3(X)                                      \
    X(Double, Bool, double, bool)                                   \
    X(Double, Int32, double, int)                                   \
    X(Double, Int64, double, long long)                             \
    X(Double, Float, double, float)                                 \
    X(Double, Double, double, double)                               \
    X(Double, DateTime, double, ::zel::core::ZelDateTime)           \
    X(Double, Color, double, ::zel::core::ZelColor)                 \
    X(String, Bool, ::zel::core::RIndirectString, bool)             \
    X(String, Int32, ::zel::core::RIndirectString, int)             \
    X(String, Int64, ::zel::core::RIndirectString, long long)       \
    X(String, Double, ::zel::core::RIndirectString, double)         \
    X(String, String, ::zel::core::RIndirectString, ::zel::core::RIndirectString)

#define ZEL_MAP_INSTANCES_4(X)                                                      \
    X(DateTime, Bool, ::zel::core::ZelDateTime, bool)                               \
    X(DateTime, Int32, ::zel::core::ZelDateTime, int)                               \
    X(DateTime, Int64, ::zel::core::ZelDateTime, long long)                         \
    X(DateTime, Double, ::zel::core::ZelDateTime, double)                           \
    X(DateTime, DateTime, ::zel::core::ZelDateTime, ::zel::core::ZelDateTime)       \
    X(Color, Color, ::zel::core::ZelColor, ::zel::core::ZelColor)                   \
    X(Tuple, Int64, ::std::shared_ptr<::zel::core::StoreValue>, long long)          \
    X(Tuple, Float, ::std::shared_ptr<::zel::core::StoreValue>, float)              \
    X(Tuple, Double, ::std::shared_ptr<::zel::core::StoreValue>, double)            \
    X(Tuple, Value, ::std::shared_ptr<::zel::core::StoreValue>, ::std::shared_ptr<::zel::core::StoreValue>) \
    X(KeyMap, String, ::std::shared_ptr<::zel::core::StoreValue>, ::zel::core::RIndirectString)
// clang-format on

#define ZEL_MAP_INSTANCES(X) \
    ZEL_MAP_INSTANCES_1(X)   \
    ZEL_MAP_INSTANCES_2(X)   \
    ZEL_MAP_INSTANCES_3(X)   \
    ZEL_MAP_INSTANCES_4(X)

namespace zel::vm {

// The C++ value type of a Map result, by the output StoreType of the function.
enum class MapOutputClass : unsigned char {
    Bool,
    Int32,
    Int64,
    Float,
    Double,
    String,
    DateTime,
    Color,
    Value,
    None
};

constexpr MapOutputClass MapOutputClassOf(core::StoreType type) noexcept {
    using core::StoreType;
    switch (type) {
        case StoreType::Bool:
            return MapOutputClass::Bool;
        case StoreType::Int32:
            return MapOutputClass::Int32;
        case StoreType::Int64:
            return MapOutputClass::Int64;
        case StoreType::Float:
            return MapOutputClass::Float;
        case StoreType::Double:
            return MapOutputClass::Double;
        case StoreType::String:
            return MapOutputClass::String;
        case StoreType::DateTime:
            return MapOutputClass::DateTime;
        case StoreType::Color:
            return MapOutputClass::Color;
        case StoreType::Tuple:
        case StoreType::KeyMap:
            return MapOutputClass::Value;
        // Map makes no column of dates, objects or collections.
        case StoreType::Date:
        case StoreType::Object:
        case StoreType::Array:
        case StoreType::Set:
        case StoreType::Table:
        case StoreType::Empty:
            break;
    }
    return MapOutputClass::None;
}

// What the maker of one instance needs, read from the TransformSpec and the lookups once.
struct MapTransformParts {
    core::KeyPath inputPath;
    core::KeyPath outputPath;
    core::FunctionKey key;
    core::IFunctionLookup const& functions;
    core::KeySegmentType outputType;
    std::unique_ptr<CreatorValues> creatorValues;
    std::unique_ptr<IExecutionStrategy> strategy;
};

// Binds the function of `parts.key` from the unary registry for In and Out and builds the
// TransformFlatData of a ProjectionHandler<In, Out>. Defined for the 43 pairs above only.
template <class In, class Out>
std::unique_ptr<Transform> MakeProjectionTransform(MapTransformParts& parts);

}  // namespace zel::vm
