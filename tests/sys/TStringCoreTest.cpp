#include "vorsys/string/TStringCore.h"

#include <gtest/gtest.h>

#include <boost/unordered/unordered_flat_set.hpp>

TEST(TStringCore, ConstructsConcatenatesAndCompares) {
    EXPECT_TRUE(TStringCore(nullptr).isEmpty());
    EXPECT_EQ(TStringCore(L"abcdef", 3), L"abc");
    EXPECT_EQ(TStringCore(L"abc", -1), L"abc");
    EXPECT_EQ(TStringCore(L"a\0b", 3).size(), 3u);  // a counted text may hold NUL
    EXPECT_EQ(TStringCore(L'x', 3), L"xxx");
    EXPECT_TRUE(TStringCore(L'x', -2).isEmpty());

    TStringCore const a(L"ab");
    EXPECT_EQ(L"cd" + a, L"cdab");
    EXPECT_EQ(L'!' + a, L"!ab");
    EXPECT_EQ(TStringCore(L"x") + a + L"y" + L'z', L"xabyz");
    TStringCore s;
    s += a;
    s += L'-';
    s += static_cast<wchar_t const*>(nullptr);
    EXPECT_EQ(s, L"ab-");
    EXPECT_EQ(a, L"ab");  // operands are unchanged
    EXPECT_TRUE(L"ab" == a);
    EXPECT_TRUE(a != L"abc");
    EXPECT_TRUE(TStringCore() == static_cast<wchar_t const*>(nullptr));
    EXPECT_LT(TStringCore(L"ab"), TStringCore(L"b"));
}

// A text owns its storage: it grows by appends, takes a part of itself, and a copy or a move leaves
// each text whole and terminated.
TEST(TStringCore, GrowsAndTakesPartsOfItselfWithoutLosingACharacter) {
    TStringCore built;
    std::wstring expected;
    for (int i = 0; i < 1000; ++i) {
        wchar_t const c = static_cast<wchar_t>(L'a' + i % 26);
        built += c;
        expected += c;
    }
    EXPECT_EQ(built.view(), expected);
    EXPECT_GE(built.capacity(), built.size());
    EXPECT_EQ(built.c_str()[built.size()], L'\0');

    TStringCore self(L"abc");
    self += self;  // the appended text is the one that grows
    EXPECT_EQ(self, L"abcabc");
    self += self.c_str() + 4;
    EXPECT_EQ(self, L"abcabcbc");
    self = self.c_str() + 2;  // a shorter part of itself, in place
    EXPECT_EQ(self, L"cabcbc");
    TStringCore const& alias = self;
    self = alias;
    EXPECT_EQ(self, L"cabcbc");

    TStringCore moved(std::move(self));
    EXPECT_EQ(moved, L"cabcbc");
    EXPECT_TRUE(self.isEmpty());  // NOLINT: a moved-from text is empty and usable
    self += L"again";
    EXPECT_EQ(self, L"again");
    moved = std::move(self);
    EXPECT_EQ(moved, L"again");
    EXPECT_EQ(moved.c_str()[moved.size()], L'\0');

    // Empty texts own nothing, and adding or assigning nothing keeps it so.
    TStringCore empty;
    empty += L"";
    empty += TStringCore();
    empty = L"";
    empty = TStringCore();
    empty = static_cast<wchar_t const*>(nullptr);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.capacity(), 0u);
    EXPECT_EQ(empty.c_str()[0], L'\0');
    EXPECT_TRUE(TStringCore::FromUtf8("").isEmpty());
    moved = L"";
    EXPECT_TRUE(moved.isEmpty());
    EXPECT_EQ(moved.c_str()[0], L'\0');
}

TEST(TStringCore, StartsWithAndReplaceHonourCaseSensitivity) {
    EXPECT_TRUE(TStringCore(L"~Init").startsWith(L'~'));
    EXPECT_FALSE(TStringCore().startsWith(L'~'));
    EXPECT_FALSE(TStringCore(L"abc").startsWith(L'A'));
    EXPECT_TRUE(TStringCore(L"abc").startsWith(L'A', CaseSensitivity::CaseInsensitive));
    EXPECT_TRUE(TStringCore(L"\u00e9t\u00e9").startsWith(L'\u00c9', CaseSensitivity::CaseInsensitive));

    TStringCore r(L"a|B|b|c");
    r.replace(L'|', L'?');
    EXPECT_EQ(r, L"a?B?b?c");
    r.replace(L'b', L'x', CaseSensitivity::CaseInsensitive);
    EXPECT_EQ(r, L"a?x?x?c");
}

