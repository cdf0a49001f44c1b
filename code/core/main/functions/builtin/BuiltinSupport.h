#pragma once

// What the families of built-in functions share: wrapping integer arithmetic, saturating
// conversions, truth, the conversion of creator arguments to operands, text and date helpers.
// Everything here is defined for every input: no overflow, division or conversion is left to the
// compiler's discretion.

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "vorsys/string/TStringCore.h"
#include "zel/core/functions/FunctionTypes.h"
#include "zel/core/store/KeySet.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StoreType.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/store/ZelColor.h"
#include "zel/core/store/ZelDateTime.h"

namespace zel::core::builtin {

template <class T>
concept Integer = std::is_same_v<T, int> || std::is_same_v<T, long long>;
template <class T>
concept Floating = std::is_same_v<T, float> || std::is_same_v<T, double>;
template <class T>
concept Number = Integer<T> || Floating<T>;

// Two's complement arithmetic through the unsigned type, whose overflow is defined; the
// conversion back is modular since C++20.
template <Integer T>
constexpr T WrapAdd(T a, T b) noexcept {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
}
template <Integer T>
constexpr T WrapSubtract(T a, T b) noexcept {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
}
template <Integer T>
constexpr T WrapMultiply(T a, T b) noexcept {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) * static_cast<U>(b));
}
template <Integer T>
constexpr T WrapNegate(T a) noexcept {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(U{0} - static_cast<U>(a));
}

template <Number T>
constexpr T Add(T a, T b) noexcept {
    if constexpr (Integer<T>) {
        return WrapAdd(a, b);
    } else {
        return a + b;
    }
}
template <Number T>
constexpr T Subtract(T a, T b) noexcept {
    if constexpr (Integer<T>) {
        return WrapSubtract(a, b);
    } else {
        return a - b;
    }
}
template <Number T>
constexpr T Multiply(T a, T b) noexcept {
    if constexpr (Integer<T>) {
        return WrapMultiply(a, b);
    } else {
        return a * b;
    }
}
template <Number T>
constexpr T Negate(T a) noexcept {
    if constexpr (Integer<T>) {
        return WrapNegate(a);
    } else {
        return -a;
    }
}
template <Number T>
constexpr T Abs(T a) noexcept {
    if constexpr (Integer<T>) {
        return a < 0 ? WrapNegate(a) : a;
    } else {
        return std::fabs(a);
    }
}

// Integer division truncates; by zero it has no result. The smallest value divided by -1 wraps
// to itself, and its remainder is 0.
template <Integer T>
constexpr std::optional<T> IntegerDivide(T a, T b) noexcept {
    if (b == 0) {
        return std::nullopt;
    }
    if (b == -1) {
        return WrapNegate(a);
    }
    return a / b;
}
template <Integer T>
constexpr std::optional<T> IntegerModulo(T a, T b) noexcept {
    if (b == 0) {
        return std::nullopt;
    }
    if (b == -1) {
        return T{0};
    }
    return a % b;
}

// Integer power by squaring, wrapping. A negative exponent has an integer result only for the
// bases 1 and -1 (and 0 for any other base, as the truncated quotient); 0 to a negative power has
// none.
constexpr std::optional<long long> IntegerPower(long long base, long long exponent) noexcept {
    if (exponent < 0) {
        if (base == 0) {
            return std::nullopt;
        }
        if (base == 1) {
            return 1;
        }
        if (base == -1) {
            return (exponent % 2 == 0) ? 1 : -1;
        }
        return 0;
    }
    long long result = 1;
    auto e = static_cast<unsigned long long>(exponent);
    while (e != 0) {
        if (e & 1u) {
            result = WrapMultiply(result, base);
        }
        base = WrapMultiply(base, base);
        e >>= 1u;
    }
    return result;
}

// A floating-point number as an integer: truncated towards zero, saturated at the bounds, NaN as 0.
template <Integer I, Floating F>
constexpr I SaturatingCast(F value) noexcept {
    if (std::isnan(value)) {
        return 0;
    }
    // The bounds as F are powers of two and exact; anything at or above the upper one saturates.
    constexpr F upper = -static_cast<F>(std::numeric_limits<I>::min());
    if (value >= upper) {
        return std::numeric_limits<I>::max();
    }
    if (value <= static_cast<F>(std::numeric_limits<I>::min())) {
        return std::numeric_limits<I>::min();
    }
    return static_cast<I>(value);
}

