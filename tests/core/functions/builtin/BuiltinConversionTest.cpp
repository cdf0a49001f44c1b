// Casts, strings and dates.

#include <gtest/gtest.h>

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <limits>
#include <random>

#include "core/functions/builtin/BuiltinTestSupport.h"
#include "zel/core/store/StoreValueUtil.h"

namespace zel::test::builtin {
namespace {

namespace f = core::factory;
using core::RIndirectString;
using core::ZelColor;
using core::ZelDateTime;
using Text = RIndirectString;

ZelDateTime At(char const* iso) {
    return *ZelDateTime::Parse(iso);
}

TEST(BuiltinCasts, NumbersNarrowModuloAndFloatingPointSaturates) {
    EXPECT_EQ((Unary<double, int>(L"to_int32", V(-2.9))), V(-2));
    EXPECT_EQ((Unary<double, int>(L"to_int32", V(1e20))), V(std::numeric_limits<int>::max()));
    EXPECT_EQ((Unary<float, long long>(L"to_int64", V(-1e30f))), V(std::numeric_limits<long long>::min()));
    EXPECT_EQ((Unary<double, long long>(L"to_int64", V(std::numeric_limits<double>::quiet_NaN()))), V(0LL));
    EXPECT_EQ((Unary<long long, int>(L"to_int32", V(0x1'0000'0005LL))), V(5));
    EXPECT_EQ((Unary<bool, double>(L"to_double", V(true))), V(1.0));
    EXPECT_EQ((Unary<float, bool>(L"to_bool", V(0.0f))), V(false));
    EXPECT_EQ((Unary<int, float>(L"to_float", S<int>(Null))), S<float>(Null));
    // A double beyond the float range becomes an infinity, from a number or from a text.
    EXPECT_EQ((Unary<double, float>(L"to_float", V(1e300))), V(std::numeric_limits<float>::infinity()));
    EXPECT_EQ((Unary<double, float>(L"to_float", V(-1e300))), V(-std::numeric_limits<float>::infinity()));
    EXPECT_EQ((Unary<Text, float>(L"to_float", V(Text(L"1e39")))), V(std::numeric_limits<float>::infinity()));
}

TEST(BuiltinCasts, TextsParseOrGiveAnError) {
    EXPECT_EQ((Unary<Text, int>(L"to_int32", V(Text(L" 42 ")))), V(42));
    EXPECT_EQ((Unary<Text, int>(L"to_int32", V(Text(L"2147483648")))), S<int>(Error));
    EXPECT_EQ((Unary<Text, int>(L"to_int32", V(Text(L"4x")))), S<int>(Error));
    EXPECT_EQ((Unary<Text, long long>(L"to_int64", V(Text(L"")))), S<long long>(Error));
    EXPECT_EQ((Unary<Text, double>(L"to_double", V(Text(L"-1.5e3")))), V(-1500.0));
    EXPECT_EQ((Unary<Text, bool>(L"to_bool", V(Text(L"TRUE")))), V(true));
    EXPECT_EQ((Unary<Text, bool>(L"to_bool", V(Text(L"yes")))), S<bool>(Error));
    EXPECT_EQ((Unary<Text, ZelColor>(L"to_color", V(Text(L"#11223344")))), V(ZelColor(0x11223344)));
    EXPECT_EQ((Unary<Text, ZelColor>(L"to_color", V(Text(L"#112233")))), V(ZelColor(0x112233FF)));
    EXPECT_EQ((Unary<Text, ZelColor>(L"to_color", V(Text(L"#11223")))), S<ZelColor>(Error));
    EXPECT_EQ((Unary<Text, ZelDateTime>(L"to_datetime", V(Text(L"2024-01-31T12:00:00")))),
              V(At("2024-01-31T12:00:00")));
    EXPECT_EQ((Unary<Text, ZelDateTime>(L"to_datetime", V(Text(L"2024-13-01")))), S<ZelDateTime>(Error));
    EXPECT_EQ((Unary<Text, ZelDateTime>(L"to_date", V(Text(L"2024-01-31T12:00:00")), {}, TypeOf<Text>())),
              V(At("2024-01-31")));
    EXPECT_EQ((Binary<Text, bool, ZelColor>(L"to_color", V(Text(L"#11223344")), V(true))),
              V(ZelColor(0x112233FF)));
    EXPECT_EQ((Binary<Text, int, float>(L"to_float", V(Text(L"2.345")), V(1))), V(2.3f));
    EXPECT_EQ((Unary<Text, double>(L"to_double", S<Text>(Null))), S<double>(Null));
}

TEST(BuiltinCasts, ToStringWritesTheShortestForms) {
    EXPECT_EQ((Unary<double, Text>(L"to_string", V(0.1))), V(Text(L"0.1")));
    EXPECT_EQ((Unary<int, Text>(L"to_string", V(-7))), V(Text(L"-7")));
    EXPECT_EQ((Unary<bool, Text>(L"to_string", V(false))), V(Text(L"false")));
    EXPECT_EQ((Unary<ZelColor, Text>(L"to_string", V(ZelColor(0x0A0B0CFF)))), V(Text(L"#0A0B0CFF")));
    EXPECT_EQ((Unary<ZelDateTime, Text>(L"to_string", V(At("2024-01-31T12:30:00")))),
              V(Text(L"2024-01-31T12:30:00")));
    core::StoreValueMap entries;
    entries.emplace(TStringCore(L"a"), f::MakeInt32(1));
    auto const map = f::MakeKeyMap(std::move(entries));
    auto const text = Unary<std::shared_ptr<core::StoreValue>, Text>(L"to_string", V(map), {},
                                                                     KeySegmentType(StoreTypeInfo::KeyMap));
    EXPECT_EQ(text, V(Text(core::SerializeValue(*map))));
}

TEST(BuiltinCasts, DateTimesCountSecondsSince1970AndColoursTheirValue) {
    EXPECT_EQ((Unary<ZelDateTime, double>(L"to_double", V(At("1970-01-01T00:00:01.5")))), V(1.5));
    EXPECT_EQ((Unary<ZelDateTime, long long>(L"to_int64", V(At("1969-12-31T23:59:59.5")))), V(-1LL));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"to_int32", V(At("2100-01-01")))), S<int>(Error));
    // A value past the calendar reads as its last instant; shifting it has no result.
    ZelDateTime const beyond(~0ULL);
    EXPECT_EQ((Unary<ZelDateTime, long long>(L"to_int64", V(beyond))), V(253402300799LL));
    EXPECT_EQ((Unary<ZelDateTime, ZelDateTime>(L"add_days", V(beyond), Args(f::MakeInt32(-1)))),
              S<ZelDateTime>(Error));
    EXPECT_EQ((Unary<double, ZelDateTime>(L"to_datetime", V(86400.0))), V(At("1970-01-02")));
    EXPECT_EQ((Unary<long long, ZelDateTime>(L"to_datetime", V(-62135596800LL))), V(At("0001-01-01")));
    EXPECT_EQ((Unary<long long, ZelDateTime>(L"to_datetime", V(-62135596801LL))), S<ZelDateTime>(Error));
    EXPECT_EQ((Unary<double, ZelDateTime>(L"to_datetime", V(1e300))), S<ZelDateTime>(Error));
    EXPECT_EQ((Unary<long long, ZelColor>(L"to_color", V(0x1'11223344LL))), V(ZelColor(0x11223344)));
    EXPECT_EQ((Unary<double, ZelColor>(L"to_color", V(255.9))), V(ZelColor(255)));
    EXPECT_EQ((Unary<ZelColor, long long>(L"to_int64", V(ZelColor(0xFFFFFFFF)))), V(0xFFFFFFFFLL));
}

TEST(BuiltinStrings, CaseTrimLengthAndSearch) {
    EXPECT_EQ((Unary<Text, Text>(L"upper", V(Text(L"straße")))), V(Text(L"STRASSE")));
    EXPECT_EQ((Unary<Text, Text>(L"lower", V(Text(L"ÀÉÎ")))), V(Text(L"àéî")));
    EXPECT_EQ((Unary<Text, Text>(L"trim", V(Text(L"\u00A0 a b\t\n")))), V(Text(L"a b")));
    EXPECT_EQ((Unary<Text, Text>(L"trim", V(Text(L"   ")))), V(Text(L"")));
    EXPECT_EQ((Unary<Text, long long>(L"length", V(Text(L"👍a")))), V(2LL));
    EXPECT_EQ((Unary<Text, Text>(L"concat", V(Text(L"a")), Args(f::MakeString(L"bc")))), V(Text(L"abc")));
    EXPECT_EQ((Binary<Text, Text, Text>(L"concat", V(Text(L"")), V(Text(L"x")))), V(Text(L"x")));
    EXPECT_EQ((Unary<Text, bool>(L"contains", V(Text(L"banana")), Args(f::MakeString(L"nan")))), V(true));
    EXPECT_EQ((Unary<Text, bool>(L"starts_with", V(Text(L"banana")), Args(f::MakeString(L"an")))), V(false));
    EXPECT_EQ((Unary<Text, bool>(L"ends_with", V(Text(L"banana")), Args(f::MakeString(L"")))), V(true));
    EXPECT_EQ((Unary<Text, Text>(L"upper", S<Text>(Null))), S<Text>(Null));
}

// Case mapping has a path for ASCII text beside ICU's full mapping; over generated words, some
// ASCII only and some with letters that map to more than one (ß) or by context (final sigma), both
// built-ins agree with ICU's mapping of the root locale.
TEST(BuiltinStrings, CaseMappingAgreesWithTheFullMappingOnEveryKindOfText) {
    std::wstring const alphabet = L"aZ09 -_~\x7FqQ\u00DF\u03A3\u03C3\u0130\u00C0x";
    auto const full = [](std::wstring const& word, bool upper) {
        auto unicode = icu::UnicodeString::fromUTF32(reinterpret_cast<UChar32 const*>(word.data()),
                                                     static_cast<int32_t>(word.size()));
        if (upper) {
            unicode.toUpper(icu::Locale::getRoot());
        } else {
            unicode.toLower(icu::Locale::getRoot());
        }
        std::wstring mapped(static_cast<std::size_t>(unicode.countChar32()), L'\0');
        UErrorCode status = U_ZERO_ERROR;
        unicode.toUTF32(reinterpret_cast<UChar32*>(mapped.data()), static_cast<int32_t>(mapped.size()),
                        status);
        return mapped;
    };
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        // Every other word draws from the ASCII part of the alphabet only.
        std::size_t const letters = i % 2 == 0 ? 9 : alphabet.size();
        std::wstring word(random() % 9, L' ');
        for (auto& c : word) {
            c = alphabet[random() % letters];
        }
        SCOPED_TRACE(TStringCore(word).ToUtf8());
        EXPECT_EQ((Unary<Text, Text>(L"upper", V(Text(TStringCore(word))))),
                  V(Text(TStringCore(full(word, true)))));
        EXPECT_EQ((Unary<Text, Text>(L"lower", V(Text(TStringCore(word))))),
                  V(Text(TStringCore(full(word, false)))));
    }
    EXPECT_EQ((Unary<Text, Text>(L"lower", V(Text(L"ΟΔΟΣ")))), V(Text(L"οδος")));
}

TEST(BuiltinDates, PartsShiftsAndDifferences) {
    ZelDateTime const t = At("2024-02-29T13:45:07");
    EXPECT_EQ((Unary<ZelDateTime, int>(L"year", V(t))), V(2024));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"month", V(t))), V(2));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"day", V(t))), V(29));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"hour", V(t))), V(13));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"minute", V(t))), V(45));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"second", V(t))), V(7));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"day_of_week", V(t))), V(3));  // a Thursday
    EXPECT_EQ((Binary<ZelDateTime, int, int>(L"date_part", V(t), V(1))), V(2));
    EXPECT_EQ((Binary<ZelDateTime, int, int>(L"date_part", V(t), V(7))), S<int>(Error));
    EXPECT_EQ((Unary<ZelDateTime, ZelDateTime>(L"start_of_day", V(t))), V(At("2024-02-29")));
    EXPECT_EQ((Unary<ZelDateTime, ZelDateTime>(L"add_days", V(t), Args(f::MakeInt64(1)))),
              V(At("2024-03-01T13:45:07")));
    EXPECT_EQ((Unary<ZelDateTime, ZelDateTime>(L"add_days", V(At("9999-12-31")), Args(f::MakeInt32(1)))),
              S<ZelDateTime>(Error));
    EXPECT_EQ((Unary<ZelDateTime, ZelDateTime>(L"add_days", V(At("0001-01-01")), Args(f::MakeInt32(-1)))),
              S<ZelDateTime>(Error));
    EXPECT_EQ(
        (Binary<ZelDateTime, ZelDateTime, long long>(L"subtract", V(At("2024-01-02")), V(At("2024-01-01")))),
        V(86'400'000'000LL));
    EXPECT_EQ((Unary<ZelDateTime, int>(L"year", S<ZelDateTime>(Null))), S<int>(Null));
}

}  // namespace
}  // namespace zel::test::builtin
