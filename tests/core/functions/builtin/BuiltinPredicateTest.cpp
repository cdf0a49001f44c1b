// Comparison, logic and the functions about specials.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/functions/builtin/BuiltinTestSupport.h"

namespace zel::test::builtin {
namespace {

namespace f = core::factory;
using core::RIndirectString;
using core::StoreValue;
using core::ZelDateTime;
using Nested = std::shared_ptr<StoreValue>;

constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();

TEST(BuiltinComparison, PredicatesOfConstantsAndOfTwoColumns) {
    EXPECT_EQ((Unary<double, bool>(L"gt", V(2.0), Args(f::MakeDouble(1.5)))), V(true));
    EXPECT_EQ((Unary<double, bool>(L"le", V(1.5), Args(f::MakeDouble(1.5)))), V(true));
    EXPECT_EQ((Unary<int, bool>(L"lt", V(3), Args(f::MakeInt32(3)))), V(false));
    EXPECT_EQ((Unary<long long, bool>(L"between", V(10LL), Args(f::MakeInt64(1), f::MakeInt64(10)))),
              V(true));
    EXPECT_EQ((Unary<long long, bool>(L"between", V(11LL), Args(f::MakeInt64(1), f::MakeInt64(10)))),
              V(false));
    EXPECT_EQ((Binary<double, double, bool>(L"ge", V(1.0), V(1.0))), V(true));
    EXPECT_EQ((Binary<double, double, bool>(L"ne", V(1.0), V(2.0))), V(true));
    // NaN equals nothing and orders with nothing, itself included.
    EXPECT_EQ((Binary<double, double, bool>(L"eq", V(c_nan), V(c_nan))), V(false));
    EXPECT_EQ((Binary<double, double, bool>(L"ne", V(c_nan), V(c_nan))), V(true));
    EXPECT_EQ((Unary<double, bool>(L"ge", V(c_nan), Args(f::MakeDouble(0.0)))), V(false));
    EXPECT_EQ((Unary<double, bool>(L"between", V(c_nan), Args(f::MakeDouble(-1.0), f::MakeDouble(1.0)))),
              V(false));
    // Strings by code point, date-times by instant.
    EXPECT_EQ((Binary<RIndirectString, RIndirectString, bool>(L"lt", V(RIndirectString(L"B")),
                                                              V(RIndirectString(L"a")))),
              V(true));
    EXPECT_EQ((Unary<RIndirectString, bool>(L"eq", V(RIndirectString(L"x")), Args(f::MakeString(L"x")))),
              V(true));
    auto const day = *ZelDateTime::Parse("2024-01-31");
    EXPECT_EQ(
        (Unary<ZelDateTime, bool>(L"lt", V(day), Args(f::MakeDateTime(*ZelDateTime::Parse("2024-02-01"))))),
        V(true));
    // Tuples by value.
    Nested const t = f::MakeTuple({f::MakeInt32(1), f::MakeString(L"a")});
    Nested const u = f::MakeTuple({f::MakeInt32(1), f::MakeString(L"a")});
    EXPECT_EQ((Unary<Nested, bool>(L"eq", V(t), Args(u), KeySegmentType(StoreTypeInfo::Tuple))), V(true));
    EXPECT_EQ((Binary<bool, bool, bool>(L"eq", V(true), S<bool>(Null))), S<bool>(Null));
}

TEST(BuiltinLogic, AndOrNotAndTruth) {
    EXPECT_EQ((Binary<bool, bool, bool>(L"and", V(true), V(false))), V(false));
    EXPECT_EQ((Binary<bool, bool, bool>(L"or", V(false), V(true))), V(true));
    EXPECT_EQ((Unary<bool, bool>(L"and", V(true), Args(f::MakeBool(true)))), V(true));
    EXPECT_EQ((Unary<bool, bool>(L"not", V(true))), V(false));
    EXPECT_EQ((Unary<bool, bool>(L"not", S<bool>(Error))), S<bool>(Error));
    // is_true reads a special as false instead of passing it on.
    EXPECT_EQ((Unary<double, bool>(L"is_true", V(-0.5))), V(true));
    EXPECT_EQ((Unary<double, bool>(L"is_true", V(0.0))), V(false));
    EXPECT_EQ((Unary<double, bool>(L"is_true", S<double>(Null))), V(false));
    EXPECT_EQ((Unary<RIndirectString, bool>(L"is_true", V(RIndirectString()))), V(false));
    EXPECT_EQ((Unary<ZelDateTime, bool>(L"is_true", V(ZelDateTime(1)))), V(true));
    KeySegmentType const tuple(StoreTypeInfo::Tuple);
    EXPECT_EQ((Unary<Nested, bool>(L"is_true", V(f::MakeTuple({})), {}, tuple)), V(false));
    EXPECT_EQ((Unary<Nested, bool>(L"is_true", V(f::MakeTuple({nullptr})), {}, tuple)), V(true));
}

TEST(BuiltinNulls, IsNullIsNotNullAndFillNull) {
    EXPECT_EQ((Unary<int, bool>(L"is_null", V(0))), V(false));
    EXPECT_EQ((Unary<int, bool>(L"is_null", S<int>(Null))), V(true));
    EXPECT_EQ((Unary<int, bool>(L"is_null", S<int>(Error))), V(true));
    EXPECT_EQ((Unary<RIndirectString, bool>(L"is_not_null", S<RIndirectString>(Null))), V(false));
    EXPECT_EQ((Unary<double, double>(L"fill_null", S<double>(Null), Args(f::MakeDouble(-1.0)))), V(-1.0));
    EXPECT_EQ((Unary<double, double>(L"fill_null", V(2.0), Args(f::MakeDouble(-1.0)))), V(2.0));
    EXPECT_EQ((Unary<RIndirectString, RIndirectString>(L"fill_null", S<RIndirectString>(Error),
                                                       Args(f::MakeString(L"?")))),
              V(RIndirectString(L"?")));
}

}  // namespace
}  // namespace zel::test::builtin
