// Tuples, key-set lookup and the accumulators of Reduce and Scan.

#include <gtest/gtest.h>

#include <bit>

#include "core/functions/builtin/BuiltinTestSupport.h"
#include "support/CheckFailure.h"
#include "zel/core/store/KeySet.h"

namespace zel::test::builtin {
namespace {

namespace f = core::factory;
using core::RIndirectString;
using core::StoreValue;
using core::ZelDateTime;
using Nested = std::shared_ptr<StoreValue>;
using Text = RIndirectString;

KeySegmentType const c_tuple(StoreTypeInfo::Tuple);

Nested Row3() {
    return f::MakeTuple({f::MakeInt32(7), f::MakeDouble(2.5), f::MakeString(L"x"), nullptr,
                         f::MakeSpecial(StoreTypeInfo::Double, SpecialKind::Error), f::MakeBool(true)});
}

TEST(BuiltinTuples, ElementsConvertOrGiveSpecials) {
    Nested const t = Row3();
    EXPECT_EQ((Unary<Nested, long long>(L"length", V(t), {}, c_tuple)), V(6LL));
    EXPECT_EQ((Unary<Nested, double>(L"get_double", V(t), Args(f::MakeInt32(0)), c_tuple)), V(7.0));
    EXPECT_EQ((Unary<Nested, long long>(L"get_int64", V(t), Args(f::MakeInt32(1)), c_tuple)), V(2LL));
    EXPECT_EQ((Unary<Nested, float>(L"get_float", V(t), Args(f::MakeInt32(5)), c_tuple)), V(1.0f));
    EXPECT_EQ((Unary<Nested, double>(L"get_double", V(t), Args(f::MakeInt32(2)), c_tuple)), S<double>(Error));
    EXPECT_EQ((Unary<Nested, double>(L"get_double", V(t), Args(f::MakeInt32(3)), c_tuple)), S<double>(Null));
    EXPECT_EQ((Unary<Nested, double>(L"get_double", V(t), Args(f::MakeInt32(4)), c_tuple)), S<double>(Error));
    EXPECT_EQ((Unary<Nested, double>(L"get_double", V(t), Args(f::MakeInt32(6)), c_tuple)), S<double>(Error));
    EXPECT_EQ((Unary<Nested, double>(L"get_double", V(t), Args(f::MakeInt32(-1)), c_tuple)),
              S<double>(Error));
    auto const element = Unary<Nested, Nested>(L"get", V(t), Args(f::MakeInt32(2)), c_tuple);
    ASSERT_TRUE(element.first);
    EXPECT_TRUE(element.first->Equals(*f::MakeString(L"x")));
    EXPECT_EQ((Binary<Nested, int, double>(L"get_double", V(t), V(1), {}, c_tuple)), V(2.5));
    EXPECT_EQ((Binary<bool, Nested, int>(L"pick_int32", V(true), V(t), Args(f::MakeInt32(0)), std::nullopt,
                                         c_tuple)),
              V(7));
    EXPECT_EQ((Binary<bool, Nested, float>(L"pick_float", V(false), V(t), Args(f::MakeInt32(0)), std::nullopt,
                                           c_tuple)),
              S<float>(Null));
    EXPECT_EQ((Binary<Nested, bool, int>(L"pick_int32", V(t), V(true), Args(f::MakeInt32(1)), c_tuple)),
              V(2));
    Nested const dated = f::MakeTuple({f::MakeDate(*ZelDateTime::Parse("2024-01-31"))});
    EXPECT_EQ((Binary<bool, Nested, ZelDateTime>(L"pick_datetime", V(true), V(dated), Args(f::MakeInt32(0)),
                                                 std::nullopt, c_tuple)),
              V(*ZelDateTime::Parse("2024-01-31")));
    // A number plus the numeric elements, Bools counting as 0 or 1; the rest is skipped.
    EXPECT_EQ((Binary<double, Nested, double>(L"add", V(0.5), V(t), {}, std::nullopt, c_tuple)), V(11.0));
}

TEST(BuiltinTuples, MaskAndWhereKeepRowsWhereTheFlagHolds) {
    EXPECT_EQ((Binary<double, bool, double>(L"mask", V(1.5), V(true))), V(1.5));
    EXPECT_EQ((Binary<double, bool, double>(L"mask", V(1.5), V(false))), S<double>(Null));
    EXPECT_EQ((Binary<double, bool, double>(L"mask", S<double>(Error), V(false))), S<double>(Error));
    EXPECT_EQ((Binary<bool, int, int>(L"where", V(false), V(3))), S<int>(Null));
    EXPECT_EQ((Binary<bool, int, int>(L"where", V(true), V(3))), V(3));
    Nested const t = Row3();
    EXPECT_EQ((Binary<Nested, bool, Nested>(L"mask", V(t), V(true), {}, c_tuple)), V(t));
}

TEST(BuiltinLookup, KeysMapToValuesAndMissingKeysToNull) {
    auto map = core::MakeKeySetMap<RIndirectString, RIndirectString>(StoreTypeInfo::String);
    map->emplace(RIndirectString(L"de"), RIndirectString(L"Germany"));
    auto specials = std::make_unique<core::KeySetSpecialMap<RIndirectString>>();
    specials->emplace(SpecialKind::Null, RIndirectString(L"unknown"));
    Nested const names = f::MakeKeySet<RIndirectString, RIndirectString>(
        StoreTypeInfo::String, StoreTypeInfo::String, StoreTypeInfo::Empty, std::move(map),
        std::move(specials));
    auto lookup = MakeUnary<Text, Text>(L"lookup", Args(names));
    EXPECT_EQ(Eval(lookup, V(Text(L"de"))), V(Text(L"Germany")));
    EXPECT_EQ(Eval(lookup, V(Text(L"fr"))), S<Text>(Null));
    EXPECT_EQ(Eval(lookup, S<Text>(Null)), V(Text(L"unknown")));
    EXPECT_EQ(Eval(lookup, S<Text>(Error)), S<Text>(Error));

    auto ids = core::MakeKeySetMap<unsigned int, unsigned long long>(StoreTypeInfo::Int32);
    ids->emplace(std::bit_cast<unsigned int>(-4), std::bit_cast<unsigned long long>(0.25));
    Nested const weights = f::MakeKeySet<unsigned int, unsigned long long>(
        StoreTypeInfo::Int32, StoreTypeInfo::Double, StoreTypeInfo::Empty, std::move(ids), nullptr);
    EXPECT_EQ((Unary<int, double>(L"lookup_double", V(-4), Args(weights))), V(0.25));
    // A key set of other types is refused when the first row is read.
    auto wrong = MakeUnary<int, Text>(L"lookup_string", Args(weights));
    ExpectRuntimeError([&] { wrong.special->Call(1, SpecialKind::None); }, core::ZelError::InvalidArgument,
                       "lookup");
}

TEST(BuiltinAggregation, CountAnyAllSkipSpecialsWhileMinMaxPropagate) {
    auto count = MakeBinary<int, double, int>(L"count");
    ASSERT_TRUE(count.regular && count.special);
    std::vector<double> values{1.0, 0.0, 3.0, 4.0};
    std::vector<SpecialKind> specials{SpecialKind::None, Null, SpecialKind::None, Error};
    std::vector<int> running(4);
    std::vector<SpecialKind> runningSpecials(4);
    int acc = 0;
    SpecialKind accSpecial = SpecialKind::None;
    count.special->CallAccumulate(acc, accSpecial, values, specials, running, runningSpecials, false);
    EXPECT_EQ(acc, 2);
    EXPECT_EQ(running, (std::vector<int>{1, 1, 2, 2}));
    acc = 0;
    count.regular->CallAccumulate(acc, values, {}, false);
    EXPECT_EQ(acc, 4);
    // A special initial value stays.
    acc = 0;
    accSpecial = Null;
    count.special->CallAccumulate(acc, accSpecial, values, specials, {}, {}, false);
    EXPECT_EQ(accSpecial, Null);

    EXPECT_EQ((Binary<bool, RIndirectString, bool>(L"any", V(false), V(RIndirectString(L"x")))), V(true));
    EXPECT_EQ((Binary<bool, RIndirectString, bool>(L"any", V(false), S<RIndirectString>(Null))), V(false));
    EXPECT_EQ((Binary<bool, double, bool>(L"all", V(true), S<double>(Null))), V(false));
    EXPECT_EQ((Binary<bool, double, bool>(L"all", V(true), V(2.0))), V(true));
    EXPECT_EQ((Binary<bool, Nested, bool>(L"any", V(false), V(Row3()), {}, std::nullopt, c_tuple)), V(true));
    EXPECT_EQ((Binary<int, Nested, int>(L"count", V(1), V(Row3()), {}, std::nullopt, c_tuple)), V(2));

    EXPECT_EQ((Binary<Text, Text, Text>(L"min", V(Text(L"b")), V(Text(L"a")))), V(Text(L"a")));
    EXPECT_EQ((Binary<Text, Text, Text>(L"max", V(Text(L"b")), S<Text>(Null))), S<Text>(Null));
    EXPECT_EQ((Binary<ZelDateTime, ZelDateTime, ZelDateTime>(L"max", V(ZelDateTime(5)), V(ZelDateTime(9)))),
              V(ZelDateTime(9)));
    EXPECT_EQ((Binary<bool, bool, bool>(L"min", V(true), V(false))), V(false));

    // Scan of strings with concat, from the right.
    auto concat = MakeBinary<Text, Text, Text>(L"concat");
    std::vector<Text> parts{Text(L"a"), Text(L"b"), Text(L"c")};
    std::vector<Text> out(3);
    Text text;
    concat.regular->CallAccumulate(text, parts, out, true);
    EXPECT_EQ(out, (std::vector<Text>{Text(L"cba"), Text(L"cb"), Text(L"c")}));
}

}  // namespace
}  // namespace zel::test::builtin
