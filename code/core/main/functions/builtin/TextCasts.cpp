// Casts from and to text: to_string of every scalar type and of nested values, and the parsing
// casts of strings, which give an Error for a text that does not parse.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::core::builtin {

namespace {

using Text = RIndirectString const&;

template <class T, class Parse>
WithSpecial<T> ParseOr(Special s, Parse parse) {
    if (s != Special::None)
        return SpecialOf<T>(s);
    auto const parsed = parse();
    if (!parsed)
        return ErrorOf<T>();
    if constexpr (std::is_same_v<T, float>) {
        return Ok(NarrowToFloat(*parsed));
    } else {
        return Ok(static_cast<T>(*parsed));
    }
}

}  // namespace

void RegisterTextCasts(FunctionLookup& lookup) {
    lookup.RegisterUnary(L"to_string", [](bool x) { return FormatText(x); });
    lookup.RegisterUnary(L"to_string", [](int x) { return FormatText(static_cast<long long>(x)); });
    lookup.RegisterUnary(L"to_string", [](long long x) { return FormatText(x); });
    lookup.RegisterUnary(L"to_string", [](float x) { return FormatText(x); });
    lookup.RegisterUnary(L"to_string", [](double x) { return FormatText(x); });
    lookup.RegisterUnary(L"to_string", [](Text x) { return x; });
    lookup.RegisterUnary(L"to_string", [](ZelDateTime x) { return FormatText(x); });
    lookup.RegisterUnary(L"to_string", [](ZelColor x) { return FormatText(x); });
    // Nested values in the text form of logs: {a: 1, b: "x"}, (1, "a").
    auto const nested = [](std::shared_ptr<StoreValue> const& x) {
        return x ? RIndirectString(SerializeValue(*x)) : RIndirectString(L"nullptr");
    };
    lookup.RegisterUnary(L"to_string", nested, FunctionTypes{{KeySegmentType(StoreTypeInfo::KeyMap)}, {}});
    lookup.RegisterUnary(L"to_string", nested, FunctionTypes{{KeySegmentType(StoreTypeInfo::Tuple)}, {}});

    lookup.RegisterUnary(
        L"to_bool", [](Text x, Special s) { return ParseOr<bool>(s, [&] { return ParseBool(x.View()); }); });
    lookup.RegisterUnary(L"to_int32", [](Text x, Special s) {
        return ParseOr<int>(s, [&]() -> std::optional<long long> {
            auto const value = ParseInteger(x.View());
            if (!value || *value < std::numeric_limits<int>::min() ||
                *value > std::numeric_limits<int>::max()) {
                return std::nullopt;
            }
            return value;
        });
    });
    lookup.RegisterUnary(L"to_int64", [](Text x, Special s) {
        return ParseOr<long long>(s, [&] { return ParseInteger(x.View()); });
    });
    lookup.RegisterUnary(L"to_float", [](Text x, Special s) {
        return ParseOr<float>(s, [&] { return ParseDouble(x.View()); });
    });
    lookup.RegisterUnary(L"to_double", [](Text x, Special s) {
        return ParseOr<double>(s, [&] { return ParseDouble(x.View()); });
    });
    lookup.RegisterUnary(L"to_color", [](Text x, Special s) {
        return ParseOr<ZelColor>(s, [&] { return ParseColor(x.View()); });
    });
    lookup.RegisterUnary(L"to_datetime", [](Text x, Special s) {
        return ParseOr<ZelDateTime>(s, [&]() -> std::optional<ZelDateTime> {
            auto const ascii = TStringCore(x.View()).ToUtf8();
            return ZelDateTime::Parse(ascii);
        });
    });
    lookup.RegisterUnary(
        L"to_date",
        [](Text x, Special s) {
            return ParseOr<ZelDateTime>(s, [&]() -> std::optional<ZelDateTime> {
                auto const parsed = ZelDateTime::Parse(TStringCore(x.View()).ToUtf8());
                return parsed ? std::optional(parsed->GetDate()) : std::nullopt;
            });
        },
        FunctionTypes{{}, KeySegmentType(StoreTypeInfo::Date)});

    // A colour text with a flag that makes it opaque: "#11223344" with true is #112233FF.
    lookup.RegisterBinary(L"to_color",
                          [](Text x, Special xs, bool opaque, Special os) -> WithSpecial<ZelColor> {
                              if (xs != Special::None)
                                  return SpecialOf<ZelColor>(xs);
                              if (os != Special::None)
                                  return SpecialOf<ZelColor>(os);
                              auto const color = ParseColor(x.View());
                              if (!color)
                                  return ErrorOf<ZelColor>();
                              return Ok(opaque ? ZelColor(color->GetValue() | 0xFFu) : *color);
                          });
    // A number text rounded to that many decimal places.
    lookup.RegisterBinary(L"to_float", [](Text x, Special xs, int digits, Special ds) -> WithSpecial<float> {
        if (xs != Special::None)
            return SpecialOf<float>(xs);
        if (ds != Special::None)
            return SpecialOf<float>(ds);
        auto const value = ParseDouble(x.View());
        if (!value)
            return ErrorOf<float>();
        double const scale = std::pow(10.0, static_cast<double>(digits));
        return Ok(NarrowToFloat(std::round(*value * scale) / scale));
    });
}

}  // namespace zel::core::builtin
