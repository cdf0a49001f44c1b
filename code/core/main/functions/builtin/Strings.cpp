// length, upper, lower, trim, concat, contains, starts_with, ends_with. Lengths count code points;
// case mapping is ICU's full mapping of the root locale; comparisons are by code point.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

using Text = RIndirectString const&;

RIndirectString Concat(Text a, Text b) {
    if (b.IsEmpty())
        return a;
    if (a.IsEmpty())
        return b;
    return RIndirectString(a.Get() + b.Get());
}

}  // namespace

void RegisterStringFunctions(FunctionLookup& lookup) {
    lookup.RegisterUnary(L"length", [](Text x) { return static_cast<long long>(x.View().size()); });
    lookup.RegisterUnary(L"upper", [](Text x) { return ToUpper(x); });
    lookup.RegisterUnary(L"lower", [](Text x) { return ToLower(x); });
    lookup.RegisterUnary(L"trim", [](Text x) { return Trim(x); });
    lookup.RegisterUnary(L"concat", [](Text suffix, Text x) { return Concat(x, suffix); });
    lookup.RegisterBinary(L"concat", [](Text a, Text b) { return Concat(a, b); });
    lookup.RegisterUnary(
        L"contains", [](Text part, Text x) { return x.View().find(part.View()) != std::wstring_view::npos; });
    lookup.RegisterUnary(L"starts_with", [](Text part, Text x) { return x.View().starts_with(part.View()); });
    lookup.RegisterUnary(L"ends_with", [](Text part, Text x) { return x.View().ends_with(part.View()); });
    lookup.RegisterBinary(
        L"contains", [](Text x, Text part) { return x.View().find(part.View()) != std::wstring_view::npos; });
    lookup.RegisterBinary(L"starts_with",
                          [](Text x, Text part) { return x.View().starts_with(part.View()); });
    lookup.RegisterBinary(L"ends_with", [](Text x, Text part) { return x.View().ends_with(part.View()); });
}

}  // namespace zel::core::builtin
