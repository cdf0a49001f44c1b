// Unary function objects made from registered callables: plain, creator, stateful and special
// forms, called by row and by block, with and without specials, and on empty spans.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <span>
#include <thread>
#include <vector>

#include "core/functions/FunctionTestSupport.h"
#include "zel/core/functions/ZelFunctions.h"

namespace zel::test {
namespace {

using core::CreatorArguments;
using core::SpecialKind;
using core::StoreType;
using core::ZelError;

template <class In, class Out>
core::ZelFunctions<In, Out> BindUnary(core::FunctionLookup const& lookup, wchar_t const* name,
                                      StoreType input) {
    return core::ZelFunctions<In, Out>::BindServed(lookup.GetUnaryFunctions(), Key(name, {input}));
}

core::FunctionLookup MakeLookup() {
    core::FunctionLookup lookup;
    lookup.RegisterUnary(L"negate", [](double x) { return -x; });
    lookup.RegisterUnary(L"multiply", [](double factor, double x) { return factor * x; });
    lookup.RegisterUnary(L"affine", [](double factor, int offset, double x) { return factor * x + offset; });
    lookup.RegisterUnary(L"running_count", [](long long& n, double) { return ++n; });
    lookup.RegisterUnary(L"running_sum", [](double& sum, double step, double x) { return sum += step * x; });
    lookup.RegisterUnary(L"is_null", [](double, SpecialKind s) {
        return std::pair{s == SpecialKind::Null, None};
    });
    // A regular form and a special form that fills nulls with the creator argument.
    lookup.RegisterUnary(
        L"fill_null", [](double, double x) { return x; },
        [](double fill, double x, SpecialKind s) {
            return s == Null ? std::pair{fill, None} : std::pair{x, s};
        });
    lookup.RegisterUnary(L"length",
                         [](core::RIndirectString const& s) { return static_cast<int>(s.View().size()); });
    return lookup;
}

TEST(UnaryFunctionTest, APlainFunctionCallsByRowAndBlockAndPropagatesSpecials) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const negate = BindUnary<double, double>(lookup, L"negate", StoreType::Double);
    auto const regular = negate.MakeRegularFunction();
    EXPECT_EQ(regular->Call(2.5), -2.5);

    std::array<double, 4> const values{1.0, -2.0, 0.0, 4.5};
    std::array<double, 4> out{};
    regular->CallBlock(values, out);
    EXPECT_EQ(out, (std::array<double, 4>{-1.0, 2.0, -0.0, -4.5}));
    regular->CallBlock({}, {});
    std::array<double, 3> shorter{};
    ExpectRuntimeError<core::ZelLogicException>([&] { regular->CallBlock(values, shorter); },
                                                ZelError::RangeViolation, "");

    // The special form gives a special input's special with the default value, and calls the
    // function for the other rows.
    auto const special = negate.MakeSpecialFunction();
    EXPECT_EQ(special->Call(3.0, None), (std::pair{-3.0, None}));
    EXPECT_EQ(special->Call(3.0, Error), (std::pair{0.0, Error}));
    std::array<SpecialKind, 4> const specials{None, Null, None, Error};
    std::array<SpecialKind, 4> outSpecials{};
    special->CallBlock(values, specials, out, outSpecials);
    EXPECT_EQ(out, (std::array<double, 4>{-1.0, 0.0, -0.0, 0.0}));
    EXPECT_EQ(outSpecials, specials);
    special->CallBlock({}, {}, {}, {});

    // Strings come by reference and leave their reference counts as they were.
    auto const length = BindUnary<core::RIndirectString, int>(lookup, L"length", StoreType::String);
    std::array<core::RIndirectString, 2> const texts{core::RIndirectString(L"abc"), core::RIndirectString()};
    std::array<int, 2> lengths{};
    length.MakeRegularFunction()->CallBlock(texts, lengths);
    EXPECT_EQ(lengths, (std::array<int, 2>{3, 0}));
}

TEST(UnaryFunctionTest, ACreatorTakesItsArgumentsConvertedOnceAndRefusesBadOnes) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const multiply = BindUnary<double, double>(lookup, L"multiply", StoreType::Double);

    // An int32 argument serves a double parameter.
    CreatorArguments arguments{core::factory::MakeInt32(3)};
    auto const function = multiply.MakeRegularFunction(arguments);
    arguments[0] = core::factory::MakeInt32(100);  // the object kept its own copy
    EXPECT_EQ(function->Call(2.0), 6.0);
    std::vector<double> const values{1.0, 2.0, 3.0};
    std::vector<double> out(3);
    function->CallBlock(values, out);
    EXPECT_EQ(out, (std::vector<double>{3.0, 6.0, 9.0}));

    auto const affine = BindUnary<double, double>(lookup, L"affine", StoreType::Double);
    auto const special =
        affine.MakeSpecialFunction(Arguments({core::factory::MakeDouble(2.0), core::factory::MakeInt64(1)}));
    EXPECT_EQ(special->Call(5.0, None), (std::pair{11.0, None}));
    EXPECT_EQ(special->Call(5.0, Null), (std::pair{0.0, Null}));

