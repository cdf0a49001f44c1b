// and, or, not, is_true. is_true reads a special as false rather than passing it on, so that a
// Filter by it drops the rows without a value.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

template <class T>
void RegisterIsTrue(FunctionLookup& lookup, FunctionTypes const& types = {}) {
    using A = FunctionArg<T>;
    lookup.RegisterUnary(
        L"is_true", [](A x) { return IsTruthy(x); },
        [](A x, Special s) { return Ok(s == Special::None && IsTruthy(x)); }, types);
}

}  // namespace

void RegisterLogicFunctions(FunctionLookup& lookup) {
    lookup.RegisterUnary(L"not", [](bool x) { return !x; });
    lookup.RegisterUnary(L"and", [](bool v, bool x) { return x && v; });
    lookup.RegisterUnary(L"or", [](bool v, bool x) { return x || v; });
    lookup.RegisterBinary(L"and", [](bool a, bool b) { return a && b; });
    lookup.RegisterBinary(L"or", [](bool a, bool b) { return a || b; });

    RegisterIsTrue<bool>(lookup);
    RegisterIsTrue<int>(lookup);
    RegisterIsTrue<long long>(lookup);
    RegisterIsTrue<float>(lookup);
    RegisterIsTrue<double>(lookup);
    RegisterIsTrue<RIndirectString>(lookup);
    RegisterIsTrue<ZelDateTime>(lookup);
    RegisterIsTrue<std::shared_ptr<StoreValue>>(lookup, TupleIn());
}

}  // namespace zel::core::builtin
