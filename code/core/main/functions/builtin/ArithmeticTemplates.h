#pragma once

// The arithmetic registrations of one number type, shared by the sources that instantiate them:
// integers in ArithmeticIntegers.cpp, floating-point numbers and mixed columns in Arithmetic.cpp.

#include <algorithm>
#include <cmath>

#include "functions/builtin/BuiltinFamilies.h"
#include "functions/builtin/BuiltinSupport.h"

namespace zel::core::builtin {

template <Number T>
void RegisterNumber(FunctionLookup& lookup) {
    // Unary, with the operand as creator argument: x op n.
    lookup.RegisterUnary(L"add", [](T n, T x) { return Add(x, n); });
    lookup.RegisterUnary(L"subtract", [](T n, T x) { return Subtract(x, n); });
    lookup.RegisterUnary(L"multiply", [](T n, T x) { return Multiply(x, n); });
    lookup.RegisterUnary(L"min", [](T n, T x) { return std::min(x, n); });
    lookup.RegisterUnary(L"max", [](T n, T x) { return std::max(x, n); });
    lookup.RegisterUnary(L"negate", [](T x) { return Negate(x); });
    lookup.RegisterUnary(L"abs", [](T x) { return Abs(x); });

    lookup.RegisterBinary(L"add", [](T a, T b) { return Add(a, b); });
    lookup.RegisterBinary(L"subtract", [](T a, T b) { return Subtract(a, b); });
    lookup.RegisterBinary(L"multiply", [](T a, T b) { return Multiply(a, b); });
    lookup.RegisterBinary(L"min", [](T a, T b) { return std::min(a, b); });
    lookup.RegisterBinary(L"max", [](T a, T b) { return std::max(a, b); });

    if constexpr (Integer<T>) {
        // Division by zero has no integer result: the row is an Error.
        lookup.RegisterUnary(L"divide", [](T n, T x, Special s) -> WithSpecial<T> {
            if (s != Special::None)
                return SpecialOf<T>(s);
            return FromOptional(IntegerDivide(x, n));
        });
        lookup.RegisterUnary(L"modulo", [](T n, T x, Special s) -> WithSpecial<T> {
            if (s != Special::None)
                return SpecialOf<T>(s);
            return FromOptional(IntegerModulo(x, n));
        });
        lookup.RegisterBinary(L"divide", [](T a, Special as, T b, Special bs) -> WithSpecial<T> {
            if (as != Special::None)
                return SpecialOf<T>(as);
            if (bs != Special::None)
                return SpecialOf<T>(bs);
            return FromOptional(IntegerDivide(a, b));
        });
        lookup.RegisterBinary(L"modulo", [](T a, Special as, T b, Special bs) -> WithSpecial<T> {
            if (as != Special::None)
                return SpecialOf<T>(as);
            if (bs != Special::None)
                return SpecialOf<T>(bs);
            return FromOptional(IntegerModulo(a, b));
        });
        lookup.RegisterUnary(L"power", [](long long e, T x, Special s) -> WithSpecial<long long> {
            if (s != Special::None)
                return SpecialOf<long long>(s);
            return FromOptional(IntegerPower(x, e));
        });
        lookup.RegisterBinary(L"power", [](T a, Special as, T b, Special bs) -> WithSpecial<long long> {
            if (as != Special::None)
                return SpecialOf<long long>(as);
            if (bs != Special::None)
                return SpecialOf<long long>(bs);
            return FromOptional(IntegerPower(a, b));
        });
        lookup.RegisterUnary(L"sqrt", [](T x) { return std::sqrt(static_cast<double>(x)); });
    } else {
        lookup.RegisterUnary(L"divide", [](T n, T x) { return x / n; });
        lookup.RegisterUnary(L"modulo", [](T n, T x) { return std::fmod(x, n); });
        lookup.RegisterBinary(L"divide", [](T a, T b) { return a / b; });
        lookup.RegisterBinary(L"modulo", [](T a, T b) { return std::fmod(a, b); });
        lookup.RegisterUnary(L"power", [](double e, T x) { return std::pow(static_cast<double>(x), e); });
        lookup.RegisterBinary(
            L"power", [](T a, T b) { return std::pow(static_cast<double>(a), static_cast<double>(b)); });
        lookup.RegisterUnary(L"sqrt", [](T x) { return std::sqrt(x); });
        lookup.RegisterUnary(L"floor", [](T x) { return std::floor(x); });
        lookup.RegisterUnary(L"ceil", [](T x) { return std::ceil(x); });
        // Half away from zero.
        lookup.RegisterUnary(L"round", [](T x) { return std::round(x); });
        // To that many decimal places (negative: to tens, hundreds, ...).
        lookup.RegisterBinary(L"round", [](T x, int digits) {
            double const scale = std::pow(10.0, static_cast<double>(digits));
            return ConvertNumber<T>(std::round(static_cast<double>(x) * scale) / scale);
        });
    }
}

// A floating-point number with an integer: the integer converts to the floating-point type.
template <Floating F>
void RegisterMixed(FunctionLookup& lookup) {
    lookup.RegisterBinary(L"add", [](F a, int b) { return a + static_cast<F>(b); });
    lookup.RegisterBinary(L"subtract", [](F a, int b) { return a - static_cast<F>(b); });
    lookup.RegisterBinary(L"multiply", [](F a, int b) { return a * static_cast<F>(b); });
    lookup.RegisterBinary(L"divide", [](F a, int b) { return a / static_cast<F>(b); });
    lookup.RegisterBinary(L"add", [](int a, F b) { return static_cast<F>(a) + b; });
    lookup.RegisterBinary(L"subtract", [](int a, F b) { return static_cast<F>(a) - b; });
    lookup.RegisterBinary(L"multiply", [](int a, F b) { return static_cast<F>(a) * b; });
    lookup.RegisterBinary(L"divide", [](int a, F b) { return static_cast<F>(a) / b; });
    lookup.RegisterBinary(
        L"power", [](F a, int b) { return std::pow(static_cast<double>(a), static_cast<double>(b)); });
}

void RegisterIntegerArithmetic(FunctionLookup& lookup);

}  // namespace zel::core::builtin
