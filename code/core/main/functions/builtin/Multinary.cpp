// Multinary functions: the conditions of When (eq ... ge, and, or, not, is_null, is_not_null,
// always, never) for arguments of any types, and the scalars of SetValueMulti (add, min, max,
// if_else of typed arguments, tuple of any).
//
// A condition with a special or missing argument does not hold (is_null excepted). A scalar
// cannot give a special, so a special argument to one fails with InvalidArgument, as does a wrong
// number of arguments or an argument of a type that a condition cannot compare.

#include <algorithm>
#include <string>

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::core::builtin {

namespace {

using Nested = std::shared_ptr<StoreValue>;

[[noreturn]] void Refuse(char const* function, std::string const& why) {
    ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument, TStringCore::FromUtf8(std::string(function) + ": " + why));
}

void CheckCount(CreatorArguments const& args, std::size_t count, char const* function) {
    if (args.size() != count) {
        Refuse(function, "takes " + std::to_string(count) + " arguments, not " + std::to_string(args.size()));
    }
}

bool HasValue(Nested const& value) {
    return value && !value->IsSpecial();
}

bool IsIntegral(StoreType type) {
    return type == StoreType::Bool || type == StoreType::Int32 || type == StoreType::Int64;
}
bool IsNumeric(StoreType type) {
    return IsIntegral(type) || type == StoreType::Float || type == StoreType::Double;
}

long long IntegralOf(Nested const& value) {
    switch (value->GetStoreType()) {
        case StoreType::Bool:
            return FetchStoreValue<bool>(value) ? 1 : 0;
        case StoreType::Int32:
            return FetchStoreValue<int>(value);
        default:
            return FetchStoreValue<long long>(value);
    }
}
double DoubleOf(Nested const& value) {
    switch (value->GetStoreType()) {
        case StoreType::Float:
            return FetchStoreValue<float>(value);
        case StoreType::Double:
            return FetchStoreValue<double>(value);
        default:
            return static_cast<double>(IntegralOf(value));
    }
}

// The order of two values with a value each: numbers by value across their types, other values of
// one type by StoreValue::Compare. Unordered (NaN) gives nullopt.
std::optional<int> Order(Nested const& a, Nested const& b, char const* function) {
    StoreType const ta = a->GetStoreType();
    StoreType const tb = b->GetStoreType();
    if (IsIntegral(ta) && IsIntegral(tb)) {
        long long const x = IntegralOf(a);
        long long const y = IntegralOf(b);
        return (x > y) - (x < y);
    }
    if (IsNumeric(ta) && IsNumeric(tb)) {
        double const x = DoubleOf(a);
        double const y = DoubleOf(b);
        if (x < y)
            return -1;
        if (x > y)
            return 1;
        if (x == y)
            return 0;
        return std::nullopt;
    }
    bool const dates = (ta == StoreType::Date || ta == StoreType::DateTime) &&
                       (tb == StoreType::Date || tb == StoreType::DateTime);
    if (ta != tb && !dates) {
        Refuse(function, "cannot compare " + std::string(StoreTypeName(ta)) + " with " +
                             std::string(StoreTypeName(tb)));
    }
    if (dates) {
        auto const x = FetchStoreValue<ZelDateTime>(a);
        auto const y = FetchStoreValue<ZelDateTime>(b);
        return (x > y) - (x < y);
    }
    int const c = a->Compare(*b);
    return (c > 0) - (c < 0);
}

template <class Test>
bool Condition(CreatorArguments const& args, char const* function, Test test) {
    CheckCount(args, 2, function);
    if (!HasValue(args[0]) || !HasValue(args[1])) {
        return false;
    }
    auto const order = Order(args[0], args[1], function);
    return order && test(*order);
}

bool Truth(Nested const& value) {
    if (!HasValue(value))
        return false;
    StoreType const type = value->GetStoreType();
    if (IsIntegral(type))
        return IntegralOf(value) != 0;
    if (IsNumeric(type))
        return DoubleOf(value) != 0.0;
    if (type == StoreType::String)
        return !FetchStoreValue<TStringCore>(value).isEmpty();
    if (type == StoreType::Date || type == StoreType::DateTime)
        return FetchStoreValue<ZelDateTime>(value).GetValue() != 0;
    return IsTruthy(value);
}

template <class T>
T Argument(CreatorArguments const& args, std::size_t index, char const* function) {
    if (!HasValue(args[index])) {
        Refuse(function, "argument " + std::to_string(index + 1) + " has no value");
    }
    return FetchStoreValue<T>(args[index]);
}

template <class T>
void RegisterScalars(FunctionLookup& lookup, StoreTypeInfo const& type) {
    std::vector<KeySegmentType> const pair{type, type};
    lookup.RegisterMultinary(
        L"min", pair,
        [](CreatorArguments& args) {
            CheckCount(args, 2, "min");
            return std::min(Argument<T>(args, 0, "min"), Argument<T>(args, 1, "min"));
        },
        type);
    lookup.RegisterMultinary(
        L"max", pair,
        [](CreatorArguments& args) {
            CheckCount(args, 2, "max");
            return std::max(Argument<T>(args, 0, "max"), Argument<T>(args, 1, "max"));
        },
        type);
    if constexpr (Number<T>) {
        lookup.RegisterMultinary(
            L"add", pair,
            [](CreatorArguments& args) {
                CheckCount(args, 2, "add");
                return Add(Argument<T>(args, 0, "add"), Argument<T>(args, 1, "add"));
            },
            type);
    }
}

template <class T>
void RegisterIfElse(FunctionLookup& lookup, StoreTypeInfo const& type) {
    lookup.RegisterMultinary(
        L"if_else", {KeySegmentType(StoreTypeInfo::Bool), type, type},
        [](CreatorArguments& args) {
            CheckCount(args, 3, "if_else");
            return Argument<T>(args, Argument<bool>(args, 0, "if_else") ? 1 : 2, "if_else");
        },
        type);
}

}  // namespace

