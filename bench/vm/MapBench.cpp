// Map through the machine beside plain C++ loops, in one run:
//
// - multiply(2.0) over 10 million doubles. The machine's figure is one DoTransform of the Map
//   transform: the result buffer, the blocks, the function's block calls and the result array,
//   and dropping that array again. It runs serially and on two threads (a pool of two, the
//   caller and one worker). Beside it the limit, a loop into a buffer allocated and touched
//   before the timer, and the same loop allocating its output inside the timer: a std::vector,
//   which zero-fills first, and a huge-page buffer left uninitialised, which the loop touches
//   first, on one thread and on two.
// - upper over 1 million short strings (8 to 16 characters, a quarter of them with non-ASCII
//   letters), beside a loop of ICU's full case mapping that makes an owned string a row: from
//   UTF-8 to UTF-8, and from UTF-32 to UTF-32, the form the machine holds its texts in. Then
//   1 to 7 ASCII characters beside a plain toupper loop, and texts already in upper case, which
//   the machine returns shared. Each machine figure runs serially and on two threads.
// - multiply(2.0) over a constant column: one function call, so 10 rows and 10 million rows
//   cost the same.

#include <benchmark/benchmark.h>

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <bit>
#include <cctype>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "vorsys/thread/TThreadPool.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/utility/HugePageAllocator.h"
#include "zel/vm/host/VMFactory.h"

namespace {

using namespace zel;
using bench::Items;
using bench::Options;
using core::KeyPath;

constexpr std::size_t c_count = 10'000'000;
constexpr std::size_t c_strings = 1'000'000;
static_assert(sizeof(wchar_t) == sizeof(UChar32), "texts are UTF-32 in a wchar_t");

// The pool is made on first use; two threads, so that a parallel Map runs on the caller and one
// worker (it takes at most half the pool).
[[maybe_unused]] bool const g_poolSized = TThreadPool::SetNumberOfThreads(2);

// The loops read and write buffers on huge pages, as the machine's column and result are: fewer
// TLB misses make the limit faster, not slower.
struct DoubleData {
    core::HugePageVector<double> values;
    core::HugePageVector<double> out;  // allocated and touched before any timer
    std::shared_ptr<core::StoreValue> column;
};

DoubleData& Doubles() {
    static DoubleData data = [] {
        DoubleData d;
        std::mt19937_64 random(20241121);
        std::uniform_real_distribution<double> value(-1e6, 1e6);
        d.values.resize(c_count);
        auto bits = std::make_unique<core::HugePageVector<unsigned long long>>(c_count);
        for (std::size_t i = 0; i < c_count; ++i) {
            d.values[i] = value(random);
            (*bits)[i] = std::bit_cast<unsigned long long>(d.values[i]);
        }
        d.out.assign(c_count, 0.0);
        d.column = core::factory::MakeArray<unsigned long long>(
            core::StoreTypeInfo::Double, core::StoreTypeInfo::Empty, std::move(bits), nullptr);
        return d;
    }();
    return data;
}

struct StringData {
    std::vector<std::string> values;       // UTF-8
    std::vector<std::wstring> wideValues;  // the same texts in UTF-32, as the machine holds them
    std::shared_ptr<core::StoreValue> column;
};

// 8 to 16 letters and digits; every fourth string has a few letters outside ASCII.
StringData& Strings() {
    static StringData data = [] {
        StringData d;
        std::mt19937 random(7);
        std::string_view const ascii = "abcdefghijklmnopqrstuvwxyz0123456789 ";
        std::vector<std::string_view> const other{"ß", "é", "ö", "ç", "ı", "ø"};
        std::string json = "{\"a\": [";
        d.values.reserve(c_strings);
        d.wideValues.reserve(c_strings);
        UErrorCode status = U_ZERO_ERROR;
        for (std::size_t i = 0; i < c_strings; ++i) {
            std::size_t const length = 8 + random() % 9;
            std::string text;
            for (std::size_t k = 0; k < length; ++k) {
                if (i % 4 == 0 && k % 5 == 2) {
                    text += other[random() % other.size()];
                } else {
                    text += ascii[random() % ascii.size()];
                }
            }
            json += (i == 0 ? "\"" : ",\"") + text + "\"";
            icu::UnicodeString::fromUTF8(text).toUTF32(
                reinterpret_cast<UChar32*>(d.wideValues.emplace_back(length, L'\0').data()),
                static_cast<int32_t>(length), status);
            d.values.push_back(std::move(text));
        }
        json += "]}";
        d.column = core::StoreValueParser::MakeDataStore(std::string_view(json))->GetValue(KeyPath(L"a"));
        return d;
    }();
    return data;
}

// 1 to 7 ASCII letters, digits and spaces: the short texts of a code or a name column.
// 1 to 7 characters of `alphabet` each.
StringData MakeAsciiStrings(std::string_view alphabet) {
    StringData d;
    std::mt19937 random(11);
    std::string json = "{\"a\": [";
    for (std::size_t i = 0; i < c_strings; ++i) {
        std::string text(1 + random() % 7, ' ');
        for (auto& c : text) {
            c = alphabet[random() % alphabet.size()];
        }
        json += (i == 0 ? "\"" : ",\"") + text + "\"";
        d.wideValues.emplace_back(text.begin(), text.end());
        d.values.push_back(std::move(text));
    }
    json += "]}";
    d.column = core::StoreValueParser::MakeDataStore(std::string_view(json))->GetValue(KeyPath(L"a"));
    return d;
}

StringData& AsciiStrings() {
    static StringData data = MakeAsciiStrings("abcdefghijklmnopqrstuvwxyz0123456789 ");
    return data;
}

// Texts that upper() leaves as they are, and so returns shared: the threads of a run count
// references on the input's chunks rather than make texts.
StringData& AsciiUpperStrings() {
    static StringData data = MakeAsciiStrings("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ");
    return data;
}

// The Map transform of `function` over ~init.a, as the machine makes it from a program.
std::unique_ptr<vm::Transform> MakeMap(std::string const& type, std::string const& function,
                                       vm::VMOptions const& options) {
    return bench::MakeFirstTransform(
        "input ~init.a : " + type + "\nb : " + type + " = Map(~init.a) fn " + function + "\n", options);
}

void RunMachine(benchmark::State& state, vm::Transform const& map,
                std::shared_ptr<core::StoreValue> const& column, std::size_t count) {
    bench::RunMachine(state, map, {{KeyPath::FromTexts({L"~init", L"a"}), column}}, count);
}

// ---- multiply(2.0) over 10 million doubles ------------------------------------------------------

void BM_Map_Double_Machine(benchmark::State& state, bool parallel) {
    auto const map = MakeMap("array<double>", "multiply(2.0)", Options(parallel));
    RunMachine(state, *map, Doubles().column, c_count);
    // A figure of a wrong result is worth nothing: check rows across the column once.
    vm::TransformValues const inputs{{KeyPath::FromTexts({L"~init", L"a"}), Doubles().column}};
    auto const result = map->DoTransform(inputs, nullptr).GetValue(KeyPath(L"b"));
    auto const& rows = result->AsTypedArray<unsigned long long>();
    for (std::size_t row = 0; row < c_count; row += 999'983) {
        if (std::bit_cast<double>(rows.GetValue(static_cast<unsigned int>(row))) !=
            Doubles().values[row] * 2.0) {
            state.SkipWithError("wrong result");
        }
    }
}

[[gnu::noinline]] void Multiply(double factor, double const* in, double* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = in[i] * factor;
    }
}

