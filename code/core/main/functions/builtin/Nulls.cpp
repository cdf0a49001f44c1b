// is_null, is_not_null, fill_null: the functions about specials. A row is null when it holds a
// special of any kind; fill_null gives such a row its argument instead.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

template <class T>
void RegisterNulls(FunctionLookup& lookup, FunctionTypes const& types = {}) {
    using A = FunctionArg<T>;
    lookup.RegisterUnary(
        L"is_null", [](A) { return false; }, [](A, Special s) { return Ok(s != Special::None); },
        FunctionTypes{types.inputs, KeySegmentType(StoreTypeInfo::Bool)});
    lookup.RegisterUnary(
        L"is_not_null", [](A) { return true; }, [](A, Special s) { return Ok(s == Special::None); },
        FunctionTypes{types.inputs, KeySegmentType(StoreTypeInfo::Bool)});
    lookup.RegisterUnary(
        L"fill_null", [](A, A x) { return T(x); },
        [](A fill, A x, Special s) { return s == Special::None ? Ok(T(x)) : Ok(T(fill)); }, types);
}

}  // namespace

void RegisterNullFunctions(FunctionLookup& lookup) {
    RegisterNulls<bool>(lookup);
    RegisterNulls<int>(lookup);
    RegisterNulls<long long>(lookup);
    RegisterNulls<float>(lookup);
    RegisterNulls<double>(lookup);
    RegisterNulls<RIndirectString>(lookup);
    RegisterNulls<ZelDateTime>(lookup);
    RegisterNulls<ZelColor>(lookup);
    FunctionTypes const tuple{{KeySegmentType(StoreTypeInfo::Tuple)}, KeySegmentType(StoreTypeInfo::Tuple)};
    RegisterNulls<std::shared_ptr<StoreValue>>(lookup, tuple);
}

}  // namespace zel::core::builtin
