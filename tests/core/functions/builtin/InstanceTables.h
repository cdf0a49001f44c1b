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
using V = ValueClass;
inline constexpr StoreType B = StoreType::Bool;
inline constexpr StoreType I = StoreType::Int32;
inline constexpr StoreType L = StoreType::Int64;
inline constexpr StoreType F = StoreType::Float;
inline constexpr StoreType D = StoreType::Double;
inline constexpr StoreType S = StoreType::String;
inline constexpr StoreType T = StoreType::DateTime;
inline constexpr StoreType C = StoreType::Color;
inline constexpr StoreType U = StoreType::Tuple;
inline constexpr StoreType K = StoreType::KeyMap;

inline void Add(std::vector<InstanceRow>& rows, std::string_view op, Registry registry, StoreType in,
                std::initializer_list<V> outs) {
    for (V out : outs) {
        rows.push_back({op, registry, {in}, out});
    }
}
}  // namespace detail

// Map: one column in, by input type the outputs served. 43 rows.
inline std::vector<InstanceRow> MapInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType in, std::initializer_list<V> outs) { Add(rows, "Map", Registry::Unary, in, outs); };
    add(B, {V::Bool, V::Int64, V::Double});
    add(I, {V::Bool, V::Int32, V::Int64, V::Float, V::Double, V::String});
    add(L, {V::Bool, V::Int32, V::Int64, V::Float, V::Double, V::Color});
    add(F, {V::Bool, V::Int32, V::Int64, V::Float, V::Double});
    add(D, {V::Bool, V::Int32, V::Int64, V::Float, V::Double, V::DateTime, V::Color});
    add(S, {V::Bool, V::Int32, V::Int64, V::Double, V::String});
    add(T, {V::Bool, V::Int32, V::Int64, V::Double, V::DateTime});
    add(C, {V::Color});
    add(U, {V::Int64, V::Float, V::Double, V::Value});
    add(K, {V::String});
    return rows;
}

// Filter: a predicate of one column. 8 rows.
inline std::vector<InstanceRow> FilterInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    for (StoreType in : {B, I, L, F, D, S, T, U}) {
        Add(rows, "Filter", Registry::Unary, in, {V::Bool});
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
    for (StoreType acc : {I, B}) add(I, acc);
    for (StoreType acc : {L, I, B}) add(L, acc);
    for (StoreType acc : {F, I, B}) add(F, acc);
    for (StoreType acc : {D, I, B}) add(D, acc);
    for (StoreType acc : {S, I, B}) add(S, acc);
    for (StoreType acc : {T, B}) add(T, acc);
    for (StoreType acc : {D, I, B}) add(U, acc);
    return rows;
}

// ZipWith: two columns, first before second. 26 rows; a shared-value input is a column of tuples.
inline std::vector<InstanceRow> ZipWithInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType a, StoreType b, V out) { rows.push_back({"ZipWith", Registry::Binary, {a, b}, out}); };
    add(B, B, V::Bool);
    add(I, I, V::Int32);
    add(L, L, V::Int64);
    add(F, F, V::Float);
    add(D, D, V::Double);
    add(S, B, V::Color);
    add(D, B, V::Double);
    add(C, B, V::Color);
    add(I, B, V::Int32);
    add(B, I, V::Int32);
    add(U, B, V::Int32);
    add(B, U, V::Int32);
    add(F, I, V::Float);
    add(S, I, V::Float);
    add(I, F, V::Float);
    add(D, I, V::Double);
    add(I, I, V::Int64);
    add(U, I, V::Double);
    add(F, I, V::Double);
    add(U, B, V::Value);
    add(D, U, V::Double);
    add(D, D, V::Bool);
    add(T, I, V::Int32);
    add(B, U, V::DateTime);
    add(T, T, V::Int64);
    add(B, U, V::Float);
    return rows;
}

// SetValue: a unary function called once on the first argument. 14 rows.
inline std::vector<InstanceRow> SetValueInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    auto const add = [&](StoreType a, V out) { rows.push_back({"SetValue", Registry::Unary, {a}, out}); };
    add(B, V::Bool);
    add(I, V::Int32);
    add(L, V::Int64);
    add(F, V::Float);
    add(D, V::Double);
    add(L, V::Double);
    add(T, V::Double);
    add(I, V::Double);
    add(D, V::Int32);
    add(D, V::Int64);
    add(T, V::DateTime);
    add(D, V::Float);
    add(I, V::Int64);
    add(T, V::Int32);
    return rows;
}

// SetValueMulti: a multinary function by its result alone; the inputs are whatever a program
// passes, so the rows list none. 7 rows.
inline std::vector<InstanceRow> SetValueMultiInstances() {
    using namespace detail;
    std::vector<InstanceRow> rows;
    for (V out : {V::Bool, V::Int32, V::Int64, V::Float, V::Double, V::DateTime, V::Value}) {
        rows.push_back({"SetValueMulti", Registry::Multinary, {}, out});
    }
    return rows;
}

}  // namespace zel::test::builtin
