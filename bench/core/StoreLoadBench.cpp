// Loading a store of one table of 1,000,000 rows (int32, double and string columns): from its JSON
// text beside simdjson's bare parse of the same text, and from its binary stream beside a memcpy of
// the same bytes (the limit of any reader that must own its memory). Then a store of one column of
// 10,000,000 doubles, loaded from and written to its binary stream, beside a memcpy of its bytes.

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <cstring>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "zel/core/io/BinaryProtocolWriter.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel::core;

constexpr unsigned c_rows = 1'000'000;

struct LoadData {
    std::string json;
    std::vector<std::uint8_t> binary;
};

LoadData const& Data() {
    static LoadData const data = [] {
        std::mt19937_64 random(20241121);
        std::uniform_int_distribution<int> integer(-1'000'000, 1'000'000);
        std::uniform_real_distribution<double> real(-1e6, 1e6);
        auto ids = std::make_unique<std::vector<unsigned int>>();
        auto prices = std::make_unique<std::vector<unsigned long long>>();
        auto names = std::make_unique<std::vector<RIndirectString>>();
        for (unsigned row = 0; row < c_rows; ++row) {
            ids->push_back(static_cast<unsigned int>(integer(random)));
            prices->push_back(DoubleToBits(real(random)));
            names->emplace_back(TStringCore(L"customer " + std::to_wstring(integer(random))));
        }
        StoreValueMap columns;
        columns[L"id"] = factory::MakeArray<unsigned int>(StoreTypeInfo::Int32, std::move(ids));
        columns[L"price"] = factory::MakeArray<unsigned long long>(StoreTypeInfo::Double, std::move(prices));
        columns[L"name"] = factory::MakeArray<RIndirectString>(StoreTypeInfo::String, std::move(names));
        auto const store =
            factory::MakeDataStore(StoreValueMap{{L"orders", factory::MakeTable(std::move(columns))}});
        return LoadData{JsonStoreWriter::WriteStore(*store), BinaryProtocolWriter::WriteStore(*store)};
    }();
    return data;
}

void JsonLoad(benchmark::State& state) {
    std::string const& json = Data().json;
    for (auto _ : state) {
        auto store = StoreValueParser::MakeDataStore(std::string_view(json));
        benchmark::DoNotOptimize(store.get());
        // Freeing a million strings is not part of the load.
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * json.size()));
}

void JsonBareParse(benchmark::State& state) {
    std::string const& json = Data().json;
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element root;
        if (parser.parse(json).get(root) != simdjson::SUCCESS) {
            state.SkipWithError("parse failed");
        }
        benchmark::DoNotOptimize(root);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * json.size()));
}

void BinaryLoad(benchmark::State& state) {
    std::vector<std::uint8_t> const& bytes = Data().binary;
    for (auto _ : state) {
        BinaryProtocolReader reader(bytes.data(), bytes.size());
        auto store = StoreValueParser::MakeDataStore(reader);
        benchmark::DoNotOptimize(store.get());
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BinaryMemcpy(benchmark::State& state) {
    std::vector<std::uint8_t> const& bytes = Data().binary;
    for (auto _ : state) {
        std::vector<std::uint8_t> copy(bytes.size());
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

// ---- one column of 10 million doubles -----------------------------------------------------------

constexpr std::size_t c_columnRows = 10'000'000;

std::vector<std::uint8_t> const& ColumnBinary() {
    static std::vector<std::uint8_t> const bytes = [] {
        std::mt19937_64 random(20241124);
        std::uniform_real_distribution<double> real(-1e6, 1e6);
        auto values = std::make_unique<HugePageVector<unsigned long long>>(c_columnRows);
        for (auto& value : *values) {
            value = DoubleToBits(real(random));
        }
        auto const store = factory::MakeDataStore(StoreValueMap{
            {L"a", factory::MakeArray<unsigned long long>(StoreTypeInfo::Double, StoreTypeInfo::Empty,
                                                          std::move(values), nullptr)}});
        return BinaryProtocolWriter::WriteStore(*store);
    }();
    return bytes;
}

void BinaryLoadColumn(benchmark::State& state) {
    std::vector<std::uint8_t> const& bytes = ColumnBinary();
    for (auto _ : state) {
        BinaryProtocolReader reader(bytes.data(), bytes.size());
        auto store = StoreValueParser::MakeDataStore(reader);
        benchmark::DoNotOptimize(store.get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BinaryWriteColumn(benchmark::State& state) {
    std::vector<std::uint8_t> const& bytes = ColumnBinary();
    BinaryProtocolReader reader(bytes.data(), bytes.size());
    auto const store = StoreValueParser::MakeDataStore(reader);
    // The bytes go where a file's would, through the writer's sink: here into a ready buffer.
    HugePageVector<std::uint8_t> out(bytes.size(), 0);
    for (auto _ : state) {
        std::size_t at = 0;
        BinaryProtocolWriter::WriteStore(*store, [&](std::span<std::uint8_t const> piece) {
            std::memcpy(out.data() + at, piece.data(), piece.size());
            at += piece.size();
        });
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

// The limit: the same bytes copied into a buffer of the same kind as a loaded column's.
void BinaryColumnMemcpy(benchmark::State& state) {
    std::vector<std::uint8_t> const& bytes = ColumnBinary();
    for (auto _ : state) {
        HugePageVector<std::uint8_t> copy(bytes.size());
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

}  // namespace

BENCHMARK(JsonLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(JsonBareParse)->Unit(benchmark::kMillisecond);
BENCHMARK(BinaryLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BinaryMemcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(BinaryLoadColumn)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BinaryWriteColumn)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BinaryColumnMemcpy)->Unit(benchmark::kMillisecond)->UseRealTime();
