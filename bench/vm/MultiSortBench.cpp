// MultiSort through the machine beside plain C++ sorts, in one run, on one thread:
//
// - A 1,000,000-row table by an int32 key ascending (1,000 distinct values) and a double key
//   descending. Beside it std::stable_sort of the row numbers with a two-key comparator.
// - 1,000,000 strings under a German collation, ascending. Beside it std::stable_sort of the row
//   numbers comparing through an ICU collator of the same locale (ucol_strcoll on texts converted
//   to UTF-16 before the timer).

#include <benchmark/benchmark.h>

#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/HugePageAllocator.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;
using Value = std::shared_ptr<core::StoreValue>;

constexpr std::size_t c_rows = 1'000'000;

struct NumberData {
    std::vector<std::int32_t> group;
    std::vector<double> amount;
    Value table;
};

NumberData const& Numbers() {
    static NumberData const data = [] {
        NumberData d;
        std::mt19937_64 random(20261125);
        std::uniform_int_distribution<std::int32_t> group(0, 999);
        std::uniform_real_distribution<double> amount(-1e6, 1e6);
        auto groupBits = std::make_unique<core::HugePageVector<unsigned int>>(c_rows);
        auto amountBits = std::make_unique<core::HugePageVector<unsigned long long>>(c_rows);
        for (std::size_t i = 0; i < c_rows; ++i) {
            d.group.push_back(group(random));
            d.amount.push_back(amount(random));
            (*groupBits)[i] = static_cast<unsigned int>(d.group.back());
            (*amountBits)[i] = std::bit_cast<unsigned long long>(d.amount.back());
        }
        d.table = core::factory::MakeTable(core::StoreValueMap{
            {L"g",
             core::factory::MakeArray<unsigned int>(core::StoreTypeInfo::Int32, core::StoreTypeInfo::Empty,
                                                    std::move(groupBits), nullptr)},
            {L"x",
             core::factory::MakeArray<unsigned long long>(
                 core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, std::move(amountBits), nullptr)}});
        return d;
    }();
    return data;
}

[[gnu::noinline]] std::vector<std::uint32_t> StableSortTwoKeys(NumberData const& d) {
    std::vector<std::uint32_t> rows(c_rows);
    std::iota(rows.begin(), rows.end(), 0u);
    std::stable_sort(rows.begin(), rows.end(), [&](std::uint32_t a, std::uint32_t b) {
        if (d.group[a] != d.group[b]) {
            return d.group[a] < d.group[b];
        }
        return d.amount[a] > d.amount[b];
    });
    return rows;
}

void BM_MultiSort_TwoKeys_Machine(benchmark::State& state) {
    NumberData const& data = Numbers();
    auto const sort = bench::MakeFirstTransform(
        "input ~init.t : table\nb : table = MultiSort(~init.t.g, ~init.t.x, ~init.t) fn sort(\"ASC\", "
        "\"DESC\") "
        "value true\n",
        Options(false));
    vm::TransformValues const inputs{
        {KeyPath::FromTexts({L"~init", L"t", L"g"}), data.table->AsTable().GetColumn(L"g")},
        {KeyPath::FromTexts({L"~init", L"t", L"x"}), data.table->AsTable().GetColumn(L"x")},
        {KeyPath::FromTexts({L"~init", L"t"}), data.table}};
    bench::RunMachine(state, *sort, inputs, c_rows);
    // The same order as the comparator sort's.
    Value const result = sort->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
    auto const& amounts = result->AsTable().GetColumn(L"x")->AsTypedArray<unsigned long long>();
    std::vector<std::uint32_t> const expected = StableSortTwoKeys(data);
    for (std::size_t i = 0; i < c_rows; i += 9973) {
        if (std::bit_cast<double>(amounts.GetValue(static_cast<unsigned int>(i))) !=
            data.amount[expected[i]]) {
            state.SkipWithError("the order differs from the comparator sort's");
            break;
        }
    }
}

void BM_MultiSort_TwoKeys_StableSortLoop(benchmark::State& state) {
    NumberData const& data = Numbers();
    for (auto _ : state) {
        std::vector<std::uint32_t> rows = StableSortTwoKeys(data);
        benchmark::DoNotOptimize(rows);
    }
    Items(state, c_rows);
}

struct TextData {
    std::vector<std::wstring> texts;
    std::vector<std::u16string> utf16;
    Value column;
};

TextData const& Texts() {
    static TextData const data = [] {
        TextData d;
        std::mt19937_64 random(7);
        std::wstring const letters = L"aäbcdeéfghijklmnoöpqrsßtuüvwxyzAÄBCDEOÖUÜ ";
        std::uniform_int_distribution<std::size_t> length(3, 14);
        std::uniform_int_distribution<std::size_t> letter(0, letters.size() - 1);
        auto values = std::make_unique<std::vector<core::RIndirectString>>();
        for (std::size_t i = 0; i < c_rows; ++i) {
            std::wstring text(length(random), L' ');
            for (wchar_t& c : text) {
                c = letters[letter(random)];
            }
            d.texts.push_back(text);
            d.utf16.emplace_back(text.begin(), text.end());  // every letter above is in the BMP
            values->emplace_back(TStringCore(text));
        }
        core::StoreTypeInfo const type(core::StoreType::String, false, core::Collation::Named(L"de"));
        d.column = core::factory::MakeArray<core::RIndirectString>(type, std::move(values));
        return d;
    }();
    return data;
}

void BM_MultiSort_Collated_Machine(benchmark::State& state) {
    TextData const& data = Texts();
    auto const sort = bench::MakeFirstTransform(
        "input ~init.s : array<string(de)>\nb : array<string(de)> = MultiSort(~init.s) fn sort(\"ASC\") "
        "value false\n",
        Options(false));
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"s"}), data.column}};
    bench::RunMachine(state, *sort, inputs, c_rows);
}

void BM_MultiSort_Collated_IcuStableSortLoop(benchmark::State& state) {
    TextData const& data = Texts();
    UErrorCode status = U_ZERO_ERROR;
    UCollator* const collator = ucol_open("de", &status);
    if (U_FAILURE(status)) {
        state.SkipWithError("no German collator");
        return;
    }
    for (auto _ : state) {
        std::vector<std::uint32_t> rows(c_rows);
        std::iota(rows.begin(), rows.end(), 0u);
        std::stable_sort(rows.begin(), rows.end(), [&](std::uint32_t a, std::uint32_t b) {
            auto const& x = data.utf16[a];
            auto const& y = data.utf16[b];
            return ucol_strcoll(collator, reinterpret_cast<UChar const*>(x.data()),
                                static_cast<int32_t>(x.size()), reinterpret_cast<UChar const*>(y.data()),
                                static_cast<int32_t>(y.size())) == UCOL_LESS;
        });
        benchmark::DoNotOptimize(rows);
    }
    ucol_close(collator);
    Items(state, c_rows);
}

}  // namespace

BENCHMARK(BM_MultiSort_TwoKeys_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MultiSort_TwoKeys_StableSortLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MultiSort_Collated_Machine)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MultiSort_Collated_IcuStableSortLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