void RegisterMultinaryFunctions(FunctionLookup& lookup) {
    std::vector<KeySegmentType> const any;
    lookup.RegisterMultinary(
        L"eq", any, [](CreatorArguments& a) { return Condition(a, "eq", [](int o) { return o == 0; }); });
    lookup.RegisterMultinary(
        L"ne", any, [](CreatorArguments& a) { return Condition(a, "ne", [](int o) { return o != 0; }); });
    lookup.RegisterMultinary(
        L"lt", any, [](CreatorArguments& a) { return Condition(a, "lt", [](int o) { return o < 0; }); });
    lookup.RegisterMultinary(
        L"le", any, [](CreatorArguments& a) { return Condition(a, "le", [](int o) { return o <= 0; }); });
    lookup.RegisterMultinary(
        L"gt", any, [](CreatorArguments& a) { return Condition(a, "gt", [](int o) { return o > 0; }); });
    lookup.RegisterMultinary(
        L"ge", any, [](CreatorArguments& a) { return Condition(a, "ge", [](int o) { return o >= 0; }); });
    lookup.RegisterMultinary(L"and", any, [](CreatorArguments& a) {
        return std::all_of(a.begin(), a.end(), [](Nested const& v) { return Truth(v); });
    });
    lookup.RegisterMultinary(L"or", any, [](CreatorArguments& a) {
        return std::any_of(a.begin(), a.end(), [](Nested const& v) { return Truth(v); });
    });
    lookup.RegisterMultinary(L"not", any, [](CreatorArguments& a) {
        CheckCount(a, 1, "not");
        return HasValue(a[0]) && !Truth(a[0]);
    });
    lookup.RegisterMultinary(L"is_true", any, [](CreatorArguments& a) {
        CheckCount(a, 1, "is_true");
        return Truth(a[0]);
    });
    lookup.RegisterMultinary(L"is_null", any, [](CreatorArguments& a) {
        CheckCount(a, 1, "is_null");
        return !HasValue(a[0]);
    });
    lookup.RegisterMultinary(L"is_not_null", any, [](CreatorArguments& a) {
        CheckCount(a, 1, "is_not_null");
        return HasValue(a[0]);
    });
    lookup.RegisterMultinary(L"always", any, [](CreatorArguments&) { return true; });
    lookup.RegisterMultinary(L"never", any, [](CreatorArguments&) { return false; });

    RegisterScalars<int>(lookup, StoreTypeInfo::Int32);
    RegisterScalars<long long>(lookup, StoreTypeInfo::Int64);
    RegisterScalars<float>(lookup, StoreTypeInfo::Float);
    RegisterScalars<double>(lookup, StoreTypeInfo::Double);
    RegisterScalars<ZelDateTime>(lookup, StoreTypeInfo::DateTime);
    RegisterIfElse<bool>(lookup, StoreTypeInfo::Bool);
    RegisterIfElse<int>(lookup, StoreTypeInfo::Int32);
    RegisterIfElse<long long>(lookup, StoreTypeInfo::Int64);
    RegisterIfElse<float>(lookup, StoreTypeInfo::Float);
    RegisterIfElse<double>(lookup, StoreTypeInfo::Double);
    RegisterIfElse<ZelDateTime>(lookup, StoreTypeInfo::DateTime);

    // The arguments as one tuple, specials and all.
    lookup.RegisterMultinary(
        L"tuple", any,
        [](CreatorArguments& a) { return factory::MakeTuple(std::vector<Nested>(a.begin(), a.end())); },
        KeySegmentType(StoreTypeInfo::Tuple));
}

}  // namespace zel::core::builtin