void BM_Map_Double_Limit(benchmark::State& state) {
    DoubleData& data = Doubles();
    double factor = 2.0;
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        Multiply(factor, data.values.data(), data.out.data(), c_count);
        benchmark::ClobberMemory();
    }
    Items(state, c_count);
}

void BM_Map_Double_AllocatingLoop_Vector(benchmark::State& state) {
    DoubleData& data = Doubles();
    double factor = 2.0;
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        std::vector<double> out(c_count);
        Multiply(factor, data.values.data(), out.data(), c_count);
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_count);
}

void BM_Map_Double_AllocatingLoop_HugePages(benchmark::State& state) {
    DoubleData& data = Doubles();
    double factor = 2.0;
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        core::HugePageVector<double> out;
        out.resize(c_count);  // default-initialised: the loop is the first touch
        Multiply(factor, data.values.data(), out.data(), c_count);
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_count);
}

// The same on two threads, each the first to touch its half of the output: what a parallel Map
// that allocates its result could reach at best.
void BM_Map_Double_AllocatingLoop_HugePages_TwoThreads(benchmark::State& state) {
    DoubleData& data = Doubles();
    double factor = 2.0;
    benchmark::DoNotOptimize(factor);
    std::size_t const half = c_count / 2;
    for (auto _ : state) {
        core::HugePageVector<double> out;
        out.resize(c_count);
        std::thread other(Multiply, factor, data.values.data() + half, out.data() + half, c_count - half);
        Multiply(factor, data.values.data(), out.data(), half);
        other.join();
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_count);
}

BENCHMARK_CAPTURE(BM_Map_Double_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Double_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Double_Limit)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Double_AllocatingLoop_Vector)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Double_AllocatingLoop_HugePages)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Double_AllocatingLoop_HugePages_TwoThreads)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- a chain of five Maps in one program ---------------------------------------------------------

constexpr char const* c_chain = R"(input ~init.a : array<double>
b1 : array<double> = Map(~init.a) fn multiply(2.0)
b2 : array<double> = Map(b1) fn multiply(2.0)
b3 : array<double> = Map(b2) fn multiply(2.0)
b4 : array<double> = Map(b3) fn multiply(2.0)
b5 : array<double> = Map(b4) fn multiply(2.0)
output b5
)";

// The whole machine: made, run and its result taken, each time; each intermediate column is
// released after its last reader, so its buffer serves a later one.
void BM_Map_Chain_Machine(benchmark::State& state, bool parallel) {
    std::shared_ptr<core::IDataStore> const store =
        core::factory::MakeDataStore(core::StoreValueMap{{L"a", Doubles().column}});
    for (auto _ : state) {
        auto const machine =
            vm::VMFactory::Make(TStringCore::FromUtf8(c_chain), store, bench::Functions(), Options(parallel));
        machine->Execute();
        benchmark::DoNotOptimize(machine->MaterializeDataStore());
    }
    Items(state, c_count);
}

