// eq, ne, lt, le, gt, ge and between: unary forms compare a column with constant arguments (the
// predicates of Filter), binary forms two columns. Numbers compare as IEEE 754 says (NaN equals
// nothing), tuples by value, strings by code point or, over a nocase column, as the nocase
// collation does (as its key sets and sorts do). A column of another collation has no string
// comparison: it fails to bind rather than compare by code point.

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

ICollator const& NoCase() {
    static Collation const collation = Collation::Named(L"nocase");
    return collation.GetCollator();
}

int CompareNoCase(RIndirectString const& a, RIndirectString const& b) {
    return NoCase().Compare(a.View(), b.View());
}

// The string comparisons under the nocase collation, registered for string(nocase) inputs.
void RegisterNoCase(FunctionLookup& lookup) {
    using A = FunctionArg<RIndirectString>;
    KeySegmentType const noCase(StoreTypeInfo(StoreType::String, false, Collation::Named(L"nocase")));
    FunctionTypes const unary{{noCase}, {}};
    FunctionTypes const binary{{noCase, noCase}, {}};
    lookup.RegisterUnary(
        L"eq", [](A v, A x) { return NoCase().Equal(x.View(), v.View()); }, unary);
    lookup.RegisterUnary(
        L"ne", [](A v, A x) { return !NoCase().Equal(x.View(), v.View()); }, unary);
    lookup.RegisterUnary(
        L"lt", [](A v, A x) { return CompareNoCase(x, v) < 0; }, unary);
    lookup.RegisterUnary(
        L"le", [](A v, A x) { return CompareNoCase(x, v) <= 0; }, unary);
    lookup.RegisterUnary(
        L"gt", [](A v, A x) { return CompareNoCase(x, v) > 0; }, unary);
    lookup.RegisterUnary(
        L"ge", [](A v, A x) { return CompareNoCase(x, v) >= 0; }, unary);
    lookup.RegisterUnary(
        L"between", [](A lo, A hi, A x) { return CompareNoCase(lo, x) <= 0 && CompareNoCase(x, hi) <= 0; },
        unary);
    lookup.RegisterBinary(
        L"eq", [](A a, A b) { return NoCase().Equal(a.View(), b.View()); }, binary);
    lookup.RegisterBinary(
        L"ne", [](A a, A b) { return !NoCase().Equal(a.View(), b.View()); }, binary);
    lookup.RegisterBinary(
        L"lt", [](A a, A b) { return CompareNoCase(a, b) < 0; }, binary);
    lookup.RegisterBinary(
        L"le", [](A a, A b) { return CompareNoCase(a, b) <= 0; }, binary);
    lookup.RegisterBinary(
        L"gt", [](A a, A b) { return CompareNoCase(a, b) > 0; }, binary);
    lookup.RegisterBinary(
        L"ge", [](A a, A b) { return CompareNoCase(a, b) >= 0; }, binary);
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
    RegisterNoCase(lookup);
    for (wchar_t const* name : {L"eq", L"ne", L"lt", L"le", L"gt", L"ge", L"between"}) {
        lookup.MarkCollationSensitive(name);
    }
}

}  // namespace zel::core::builtin
