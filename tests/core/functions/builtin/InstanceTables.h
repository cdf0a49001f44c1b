#pragma once

// The type combinations that the columnar transforms are instantiated for, one row per instance:
// the function's input types as the key of the registry lists them, and the class of value that
// the instance stores as its output. The built-in library must serve every row with at least one
// function, so that a program can reach every instance.
//
// Value classes name the C++ value type of an instance, not a StoreType: Value covers every
// StoreType held as a shared value (Object, Tuple, the collections), DateTime covers Date too.

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "zel/core/store/StoreType.h"

namespace zel::test::builtin {

enum class Registry { Unary, Binary, Multinary };

enum class ValueClass { Bool, Int32, Int64, Float, Double, String, DateTime, Color, Value };

struct InstanceRow {
    std::string_view op;  // the transform family, for messages
    Registry registry;
    std::vector<core::StoreType> inputs;
    ValueClass output;
};

// The value class of a registered output type.
constexpr ValueClass ValueClassOf(core::StoreType type) {
    using core::StoreType;
    switch (type) {
        case StoreType::Bool:
            return ValueClass::Bool;
        case StoreType::Int32:
            return ValueClass::Int32;
        case StoreType::Int64:
            return ValueClass::Int64;
        case StoreType::Float:
            return ValueClass::Float;
        case StoreType::Double:
            return ValueClass::Double;
        case StoreType::String:
            return ValueClass::String;
        case StoreType::Date:
        case StoreType::DateTime:
            return ValueClass::DateTime;
        case StoreType::Color:
            return ValueClass::Color;
        default:
            return ValueClass::Value;
    }
}

constexpr std::string_view ValueClassName(ValueClass c) {
    constexpr std::array<std::string_view, 9> names{"bool",   "int32",    "int64", "float", "double",
                                                    "string", "datetime", "color", "value"};
    return names[static_cast<std::size_t>(c)];
}

namespace detail {
using core::StoreType;
using VC = ValueClass;
inline constexpr StoreType B = StoreType::Bool;
inline constexpr StoreType I = StoreType::Int32;
inline constexpr StoreType L = StoreType::Int64;
inline constexpr StoreType F = StoreType::Float;
inline constexpr StoreType D = StoreType::Double;
inline constexpr StoreType Str = StoreType::String;
inline constexpr StoreType T = StoreType::DateTime;
inline constexpr StoreType C = StoreType::Color;
inline constexpr StoreType U = StoreType::Tuple;
inline constexpr StoreType K = StoreType::KeyMap;

inline void Add(std::vector<InstanceRow>& rows, std::string_view op, Registry registry, StoreType in,
                std::initializer_list<VC> outs) {
    for (VC out : outs) {
        rows.push_back({op, registry, {in}, out});
    }
}
}  // namespace detail

// Map: one column in, by input type the outputs served. 43 rows.
inline std::vector<InstanceRow> MapInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType in, std::initializer_list<VC> outs) {
        Add(rows, "Map", Registry::Unary, in, outs);
    };
    add(B, {VC::Bool, VC::Int64, VC::Double});
    add(I, {VC::Bool, VC::Int32, VC::Int64, VC::Float, VC::Double, VC::String});
    add(L, {VC::Bool, VC::Int32, VC::Int64, VC::Float, VC::Double, VC::Color});
    add(F, {VC::Bool, VC::Int32, VC::Int64, VC::Float, VC::Double});
    add(D, {VC::Bool, VC::Int32, VC::Int64, VC::Float, VC::Double, VC::DateTime, VC::Color});
    add(Str, {VC::Bool, VC::Int32, VC::Int64, VC::Double, VC::String});
    add(T, {VC::Bool, VC::Int32, VC::Int64, VC::Double, VC::DateTime});
    add(C, {VC::Color});
    add(U, {VC::Int64, VC::Float, VC::Double, VC::Value});
    add(K, {VC::String});
    return rows;
}

// Filter: a predicate of one column. 8 rows.
inline std::vector<InstanceRow> FilterInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    for (StoreType in : {B, I, L, F, D, Str, T, U}) {
        Add(rows, "Filter", Registry::Unary, in, {VC::Bool});
    }
    return rows;
}

// Reduce, Scan and ScanRight: the key lists the accumulator (the initial value) first, then the
// element; the output is the accumulator. 20 rows.
inline std::vector<InstanceRow> AggregateInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType element, StoreType accumulator) {
        rows.push_back({"Aggregate", Registry::Binary, {accumulator, element}, ValueClassOf(accumulator)});
    };
    add(B, B);
    for (StoreType acc : {I, B})
        add(I, acc);
    for (StoreType acc : {L, I, B})
        add(L, acc);
    for (StoreType acc : {F, I, B})
        add(F, acc);
    for (StoreType acc : {D, I, B})
        add(D, acc);
    for (StoreType acc : {Str, I, B})
        add(Str, acc);
    for (StoreType acc : {T, B})
        add(T, acc);
    for (StoreType acc : {D, I, B})
        add(U, acc);
    return rows;
}

// ZipWith: two columns, first before second. 26 rows; a shared-value input is a column of tuples.
inline std::vector<InstanceRow> ZipWithInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType a, StoreType b, VC out) {
        rows.push_back({"ZipWith", Registry::Binary, {a, b}, out});
    };
    add(B, B, VC::Bool);
    add(I, I, VC::Int32);
    add(L, L, VC::Int64);
    add(F, F, VC::Float);
    add(D, D, VC::Double);
    add(Str, B, VC::Color);
    add(D, B, VC::Double);
    add(C, B, VC::Color);
    add(I, B, VC::Int32);
    add(B, I, VC::Int32);
    add(U, B, VC::Int32);
    add(B, U, VC::Int32);
    add(F, I, VC::Float);
    add(Str, I, VC::Float);
    add(I, F, VC::Float);
    add(D, I, VC::Double);
    add(I, I, VC::Int64);
    add(U, I, VC::Double);
    add(F, I, VC::Double);
    add(U, B, VC::Value);
    add(D, U, VC::Double);
    add(D, D, VC::Bool);
    add(T, I, VC::Int32);
    add(B, U, VC::DateTime);
    add(T, T, VC::Int64);
    add(B, U, VC::Float);
    return rows;
}

// SetValue: a unary function called once on the first argument. 14 rows.
inline std::vector<InstanceRow> SetValueInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType a, VC out) { rows.push_back({"SetValue", Registry::Unary, {a}, out}); };
    add(B, VC::Bool);
    add(I, VC::Int32);
    add(L, VC::Int64);
    add(F, VC::Float);
    add(D, VC::Double);
    add(L, VC::Double);
    add(T, VC::Double);
    add(I, VC::Double);
    add(D, VC::Int32);
    add(D, VC::Int64);
    add(T, VC::DateTime);
    add(D, VC::Float);
    add(I, VC::Int64);
    add(T, VC::Int32);
    return rows;
}

// SetValueMulti: a multinary function by its result alone; the inputs are whatever a program
// passes, so the rows list none. 7 rows.
inline std::vector<InstanceRow> SetValueMultiInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    for (VC out : {VC::Bool, VC::Int32, VC::Int64, VC::Float, VC::Double, VC::DateTime, VC::Value}) {
        rows.push_back({"SetValueMulti", Registry::Multinary, {}, out});
    }
    return rows;
}

}  // namespace zel::test::builtin