// A double as a float: beyond the float range it becomes an infinity rather than undefined.
constexpr float NarrowToFloat(double value) noexcept {
    if (value > static_cast<double>(std::numeric_limits<float>::max())) {
        return std::numeric_limits<float>::infinity();
    }
    if (value < -static_cast<double>(std::numeric_limits<float>::max())) {
        return -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(value);
}

// Any number to any other: integers narrow modulo their width, floating-point numbers saturate.
template <Number To, Number From>
constexpr To ConvertNumber(From value) noexcept {
    if constexpr (Integer<To> && Floating<From>) {
        return SaturatingCast<To>(value);
    } else if constexpr (std::is_same_v<To, float> && std::is_same_v<From, double>) {
        return NarrowToFloat(value);
    } else {
        return static_cast<To>(value);
    }
}

// Truth: a true Bool, a number other than zero, a non-empty string, a date-time after the first
// instant, a tuple with at least one element.
inline bool IsTruthy(bool value) noexcept {
    return value;
}
template <Number T>
inline bool IsTruthy(T value) noexcept {
    return value != T{0};
}
inline bool IsTruthy(RIndirectString const& value) noexcept {
    return !value.IsEmpty();
}
inline bool IsTruthy(ZelDateTime value) noexcept {
    return value.GetValue() != 0;
}
inline bool IsTruthy(ZelColor value) noexcept {
    return value.GetValue() != 0;
}
bool IsTruthy(std::shared_ptr<StoreValue> const& value) noexcept;

// ---- key sets -----------------------------------------------------------------------------------

// The key set of keys K and values V that a creator argument holds; a value that is no such key set
// fails with InvalidArgument naming the function and the storage types.
[[noreturn]] void ThrowNotKeySet(char const* function, StorageType key, StorageType value);

// Called once a row by the lookups: a key set is final, so comparing its exact type is the whole
// test, and the row pays a type compare instead of a dynamic_cast through its several bases.
template <StorageElement K, StorageElement V>
KeySetValue<K, V> const& GetKeySet(std::shared_ptr<StoreValue> const& value, char const* function) {
    static_assert(std::is_final_v<KeySetValue<K, V>>);
    if (value) {
        StoreValue const& held = *value;  // typeid of a plain reference: no call inside typeid
        if (typeid(held) == typeid(KeySetValue<K, V>)) {
            return static_cast<KeySetValue<K, V> const&>(held);
        }
    }
    ThrowNotKeySet(function, StorageTraits<K>::c_storageType, StorageTraits<V>::c_storageType);
}

// ---- text -------------------------------------------------------------------------------------------

// Full Unicode case mapping of the root locale (so "ß" upper-cases to "SS"); ASCII text is mapped
// without ICU, and text the mapping leaves alone comes back shared.
RIndirectString ToUpper(RIndirectString const& text);
RIndirectString ToLower(RIndirectString const& text);
// Without leading and trailing Unicode white space.
RIndirectString Trim(RIndirectString const& text);

// Numbers from text: optional white space around, the whole text must be the number. Integers in
// decimal; floating-point numbers in decimal or exponent form, "inf", "nan".
std::optional<long long> ParseInteger(std::wstring_view text) noexcept;
std::optional<double> ParseDouble(std::wstring_view text) noexcept;
// "true"/"false" (any case), "1"/"0".
std::optional<bool> ParseBool(std::wstring_view text) noexcept;
// "#RRGGBB" or "#RRGGBBAA" in hex, either case.
std::optional<ZelColor> ParseColor(std::wstring_view text) noexcept;

// Text forms: numbers in shortest round-trip form, "true"/"false", ISO date-times, "#RRGGBBAA".
RIndirectString FormatText(bool value);
RIndirectString FormatText(long long value);
RIndirectString FormatText(double value);
RIndirectString FormatText(float value);
RIndirectString FormatText(ZelDateTime value);
RIndirectString FormatText(ZelColor value);

// ---- dates ---------------------------------------------------------------------------------------

// The instant of 1970-01-01T00:00:00 UTC, on which numeric forms of date-times count seconds.
inline constexpr std::uint64_t c_unixEpochMicros = 719'162ULL * ZelDateTime::c_microsPerDay;

// Seconds since 1970-01-01T00:00:00 UTC.
inline double DateTimeToSeconds(ZelDateTime value) noexcept {
    return (static_cast<double>(value.GetValue()) - static_cast<double>(c_unixEpochMicros)) / 1e6;
}
inline long long DateTimeToWholeSeconds(ZelDateTime value) noexcept {
    // A value past the calendar reads as its last instant, as everywhere else.
    std::uint64_t const clamped = value.IsValid() ? value.GetValue() : ZelDateTime::c_maxValue;
    auto const micros = static_cast<long long>(clamped) - static_cast<long long>(c_unixEpochMicros);
    // Floor division, so that an instant before 1970 counts to the second before it.
    return micros >= 0 ? micros / 1'000'000 : -((-micros + 999'999) / 1'000'000);
}
// nullopt outside the calendar (or for NaN).
std::optional<ZelDateTime> SecondsToDateTime(double seconds) noexcept;
std::optional<ZelDateTime> SecondsToDateTime(long long seconds) noexcept;
// `days` whole days later (earlier when negative); nullopt outside the calendar.
std::optional<ZelDateTime> AddDays(ZelDateTime value, long long days) noexcept;

}  // namespace zel::core::builtin
