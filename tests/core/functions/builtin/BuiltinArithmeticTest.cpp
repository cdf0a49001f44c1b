#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/functions/builtin/BuiltinTestSupport.h"

namespace zel::test::builtin {
namespace {

namespace f = core::factory;

constexpr int c_intMin = std::numeric_limits<int>::min();
constexpr int c_intMax = std::numeric_limits<int>::max();

TEST(BuiltinArithmetic, UnaryFormsTakeTheirOperandAsCreatorArgument) {
    EXPECT_EQ((Unary<double, double>(L"multiply", V(1.5), Args(f::MakeDouble(2.0)))), V(3.0));
    // An integer literal scales a double column.
    EXPECT_EQ((Unary<double, double>(L"multiply", V(1.5), Args(f::MakeInt32(2)))), V(3.0));
    EXPECT_EQ((Unary<int, int>(L"subtract", V(10), Args(f::MakeInt32(3)))), V(7));
    EXPECT_EQ((Unary<long long, long long>(L"add", V(5LL), Args(f::MakeInt64(-7)))), V(-2LL));
    EXPECT_EQ((Unary<float, float>(L"max", V(-1.0f), Args(f::MakeFloat(0.0f)))), V(0.0f));
    EXPECT_EQ((Unary<double, double>(L"min", V(4.0), Args(f::MakeDouble(2.5)))), V(2.5));
    EXPECT_EQ((Unary<double, double>(L"divide", V(1.0), Args(f::MakeDouble(4.0)))), V(0.25));
    EXPECT_EQ((Unary<int, int>(L"divide", V(-7), Args(f::MakeInt32(2)))), V(-3));
    EXPECT_EQ((Unary<int, int>(L"modulo", V(-7), Args(f::MakeInt32(3)))), V(-1));
    EXPECT_EQ((Unary<double, double>(L"modulo", V(7.5), Args(f::MakeDouble(2.0)))), V(1.5));
}

TEST(BuiltinArithmetic, IntegerOverflowWrapsAndDivisionByZeroIsAnError) {
    EXPECT_EQ((Binary<int, int, int>(L"add", V(c_intMax), V(1))), V(c_intMin));
    EXPECT_EQ((Binary<int, int, int>(L"subtract", V(c_intMin), V(1))), V(c_intMax));
    EXPECT_EQ((Binary<int, int, int>(L"multiply", V(65536), V(65536))), V(0));
    EXPECT_EQ((Unary<int, int>(L"negate", V(c_intMin))), V(c_intMin));
    EXPECT_EQ((Unary<int, int>(L"abs", V(c_intMin))), V(c_intMin));
    EXPECT_EQ((Unary<int, int>(L"abs", V(-3))), V(3));
    EXPECT_EQ((Binary<int, int, int>(L"divide", V(c_intMin), V(-1))), V(c_intMin));
    EXPECT_EQ((Binary<int, int, int>(L"modulo", V(c_intMin), V(-1))), V(0));
    EXPECT_EQ((Binary<int, int, int>(L"divide", V(1), V(0))), S<int>(Error));
    EXPECT_EQ((Binary<long long, long long, long long>(L"modulo", V(1LL), V(0LL))), S<long long>(Error));
    EXPECT_EQ((Unary<long long, long long>(L"divide", V(5LL), Args(f::MakeInt64(0)))), S<long long>(Error));
    // Floating-point division by zero is IEEE's.
    EXPECT_EQ((Binary<double, double, double>(L"divide", V(1.0), V(0.0))),
              V(std::numeric_limits<double>::infinity()));
}

TEST(BuiltinArithmetic, PowerWidensAndRoundingFunctions) {
    EXPECT_EQ((Binary<int, int, long long>(L"power", V(2), V(40))), V(1LL << 40));
    EXPECT_EQ((Binary<int, int, long long>(L"power", V(-1), V(-3))), V(-1LL));
    EXPECT_EQ((Binary<int, int, long long>(L"power", V(2), V(-1))), V(0LL));
    EXPECT_EQ((Binary<int, int, long long>(L"power", V(0), V(-1))), S<long long>(Error));
    // 3^41 overflows 64 bits and wraps like repeated multiplication.
    unsigned long long wrapped = 1;
    for (int i = 0; i < 41; ++i) {
        wrapped *= 3u;
    }
    EXPECT_EQ((Binary<long long, long long, long long>(L"power", V(3LL), V(41LL))),
              V(static_cast<long long>(wrapped)));
    EXPECT_EQ((Unary<int, long long>(L"power", V(3), Args(f::MakeInt32(2)))), V(9LL));
    EXPECT_EQ((Binary<float, int, double>(L"power", V(1.5f), V(2))), V(2.25));
    EXPECT_EQ((Unary<double, double>(L"sqrt", V(2.25))), V(1.5));
    EXPECT_TRUE(std::isnan(Unary<double, double>(L"sqrt", V(-1.0)).first));
    EXPECT_EQ((Unary<int, double>(L"sqrt", V(16))), V(4.0));
    EXPECT_EQ((Unary<double, double>(L"floor", V(-1.5))), V(-2.0));
    EXPECT_EQ((Unary<double, double>(L"ceil", V(-1.5))), V(-1.0));
    EXPECT_EQ((Unary<double, double>(L"round", V(-2.5))), V(-3.0));
    EXPECT_EQ((Binary<double, int, double>(L"round", V(1.256), V(2))), V(1.26));
    EXPECT_EQ((Binary<double, int, double>(L"round", V(1250.0), V(-2))), V(1300.0));
}

TEST(BuiltinArithmetic, MixedFloatingAndIntegerColumns) {
    EXPECT_EQ((Binary<float, int, float>(L"add", V(1.5f), V(2))), V(3.5f));
    EXPECT_EQ((Binary<int, float, float>(L"subtract", V(2), V(0.5f))), V(1.5f));
    EXPECT_EQ((Binary<double, int, double>(L"divide", V(3.0), V(2))), V(1.5));
    EXPECT_EQ((Binary<int, double, double>(L"multiply", V(3), V(0.5))), V(1.5));
}

// The functions with special forms of their own (those that can give an Error) pass specials on as the
// plain ones do, the first input's first.
TEST(BuiltinArithmetic, SpecialsPassThroughFirstInputFirst) {
    EXPECT_EQ((Unary<int, int>(L"divide", S<int>(Null), Args(f::MakeInt32(0)))), S<int>(Null));
    EXPECT_EQ((Binary<int, int, int>(L"divide", S<int>(Error), S<int>(Null))), S<int>(Error));
    EXPECT_EQ((Binary<int, int, int>(L"divide", V(1), S<int>(Null))), S<int>(Null));
    EXPECT_EQ((Binary<int, int, long long>(L"power", S<int>(Null), V(0))), S<long long>(Null));
}

}  // namespace
}  // namespace zel::test::builtin
