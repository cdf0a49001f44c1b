// A host of the machine, built against the installed package: it registers its own functions,
// builds a store in code, runs a VTL program, reads typed results, runs again on changed inputs,
// cancels a run from another thread, reads the metrics and reports a failure. docs/embedding.md
// walks through it section by section.

#include <atomic>
#include <cmath>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"
#include "vorsys/thread/TThreadPool.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/BufferPool.h"
#include "zel/core/utility/ZelError.h"
#include "zel/core/utility/ZelException.h"
#include "zel/vm/host/VMFactory.h"

using namespace zel;

// [functions]
// A plain function, registered by its address.
double RoundCents(double amount) {
    return std::round(amount * 100.0) / 100.0;
}

void RegisterHostFunctions(core::FunctionLookup& functions) {
    functions.RegisterUnary<&RoundCents>(L"round_cents");
    // A creator function: its first parameter comes from the program, `add_tax(0.2)`.
    functions.RegisterUnary(L"add_tax", [](double rate, double amount) { return amount * (1.0 + rate); });
}
// [functions]

// [store]
// A column of doubles made in code. A double is stored as its bits (core::DoubleToBits).
std::shared_ptr<core::StoreValue> Doubles(std::vector<double> const& values) {
    auto bits = std::make_unique<std::vector<unsigned long long>>();
    for (double const value : values) {
        bits->push_back(core::DoubleToBits(value));
    }
    return core::factory::MakeArray<unsigned long long>(core::StoreTypeInfo::Double, std::move(bits));
}
// [store]

// [results]
void PrintResult(core::IDataStore const& result) {
    std::cout << "rounded:";
    auto const rounded = result.GetValue(core::KeyPath(L"rounded"));
    for (unsigned long long const bits : rounded->AsTypedArray<unsigned long long>().GetValues()) {
        std::cout << ' ' << core::BitsToDouble(bits);
    }
    std::cout << "\ntotal: " << core::FetchStoreValue<double>(result.GetValue(core::KeyPath(L"total")))
              << '\n';
}
// [results]

// [cancel]
// Stops a run when another thread asks; the machine polls it between nodes.
class StopFlag final : public vm::ICancellationTokenSource {
public:
    void Stop() { m_stop.store(true); }
    bool IsCancellationRequested() const override { return m_stop.load(); }

private:
    std::atomic<bool> m_stop{false};
};
// [cancel]

constexpr wchar_t const* c_program =
    LR"(
input ~init.prices : array<double>
with_tax : array<double> = Map(~init.prices) fn add_tax(0.2)
rounded : array<double> = Map(with_tax) fn round_cents()
total : double = Reduce(rounded) fn add() value 0.0
)";

int main() {
    // [setup]
    // Process-wide settings, before the first machine: the thread pool's size and how many bytes
    // of freed column buffers are kept for reuse. Metrics are collected from here on.
    TThreadPool::SetNumberOfThreads(2);
    core::SetBufferCacheBound(std::size_t{256} << 20);
    MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    // [setup]

    // [run]
    // The lookup outlives every machine made with it.
    auto const functions = core::MakeBuiltinFunctionLookup();
    RegisterHostFunctions(*functions);
    std::shared_ptr<core::IDataStore> const store =
        core::factory::MakeDataStore(core::StoreValueMap{{L"prices", Doubles({10.0, 2.5, 99.99})}});
    auto const machine = vm::VMFactory::Make(TStringCore(c_program), store, *functions);
    if (machine->Execute() != vm::TransformStatus::Complete) {
        return 1;
    }
    PrintResult(*machine->MaterializeDataStore());
    // [run]

    // [update]
    auto updater = machine->MakeDataStoreUpdater();
    updater->Set(core::KeyPath(L"prices"), Doubles({1.0, 2.0}));
    machine->ApplyUpdater(std::move(updater));
    machine->Execute();
    PrintResult(*machine->MaterializeDataStore());
    // [update]

    // [cancel-run]
    auto const stop = std::make_shared<StopFlag>();
    machine->SetCancellationTokenSource(stop);
    updater = machine->MakeDataStoreUpdater();
    updater->Set(core::KeyPath(L"prices"), Doubles({5.0}));
    machine->ApplyUpdater(std::move(updater));
    std::thread([&] { stop->Stop(); }).join();
    bool const cancelled = machine->Execute() == vm::TransformStatus::Cancelled;
    std::cout << "cancelled: " << (cancelled ? "yes" : "no") << '\n';
    // [cancel-run]

    // [metrics]
    bool const timed = Metrics::GetRegistry().Report().ToUtf8().find("zel_VM_Execute") != std::string::npos;
    std::cout << "metrics: " << (timed ? "runs timed" : "nothing recorded") << '\n';
    // [metrics]

    // [failure]
    try {
        vm::VMFactory::Make(TStringCore(L"input ~init.prices : array<double>\n"
                                        L"y : array<double> = Map(~init.prices) fn no_such_function()\n"),
                            store, *functions);
    } catch (core::ZelRuntimeException const& e) {
        std::cout << "refused: " << core::ZelErrorName(e.GetError()) << '\n';
    }
    // [failure]
    return 0;
}
