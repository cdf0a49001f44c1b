// Casts between Bool and the numbers, and between date-times, colours and numbers. Integers
// narrow modulo their width, floating-point numbers truncate and saturate, a number is true when it
// is not zero. The numeric form of a date-time counts seconds since 1970-01-01T00:00:00 UTC.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

template <class To, class From>
To CastNumber(From x) {
    if constexpr (std::is_same_v<To, bool>) {
        return IsTruthy(x);
    } else if constexpr (std::is_same_v<From, bool>) {
        return static_cast<To>(x ? 1 : 0);
    } else {
        return ConvertNumber<To>(x);
    }
}

template <class From>
void RegisterFrom(FunctionLookup& lookup) {
    lookup.RegisterUnary(L"to_bool", [](From x) { return CastNumber<bool>(x); });
    lookup.RegisterUnary(L"to_int32", [](From x) { return CastNumber<int>(x); });
    lookup.RegisterUnary(L"to_int64", [](From x) { return CastNumber<long long>(x); });
    lookup.RegisterUnary(L"to_float", [](From x) { return CastNumber<float>(x); });
    lookup.RegisterUnary(L"to_double", [](From x) { return CastNumber<double>(x); });
}

}  // namespace

void RegisterNumericCasts(FunctionLookup& lookup) {
    RegisterFrom<bool>(lookup);
    RegisterFrom<int>(lookup);
    RegisterFrom<long long>(lookup);
    RegisterFrom<float>(lookup);
    RegisterFrom<double>(lookup);

    // Date-times as seconds since 1970; an instant beyond the 32-bit range is an Error.
    lookup.RegisterUnary(L"to_int64", [](ZelDateTime x) { return DateTimeToWholeSeconds(x); });
    lookup.RegisterUnary(L"to_double", [](ZelDateTime x) { return DateTimeToSeconds(x); });
    lookup.RegisterUnary(L"to_int32", [](ZelDateTime x, Special s) -> WithSpecial<int> {
        if (s != Special::None)
            return SpecialOf<int>(s);
        long long const seconds = DateTimeToWholeSeconds(x);
        if (seconds < std::numeric_limits<int>::min() || seconds > std::numeric_limits<int>::max()) {
            return ErrorOf<int>();
        }
        return Ok(static_cast<int>(seconds));
    });
    lookup.RegisterUnary(L"to_datetime", [](ZelDateTime x) { return x; });
    lookup.RegisterUnary(
        L"to_datetime", [](ZelDateTime x) { return x; },
        FunctionTypes{{KeySegmentType(StoreTypeInfo::Date)}, {}});
    lookup.RegisterUnary(
        L"to_date", [](ZelDateTime x) { return x.GetDate(); },
        FunctionTypes{{}, KeySegmentType(StoreTypeInfo::Date)});
    lookup.RegisterUnary(L"to_datetime", [](long long x, Special s) -> WithSpecial<ZelDateTime> {
        if (s != Special::None)
            return SpecialOf<ZelDateTime>(s);
        return FromOptional(SecondsToDateTime(x));
    });
    lookup.RegisterUnary(L"to_datetime", [](double x, Special s) -> WithSpecial<ZelDateTime> {
        if (s != Special::None)
            return SpecialOf<ZelDateTime>(s);
        return FromOptional(SecondsToDateTime(x));
    });

    // Colours as their 0xRRGGBBAA value; a wider number gives its low 32 bits.
    lookup.RegisterUnary(L"to_color", [](ZelColor x) { return x; });
    lookup.RegisterUnary(L"to_color", [](int x) { return ZelColor(static_cast<std::uint32_t>(x)); });
    lookup.RegisterUnary(L"to_color", [](long long x) { return ZelColor(static_cast<std::uint32_t>(x)); });
    lookup.RegisterUnary(L"to_color", [](double x) {
        return ZelColor(static_cast<std::uint32_t>(SaturatingCast<long long>(x)));
    });
    lookup.RegisterUnary(L"to_int64", [](ZelColor x) { return static_cast<long long>(x.GetValue()); });
}

}  // namespace zel::core::builtin
