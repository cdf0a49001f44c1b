#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "core/io/StoreFormatTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreKeyMap.h"
#include "zel/core/store/KeyPath.h"

namespace zel::test {
namespace {

using namespace core;

// Each entry on its own, so that a failure names the value; then the whole store, whose text must
// be the same after a second trip (stable output), and whose layouts and child types survive.
template <class Trip>
void ExpectRoundTrip(Trip&& trip) {
    StoreValueMap const values = EveryKindOfValue();
    for (auto const& [name, value] : values) {
        auto const store = factory::MakeDataStore(StoreValueMap{{name, value}});
        auto const back = trip(*store)->GetValue(KeyPath(name));
        EXPECT_TRUE(back->Equals(*value)) << name << ": " << JsonStoreWriter::WriteValue(*value)
                                          << " came back as " << JsonStoreWriter::WriteValue(*back);
        EXPECT_EQ(back->GetTypeInfo(), value->GetTypeInfo()) << name;
        EXPECT_EQ(back->GetSpecialKind(), value->GetSpecialKind()) << name;
        if (IsUniformCollectionStoreType(value->GetStoreType()) && !value->IsSpecial()) {
            EXPECT_EQ(back->AsCollection().GetLayout(), value->AsCollection().GetLayout()) << name;
            EXPECT_EQ(back->GetValueTypeInfo(), value->GetValueTypeInfo()) << name;
            EXPECT_EQ(back->GetChildTypeInfo(), value->GetChildTypeInfo()) << name;
        }
    }
    auto const store = factory::MakeDataStore(StoreValueMap(values));
    auto const once = trip(*store);
    EXPECT_TRUE(once->GetRootValue()->Equals(*store->GetRootValue()));
    EXPECT_EQ(JsonStoreWriter::WriteStore(*trip(*once)), JsonStoreWriter::WriteStore(*store));
    EXPECT_EQ(BinaryProtocolWriter::WriteStore(*trip(*once)), BinaryProtocolWriter::WriteStore(*store));
}

TEST(StoreFormatRoundTrip, JsonAndBinaryGiveAnEqualStoreForEveryTypeAndLayout) {
    ExpectRoundTrip(&ThroughJson);
    ExpectRoundTrip(&ThroughBinary);
}

// The readers check and widen ASCII a word at a time, with overlapping words at a text's end: every
// length up to a few words, all ASCII and with one character of two, three or four bytes (or the
// highest ASCII one) at each
// place, comes back exact. A high bit missed at the edge of a word would come back as a wrong
// character rather than an error.
TEST(StoreFormatRoundTrip, TextsOfEveryShortLengthComeBackExactWhereverTheirNonAsciiCharacterIs) {
    auto texts = std::make_unique<std::vector<RIndirectString>>();
    for (std::size_t length = 0; length <= 40; ++length) {
        std::wstring const ascii = [&] {
            std::wstring text;
            for (std::size_t i = 0; i < length; ++i) {
                text += static_cast<wchar_t>(L' ' + (i * 7 + length) % 95);
            }
            return text;
        }();
        texts->emplace_back(ascii);
        for (std::size_t at = 0; at < length; ++at) {
            for (wchar_t const other : {L'\u00e9', L'\u20ac', L'\U0001F600', L'\u007f'}) {
                std::wstring text = ascii;
                text[at] = other;
                texts->emplace_back(text);
            }
        }
    }
    std::vector<RIndirectString> const expected = *texts;
    auto const store = factory::MakeDataStore(StoreValueMap{
        {L"t", factory::MakeArray<RIndirectString>(StoreTypeInfo::String, std::move(texts))}});
    for (auto const trip : {&ThroughJson, &ThroughBinary}) {
        auto const back = trip(*store)->GetValue(KeyPath(L"t"));
        auto const& column = dynamic_cast<ITypedArray<RIndirectString> const&>(*back);
        ASSERT_EQ(column.GetCount(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(column.GetValue(static_cast<unsigned int>(i)).View(), expected[i].View()) << "text " << i;
        }
    }
}

TEST(StoreFormatRoundTrip, JsonIsSortedAndPlainWhereTheTypeIsInferred) {
    auto const store = factory::MakeDataStore(
        StoreValueMap{{L"b", factory::MakeDouble(2)},
                      {L"a", factory::MakeKeyMap(StoreValueMap{{L"z", factory::MakeBool(false)},
                                                               {L"y", factory::MakeString(L"s")}})},
                      {L"c", factory::MakeFloat(0.1f)},
                      {L"d", factory::MakeInt64(5)}});
    EXPECT_EQ(JsonStoreWriter::WriteStore(*store),
              R"({"a":{"y":"s","z":false},"b":2.0,"c":{"$type":"float","value":0.1},)"
              R"("d":{"$type":"int64","value":5}})");
}

TEST(StoreFormatRoundTrip, FilesReadInEitherFormat) {
    auto const store = factory::MakeDataStore(EveryKindOfValue());
    auto const path =
        std::filesystem::temp_directory_path() / ("store-format-test-" + std::to_string(::getpid()));
    { std::ofstream(path, std::ios::binary) << JsonStoreWriter::WriteStore(*store); }
    EXPECT_TRUE(
        StoreValueParser::MakeDataStoreFromFile(path)->GetRootValue()->Equals(*store->GetRootValue()));
    {
        auto const bytes = BinaryProtocolWriter::WriteStore(*store);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<char const*>(bytes.data()), bytes.size());
    }
    EXPECT_TRUE(
        StoreValueParser::MakeDataStoreFromFile(path)->GetRootValue()->Equals(*store->GetRootValue()));
    std::filesystem::remove(path);
    ExpectFormatError([&] { StoreValueParser::MakeDataStoreFromFile(path); }, {"cannot read", path.string()});
}

TEST(StoreFormatRoundTrip, ValuesTheFormatsCannotHoldAreErrorsNotLosses) {
    auto const bad = factory::MakeDataStore(
        StoreValueMap{{L"k", factory::MakeString(TStringCore(std::wstring(1, wchar_t(0xD800))))}});
    ExpectFormatError([&] { JsonStoreWriter::WriteStore(*bad); }, {"surrogate", "/k"});
    ExpectFormatError([&] { BinaryProtocolWriter::WriteStore(*bad); }, {"no Unicode scalar value", "/k"});
    ExpectFormatError([] { BinaryProtocolWriter::WriteRoot(*factory::MakeInt32(1)); }, {"root", "key map"});
}

}  // namespace
}  // namespace zel::test