TEST(TStringCore, RoundTripsUtf8AcrossAllPlanes) {
    std::string const utf8 = "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";  // a é € 😀
    TStringCore const s = TStringCore::FromUtf8(utf8);
    ASSERT_EQ(s.size(), 4u);
    EXPECT_EQ(s[3], static_cast<wchar_t>(0x1F600));
    EXPECT_EQ(s.ToUtf8(), utf8);
    EXPECT_EQ(TStringCore::FromUtf8(std::string("a\0b", 3)).size(), 3u);

    // What has no scalar value is written as the replacement character.
    std::wstring bad{L'a', static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000)};
    EXPECT_EQ(TStringCore(bad).ToUtf8(), "a\xef\xbf\xbd\xef\xbf\xbd");
}

TEST(TStringCore, RejectsMalformedUtf8WithTheByteOffset) {
    struct Case {
        std::string bytes;
        std::size_t offset;
    };
    Case const cases[] = {
        {"ab\xff", 2},            // a byte that never starts a sequence
        {"a\xc3", 1},             // truncated sequence
        {"\xc0\xaf", 0},          // overlong encoding
        {"xy\xed\xa0\x80", 2},    // encoded surrogate
        {"\xf4\x90\x80\x80", 0},  // beyond U+10FFFF
    };
    for (auto const& c : cases) {
        try {
            TStringCore::FromUtf8(c.bytes);
            ADD_FAILURE() << "accepted malformed input at " << c.offset;
        } catch (TStringEncodingException const& e) {
            EXPECT_EQ(e.GetOffset(), c.offset);
            EXPECT_NE(std::string(e.what()).find(std::to_string(c.offset)), std::string::npos);
        }
    }
}

TEST(TStringCore, HashesAlikeInStdAndBoostContainers) {
    EXPECT_EQ(std::hash<TStringCore>{}(TStringCore(L"k")), hash_value(TStringCore(L"k")));
    boost::unordered_flat_set<TStringCore> const set{TStringCore(L"a"), TStringCore(L"b")};
    EXPECT_TRUE(set.contains(TStringCore(L"b")));
}

namespace {

// A region over a fixed buffer, as an owner of texts would make one.
class BufferRegion : public TextRegion {
public:
    BufferRegion() : TextRegion(m_storage, sizeof(m_storage)) {}

    bool Holds(wchar_t const* text) const {
        auto const* const at = reinterpret_cast<unsigned char const*>(text);
        return at >= m_storage && at < m_storage + sizeof(m_storage);
    }

private:
    alignas(16) unsigned char m_storage[1024];
};

}  // namespace

// Only a text made in a region refers into it: copies, and assignments of any kind, take the
// heap, so that freeing the region can never pull characters from under another text.
TEST(TStringCore, TextsLeaveTheirRegionWhenCopiedOrAssigned) {
    BufferRegion region;
    std::wstring const longText = L"longer than any text kept inside the string itself";
    TStringCore const made(longText.begin(), longText.end(), &region);
    EXPECT_EQ(made.region(), &region);
    EXPECT_TRUE(region.Holds(made.c_str()));
    EXPECT_EQ(made.view(), longText);

    TStringCore const copy(made);
    EXPECT_EQ(copy.region(), nullptr);
    EXPECT_FALSE(region.Holds(copy.c_str()));
    EXPECT_EQ(copy, made);

    TStringCore assigned(L"x");
    assigned = made;
    EXPECT_FALSE(region.Holds(assigned.c_str()));
    TStringCore moved(L"y");
    moved = TStringCore(longText.begin(), longText.end(), &region);
    EXPECT_EQ(moved.region(), nullptr);
    EXPECT_FALSE(region.Holds(moved.c_str()));
    EXPECT_EQ(moved.view(), longText);

    // The region holds what it was sized for and refuses more rather than overrun.
    EXPECT_THROW(TStringCore(200, L'z', &region), std::bad_alloc);
    TStringCore const filled(4, L'z', &region);
    EXPECT_EQ(filled, L"zzzz");
}
