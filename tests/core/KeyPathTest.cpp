#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <boost/unordered/unordered_set.hpp>

#include "support/CheckFailure.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/store/TypeLookup.h"

using namespace zel::core;
using zel::test::ExpectCheckFailure;
using zel::test::ExpectRuntimeError;

namespace {

KeySegmentType const c_arrayOfDouble(StoreTypeInfo::Array, StoreTypeInfo::Double);
KeySegmentType const c_arrayOfInt64(StoreTypeInfo::Array, StoreTypeInfo::Int64);

// a.b.c with the leaf typed.
KeyPath TypedPath(KeySegmentType const& leafType) {
    return KeyPath::FromTexts({L"a", L"b"}).Add(L"c", leafType);
}

bool HoldsSegmentsInline(KeyPath const& path) {
    auto const* data = reinterpret_cast<char const*>(path.GetSegments().data());
    auto const* self = reinterpret_cast<char const*>(&path);
    return data >= self && data < self + sizeof(KeyPath);
}

}  // namespace

TEST(KeyPaths, PartsOfAPathAndTheirChecks) {
    KeyPath const one(L"name");
    KeyPath const path = one.Add(L"x").Add(L"y", c_arrayOfInt64);
    ASSERT_EQ(path.GetCount(), 3u);
    EXPECT_EQ(path.GetSegment(1).GetSegment(), L"x");
    EXPECT_EQ(path.GetLeaf(), L"y");
    EXPECT_EQ(path.GetLeafSegmentType(), c_arrayOfInt64);
    EXPECT_EQ(path.GetParent(), KeyPath::FromTexts({L"name", L"x"}));
    EXPECT_EQ(one.GetCount(), 1u);  // Add made new paths
    KeyPath const copy = path;      // copies share their segments
    EXPECT_EQ(copy.GetSegments()[2].get(), path.GetSegments()[2].get());
    EXPECT_EQ(path.Slice(1), KeyPath::FromTexts({L"x"}).Add(L"y", c_arrayOfInt64));
    EXPECT_EQ(path.Slice(1, 1), KeyPath(L"x"));
    EXPECT_TRUE(path.Slice(5).IsEmpty());
    EXPECT_EQ(path.Slice(0, 2).Append(path.Slice(2)), path);

    KeyPath const empty;
    ExpectCheckFailure([&] { empty.GetParent(); }, ZelError::RangeViolation, "(!m_segments.empty())");
    ExpectCheckFailure([&] { empty.GetLeaf(); }, ZelError::RangeViolation, "(!m_segments.empty())");
    ExpectCheckFailure([&] { one.GetSegment(1); }, ZelError::RangeViolation, "(index < m_segments.size())");
    ExpectCheckFailure<ZelLogicException>([] { KeyPath(KeyPath::SegmentPtr()); }, ZelError::LogicFailure,
                                          "(segment) != nullptr");
}

TEST(KeyPaths, TypedPairCountsSegmentTypes) {
    KeyPath const doubles = TypedPath(c_arrayOfDouble);
    KeyPath const doublesAgain = TypedPath(c_arrayOfDouble);
    KeyPath const ints = TypedPath(c_arrayOfInt64);
    KeyPath const untyped = KeyPath::FromTexts({L"a", L"b", L"c"});
    EXPECT_EQ(doubles, doublesAgain);
    EXPECT_EQ(std::hash<KeyPath>{}(doubles), std::hash<KeyPath>{}(doublesAgain));
    EXPECT_EQ(hash_value(doubles), doubles.Hash());
    EXPECT_FALSE(doubles == ints);
    EXPECT_FALSE(doubles == untyped);
    EXPECT_FALSE(untyped == KeyPath::FromTexts({L"a", L"b"}));
    EXPECT_FALSE(KeyPath() == KeyPath(L""));

    // A string type's collation is part of its type.
    StoreTypeInfo const nocase(StoreType::String, false, Collation::Named(L"nocase"));
    EXPECT_FALSE(KeyPath(L"s", KeySegmentType(nocase)) ==
                 KeyPath(L"s", KeySegmentType(StoreTypeInfo::String)));

    // std and boost containers hash alike.
    EXPECT_EQ(std::hash<KeyPath>{}(doubles), hash_value(doubles));
}

