// Binary function objects: the row and two-column block calls, and the accumulating block call
// as Reduce (no output), Scan (forwards) and ScanRight (reverse) make it, with and without
// specials, on empty spans, for plain, creator, stateful and special forms.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "core/functions/FunctionTestSupport.h"
#include "zel/core/functions/ZelFunctions.h"

namespace zel::test {
namespace {

using core::CreatorArguments;
using core::SpecialKind;
using core::StoreType;
using core::ZelError;

template <class A, class B, class C>
core::ZelFunctions<A, B, C> BindBinary(core::FunctionLookup const& lookup, wchar_t const* name,
                                       StoreType first, StoreType second) {
    return core::ZelFunctions<A, B, C>::BindServed(lookup.GetBinaryFunctions(), Key(name, {first, second}));
}

core::FunctionLookup MakeLookup() {
    core::FunctionLookup lookup;
    lookup.RegisterBinary(L"add", [](double a, double b) { return a + b; });
    lookup.RegisterBinary(L"count", [](int n, double) { return n + 1; });
    lookup.RegisterBinary(L"near",
                          [](double tolerance, double a, double b) { return std::abs(a - b) <= tolerance; });
    lookup.RegisterBinary(L"numbered", [](int& row, double a, double b) { return a * b + ++row; });
    // Addition that skips nulls in the values and starts from the first value on a null accumulator.
    lookup.RegisterBinary(L"add_present", [](double a, SpecialKind as, double b, SpecialKind bs) {
        if (bs != None) {
            return std::pair{a, as};
        }
        return as != None ? std::pair{b, None} : std::pair{a + b, None};
    });
    return lookup;
}

TEST(BinaryFunctionTest, APlainFunctionCombinesTwoColumnsAndPropagatesTheFirstSpecial) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const add = BindBinary<double, double, double>(lookup, L"add", StoreType::Double, StoreType::Double);
    auto const regular = add.MakeRegularFunction();
    EXPECT_EQ(regular->Call(1.5, 2.0), 3.5);
    std::array<double, 3> const a{1.0, 2.0, 3.0};
    std::array<double, 3> const b{10.0, 20.0, 30.0};
    std::array<double, 3> out{};
    regular->CallBlock(a, b, out);
    EXPECT_EQ(out, (std::array<double, 3>{11.0, 22.0, 33.0}));
    regular->CallBlock({}, {}, {});

    auto const special = add.MakeSpecialFunction();
    EXPECT_EQ(special->Call(1.0, Null, 2.0, Error), (std::pair{0.0, Null}));
    EXPECT_EQ(special->Call(1.0, None, 2.0, Error), (std::pair{0.0, Error}));
    std::array<SpecialKind, 3> const aSpecials{None, Null, None};
    std::array<SpecialKind, 3> const bSpecials{None, Error, Error};
    std::array<SpecialKind, 3> outSpecials{};
    special->CallBlock(a, aSpecials, b, bSpecials, out, outSpecials);
    EXPECT_EQ(out, (std::array<double, 3>{11.0, 0.0, 0.0}));
    EXPECT_EQ(outSpecials, (std::array<SpecialKind, 3>{None, Null, Error}));
    special->CallBlock({}, {}, {}, {}, {}, {});

    std::array<double, 2> const shorter{1.0, 2.0};
    ExpectRuntimeError<core::ZelLogicException>([&] { regular->CallBlock(a, shorter, out); },
                                                ZelError::RangeViolation, "");
}

TEST(BinaryFunctionTest, AccumulatingFoldsForwardsBackwardsAndWithoutOutput) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const function =
        BindBinary<double, double, double>(lookup, L"add", StoreType::Double, StoreType::Double)
            .MakeRegularFunction();
    std::array<double, 3> const values{1.0, 2.0, 3.0};

    // Reduce: no output, the accumulator carries from block to block.
    double accumulator = 0.0;
    function->CallAccumulate(accumulator, values, {}, false);
    function->CallAccumulate(accumulator, values, {}, false);
    EXPECT_EQ(accumulator, 12.0);

    // Scan keeps each running result at its row.
    std::array<double, 3> out{};
    accumulator = 0.0;
    function->CallAccumulate(accumulator, values, out, false);
    EXPECT_EQ(out, (std::array<double, 3>{1.0, 3.0, 6.0}));

    // ScanRight walks from the last row; the first row holds the fold of all.
    accumulator = 0.0;
    function->CallAccumulate(accumulator, values, out, true);
    EXPECT_EQ(out, (std::array<double, 3>{6.0, 5.0, 3.0}));
    EXPECT_EQ(accumulator, 6.0);

