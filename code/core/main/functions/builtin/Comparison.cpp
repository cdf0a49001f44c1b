// eq, ne, lt, le, gt, ge and between: unary forms compare a column with constant arguments (the
// predicates of Filter), binary forms two columns. Numbers compare as IEEE 754 says (NaN equals
// nothing), strings by code point, tuples by value.

#include "functions/builtin/ComparisonTemplates.h"

namespace zel::core::builtin {

namespace {
using Nested = std::shared_ptr<StoreValue>;

// Tuples and other nested values compare by StoreValue::Compare; a missing value orders first.
int CompareValues(Nested const& a, Nested const& b) {
    if (!a || !b) {
        return (a ? 1 : 0) - (b ? 1 : 0);
    }
    return a->Compare(*b);
}

void RegisterTuple(FunctionLookup& lookup) {
    FunctionTypes const unary = TupleIn();
    FunctionTypes const binary{{KeySegmentType(StoreTypeInfo::Tuple), KeySegmentType(StoreTypeInfo::Tuple)},
                               {}};
    lookup.RegisterUnary(
        L"eq", [](Nested const& v, Nested const& x) { return CompareValues(x, v) == 0; }, unary);
    lookup.RegisterUnary(
        L"ne", [](Nested const& v, Nested const& x) { return CompareValues(x, v) != 0; }, unary);
    lookup.RegisterUnary(
        L"lt", [](Nested const& v, Nested const& x) { return CompareValues(x, v) < 0; }, unary);
    lookup.RegisterUnary(
        L"le", [](Nested const& v, Nested const& x) { return CompareValues(x, v) <= 0; }, unary);
    lookup.RegisterUnary(
        L"gt", [](Nested const& v, Nested const& x) { return CompareValues(x, v) > 0; }, unary);
    lookup.RegisterUnary(
        L"ge", [](Nested const& v, Nested const& x) { return CompareValues(x, v) >= 0; }, unary);
    lookup.RegisterBinary(
        L"eq", [](Nested const& a, Nested const& b) { return CompareValues(a, b) == 0; }, binary);
    lookup.RegisterBinary(
        L"ne", [](Nested const& a, Nested const& b) { return CompareValues(a, b) != 0; }, binary);
}

}  // namespace

void RegisterComparisonFunctions(FunctionLookup& lookup) {
    RegisterNumberComparisons(lookup);
    RegisterOrdered<bool>(lookup);
    RegisterOrdered<RIndirectString>(lookup);
    RegisterOrdered<ZelDateTime>(lookup);
    lookup.RegisterUnary(L"eq", [](ZelColor v, ZelColor x) { return x == v; });
    lookup.RegisterUnary(L"ne", [](ZelColor v, ZelColor x) { return !(x == v); });
    lookup.RegisterBinary(L"eq", [](ZelColor a, ZelColor b) { return a == b; });
    lookup.RegisterBinary(L"ne", [](ZelColor a, ZelColor b) { return !(a == b); });
    RegisterTuple(lookup);
}

}  // namespace zel::core::builtin