TEST(KeyPaths, TypeAgnosticPairLooksOnlyAtTexts) {
    KeyPath const doubles = TypedPath(c_arrayOfDouble);
    KeyPath const ints = TypedPath(c_arrayOfInt64);
    KeyPath const untyped = KeyPath::Parse(L"a.b.c");
    KeyPath::KeyPathTypeAgnosticHash const hash;
    KeyPath::KeyPathTypeAgnosticEqualTo const equal;
    for (KeyPath const* other : {&ints, &untyped}) {
        EXPECT_TRUE(equal(doubles, *other));
        EXPECT_EQ(hash(doubles), hash(*other));
    }
    EXPECT_FALSE(doubles.TypeAgnosticEquals(KeyPath::Parse(L"a.b")));
    EXPECT_FALSE(doubles.TypeAgnosticEquals(KeyPath::Parse(L"a.b.C")));
    // Segment boundaries count: "a.b" is not the single segment "a.b".
    EXPECT_FALSE(KeyPath::Parse(L"a.b").TypeAgnosticEquals(KeyPath(L"a.b")));
    EXPECT_NE(hash(KeyPath::Parse(L"a.b")), hash(KeyPath(L"a.b")));

    boost::unordered_set<KeyPath, KeyPath::KeyPathTypeAgnosticHash, KeyPath::KeyPathTypeAgnosticEqualTo> set;
    set.insert(untyped);
    EXPECT_TRUE(set.contains(doubles));
    EXPECT_FALSE(set.insert(ints).second);
}

TEST(KeyPaths, PrefixesCompareTexts) {
    KeyPath const ab = KeyPath::Parse(L"a.b");
    KeyPath const abc = KeyPath::Parse(L"a.b.c");
    EXPECT_TRUE(ab.IsPrefixOf(abc));
    EXPECT_TRUE(ab.IsPrefixOf(ab));
    EXPECT_TRUE(KeyPath().IsPrefixOf(abc));
    EXPECT_FALSE(abc.IsPrefixOf(ab));
    EXPECT_FALSE(KeyPath::Parse(L"a.c").IsPrefixOf(abc));
    EXPECT_FALSE(KeyPath(L"a.b").IsPrefixOf(abc));
    EXPECT_FALSE(ab.IsPrefixOf(KeyPath()));
    // A program's untyped path is a prefix of the store's typed one.
    KeyPath const init(L"~init", KeySegmentType(StoreTypeInfo::KeyMap));
    EXPECT_TRUE(KeyPath(L"~init").IsPrefixOf(init.Add(L"x")));
    EXPECT_TRUE(init.IsPrefixOf(KeyPath::Parse(L"~init.x")));
}

TEST(KeyPaths, TextFormQuotesOnlyWhatNeedsIt) {
    EXPECT_EQ(KeyPath().ToString(), L"");
    EXPECT_EQ(KeyPath::FromTexts({L"a", L"b2", L"~init", L"\u00f6l"}).ToString(), L"a.b2.~init.\u00f6l");
    EXPECT_EQ(KeyPath(L"").ToString(), L"\"\"");
    EXPECT_EQ(KeyPath::FromTexts({L"x", L"a.b"}).ToString(), L"x.\"a.b\"");
    EXPECT_EQ(KeyPath(L"say \"hi\"").ToString(), L"\"say \\\"hi\\\"\"");
    EXPECT_EQ(KeyPath(L"back\\slash").ToString(), L"\"back\\\\slash\"");
    EXPECT_EQ(KeyPath(L"tab\tnew\nret\r").ToString(), L"\"tab\\tnew\\nret\\r\"");
    EXPECT_EQ(KeyPath(L"bell\u0007").ToString(), L"\"bell\\u{7}\"");
    EXPECT_EQ(KeyPath(L"no\u00a0break").ToString(), L"\"no\u00a0break\"");
    EXPECT_EQ(KeyPath(L"zero\u200bwidth").ToString(), L"\"zero\\u{200B}width\"");
    EXPECT_EQ(TypedPath(c_arrayOfDouble).ToString(), L"a.b.c");  // types do not show
}

