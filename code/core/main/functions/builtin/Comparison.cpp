// eq, ne, lt, le, gt, ge and between: unary forms compare a column with constant arguments (the
// predicates of Filter), binary forms two columns. Numbers compare as IEEE 754 says (NaN equals
// nothing), strings by code point, tuples by value.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

template <class T>
void RegisterOrdered(FunctionLookup& lookup) {
    using A = FunctionArg<T>;
    lookup.RegisterUnary(L"eq", [](A v, A x) { return x == v; });
    lookup.RegisterUnary(L"ne", [](A v, A x) { return !(x == v); });
    lookup.RegisterBinary(L"eq", [](A a, A b) { return a == b; });
    lookup.RegisterBinary(L"ne", [](A a, A b) { return !(a == b); });
    if constexpr (std::is_same_v<T, RIndirectString>) {
        lookup.RegisterUnary(L"lt", [](A v, A x) { return x.View() < v.View(); });
        lookup.RegisterUnary(L"le", [](A v, A x) { return x.View() <= v.View(); });
        lookup.RegisterUnary(L"gt", [](A v, A x) { return x.View() > v.View(); });
        lookup.RegisterUnary(L"ge", [](A v, A x) { return x.View() >= v.View(); });
        lookup.RegisterUnary(L"between",
                             [](A lo, A hi, A x) { return lo.View() <= x.View() && x.View() <= hi.View(); });
        lookup.RegisterBinary(L"lt", [](A a, A b) { return a.View() < b.View(); });
        lookup.RegisterBinary(L"le", [](A a, A b) { return a.View() <= b.View(); });
        lookup.RegisterBinary(L"gt", [](A a, A b) { return a.View() > b.View(); });
        lookup.RegisterBinary(L"ge", [](A a, A b) { return a.View() >= b.View(); });
    } else {
        lookup.RegisterUnary(L"lt", [](A v, A x) { return x < v; });
        lookup.RegisterUnary(L"le", [](A v, A x) { return x < v || x == v; });
        lookup.RegisterUnary(L"gt", [](A v, A x) { return x > v; });
        lookup.RegisterUnary(L"ge", [](A v, A x) { return x > v || x == v; });
        lookup.RegisterUnary(L"between",
                             [](A lo, A hi, A x) { return (lo < x || lo == x) && (x < hi || x == hi); });
        lookup.RegisterBinary(L"lt", [](A a, A b) { return a < b; });
        lookup.RegisterBinary(L"le", [](A a, A b) { return a < b || a == b; });
        lookup.RegisterBinary(L"gt", [](A a, A b) { return a > b; });
        lookup.RegisterBinary(L"ge", [](A a, A b) { return a > b || a == b; });
    }
}

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
    RegisterOrdered<bool>(lookup);
    RegisterOrdered<int>(lookup);
    RegisterOrdered<long long>(lookup);
    RegisterOrdered<float>(lookup);
    RegisterOrdered<double>(lookup);
    RegisterOrdered<RIndirectString>(lookup);
    RegisterOrdered<ZelDateTime>(lookup);
    lookup.RegisterUnary(L"eq", [](ZelColor v, ZelColor x) { return x == v; });
    lookup.RegisterUnary(L"ne", [](ZelColor v, ZelColor x) { return !(x == v); });
    lookup.RegisterBinary(L"eq", [](ZelColor a, ZelColor b) { return a == b; });
    lookup.RegisterBinary(L"ne", [](ZelColor a, ZelColor b) { return !(a == b); });
    RegisterTuple(lookup);
}

}  // namespace zel::core::builtin