// Five limit loops, each from the last one's buffer into the other ready one.
void BM_Map_Chain_Limit(benchmark::State& state) {
    DoubleData& data = Doubles();
    static core::HugePageVector<double> other(c_count, 0.0);
    double factor = 2.0;
    benchmark::DoNotOptimize(factor);
    for (auto _ : state) {
        Multiply(factor, data.values.data(), data.out.data(), c_count);
        Multiply(factor, data.out.data(), other.data(), c_count);
        Multiply(factor, other.data(), data.out.data(), c_count);
        Multiply(factor, data.out.data(), other.data(), c_count);
        Multiply(factor, other.data(), data.out.data(), c_count);
        benchmark::ClobberMemory();
    }
    Items(state, c_count);
}

BENCHMARK_CAPTURE(BM_Map_Chain_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Chain_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Chain_Limit)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- upper over 1 million short strings ---------------------------------------------------------

void BM_Map_Upper_Machine(benchmark::State& state, bool parallel) {
    auto const map = MakeMap("array<string>", "upper()", Options(parallel));
    RunMachine(state, *map, Strings().column, c_strings);
}

void BM_Map_Upper_IcuLoop(benchmark::State& state) {
    StringData& data = Strings();
    icu::Locale const& root = icu::Locale::getRoot();
    for (auto _ : state) {
        std::vector<std::string> out(data.values.size());
        for (std::size_t i = 0; i < data.values.size(); ++i) {
            icu::UnicodeString text = icu::UnicodeString::fromUTF8(data.values[i]);
            text.toUpper(root);
            text.toUTF8String(out[i]);
        }
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_strings);
}

// The same from and to UTF-32 texts: a std::wstring has no room for these texts in itself, so
// every result is an allocation, as in the machine.
void BM_Map_Upper_IcuLoop_Utf32(benchmark::State& state) {
    StringData& data = Strings();
    icu::Locale const& root = icu::Locale::getRoot();
    for (auto _ : state) {
        std::vector<std::wstring> out(data.wideValues.size());
        for (std::size_t i = 0; i < data.wideValues.size(); ++i) {
            std::wstring const& in = data.wideValues[i];
            icu::UnicodeString text = icu::UnicodeString::fromUTF32(
                reinterpret_cast<UChar32 const*>(in.data()), static_cast<int32_t>(in.size()));
            text.toUpper(root);
            UErrorCode status = U_ZERO_ERROR;
            int32_t const length = text.countChar32();
            out[i].resize(static_cast<std::size_t>(length));
            text.toUTF32(reinterpret_cast<UChar32*>(out[i].data()), length, status);
        }
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_strings);
}

void BM_Map_Upper_Ascii_Machine(benchmark::State& state, bool parallel) {
    auto const map = MakeMap("array<string>", "upper()", Options(parallel));
    RunMachine(state, *map, AsciiStrings().column, c_strings);
}

void BM_Map_Upper_AsciiUnchanged_Machine(benchmark::State& state, bool parallel) {
    auto const map = MakeMap("array<string>", "upper()", Options(parallel));
    RunMachine(state, *map, AsciiUpperStrings().column, c_strings);
}

// The plain loop: toupper into strings that are ready, of the right sizes.
void BM_Map_Upper_Ascii_ToupperLoop(benchmark::State& state) {
    StringData& data = AsciiStrings();
    std::vector<std::string> out = data.values;
    for (auto _ : state) {
        for (std::size_t i = 0; i < data.values.size(); ++i) {
            std::string const& in = data.values[i];
            for (std::size_t k = 0; k < in.size(); ++k) {
                out[i][k] = static_cast<char>(std::toupper(static_cast<unsigned char>(in[k])));
            }
        }
        benchmark::DoNotOptimize(out.data());
    }
    Items(state, c_strings);
}

BENCHMARK_CAPTURE(BM_Map_Upper_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Upper_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Upper_IcuLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Upper_IcuLoop_Utf32)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Upper_Ascii_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Upper_Ascii_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Upper_AsciiUnchanged_Machine, Serial, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Map_Upper_AsciiUnchanged_Machine, TwoThreads, true)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Map_Upper_Ascii_ToupperLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- a constant column --------------------------------------------------------------------------

void BM_Map_Constant_Machine(benchmark::State& state) {
    auto const count = static_cast<unsigned int>(state.range(0));
    auto const column = core::factory::MakeConstantArray<unsigned long long>(
        core::StoreTypeInfo::Double, std::bit_cast<unsigned long long>(2.5), count);
    auto const map = MakeMap("array<double>", "multiply(2.0)", Options(true));
    RunMachine(state, *map, column, count);
}

BENCHMARK(BM_Map_Constant_Machine)->Arg(10)->Arg(10'000'000)->Unit(benchmark::kMicrosecond);

}  // namespace
