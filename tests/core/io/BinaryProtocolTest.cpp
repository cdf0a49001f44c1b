#include <gtest/gtest.h>

#include <cstring>
#include <span>
#include <string>

#include "core/io/StoreFormatTestSupport.h"
#include "zel/core/utility/ZelDebugReport.h"

namespace zel::test {
namespace {

using namespace core;
using Bytes = std::vector<std::uint8_t>;

Bytes Header() {
    return {'V', 'R', 'S', 'T', 1, 0, 0, 0};
}

void Append32(Bytes& bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

// A header, a key map of one entry "a" and then `value`.
Bytes Store(Bytes const& value) {
    Bytes bytes = Header();
    bytes.insert(bytes.end(), {14, 0});
    Append32(bytes, 1);
    Append32(bytes, 1);
    bytes.push_back('a');
    bytes.insert(bytes.end(), value.begin(), value.end());
    return bytes;
}

// A store whose "a" is a flat string column of the texts between `offsets` in `text`. Its text
// bytes start at byte offset 32 + 4 * offsets.size().
Bytes StringColumn(std::vector<std::uint32_t> const& offsets, Bytes const& text) {
    Bytes bytes = Store({10, 0, 5});
    Append32(bytes, 0);
    bytes.insert(bytes.end(), {255, 0});
    Append32(bytes, static_cast<std::uint32_t>(offsets.size() - 1));
    for (std::uint32_t const offset : offsets) {
        Append32(bytes, offset);
    }
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

void ExpectBinaryError(Bytes const& bytes, std::vector<std::string> const& parts) {
    ExpectFormatError(
        [&] {
            BinaryProtocolReader reader(bytes.data(), bytes.size());
            StoreValueParser::MakeDataStore(reader);
        },
        parts);
}

TEST(BinaryProtocol, TheLayoutIsLittleEndianWithRawBuffers) {
    auto const store = factory::MakeDataStore(StoreValueMap{
        {L"a", factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, Vec<unsigned>({1, 0x01020304}))}});
    // Header, key map, one entry "a", an array of int32 with no child type, flat, two elements
    // padded to 4 bytes, no specials.
    Bytes expected = Store({10, 0, 1, 255, 0});
    Append32(expected, 2);
    expected.insert(expected.end(), {1, 0, 0, 0, 4, 3, 2, 1, 0});
    EXPECT_EQ(BinaryProtocolWriter::WriteStore(*store), expected);
}

// The writer's sink takes the very bytes of the whole-store image, large columns among them
// handed over from their own memory with the padding before and after them in place.
TEST(BinaryProtocol, ASinkTakesTheSameBytesAsTheImage) {
    StoreValueMap values = EveryKindOfValue();
    auto big = std::make_unique<std::vector<unsigned long long>>(20000);
    for (std::size_t i = 0; i < big->size(); ++i) {
        (*big)[i] = i * 0x9E3779B97F4A7C15ull;
    }
    values[L"zz_big"] = factory::MakeArray<unsigned long long>(StoreTypeInfo::Int64, std::move(big));
    values[L"zz_after"] =
        factory::MakeArray<unsigned char>(StoreTypeInfo::Bool, Vec<unsigned char>({1, 0, 1}));
    auto const store = factory::MakeDataStore(std::move(values));
    Bytes streamed;
    std::size_t pieces = 0;
    BinaryProtocolWriter::WriteStore(*store, [&](std::span<std::uint8_t const> piece) {
        streamed.insert(streamed.end(), piece.begin(), piece.end());
        ++pieces;
    });
    EXPECT_EQ(streamed, BinaryProtocolWriter::WriteStore(*store));
    EXPECT_GE(pieces, 3u);  // the bytes before the large column, the column, the rest
}

// A stream cut anywhere, or with any byte changed, is an error or some store: never a crash, a
// read out of bounds or an allocation the stream cannot back.
TEST(BinaryProtocol, EveryTruncationAndCorruptionIsAnErrorNotACrash) {
    ScopedZelDebugReportHandler const quiet([](ZelDebugReport const&) {});
    Bytes const bytes = BinaryProtocolWriter::WriteStore(*factory::MakeDataStore(EveryKindOfValue()));
    for (std::size_t size = 0; size < bytes.size(); size += 1 + size / 64) {
        BinaryProtocolReader reader(bytes.data(), size);
        EXPECT_THROW(StoreValueParser::MakeDataStore(reader), ZelRuntimeException) << size;
    }
    for (std::size_t at = 0; at < bytes.size(); at += 1 + at / 128) {
        for (std::uint8_t const value :
             {std::uint8_t(0), std::uint8_t(0xFF), std::uint8_t(bytes[at] ^ 0x5A)}) {
            Bytes corrupt = bytes;
            corrupt[at] = value;
            try {
                BinaryProtocolReader reader(std::move(corrupt));
                StoreValueParser::MakeDataStore(reader);
            } catch (ZelRuntimeException const& e) {
                EXPECT_EQ(e.GetError(), ZelError::StoreFormatError) << e.what();
            }
        }
    }
}

TEST(BinaryProtocol, BadStreamsNameWhatAndTheOffset) {
    Bytes wrongMagic = Header();
    wrongMagic[0] = 'X';
    ExpectBinaryError(wrongMagic, {"magic", "byte offset 0"});
    Bytes wrongVersion = Header();
    wrongVersion[4] = 2;
    ExpectBinaryError(wrongVersion, {"version 2 is not supported", "byte offset 4"});
    ExpectBinaryError(Header(), {"truncated value type", "byte offset 8"});
    ExpectBinaryError(Store({1, 0}), {"truncated int32", "byte offset 21"});
    ExpectBinaryError(Store({12, 0}), {"unknown type 12", "byte offset 19"});
    ExpectBinaryError(Store({0, 0, 2}), {"a bool is 0 or 1", "byte offset 21"});
    Bytes trailing = Store({0, 0, 1});
    trailing.push_back(0);
    ExpectBinaryError(trailing, {"1 bytes after the end", "byte offset 22"});
    // Counts that the bytes left cannot back are refused before anything is allocated.
    Bytes hugeArray = Store({10, 0, 2, 255, 0});
    Append32(hugeArray, 0xFFFFFFFF);
    Append32(hugeArray, 0);
    ExpectBinaryError(hugeArray, {"4294967295 items of 8 bytes do not fit", "byte offset 32"});
    Bytes hugeTuple = Store({13, 0});
    Append32(hugeTuple, 1'000'000);
    ExpectBinaryError(hugeTuple, {"tuple elements", "do not fit"});
    Bytes hugeString = Store({5});
    Append32(hugeString, 0);
    hugeString.push_back(0);
    Append32(hugeString, 0xFFFFFFF0);
    ExpectBinaryError(hugeString, {"truncated string", "4294967280 bytes wanted"});
    // Strings: offsets that go backwards, bytes that are no UTF-8.
    ExpectBinaryError(StringColumn({0, 3, 1, 4}, {'a', 'b', 'c', 'd'}),
                      {"string offsets go backwards or past the bytes at element 1"});
    ExpectBinaryError(StringColumn({0, 2, 1}, {'a'}), {"past the bytes at element 0"});
    ExpectBinaryError(StringColumn({0, 1}, {0xFF}), {"string 0 is not UTF-8", "byte offset 40"});
    // Indices past the values, an unknown layout, an unknown collation.
    Bytes indexed = Store({10, 0, 1, 255, 1});
    Append32(indexed, 1);
    Append32(indexed, 7);
    indexed.push_back(0);
    Append32(indexed, 1);
    indexed.insert(indexed.end(), {0, 0, 0});
    Append32(indexed, 3);
    ExpectBinaryError(indexed, {"index 3 is past the 1 values", "byte offset 40"});
    ExpectBinaryError(Store({10, 0, 1, 255, 9}), {"unknown array layout", "byte offset 23"});
    Bytes collation = Store({5});
    Append32(collation, 3);
    collation.insert(collation.end(), {'x', 'y', 'z'});
    ExpectBinaryError(collation, {"unknown collation \"xyz\"", "byte offset 20"});
}

// A long string column is read in pieces on several threads: every text lands in its own row,
// and of several bad elements the first is reported, whichever piece it is in.
TEST(BinaryProtocol, ALongStringColumnIsExactAndReportsItsFirstBadElement) {
    constexpr std::uint32_t c_count = 200'000;
    std::vector<std::uint32_t> offsets;
    Bytes text;
    for (std::uint32_t i = 0; i < c_count; ++i) {
        offsets.push_back(static_cast<std::uint32_t>(text.size()));
        for (char const c : std::to_string(i)) {
            text.push_back(static_cast<std::uint8_t>(c));
        }
    }
    offsets.push_back(static_cast<std::uint32_t>(text.size()));
    Bytes const good = StringColumn(offsets, text);
    BinaryProtocolReader reader(good.data(), good.size());
    auto const column = StoreValueParser::MakeDataStore(reader)->GetValue(KeyPath(L"a"));
    auto const& rows = column->AsTypedArray<RIndirectString>();
    ASSERT_EQ(rows.GetCount(), c_count);
    for (std::uint32_t i = 0; i < c_count; ++i) {
        ASSERT_EQ(rows.GetValue(i).View(), std::to_wstring(i)) << "row " << i;
    }

    std::size_t const textAt = 32 + 4 * offsets.size();
    auto const notUtf8 = [&](Bytes& bytes, std::uint32_t element) { bytes[textAt + offsets[element]] = 0xFF; };
    auto const backwards = [&](Bytes& bytes, std::uint32_t element) {
        std::uint32_t const end = offsets[element] - 1;
        for (std::size_t k = 0; k < 4; ++k) {
            bytes[32 + 4 * (element + 1) + k] = static_cast<std::uint8_t>(end >> (8 * k));
        }
    };
    Bytes late = good;
    notUtf8(late, 190'000);
    ExpectBinaryError(late, {"string 190000 is not UTF-8",
                             "byte offset " + std::to_string(textAt + offsets[190'000])});
    Bytes twoBad = late;
    backwards(twoBad, 120'000);
    ExpectBinaryError(twoBad, {"past the bytes at element 120000"});
    notUtf8(twoBad, 3);
    ExpectBinaryError(twoBad, {"string 3 is not UTF-8"});
}

TEST(BinaryProtocol, NestingIsLimited) {
    Bytes deep;
    for (unsigned i = 0; i <= StoreValueParser::c_maxBinaryDepth; ++i) {
        deep.insert(deep.end(), {9, 0, 1});
    }
    deep.insert(deep.end(), {9, 0, 0});
    ExpectBinaryError(Store(deep), {"nested deeper than 64 levels"});
}

}  // namespace
}  // namespace zel::test
