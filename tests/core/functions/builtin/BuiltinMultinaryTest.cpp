// The multinary conditions and scalars, and the log output.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/functions/builtin/BuiltinTestSupport.h"
#include "support/CheckFailure.h"
#include "support/LogCapture.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelLog.h"

namespace zel::test::builtin {
namespace {

namespace f = core::factory;
using core::StoreValue;
using core::ZelDateTime;
using core::ZelError;
using Nested = std::shared_ptr<StoreValue>;

std::vector<KeySegmentType> TypesOf(CreatorArguments const& args) {
    std::vector<KeySegmentType> types;
    for (Nested const& value : args) {
        types.push_back(value ? value->GetKeySegmentType() : KeySegmentType());
    }
    return types;
}

// Calls the multinary function that the registry finds for the arguments' types.
template <class R>
R Call(std::wstring const& name, CreatorArguments args) {
    auto const& entry =
        Builtins().GetMultinaryFunctions().GetFunctions(core::FunctionKey(TStringCore(name), TypesOf(args)));
    EXPECT_EQ(entry.GetSignature(), std::type_index(typeid(core::MultinaryFunctionPointerT<R>)));
    auto const function = reinterpret_cast<core::MultinaryFunctionPointerT<R>>(entry.GetFunction());
    if constexpr (std::is_void_v<R>) {
        function(args);
    } else {
        return function(args);
    }
}

Nested Null(core::StoreTypeInfo const& type) {
    return f::MakeSpecial(type, SpecialKind::Null);
}

TEST(BuiltinMultinary, ConditionsCompareNumbersAcrossTypes) {
    EXPECT_TRUE(Call<bool>(L"gt", Args(f::MakeDouble(10.5), f::MakeInt32(10))));
    EXPECT_FALSE(Call<bool>(L"lt", Args(f::MakeInt64(1LL << 40), f::MakeInt32(5))));
    EXPECT_TRUE(Call<bool>(L"eq", Args(f::MakeInt64(9007199254740993LL), f::MakeInt64(9007199254740993LL))));
    EXPECT_FALSE(Call<bool>(L"eq", Args(f::MakeInt64(9007199254740993LL), f::MakeInt64(9007199254740992LL))));
    EXPECT_TRUE(Call<bool>(L"le", Args(f::MakeString(L"a"), f::MakeString(L"b"))));
    EXPECT_TRUE(Call<bool>(L"eq", Args(f::MakeDate(*ZelDateTime::Parse("2024-01-31")),
                                       f::MakeDateTime(*ZelDateTime::Parse("2024-01-31")))));
    // A missing value holds no condition, whichever.
    EXPECT_FALSE(Call<bool>(L"ne", Args(Null(StoreTypeInfo::Double), f::MakeDouble(1.0))));
    EXPECT_FALSE(Call<bool>(L"eq", Args(f::MakeDouble(1.0), nullptr)));
    EXPECT_TRUE(Call<bool>(L"is_null", Args(Null(StoreTypeInfo::Int32))));
    EXPECT_FALSE(Call<bool>(L"is_not_null", Args(nullptr)));
    EXPECT_TRUE(Call<bool>(L"and", Args(f::MakeBool(true), f::MakeInt32(3), f::MakeString(L"x"))));
    EXPECT_FALSE(Call<bool>(L"and", Args(f::MakeBool(true), Null(StoreTypeInfo::Bool))));
    EXPECT_TRUE(Call<bool>(L"or", Args(f::MakeBool(false), f::MakeDouble(0.5))));
    EXPECT_FALSE(Call<bool>(L"not", Args(Null(StoreTypeInfo::Bool))));
    EXPECT_TRUE(Call<bool>(L"not", Args(f::MakeBool(false))));
    EXPECT_TRUE(Call<bool>(L"always", {}));
    EXPECT_FALSE(Call<bool>(L"never", Args(f::MakeInt32(1))));

    ExpectRuntimeError([] { Call<bool>(L"gt", Args(f::MakeString(L"a"), f::MakeInt32(1))); },
                       ZelError::InvalidArgument, "gt: cannot compare string with int32");
    ExpectRuntimeError([] { Call<bool>(L"gt", Args(f::MakeInt32(1))); }, ZelError::InvalidArgument,
                       "gt: takes 2 arguments, not 1");
}

TEST(BuiltinMultinary, ScalarsOfTypedArguments) {
    EXPECT_EQ(Call<int>(L"max", Args(f::MakeInt32(-3), f::MakeInt32(2))), 2);
    EXPECT_EQ(Call<double>(L"min", Args(f::MakeDouble(-3.5), f::MakeDouble(2.0))), -3.5);
    EXPECT_EQ(
        Call<long long>(L"add", Args(f::MakeInt64(std::numeric_limits<long long>::max()), f::MakeInt64(1))),
        std::numeric_limits<long long>::min());
    EXPECT_EQ(
        Call<ZelDateTime>(L"max", Args(f::MakeDateTime(ZelDateTime(5)), f::MakeDateTime(ZelDateTime(7)))),
        ZelDateTime(7));
    EXPECT_EQ(Call<float>(L"if_else", Args(f::MakeBool(false), f::MakeFloat(1.0f), f::MakeFloat(2.0f))),
              2.0f);
    Nested const tuple = Call<Nested>(L"tuple", Args(f::MakeInt32(1), Null(StoreTypeInfo::String)));
    ASSERT_TRUE(tuple);
    EXPECT_EQ(core::SerializeValue(*tuple), TStringCore(L"(1, null)"));
    ExpectRuntimeError([] { Call<int>(L"max", Args(f::MakeInt32(1), Null(StoreTypeInfo::Int32))); },
                       ZelError::InvalidArgument, "max: argument 2 has no value");
}

TEST(BuiltinOutput, LogWritesOneLineAtInfo) {
    LogCapture capture;
    auto& logger = core::GetZelLogger();
    auto const threshold = logger.GetThreshold();
    logger.SetThreshold(core::ZelLogLevel::Info);
    auto many = std::make_unique<std::vector<unsigned long long>>(12);
    for (unsigned i = 0; i < many->size(); ++i) {
        (*many)[i] = i;
    }
    Call<void>(L"log",
               Args(f::MakeString(L"sum"), f::MakeDouble(1.5), Null(StoreTypeInfo::Int32),
                    core::factory::MakeArray<unsigned long long>(StoreTypeInfo::Int64, std::move(many))));
    logger.SetThreshold(core::ZelLogLevel::Warning);
    Call<void>(L"log", Args(f::MakeString(L"quiet")));
    logger.SetThreshold(threshold);
    EXPECT_EQ(capture.Text(), "[info] sum 1.5 null [0, 1, 2, 3, 4, 5, 6, 7, 8, 9] (12 elements)\n");
}

}  // namespace
}  // namespace zel::test::builtin
