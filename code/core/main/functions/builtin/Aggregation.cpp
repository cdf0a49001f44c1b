// The accumulators of Reduce, Scan and ScanRight beyond arithmetic: count, any and all over every
// element type, min and max of strings, date-times and Bools. The accumulator comes first.
//
// count counts the rows that hold a value; any and all read a special row as false. A special
// accumulator (a special initial value) stays as it is.

#include <algorithm>

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

template <class T>
void RegisterCounting(FunctionLookup& lookup, KeySegmentType const& type) {
    using A = FunctionArg<T>;
    KeySegmentType const int32{StoreTypeInfo::Int32};
    KeySegmentType const boolean{StoreTypeInfo::Bool};
    lookup.RegisterBinary(
        L"count", [](int n, A) { return WrapAdd(n, 1); },
        [](int n, Special ns, A, Special s) -> WithSpecial<int> {
            if (ns != Special::None)
                return SpecialOf<int>(ns);
            return Ok(s == Special::None ? WrapAdd(n, 1) : n);
        },
        FunctionTypes{{int32, type}, int32});
    lookup.RegisterBinary(
        L"any", [](bool acc, A x) { return acc || IsTruthy(x); },
        [](bool acc, Special as, A x, Special s) -> WithSpecial<bool> {
            if (as != Special::None)
                return SpecialOf<bool>(as);
            return Ok(acc || (s == Special::None && IsTruthy(x)));
        },
        FunctionTypes{{boolean, type}, boolean});
    lookup.RegisterBinary(
        L"all", [](bool acc, A x) { return acc && IsTruthy(x); },
        [](bool acc, Special as, A x, Special s) -> WithSpecial<bool> {
            if (as != Special::None)
                return SpecialOf<bool>(as);
            return Ok(acc && s == Special::None && IsTruthy(x));
        },
        FunctionTypes{{boolean, type}, boolean});
}

}  // namespace

void RegisterAggregationFunctions(FunctionLookup& lookup) {
    RegisterCounting<bool>(lookup, KeySegmentType(StoreTypeInfo::Bool));
    RegisterCounting<int>(lookup, KeySegmentType(StoreTypeInfo::Int32));
    RegisterCounting<long long>(lookup, KeySegmentType(StoreTypeInfo::Int64));
    RegisterCounting<float>(lookup, KeySegmentType(StoreTypeInfo::Float));
    RegisterCounting<double>(lookup, KeySegmentType(StoreTypeInfo::Double));
    RegisterCounting<RIndirectString>(lookup, KeySegmentType(StoreTypeInfo::String));
    RegisterCounting<ZelDateTime>(lookup, KeySegmentType(StoreTypeInfo::DateTime));
    RegisterCounting<std::shared_ptr<StoreValue>>(lookup, KeySegmentType(StoreTypeInfo::Tuple));

    using Text = RIndirectString const&;
    lookup.RegisterBinary(L"min", [](Text a, Text b) { return b.View() < a.View() ? b : a; });
    lookup.RegisterBinary(L"max", [](Text a, Text b) { return b.View() > a.View() ? b : a; });
    lookup.RegisterBinary(L"min", [](ZelDateTime a, ZelDateTime b) { return std::min(a, b); });
    lookup.RegisterBinary(L"max", [](ZelDateTime a, ZelDateTime b) { return std::max(a, b); });
    lookup.RegisterBinary(L"min", [](bool a, bool b) { return a && b; });
    lookup.RegisterBinary(L"max", [](bool a, bool b) { return a || b; });
}

}  // namespace zel::core::builtin
