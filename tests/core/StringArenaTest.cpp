#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "StoreValueTestSupport.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/RIndirectString.h"
#include "zel/core/store/StringArena.h"
#include "zel/core/utility/BufferPool.h"

namespace zel::test {
namespace {

using core::KeyPath;
using core::RIndirectString;
using core::StringArena;

// Short texts, an empty one, texts outside ASCII and one far larger than a chunk.
std::vector<std::wstring> SampleTexts(std::size_t count) {
    std::vector<std::wstring> texts;
    for (std::size_t i = 0; i < count; ++i) {
        switch (i % 5) {
            case 0: texts.push_back(std::to_wstring(i)); break;
            case 1: texts.push_back(L""); break;
            case 2: texts.push_back(L"Stra\u00DFe " + std::to_wstring(i)); break;
            case 3: texts.push_back(std::wstring(1 + i % 40, static_cast<wchar_t>(L'a' + i % 26))); break;
            default: texts.push_back(L"\U0001F600x"); break;
        }
    }
    texts.push_back(std::wstring(StringArena::c_defaultChunkBytes, L'z'));
    return texts;
}

std::set<void const*> ChunksOf(std::vector<RIndirectString> const& handles) {
    std::set<void const*> chunks;
    for (auto const& handle : handles) {
        if (!handle.IsEmpty()) {
            chunks.insert(handle.GetStorageIdentity());
        }
    }
    return chunks;
}

TEST(StringArenaTest, TextsShareAFewChunksAndOutliveTheArena) {
    auto const texts = SampleTexts(10'000);
    std::vector<RIndirectString> handles;
    {
        StringArena arena;
        for (auto const& text : texts) {
            handles.push_back(arena.Make(text));
        }
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        ASSERT_EQ(handles[i].View(), texts[i]) << i;
        EXPECT_EQ(handles[i].IsEmpty(), texts[i].empty()) << i;
    }
    // About 60 bytes a text in 64 KiB chunks, and the large text in a chunk of its own.
    EXPECT_LT(ChunksOf(handles).size(), 20u);

    // Copies taken out keep their chunk alive once every other handle has gone.
    std::vector<RIndirectString> const kept{handles[2], handles[7], handles.back()};
    handles.clear();
    EXPECT_EQ(kept[0].View(), texts[2]);
    EXPECT_EQ(kept[1].View(), texts[7]);
    EXPECT_EQ(kept[2].View(), texts.back());
}

TEST(StringArenaTest, AScopeRoutesTheTextsMadeOnItsThread) {
    EXPECT_EQ(StringArena::Current(), nullptr);
    // Without an arena each text is a chunk of its own.
    RIndirectString const a(L"alone");
    RIndirectString const b(L"alone");
    EXPECT_NE(a.GetStorageIdentity(), b.GetStorageIdentity());
    EXPECT_EQ(a, b);

    StringArena outer;
    StringArena inner;
    std::vector<RIndirectString> made;
    {
        StringArena::Scope const outerScope(outer);
        made.emplace_back(L"one");
        {
            StringArena::Scope const innerScope(inner);
            EXPECT_EQ(StringArena::Current(), &inner);
            made.emplace_back(TStringCore(L"two"));
            made.emplace_back(std::wstring_view(L"three"));
            wchar_t* characters = nullptr;
            made.push_back(RIndirectString::MakeWritable(4, characters));
            std::wstring(L"four").copy(characters, 4);
        }
        EXPECT_EQ(StringArena::Current(), &outer);
        made.emplace_back(L"five");
        // Another thread has no arena of its own.
        std::thread([] { EXPECT_EQ(StringArena::Current(), nullptr); }).join();
    }
    EXPECT_EQ(StringArena::Current(), nullptr);
    EXPECT_EQ(made[0].GetStorageIdentity(), made[4].GetStorageIdentity());
    EXPECT_EQ(made[1].GetStorageIdentity(), made[3].GetStorageIdentity());
    EXPECT_NE(made[0].GetStorageIdentity(), made[1].GetStorageIdentity());
    EXPECT_EQ(made[3].View(), L"four");

    wchar_t* none = nullptr;
    EXPECT_TRUE(RIndirectString::MakeWritable(0, none).IsEmpty());
}

TEST(StringArenaTest, ReleaseAllEmptiesHandlesAndSparesOtherOwners) {
    StringArena arena;
    std::vector<RIndirectString> column;
    for (int i = 0; i < 5'000; ++i) {
        column.push_back(i % 7 == 0 ? RIndirectString() : arena.Make(L"row " + std::to_wstring(i)));
    }
    column.emplace_back(L"made alone");
    column.push_back(column[1]);  // a repeat after other chunks
    // Texts of more chunks than a release keeps track of at once, interleaved.
    std::vector<std::unique_ptr<StringArena>> others;
    for (int a = 0; a < 6; ++a) {
        others.push_back(std::make_unique<StringArena>());
    }
    for (int i = 0; i < 600; ++i) {
        column.push_back(others[(i * 7) % 6]->Make(L"other " + std::to_wstring(i)));
    }
    others.clear();
    std::vector<RIndirectString> const kept{column[1], column[4'999], column[5'000], column.back()};
    RIndirectString::ReleaseAll(column.data(), column.size());
    for (auto const& handle : column) {
        ASSERT_TRUE(handle.IsEmpty());
    }
    EXPECT_EQ(kept[0].View(), L"row 1");
    EXPECT_EQ(kept[1].View(), L"row 4999");
    EXPECT_EQ(kept[2].View(), L"made alone");
    EXPECT_EQ(kept[3].View(), L"other 599");
}

// Handles of one chunk are copied and dropped on several threads at once.
TEST(StringArenaTest, HandlesCrossThreads) {
    std::vector<RIndirectString> texts;
    {
        StringArena arena;
        for (int i = 0; i < 1'000; ++i) {
            texts.push_back(arena.Make(std::to_wstring(i)));
        }
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&texts] {
            for (int round = 0; round < 20; ++round) {
                std::vector<RIndirectString> copies(texts.begin(), texts.end());
                for (std::size_t i = 0; i < copies.size(); ++i) {
                    ASSERT_EQ(copies[i].View(), std::to_wstring(i));
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    texts.clear();
}

// An arena's chunks double from the first size to a huge page; chunks of a huge page go back to
// the buffer pool with their last text and serve the next large column.
TEST(StringArenaTest, ChunksGrowToAHugePageThatThePoolServesAgain) {
    core::SetBufferCacheBound(core::c_defaultBufferCacheBound);
    auto const fill = [] {
        StringArena arena;
        std::vector<RIndirectString> column;
        for (int i = 0; i < 200'000; ++i) {
            column.push_back(arena.Make(L"text number " + std::to_wstring(i)));
        }
        return column;
    };
    std::vector<RIndirectString> column = fill();
    std::set<std::size_t> sizes;
    for (auto const& text : column) {
        sizes.insert(text.GetStorageBytes());
    }
    EXPECT_EQ(*sizes.begin(), StringArena::c_defaultChunkBytes);
    EXPECT_EQ(*sizes.rbegin(), StringArena::c_largestChunkBytes);
    EXPECT_GE(sizes.size(), 5u);  // every size in between

    auto const before = core::GetBufferPoolStatistics();
    RIndirectString::ReleaseAll(column.data(), column.size());
    auto const returned = core::GetBufferPoolStatistics();
    EXPECT_GT(returned.cachedBytes, before.cachedBytes);
    column = fill();
    EXPECT_GT(core::GetBufferPoolStatistics().hits, returned.hits);
    EXPECT_EQ(column.back().View(), L"text number 199999");
}

// A loaded column of strings costs a few chunks, and its memory report counts each chunk once.
TEST(StringArenaTest, LoadedColumnsArePackedAndCountedByChunk) {
    std::string json = "{\"a\": [";
    for (int i = 0; i < 20'000; ++i) {
        json += (i == 0 ? "\"" : ",\"") + std::to_string(i) + (i % 3 == 0 ? "\\u00e9\"" : "\"");
    }
    json += "]}";
    auto const column = core::StoreValueParser::MakeDataStore(std::string_view(json))->GetValue(KeyPath(L"a"));
    auto const& strings = column->AsTypedArray<RIndirectString>();
    ASSERT_EQ(strings.GetCount(), 20'000u);
    std::set<void const*> chunks;
    for (unsigned int row = 0; row < strings.GetCount(); ++row) {
        ASSERT_EQ(strings.GetValue(row).View(), std::to_wstring(row) + (row % 3 == 0 ? L"\u00e9" : L"")) << row;
        chunks.insert(strings.GetValue(row).GetStorageIdentity());
    }
    EXPECT_LT(chunks.size(), 40u);
    auto const usage = UsageOf({column.get()});
    EXPECT_LT(usage->GetBlockCount(), 50u);
    EXPECT_GE(usage->GetTotalBytes(), chunks.size() * StringArena::c_defaultChunkBytes);
}

}  // namespace
}  // namespace zel::test
