// year, month, day, hour, minute, second, day_of_week (0 is Monday), date_part, add_days and
// start_of_day, all in UTC.

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

namespace {

// The parts that date_part numbers, in this order.
std::optional<int> DatePart(ZelDateTime x, int part) {
    auto const f = x.GetFields();
    switch (part) {
        case 0:
            return f.year;
        case 1:
            return static_cast<int>(f.month);
        case 2:
            return static_cast<int>(f.day);
        case 3:
            return static_cast<int>(f.hour);
        case 4:
            return static_cast<int>(f.minute);
        case 5:
            return static_cast<int>(f.second);
        case 6:
            return static_cast<int>(f.dayOfWeek);
        default:
            return std::nullopt;
    }
}

}  // namespace

void RegisterDateFunctions(FunctionLookup& lookup) {
    lookup.RegisterUnary(L"year", [](ZelDateTime x) { return x.GetFields().year; });
    lookup.RegisterUnary(L"month", [](ZelDateTime x) { return static_cast<int>(x.GetFields().month); });
    lookup.RegisterUnary(L"day", [](ZelDateTime x) { return static_cast<int>(x.GetFields().day); });
    lookup.RegisterUnary(L"hour", [](ZelDateTime x) { return static_cast<int>(x.GetFields().hour); });
    lookup.RegisterUnary(L"minute", [](ZelDateTime x) { return static_cast<int>(x.GetFields().minute); });
    lookup.RegisterUnary(L"second", [](ZelDateTime x) { return static_cast<int>(x.GetFields().second); });
    lookup.RegisterUnary(L"day_of_week",
                         [](ZelDateTime x) { return static_cast<int>(x.GetFields().dayOfWeek); });
    lookup.RegisterUnary(L"start_of_day", [](ZelDateTime x) { return x.GetDate(); });
    lookup.RegisterUnary(L"add_days",
                         [](long long days, ZelDateTime x, Special s) -> WithSpecial<ZelDateTime> {
                             if (s != Special::None)
                                 return SpecialOf<ZelDateTime>(s);
                             return FromOptional(AddDays(x, days));
                         });
    // 0 year, 1 month, 2 day, 3 hour, 4 minute, 5 second, 6 day of the week; another part is an Error.
    lookup.RegisterBinary(L"date_part",
                          [](ZelDateTime x, Special xs, int part, Special ps) -> WithSpecial<int> {
                              if (xs != Special::None)
                                  return SpecialOf<int>(xs);
                              if (ps != Special::None)
                                  return SpecialOf<int>(ps);
                              return FromOptional(DatePart(x, part));
                          });
    // The microseconds from the second instant to the first.
    lookup.RegisterBinary(L"subtract", [](ZelDateTime a, ZelDateTime b) {
        return WrapSubtract(static_cast<long long>(a.GetValue()), static_cast<long long>(b.GetValue()));
    });
}

}  // namespace zel::core::builtin
