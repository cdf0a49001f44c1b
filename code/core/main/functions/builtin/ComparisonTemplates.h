#pragma once

// The comparisons of one ordered type, shared by the sources that instantiate them: the numbers in
// ComparisonNumbers.cpp, the other types in Comparison.cpp.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

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

void RegisterNumberComparisons(FunctionLookup& lookup);

}  // namespace zel::core::builtin
