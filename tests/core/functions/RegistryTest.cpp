// Registration and lookup: keys, fallbacks, info, listings and the text of a missing function.

#include <gtest/gtest.h>

#include "core/functions/FunctionTestSupport.h"
#include "zel/core/functions/ZelFunctions.h"

namespace zel::test {
namespace {

using core::FunctionKind;
using core::FunctionLookup;
using core::KeySegmentType;
using core::SpecialKind;
using core::StoreType;
using core::StoreTypeInfo;
using core::ZelError;

double Halve(double x) {
    return x / 2;
}

FunctionLookup MakeSampleLookup() {
    FunctionLookup lookup;
    lookup.RegisterUnary(L"negate", [](double x) { return -x; });
    lookup.RegisterUnary(L"negate", [](int x) { return -x; });
    lookup.RegisterUnary(L"multiply", [](double factor, double x) { return factor * x; });
    lookup.RegisterUnary(L"running_count", [](long long& n, double) { return ++n; });
    lookup.RegisterUnary(L"is_null", [](double, SpecialKind s) {
        return std::pair{s == SpecialKind::Null, SpecialKind::None};
    });
    lookup.RegisterUnary<&Halve>(L"halve");
    lookup.RegisterBinary(L"add", [](double a, double b) { return a + b; });
    lookup.RegisterMultinary(L"log", {}, [](core::CreatorArguments const&) {});
    lookup.RegisterMultinary(L"between", Types({StoreType::Double, StoreType::Double, StoreType::Double}),
                             [](core::CreatorArguments&) { return true; });
    return lookup;
}

TEST(RegistryTest, EntriesCarryTheirKeyFlagsAndPointers) {
    FunctionLookup const lookup = MakeSampleLookup();
    struct Row {
        wchar_t const* name;
        std::initializer_list<StoreType> inputs;
        FunctionKind kind;
        StoreType output;
        bool creator, stateful, regular, special;
    };
    using enum StoreType;
    using enum FunctionKind;
    // clang-format off
    Row const rows[] = {
        // name            inputs                    kind       output  creator stateful regular special
        {L"negate",        {Double},                 Unary,     Double, false,  false,   true,   true},
        {L"negate",        {Int32},                  Unary,     Int32,  false,  false,   true,   true},
        {L"multiply",      {Double},                 Unary,     Double, true,   false,   true,   true},
        {L"running_count", {Double},                 Unary,     Int64,  false,  true,    true,   true},
        {L"is_null",       {Double},                 Unary,     Bool,   false,  false,   false,  true},
        {L"halve",         {Double},                 Unary,     Double, false,  false,   true,   true},
        {L"add",           {Double, Double},         Binary,    Double, false,  false,   true,   true},
        {L"between",       {Double, Double, Double}, Multinary, Bool,   false,  false,   true,   false},
    };
    // clang-format on
    for (Row const& row : rows) {
        SCOPED_TRACE(TStringCore(row.name).ToUtf8());
        core::FunctionRegistry const* registry = &lookup.GetMultinaryFunctions();
        if (row.kind == FunctionKind::Unary) {
            registry = &lookup.GetUnaryFunctions();
        } else if (row.kind == FunctionKind::Binary) {
            registry = &lookup.GetBinaryFunctions();
        }
        core::RegisteredFunctions const& entry = registry->GetFunctions(Key(row.name, row.inputs));
        EXPECT_EQ(entry.GetFunctionName(), TStringCore(row.name));
        EXPECT_EQ(entry.GetKind(), row.kind);
        EXPECT_EQ(entry.GetOutputType(), Type(row.output));
        EXPECT_EQ(entry.IsCreator(), row.creator);
        EXPECT_EQ(entry.IsStateful(), row.stateful);
        EXPECT_EQ(entry.HasFunction(), row.regular);
        EXPECT_EQ(entry.GetSpecialFunction() != nullptr, row.special);

        core::FunctionInfo const& info = lookup.GetFunctionInfo(row.name, Types(row.inputs));
        EXPECT_EQ(info.GetOutputType(), row.output);
        EXPECT_EQ(info.GetOutputTypeInfo(), Type(row.output));
        EXPECT_EQ(info.IsCreator(), row.creator);
    }
}

TEST(RegistryTest, KeysFallBackToPlainTypesAndAnyTypeFunctions) {
    FunctionLookup lookup = MakeSampleLookup();
    lookup.RegisterUnary(L"length",
                         [](core::RIndirectString const& s) { return static_cast<int>(s.View().size()); });

    // An optional double column finds the function of plain doubles.
    KeySegmentType const optionalDouble(StoreTypeInfo(StoreType::Double, true));
    EXPECT_EQ(&lookup.GetUnaryFunctions().GetFunctions(core::FunctionKey(L"negate", {optionalDouble})),
              &lookup.GetUnaryFunctions().GetFunctions(Key(L"negate", {StoreType::Double})));
    // So does a collated string.
    KeySegmentType const german(StoreTypeInfo(StoreType::String, false, core::Collation::Named(L"de")));
    EXPECT_NO_THROW(lookup.GetUnaryFunctions().GetFunctions(core::FunctionKey(L"length", {german})));

    // A multinary function of any types serves every list, also an empty one.
    auto const& log =
        lookup.GetMultinaryFunctions().GetFunctions(Key(L"log", {StoreType::String, StoreType::Int32}));
    EXPECT_TRUE(log.AcceptsAnyInputTypes());
    EXPECT_EQ(&lookup.GetMultinaryFunctions().GetFunctions(Key(L"log", {})), &log);
    EXPECT_TRUE(lookup.GetFunctionInfo(L"log", {}).GetOutputTypeInfo() == KeySegmentType());
    EXPECT_EQ(lookup.FindFunctionInfo(L"nothing", {}), nullptr);
}

TEST(RegistryTest, InfoForAnArityComesFromThatRegistryOnly) {
    // One name in all three registries, with three output types; each arity sees its own entry.
    FunctionLookup lookup;
    lookup.RegisterUnary(L"pick", [](double x) { return x; });
    lookup.RegisterBinary(L"pick", [](double, double) { return 1; });
    lookup.RegisterMultinary(L"pick", Types({StoreType::Double}),
                             [](core::CreatorArguments&) { return true; });
    lookup.RegisterMultinary(L"pick", Types({StoreType::Double, StoreType::Double}),
                             [](core::CreatorArguments&) { return 2LL; });
    struct Row {
        FunctionKind kind;
        std::initializer_list<StoreType> inputs;
        StoreType output;
    };
    using enum StoreType;
    for (Row const& row :
         {Row{FunctionKind::Unary, {Double}, Double}, Row{FunctionKind::Binary, {Double, Double}, Int32},
          Row{FunctionKind::Multinary, {Double}, Bool},
          Row{FunctionKind::Multinary, {Double, Double}, Int64}}) {
        EXPECT_EQ(lookup.GetFunctionInfoIn(row.kind, L"pick", Types(row.inputs)).GetOutputType(), row.output)
            << FunctionKindName(row.kind) << " of " << row.inputs.size();
    }
    // A registry without the key fails there, even when another registry has it.
    lookup.RegisterUnary(L"only_unary", [](double x) { return x; });
    ExpectRuntimeError(
        [&] { lookup.GetFunctionInfoIn(FunctionKind::Multinary, L"only_unary", Types({Double})); },
        ZelError::FunctionMissing, "only_unary");
}

TEST(RegistryTest, AMissingFunctionNamesItselfTheTypesAskedForAndThoseRegistered) {
    FunctionLookup const lookup = MakeSampleLookup();
    ExpectRuntimeError(
        [&] { lookup.GetUnaryFunctions().GetFunctions(Key(L"negate", {StoreType::String})); },
        ZelError::FunctionMissing,
        "no unary function negate(string); registered under that name: negate(double) -> double, "
        "negate(int32) -> int32");
    ExpectRuntimeError(
        [&] { lookup.GetBinaryFunctions().GetFunctions(Key(L"subtract", {StoreType::Double})); },
        ZelError::FunctionMissing, "no binary function subtract(double); none is registered under that name");
    // The lookup's info names the registered functions of every arity.
    ExpectRuntimeError(
        [&] {
            lookup.GetFunctionInfo(L"add", Types({StoreType::Int32, StoreType::Int32}));
        },
        ZelError::FunctionMissing,
        "no function add(int32, int32); registered under that name: add(double, double) -> double "
        "(binary)");
    // A unary function is no binary one.
    ExpectRuntimeError([&] { lookup.GetBinaryFunctions().GetFunctions(Key(L"negate", {StoreType::Double})); },
                       ZelError::FunctionMissing, "no binary function negate(double)");
}

TEST(RegistryTest, RegistrationRefusesDuplicatesAndTypesItsCppTypesDoNotServe) {
    FunctionLookup lookup = MakeSampleLookup();
    ExpectRuntimeError([&] { lookup.RegisterUnary(L"negate", [](double x) { return x; }); },
                       ZelError::DuplicateKey,
                       "the unary function negate(double) -> double is registered already");
    ExpectRuntimeError([&] { lookup.RegisterMultinary(L"log", {}, [](core::CreatorArguments const&) {}); },
                       ZelError::DuplicateKey, "log(...)");
    ExpectRuntimeError<core::ZelLogicException>(
        [&] {
            lookup.RegisterUnary(L"bad", [](double x) { return x; }, {Types({StoreType::Int32}), {}});
        },
        ZelError::InvalidArgument, "function bad cannot be registered for type int32");
    ExpectRuntimeError<core::ZelLogicException>(
        [&] {
            lookup.RegisterBinary(L"bad", [](double a, double) { return a; },
                                  {Types({StoreType::Double}), {}});
        },
        ZelError::InvalidArgument, "function bad takes 2 input(s) and was registered with 1 type(s)");
    ExpectRuntimeError<core::ZelLogicException>(
        [&] {
            lookup.RegisterMultinary(
                L"bad", {}, [](core::CreatorArguments const&) {}, Type(StoreType::Double));
        },
        ZelError::InvalidArgument, "function bad cannot be registered for type double");
    // A multinary function of a string result returns it as a store value, which the machine expects.
    ExpectRuntimeError<core::ZelLogicException>(
        [&] {
            lookup.RegisterMultinary(
                L"bad", {}, [](core::CreatorArguments&) { return core::factory::MakeDouble(1); },
                Type(StoreType::Double));
        },
        ZelError::InvalidArgument, "function bad cannot be registered for type double");

    // Dates and tuples are named explicitly; the C++ type serves them.
    lookup.RegisterUnary(L"year", [](core::ZelDateTime d) { return d.GetFields().year; },
                         {Types({StoreType::Date}), {}});
    lookup.RegisterUnary(
        L"size", [](std::shared_ptr<core::StoreValue> const& t) { return static_cast<int>(t->GetCount()); },
        {Types({StoreType::Tuple}), {}});
    EXPECT_TRUE(lookup.GetUnaryFunctions().FindFunctions(Key(L"year", {StoreType::Date})));
    EXPECT_FALSE(lookup.GetUnaryFunctions().FindFunctions(Key(L"year", {StoreType::DateTime})));
    EXPECT_TRUE(lookup.GetUnaryFunctions().FindFunctions(Key(L"size", {StoreType::Tuple})));
}

TEST(RegistryTest, TheListingIsOrderedAndSaysWhatEachFunctionIs) {
    FunctionLookup const lookup = MakeSampleLookup();
    EXPECT_EQ(lookup.FormatFunctionList(),
              "add(double, double) -> double  binary\n"
              "between(double, double, double) -> bool  multinary\n"
              "halve(double) -> double  unary\n"
              "is_null(double) -> bool  unary special-only\n"
              "log(...) -> nothing  multinary\n"
              "multiply(double) -> double  unary creator\n"
              "negate(double) -> double  unary\n"
              "negate(int32) -> int32  unary\n"
              "running_count(double) -> int64  unary stateful\n");
    EXPECT_TRUE(FunctionLookup().ListFunctions().empty());
}

}  // namespace
}  // namespace zel::test