    ExpectRuntimeError([&] { affine.MakeRegularFunction(Arguments({core::factory::MakeDouble(2.0)})); },
                       ZelError::InvalidArgument, "takes 2 creator argument(s) and was given 1");
    // An integer parameter takes a number in its range only.
    core::FunctionLookup lookup32;
    lookup32.RegisterUnary(L"add", [](int n, int x) { return n + x; });
    auto const add = BindUnary<int, int>(lookup32, L"add", StoreType::Int32);
    EXPECT_EQ(add.MakeRegularFunction(Arguments({core::factory::MakeDouble(-2.9)}))->Call(10), 8);
    EXPECT_EQ(add.MakeRegularFunction(Arguments({core::factory::MakeInt64(-2147483648LL)}))->Call(0),
              -2147483648);
    for (auto const& outOfRange :
         {core::factory::MakeDouble(3e9), core::factory::MakeDouble(std::nan("")),
          core::factory::MakeInt64(2147483648LL), core::factory::MakeFloat(-2147483904.0f)}) {
        ExpectRuntimeError([&] { add.MakeRegularFunction(Arguments({outOfRange})); },
                           ZelError::InvalidArgument, "out of the range of its integer parameter");
    }
    ExpectRuntimeError([&] { multiply.MakeRegularFunction(Arguments({core::factory::MakeString(L"x")})); },
                       ZelError::UnsupportedTypes, "");
    ExpectRuntimeError(
        [&] {
            multiply.MakeRegularFunction(
                Arguments({core::factory::MakeSpecial(core::StoreTypeInfo::Double, Null)}));
        },
        ZelError::UnsupportedTypes, "");
}

TEST(UnaryFunctionTest, AStatefulFunctionCarriesItsStateAcrossCallsAndStartsAfreshInEachObject) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const count = BindUnary<double, long long>(lookup, L"running_count", StoreType::Double);
    auto const function = count.MakeRegularFunction();
    std::array<double, 3> const values{5.0, 5.0, 5.0};
    std::array<long long, 3> out{};
    function->CallBlock(values, out);
    EXPECT_EQ(out, (std::array<long long, 3>{1, 2, 3}));
    function->CallBlock({}, {});
    EXPECT_EQ(function->Call(5.0), 4);
    EXPECT_EQ(count.MakeRegularFunction()->Call(5.0), 1);

    // The special form keeps state too, and special rows do not advance it.
    auto const special = count.MakeSpecialFunction();
    std::array<SpecialKind, 3> const specials{None, Null, None};
    std::array<SpecialKind, 3> outSpecials{};
    special->CallBlock(values, specials, out, outSpecials);
    EXPECT_EQ(out, (std::array<long long, 3>{1, 0, 2}));
    EXPECT_EQ(outSpecials, specials);

    // State and creator arguments together.
    auto const sum = BindUnary<double, double>(lookup, L"running_sum", StoreType::Double);
    std::array<double, 3> sums{};
    sum.MakeRegularFunction(Arguments({core::factory::MakeDouble(10.0)}))
        ->CallBlock(std::array{1.0, 2.0, 3.0}, sums);
    EXPECT_EQ(sums, (std::array<double, 3>{10.0, 30.0, 60.0}));
}

TEST(UnaryFunctionTest, ASpecialFormSeesSpecialsAndMaySitBesideARegularForm) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const isNull = BindUnary<double, bool>(lookup, L"is_null", StoreType::Double);
    auto const function = isNull.MakeSpecialFunction();
    std::array<double, 3> const values{1.0, 0.0, 0.0};
    std::array<SpecialKind, 3> const specials{None, Null, Error};
    std::array<bool, 3> out{};
    std::array<SpecialKind, 3> outSpecials{Error, Error, Error};
    function->CallBlock(values, specials, out, outSpecials);
    EXPECT_EQ(out, (std::array<bool, 3>{false, true, false}));
    EXPECT_EQ(outSpecials, (std::array<SpecialKind, 3>{None, None, None}));

    auto const fill = BindUnary<double, double>(lookup, L"fill_null", StoreType::Double);
    CreatorArguments const arguments{core::factory::MakeDouble(-1.0)};
    std::array<double, 3> filled{};
    fill.MakeSpecialFunction(arguments)->CallBlock(values, specials, filled, outSpecials);
    EXPECT_EQ(filled, (std::array<double, 3>{1.0, -1.0, 0.0}));
    EXPECT_EQ(outSpecials, (std::array<SpecialKind, 3>{None, None, Error}));
    EXPECT_EQ(fill.MakeRegularFunction(arguments)->Call(7.0), 7.0);

    // Through a run, the form follows the input.
    core::UnaryFunctionRun<double, double> run(fill, true, &arguments);
    EXPECT_TRUE(run.IsSpecial());
    EXPECT_EQ(run.Call(0.0, Null), (std::pair{-1.0, None}));
}

double Square(double x) {
    return x * x;
}

TEST(UnaryFunctionTest, APlainCppFunctionServesSeveralThreadsThroughOneObject) {
    core::FunctionLookup lookup;
    lookup.RegisterUnary<&Square>(L"square");
    auto const function =
        BindUnary<double, double>(lookup, L"square", StoreType::Double).MakeRegularFunction();
    std::vector<double> values(100'000);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<double>(i);
    }
    std::vector<double> out(values.size());
    std::size_t const half = values.size() / 2;
    auto const run = [&](std::size_t start, std::size_t length) {
        for (std::size_t row = start; row < start + length; row += 1000) {
            function->CallBlock(std::span(values).subspan(row, 1000), std::span(out).subspan(row, 1000));
        }
    };
    std::thread first(run, 0, half);
    std::thread second(run, half, values.size() - half);
    first.join();
    second.join();
    for (std::size_t i = 0; i < values.size(); i += 997) {
        EXPECT_EQ(out[i], values[i] * values[i]);
    }
}

}  // namespace
}  // namespace zel::test