TEST(KeyPaths, ParseIsTheInverseOfToString) {
    std::wstring notUnicode = L"x";
    notUnicode += static_cast<wchar_t>(0xD800);
    notUnicode += static_cast<wchar_t>(0x110000);
    notUnicode += static_cast<wchar_t>(-1);
    std::vector<TStringCore> awkward;
    for (wchar_t const* text :
         {L"plain", L"", L".", L"..", L"a.b", L"\"", L"\\", L"\\\"", L" lead", L"trail ", L"tab\there",
          L"line\nbreak", L"\u2028", L"\u0001\u001f\u007f\u0085", L"\u00f6\u4e2d\U0001F600", L"~init",
          L"u{41}", L"\\u{41}"}) {
        awkward.emplace_back(text);
    }
    awkward.push_back(TStringCore(notUnicode));
    awkward.push_back(TStringCore(std::wstring(L"nul\0inside", 10)));
    for (auto const& text : awkward) {
        KeyPath const single(text);
        EXPECT_EQ(KeyPath::Parse(single.ToString()), single) << single.ToString();
    }
    KeyPath const all = KeyPath::FromTexts(awkward);
    EXPECT_EQ(KeyPath::Parse(all.ToString()), all);
    EXPECT_TRUE(KeyPath::Parse(L"").IsEmpty());
    // Readable unquoted forms that ToString would quote are accepted too.
    EXPECT_EQ(KeyPath::Parse(L"a b.c"), KeyPath::FromTexts({L"a b", L"c"}));
    EXPECT_EQ(KeyPath::Parse(L"\"\\u{1F600}\""), KeyPath(L"\U0001F600"));
}

TEST(KeyPaths, ParseRejectsMalformedText) {
    for (wchar_t const* text :
         {L".", L"a.", L".a", L"a..b", L"\"open", L"\"a\"b", L"\"a\".", L"a\"b\"", L"a\\b", L"\"\\q\"",
          L"\"\\\"", L"\"\\u41\"", L"\"\\u{}\"", L"\"\\u{123456789}\"", L"\"\\u{12\"", L"\"\\u{zz}\""}) {
        ExpectRuntimeError([&] { KeyPath::Parse(text); }, ZelError::KeyPathSyntaxError, "offset");
    }
}

TEST(KeyPaths, UpToEightSegmentsLiveInsideThePath) {
    std::vector<TStringCore> texts;
    for (int i = 0; i < 9; ++i) {
        texts.push_back(TStringCore(std::to_wstring(i)));
    }
    KeyPath const eight = KeyPath::FromTexts(std::span<TStringCore const>(texts.data(), 8));
    EXPECT_TRUE(HoldsSegmentsInline(eight));
    KeyPath const grown = KeyPath::FromTexts(std::span<TStringCore const>(texts.data(), 7)).Add(L"7");
    EXPECT_TRUE(HoldsSegmentsInline(grown));
    EXPECT_TRUE(HoldsSegmentsInline(KeyPath(grown)));
    EXPECT_TRUE(HoldsSegmentsInline(KeyPath::Parse(L"a.b.c.d.e.f.g.h")));
    KeyPath const nine = KeyPath::FromTexts(texts);
    EXPECT_FALSE(HoldsSegmentsInline(nine));
    EXPECT_EQ(eight.Add(L"8"), nine);
}

TEST(TypeLookups, AnswerFromTheLeafSegmentOrFromAResolverFirst) {
    KeyPathTypeLookup const byPath;
    ITypeLookup const& base = byPath;
    KeyPath const path = KeyPath(L"t", KeySegmentType(StoreTypeInfo::KeyMap)).Add(L"col", c_arrayOfDouble);
    EXPECT_EQ(base.GetKeySegmentType(path), c_arrayOfDouble);
    EXPECT_EQ(base.GetStoreType(path), StoreType::Array);
    EXPECT_EQ(base.GetChildStoreType(path), StoreType::Double);
    EXPECT_EQ(base.GetStoreType(path.GetParent()), StoreType::KeyMap);
    EXPECT_EQ(base.GetChildStoreType(path.GetParent()), StoreType::Empty);
    EXPECT_EQ(base.GetStoreType(KeyPath(L"untyped")), StoreType::Empty);
    EXPECT_FALSE(base.GetKeySegmentType(KeyPath()).HasType());

    KeyPath const known = KeyPath::Parse(L"store.values");
    KeyPathTypeLookup const resolved([known](KeyPath const& p) {
        return p.TypeAgnosticEquals(known) ? c_arrayOfInt64 : KeySegmentType();
    });
    // The resolver wins over a type the path carries; paths it does not know keep their own type.
    EXPECT_EQ(resolved.GetChildStoreType(KeyPath(L"store").Add(L"values", c_arrayOfDouble)),
              StoreType::Int64);
    EXPECT_EQ(resolved.GetChildStoreType(KeyPath(L"other", c_arrayOfDouble)), StoreType::Double);
    EXPECT_EQ(resolved.GetStoreType(KeyPath(L"missing")), StoreType::Empty);
}
