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