    function->CallAccumulate(accumulator, {}, {}, true);
    EXPECT_EQ(accumulator, 6.0);

    // The accumulator may have another type than the column.
    auto const count = BindBinary<int, double, int>(lookup, L"count", StoreType::Int32, StoreType::Double)
                           .MakeRegularFunction();
    int n = 0;
    count->CallAccumulate(n, values, {}, false);
    EXPECT_EQ(n, 3);
}

TEST(BinaryFunctionTest, AccumulatingWithSpecialsPropagatesOrFollowsTheSpecialForm) {
    core::FunctionLookup const lookup = MakeLookup();
    std::array<double, 4> const values{1.0, 0.0, 2.0, 3.0};
    std::array<SpecialKind, 4> const specials{None, Null, None, None};
    std::array<double, 4> out{};
    std::array<SpecialKind, 4> outSpecials{};

    // A plain function's special form: once a special reaches the accumulator, it stays.
    auto const add = BindBinary<double, double, double>(lookup, L"add", StoreType::Double, StoreType::Double)
                         .MakeSpecialFunction();
    double accumulator = 0.0;
    SpecialKind accumulatorSpecial = None;
    add->CallAccumulate(accumulator, accumulatorSpecial, values, specials, out, outSpecials, false);
    EXPECT_EQ(out, (std::array<double, 4>{1.0, 0.0, 0.0, 0.0}));
    EXPECT_EQ(outSpecials, (std::array<SpecialKind, 4>{None, Null, Null, Null}));
    EXPECT_EQ(accumulatorSpecial, Null);

    // A special form decides for itself: this one skips null values, and a null initial value
    // takes the first present one.
    auto const present =
        BindBinary<double, double, double>(lookup, L"add_present", StoreType::Double, StoreType::Double);
    auto const function = present.MakeSpecialFunction();
    accumulator = 0.0;
    accumulatorSpecial = Null;
    function->CallAccumulate(accumulator, accumulatorSpecial, values, specials, out, outSpecials, true);
    EXPECT_EQ(out, (std::array<double, 4>{6.0, 5.0, 5.0, 3.0}));
    EXPECT_EQ(outSpecials, (std::array<SpecialKind, 4>{None, None, None, None}));
    accumulator = 0.0;
    accumulatorSpecial = None;
    function->CallAccumulate(accumulator, accumulatorSpecial, values, specials, {}, {}, false);
    EXPECT_EQ(accumulator, 6.0);
    function->CallAccumulate(accumulator, accumulatorSpecial, {}, {}, {}, {}, false);
    EXPECT_EQ(accumulator, 6.0);

    // Through a run over a column without specials, the regular form folds and the accumulator's
    // special is left as it is.
    core::BinaryFunctionRun<double, double, double> run(
        BindBinary<double, double, double>(lookup, L"add", StoreType::Double, StoreType::Double), false,
        nullptr);
    accumulator = 1.0;
    accumulatorSpecial = None;
    run.CallAccumulate(accumulator, accumulatorSpecial, values, {}, {}, {}, false);
    EXPECT_EQ(accumulator, 7.0);
}

TEST(BinaryFunctionTest, CreatorAndStatefulFormsAndTheRefusalToAccumulateAcrossTypes) {
    core::FunctionLookup const lookup = MakeLookup();
    auto const near = BindBinary<double, double, bool>(lookup, L"near", StoreType::Double, StoreType::Double);
    auto const function = near.MakeRegularFunction(Arguments({core::factory::MakeDouble(0.5)}));
    std::array<double, 3> const a{1.0, 2.0, 3.0};
    std::array<double, 3> const b{1.2, 3.0, 2.6};
    std::array<bool, 3> out{};
    function->CallBlock(a, b, out);
    EXPECT_EQ(out, (std::array<bool, 3>{true, false, true}));
    ExpectRuntimeError<core::ZelLogicException>(
        [&] {
            bool accumulator = false;
            function->CallAccumulate(accumulator, b, {}, false);
        },
        ZelError::UnsupportedOperation, "cannot accumulate");

    auto const numbered =
        BindBinary<double, double, double>(lookup, L"numbered", StoreType::Double, StoreType::Double);
    auto const stateful = numbered.MakeRegularFunction();
    std::array<double, 3> products{};
    stateful->CallBlock(a, a, products);
    EXPECT_EQ(products, (std::array<double, 3>{2.0, 6.0, 12.0}));
    double accumulator = 1.0;
    stateful->CallAccumulate(accumulator, a, {}, false);
    EXPECT_EQ(accumulator, ((1.0 * 1.0 + 4) * 2.0 + 5) * 3.0 + 6);
}

}  // namespace
}  // namespace zel::test
