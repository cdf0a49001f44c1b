// The wrappers that bind registry entries: every check with its condition text, code and file,
// the output type checks at binding, and the refusal of pointers of other types.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "core/functions/FunctionTestSupport.h"
#include "zel/core/functions/ZelFunctions.h"

namespace zel::test {
namespace {

using core::CreatorArguments;
using core::FunctionKind;
using core::RegisteredFunctions;
using core::StoreType;
using core::ZelError;

constexpr char const* c_header = "code/core/public/zel/core/functions/ZelFunctions.h";

auto const c_plusOne = [](double x) { return x + 1; };
auto const c_plus = [](double a, double b) { return a + b; };

using UnaryFactories = core::detail::Factories<std::decay_t<decltype(c_plusOne)>, 1>;
using BinaryFactories = core::detail::Factories<std::decay_t<decltype(c_plus)>, 2>;

// An entry made by hand: the flags and the pointers are what the row says, whatever the callable.
template <class Factories>
RegisteredFunctions Entry(FunctionKind kind, bool creator, bool regular, bool special) {
    auto const regularFactory = regular ? Factories::RegularFactory() : nullptr;
    auto const specialFactory = special ? Factories::SpecialFactory() : nullptr;
    auto const types = kind == FunctionKind::Binary ? Types({StoreType::Double, StoreType::Double})
                                                    : Types({StoreType::Double});
    return RegisteredFunctions::Make(kind, core::FunctionKey(L"f", types), Type(StoreType::Double), creator,
                                     false, regularFactory, specialFactory);
}

void NoFunction() {}

enum class Make { Regular, Special, RegularCreator, SpecialCreator };

struct CheckRow {
    bool creator, regular, special;
    Make make;
    ZelError error;
    char const* condition;
};

CheckRow const c_checkRows[] = {
    {true, true, true, Make::Regular, ZelError::FunctionIsCreator, "!(m_isCreator)"},
    {false, false, true, Make::Regular, ZelError::FunctionMissing, "(m_regularFactory) != nullptr"},
    {true, true, true, Make::Special, ZelError::FunctionIsCreator, "!(m_isCreator)"},
    {false, true, false, Make::Special, ZelError::FunctionMissing, "(m_specialFactory) != nullptr"},
    {false, true, true, Make::RegularCreator, ZelError::FunctionNotCreator, "(m_isCreator)"},
    {true, false, true, Make::RegularCreator, ZelError::FunctionMissing, "(m_regularFactory) != nullptr"},
    {false, true, true, Make::SpecialCreator, ZelError::FunctionNotCreator, "(m_isCreator)"},
    {true, true, false, Make::SpecialCreator, ZelError::FunctionMissing, "(m_specialFactory) != nullptr"},
};

template <class Wrapper>
void MakeObject(Wrapper const& wrapper, Make make) {
    CreatorArguments const arguments;
    switch (make) {
        case Make::Regular:
            wrapper.MakeRegularFunction();
            break;
        case Make::Special:
            wrapper.MakeSpecialFunction();
            break;
        case Make::RegularCreator:
            wrapper.MakeRegularFunction(arguments);
            break;
        case Make::SpecialCreator:
            wrapper.MakeSpecialFunction(arguments);
            break;
    }
}

TEST(BindingTest, EachWayOfMakingAnObjectChecksTheKindAndThenTheFactory) {
    for (CheckRow const& row : c_checkRows) {
        SCOPED_TRACE(row.condition);
        core::ZelFunctions<double, double> const unary(
            Entry<UnaryFactories>(FunctionKind::Unary, row.creator, row.regular, row.special));
        ExpectCheckFailure([&] { MakeObject(unary, row.make); }, row.error, row.condition,
                           CheckSite{c_header});
        core::ZelFunctions<double, double, double> const binary(
            Entry<BinaryFactories>(FunctionKind::Binary, row.creator, row.regular, row.special));
        ExpectCheckFailure([&] { MakeObject(binary, row.make); }, row.error, row.condition,
                           CheckSite{c_header});
    }
}

TEST(BindingTest, AnEntryWithNeitherFactoryIsRefusedAndOneWithOnlyASpecialOneBinds) {
    ExpectCheckFailure(
        [] {
            core::ZelFunctions<double, double>(
                Entry<UnaryFactories>(FunctionKind::Unary, false, false, false));
        },
        ZelError::FunctionMissing, "(m_regularFactory || m_specialFactory)", CheckSite{c_header});
    ExpectCheckFailure(
        [] {
            core::ZelFunctions<double, double, double>(
                Entry<BinaryFactories>(FunctionKind::Binary, false, false, false));
        },
        ZelError::FunctionMissing, "(m_regularFactory || m_specialFactory)", CheckSite{c_header});

    RegisteredFunctions const specialOnly = Entry<UnaryFactories>(FunctionKind::Unary, false, false, true);
    core::ZelFunctions<double, double> const wrapper(specialOnly);
    EXPECT_TRUE(wrapper.UseSpecialFunction(false));
    EXPECT_EQ(wrapper.MakeSpecialFunction()->Call(1.0, core::SpecialKind::None).first, 2.0);
    ExpectCheckFailure([&] { wrapper.MakeRegularFunction(); }, ZelError::FunctionMissing,
                       "(m_regularFactory) != nullptr");

    // An unbound wrapper has nothing to make.
    ExpectCheckFailure([] { core::ZelFunctions<double, double>().MakeRegularFunction(); },
                       ZelError::FunctionMissing, "(m_regularFactory) != nullptr");
}

TEST(BindingTest, TheSpecialFormIsChosenForSpecialsOrWhenNoRegularFormExists) {
    core::ZelFunctions<double, double> const both(
        Entry<UnaryFactories>(FunctionKind::Unary, false, true, true));
    core::ZelFunctions<double, double> const regularOnly(
        Entry<UnaryFactories>(FunctionKind::Unary, false, true, false));
    EXPECT_FALSE(both.UseSpecialFunction(false));
    EXPECT_TRUE(both.UseSpecialFunction(true));
    EXPECT_FALSE(regularOnly.UseSpecialFunction(true));
    core::UnaryFunctionRun<double, double> run(regularOnly, true, nullptr);
    EXPECT_FALSE(run.IsSpecial());
    // The regular form does not read specials and reports none.
    EXPECT_EQ(run.Call(1.0, core::SpecialKind::Null), (std::pair{2.0, core::SpecialKind::None}));
}

TEST(BindingTest, BindingChecksTheOutputTypeAndTheTypesOfThePointers) {
    core::FunctionLookup lookup;
    lookup.RegisterUnary(L"half", [](double x) { return x / 2; });
    lookup.RegisterUnary(L"day", [](core::ZelDateTime d) { return d; },
                         {Types({StoreType::Date}), Type(StoreType::Date)});
    lookup.RegisterBinary(L"less", [](double a, double b) { return a < b; });
    auto const half = Key(L"half", {StoreType::Double});

    using Half = core::ZelFunctions<double, double>;
    EXPECT_EQ(Half::Bind(lookup, half, StoreType::Double).GetName(), L"half");
    ExpectPlainThrow([&] { core::ZelFunctions<double, double>::Bind(lookup, half, StoreType::Float); },
                     ZelError::FunctionTypeMismatch, "half");
    ExpectPlainThrow(
        [&] {
            core::ZelFunctions<double, bool, double>::Bind(
                lookup, Key(L"less", {StoreType::Double, StoreType::Double}), StoreType::Double);
        },
        ZelError::FunctionTypeMismatch, "less");
    // ZelDateTime serves a Date output as well as a DateTime one.
    EXPECT_NO_THROW((core::ZelFunctions<core::ZelDateTime, core::ZelDateTime>::BindServed(
        lookup.GetUnaryFunctions(), Key(L"day", {StoreType::Date}))));
    ExpectPlainThrow([&] { core::ZelFunctions<double, float>::BindServed(lookup.GetUnaryFunctions(), half); },
                     ZelError::FunctionTypeMismatch, "half");
    // A wrapper of other C++ types than the entry's pointers is a broken invariant, not a call
    // through a mismatched pointer.
    ExpectRuntimeError<core::ZelLogicException>(
        [&] { core::ZelFunctions<int, double>(lookup.GetUnaryFunctions().GetFunctions(half)); },
        ZelError::FunctionTypeMismatch, "half(double) -> double");
}

TEST(BindingTest, MultinaryBindingRefusesCreatorsWrongOutputsAndEntriesWithoutAFunction) {
    core::FunctionLookup lookup;
    lookup.RegisterMultinary(L"positive", Types({StoreType::Double}), [](CreatorArguments& args) {
        return core::FetchStoreValue<double>(args[0]) > 0;
    });
    lookup.RegisterMultinary(L"log", {}, [](CreatorArguments const&) {});
    lookup.RegisterMultinary(
        L"when", Types({StoreType::Date}), [](CreatorArguments&) { return core::ZelDateTime(); },
        Type(StoreType::Date));
    lookup.RegisterMultinary(
        L"name", {}, [](CreatorArguments&) { return core::factory::MakeString(L"x"); },
        Type(StoreType::String));
    auto const nothing = static_cast<RegisteredFunctions::UntypedPointer>(nullptr);
    RegisteredFunctions::UntypedPointer const somePointer = &NoFunction;
    lookup.Register(RegisteredFunctions(FunctionKind::Multinary, Key(L"creator", {}), Type(StoreType::Bool),
                                        true, false, somePointer, typeid(int), nothing, typeid(nullptr)));
    RegisteredFunctions const specialOnly(FunctionKind::Multinary, Key(L"special", {}), Type(StoreType::Bool),
                                          false, false, nothing, typeid(nullptr), somePointer, typeid(int));

    auto const positive = Key(L"positive", {StoreType::Double});
    auto const condition = core::ZelMultinaryFunction<bool>::Bind(lookup, positive);
    CreatorArguments arguments{core::factory::MakeDouble(2.5)};
    EXPECT_TRUE(condition(arguments));
    EXPECT_EQ(condition.GetName(), L"positive");

    ExpectPlainThrow([&] { core::ZelMultinaryFunction<bool>::Bind(lookup, Key(L"creator", {})); },
                     ZelError::FunctionKindMismatch, "creator");
    ExpectPlainThrow([&] { core::ZelMultinaryFunction<void>::Bind(lookup, positive); },
                     ZelError::FunctionTypeMismatch, "positive");
    ExpectPlainThrow([&] { core::ZelMultinaryFunction<int>::Bind(lookup, positive); },
                     ZelError::FunctionTypeMismatch, "positive");
    // A function for its effect has the empty output type; ZelDateTime takes a Date, and a shared
    // value takes any output type.
    EXPECT_NO_THROW(core::ZelMultinaryFunction<void>::Bind(lookup, Key(L"log", {StoreType::Int32})));
    EXPECT_NO_THROW(
        core::ZelMultinaryFunction<core::ZelDateTime>::Bind(lookup, Key(L"when", {StoreType::Date})));
    EXPECT_NO_THROW(
        core::ZelMultinaryFunction<std::shared_ptr<core::StoreValue>>::Bind(lookup, Key(L"name", {})));

    ExpectCheckFailure([&] { core::ZelMultinaryFunction<bool>{specialOnly}; }, ZelError::FunctionMissing,
                       "(m_f)", CheckSite{c_header});
    EXPECT_THROW(core::ZelMultinaryFunction<bool>()(arguments), std::bad_function_call);
}

}  // namespace
}  // namespace zel::test
