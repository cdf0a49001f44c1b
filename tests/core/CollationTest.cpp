#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include <boost/unordered/unordered_set.hpp>

#include "support/CheckFailure.h"
#include "zel/core/store/Collation.h"
#include "zel/core/store/RIndirectString.h"

using namespace zel::core;
using zel::test::ExpectRuntimeError;

namespace {

// Equal under the collation, with equal hashes through the functors that hash containers use.
void ExpectSame(Collation const& collation, wchar_t const* a, wchar_t const* b) {
    CollatorHash const hash(collation);
    CollatorEqualTo const equal(collation);
    EXPECT_TRUE(equal(a, b)) << collation.GetName() << ": " << TStringCore(a) << " vs " << TStringCore(b);
    EXPECT_EQ(hash(a), hash(b)) << collation.GetName() << ": " << TStringCore(a) << " vs " << TStringCore(b);
    EXPECT_EQ(collation.GetCollator().Compare(a, b), 0);
}

void ExpectDifferent(Collation const& collation, wchar_t const* a, wchar_t const* b) {
    EXPECT_FALSE(CollatorEqualTo(collation)(a, b)) << collation.GetName() << ": " << TStringCore(a);
    EXPECT_NE(collation.GetCollator().Compare(a, b), 0);
}

int Order(Collation const& collation, wchar_t const* a, wchar_t const* b) {
    return collation.GetCollator().Compare(a, b);
}

}  // namespace

TEST(Collations, BinaryIsTheDefaultAndOrdersByCodePoint) {
    Collation const binary;
    EXPECT_EQ(binary, Collation::Binary());
    EXPECT_EQ(Collation::Named(L"binary"), binary);
    ExpectSame(binary, L"abc", L"abc");
    ExpectDifferent(binary, L"abc", L"ABC");
    EXPECT_LT(Order(binary, L"B", L"a"), 0);
    EXPECT_LT(Order(binary, L"ab", L"abc"), 0);
    EXPECT_GT(Order(binary, L"\u00f6", L"z"), 0);
    // The binary hash is the plain string hash, so binary containers and RIndirectString agree.
    EXPECT_EQ(CollatorHash(binary)(L"text"), hash_value(RIndirectString(L"text")));
}

TEST(Collations, NoCaseFoldsCaseForEqualityOrderAndHash) {
    Collation const nocase = Collation::Named(L"nocase");
    EXPECT_FALSE(nocase == Collation::Binary());
    ExpectSame(nocase, L"Hello World", L"hELLO wORLD");
    ExpectSame(nocase, L"\u03a3\u0391\u03a3", L"\u03c3\u03b1\u03c2");  // sigma, also the final form
    ExpectSame(nocase, L"\u00c4rger", L"\u00e4RGER");
    ExpectDifferent(nocase, L"Hello", L"Hallo");
    // Simple folding maps one code point to one: the sharp s does not become "ss".
    ExpectDifferent(nocase, L"stra\u00dfe", L"STRASSE");
    ExpectDifferent(nocase, L"abc", L"abcd");
    EXPECT_LT(Order(nocase, L"apple", L"BANANA"), 0);
    EXPECT_GT(Order(Collation::Binary(), L"apple", L"BANANA"), 0);

    boost::unordered_set<RIndirectString, CollatorHash, CollatorEqualTo> set(0, CollatorHash(nocase),
                                                                             CollatorEqualTo(nocase));
    for (wchar_t const* key : {L"Key", L"KEY", L"key", L"other"}) {
        set.insert(RIndirectString(key));
    }
    EXPECT_EQ(set.size(), 2u);
    EXPECT_TRUE(set.contains(RIndirectString(L"kEy")));
}

TEST(Collations, LocaleOrdersDiffer) {
    Collation const swedish = Collation::Named(L"sv");
    Collation const german = Collation::Named(L"de");
    // Swedish sorts o-umlaut after z, German beside o.
    EXPECT_LT(Order(swedish, L"z", L"\u00f6"), 0);
    EXPECT_LT(Order(german, L"\u00f6", L"z"), 0);
    EXPECT_LT(Order(german, L"o", L"\u00f6"), 0);
    // A locale order is not the code point order: lower case before upper case, accents after.
    EXPECT_LT(Order(german, L"a", L"B"), 0);
    ExpectDifferent(german, L"a", L"A");
}

TEST(Collations, LocaleEqualityAndHashAgree) {
    Collation const german = Collation::Named(L"de");
    // Canonically equivalent texts: precomposed e-acute and e with a combining acute.
    ExpectSame(german, L"caf\u00e9", L"cafe\u0301");

    // Secondary strength (a BCP 47 tag) ignores case but not accents.
    Collation const level2 = Collation::Named(L"en-u-ks-level2");
    ExpectSame(level2, L"Hello", L"hELLo");
    ExpectDifferent(level2, L"resume", L"r\u00e9sum\u00e9");
    // Primary strength ignores accents too.
    Collation const level1 = Collation::Named(L"fr-u-ks-level1");
    ExpectSame(level1, L"R\u00e9sum\u00e9", L"resume");

    // Long texts take the sort key path that grows its buffer.
    std::wstring const upper(2000, L'A');
    std::wstring const lower(2000, L'a');
    ExpectSame(level2, upper.c_str(), lower.c_str());
}

TEST(Collations, OneCollatorPerNameAndUnknownNamesThrowNamingTheCollation) {
    EXPECT_EQ(&Collation::Named(L"sv").GetCollator(), &Collation::Named(L"sv").GetCollator());
    EXPECT_EQ(Collation::Named(L"de"), Collation::Named(L"de"));
    EXPECT_FALSE(Collation::Named(L"de") == Collation::Named(L"sv"));
    // An ICU locale id names the same kind of collation as a tag, and the root collation is known.
    EXPECT_LT(Order(Collation::Named(L"de@collation=phonebook"), L"\u00e4", L"af"), 0);
    EXPECT_NO_THROW(Collation::Named(L"root"));

    for (wchar_t const* name : {L"klingon", L"xx", L"", L"de-", L"d\u00e9", L"no case", L"NOCASE"}) {
        ExpectRuntimeError([&] { Collation::Named(name); }, ZelError::UnknownCollation,
                           "\"" + TStringCore(name).ToUtf8() + "\"");
    }
}

TEST(Collations, TextsThatAreNoUnicodeDoNotBreakAnyCollator) {
    std::wstring bad = L"a";
    bad += static_cast<wchar_t>(0xD800);
    bad += static_cast<wchar_t>(0x110000);
    bad += static_cast<wchar_t>(-1);
    for (wchar_t const* name : {L"binary", L"nocase", L"de"}) {
        Collation const collation = Collation::Named(name);
        ExpectSame(collation, bad.c_str(), bad.c_str());
        EXPECT_NE(collation.GetCollator().Compare(bad, L"a"), 0) << collation.GetName();
    }
}

TEST(Collations, LocaleCollatorIsSafeFromManyThreads) {
    Collation const swedish = Collation::Named(L"sv");
    auto const expectedHash = CollatorHash(swedish)(L"\u00e5ngstr\u00f6m");
    std::atomic<int> failures{0};
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            CollatorHash const hash(swedish);
            for (int i = 0; i < 2000; ++i) {
                if (hash(L"\u00e5ngstr\u00f6m") != expectedHash || Order(swedish, L"z", L"\u00e5") >= 0) {
                    ++failures;
                }
            }
        });
    }
    threads.clear();
    EXPECT_EQ(failures.load(), 0);
}

// A sort key orders as its collator compares: compared as unsigned bytes, a key before its
// extensions. Texts that tie under the collation have equal keys.
TEST(Collations, SortKeysOrderAsTheCollatorCompares) {
    std::vector<std::wstring> const texts{L"",      L"a",    L"A",     L"ab",     L"b",       L"B",
                                          L"ä",     L"Äb",   L"Muller", L"Müller", L"Mueller", L"Mülle",
                                          L"z\u00DF", L"zss", std::wstring(1, L'\0'), L"a\U0001F600"};
    for (char const* name : {"binary", "nocase", "de", "sv", "en-u-ks-level2"}) {
        Collation const collation = Collation::Named(TStringCore::FromUtf8(name));
        ICollator const& collator = collation.GetCollator();
        for (std::wstring const& a : texts) {
            for (std::wstring const& b : texts) {
                std::string keyA;
                std::string keyB;
                collator.AppendSortKey(a, keyA);
                collator.AppendSortKey(b, keyB);
                int const byKeys = keyA.compare(keyB);
                int const compared = collator.Compare(a, b);
                EXPECT_EQ((byKeys > 0) - (byKeys < 0), compared)
                    << name << ": " << TStringCore(a) << " vs " << TStringCore(b);
            }
        }
        // Appending adds to what is there.
        std::string key = "x";
        collator.AppendSortKey(L"a", key);
        EXPECT_EQ(key.front(), 'x');
    }
}
