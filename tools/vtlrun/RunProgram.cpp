#include "RunProgram.h"

#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "ProgressLine.h"
#include "StepwiseRun.h"
#include "StoreFiles.h"
#include "vormetrics/MetricsFilter.h"
#include "vormetrics/MetricsRegistry.h"
#include "vormetrics/MetricsScope.h"
#include "vorsys/thread/TThreadPool.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/store/KeyPath.h"
#include "zel/core/utility/BufferPool.h"
#include "zel/core/utility/ZelDebugReport.h"
#include "zel/core/utility/ZelException.h"
#include "zel/core/utility/ZelLog.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/host/VMFactory.h"

namespace vtlrun {

namespace {

using zel::core::ZelError;
using zel::core::ZelException;
using zel::core::ZelRuntimeException;
using zel::vm::TransformStatus;

// Enough for the scopes of a long run of a large program, at some 100 MB; the registry only
// counts the events past it.
constexpr std::size_t c_traceEventLimit = 1'000'000;

// The program as text. Bytes that are not UTF-8 are a syntax error at their line and column, which
// the parser's UTF-8 reading finds.
TStringCore DecodeProgram(std::filesystem::path const& path, std::vector<std::uint8_t> const& bytes) {
    std::string_view const utf8(reinterpret_cast<char const*>(bytes.data()), bytes.size());
    try {
        return TStringCore::FromUtf8(utf8);
    } catch (TStringEncodingException const& e) {
        try {
            std::vector<zel::core::TransformSpec> specs;
            std::vector<zel::core::GraphEdge> edges;
            zel::core::OutputKeySet outputs;
            zel::core::ParseVtlPayload(utf8, specs, edges, outputs);
        } catch (ZelException const& failure) {
            throw ZelRuntimeException(failure.GetError(), PlaceInProgram(path, failure.GetText()));
        }
        throw ZelRuntimeException(
            ZelError::VtlSyntaxError,
            PathText(path) +
                TStringCore::FromUtf8(": bytes that are not UTF-8 at byte " + std::to_string(e.GetOffset())));
    }
}

std::unique_ptr<zel::vm::VM> MakeMachine(RunSettings const& settings, TStringCore const& program,
                                         std::shared_ptr<zel::core::IDataStore> store,
                                         zel::core::IFunctionLookup const& functions) {
    auto const scope = Metrics::OpenScope(L"vtlrun_MakeVM");
    return zel::vm::VMFactory::Make(program, std::move(store), functions, settings.vmOptions);
}

// The input types the program declares; none when it does not parse, since making the machine
// reports that failure with its place in the program.
std::vector<std::pair<zel::core::KeyPath, zel::core::KeySegmentType>> DeclaredTypesOf(
    TStringCore const& program) {
    std::vector<zel::core::TransformSpec> specs;
    std::vector<zel::core::GraphEdge> edges;
    zel::core::OutputKeySet outputKeys;
    try {
        // Quietly: the failure is reported once, when the machine is made.
        zel::core::ScopedZelDebugReportHandler const quiet([](zel::core::ZelDebugReport const&) {});
        zel::core::ParseVtlPayload(program, specs, edges, outputKeys);
    } catch (ZelException const&) {
        return {};
    }
    return zel::core::DeclaredInputTypes(edges);
}

// Execute runs until Complete or Cancelled; anything else is a machine that stopped half-way.
TransformStatus Run(zel::vm::VM& vm, ProgressLine& progress) {
    progress.Start(vm.GetExecutionGraph());
    TransformStatus const status = vm.Execute();
    progress.Finish();
    if (status != TransformStatus::Complete && status != TransformStatus::Cancelled) {
        throw ZelRuntimeException(
            ZelError::GraphNotComplete,
            L"the run stopped with status " + TStringCore(std::to_wstring(static_cast<int>(status))));
    }
    return status;
}

// Every top-level member of the changes store as one change; the updater takes key maps apart
// itself, so a member that is a key map changes only the entries it names.
void ApplyChanges(zel::vm::VM& vm, zel::core::IDataStore const& changes) {
    auto updater = vm.MakeDataStoreUpdater();
    auto const root = changes.GetRoot();
    for (TStringCore const& name : root->GetSortedNames()) {
        updater->Set(zel::core::KeyPath(name), root->Find(name));
    }
    vm.ApplyUpdater(std::move(updater));
}

void WriteToStream(std::string_view bytes, std::FILE* stream, char const* what) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stream) != bytes.size() || std::fflush(stream) != 0) {
        throw ZelRuntimeException(ZelError::InvalidArgument,
                                  TStringCore::FromUtf8(std::string("cannot write the ") + what));
    }
}

// The column buffers of the run: what is held and how often a freed buffer served again.
std::string BufferPoolLine() {
    auto const stats = zel::core::GetBufferPoolStatistics();
    auto const mebibytes = [](std::size_t bytes) { return std::to_string((bytes + (1u << 19)) >> 20); };
    return "column buffers: " + mebibytes(stats.inUseBytes) + " MiB in use, " + mebibytes(stats.cachedBytes) +
           " MiB cached of at most " + mebibytes(stats.bound) + ", " + std::to_string(stats.hits) +
           " reused, " + std::to_string(stats.misses) + " fresh\n";
}

void WriteDiagnostics(RunSettings const& settings, std::FILE* diagnostics) {
    if (settings.metrics) {
        std::string report = Metrics::GetRegistry().Report().ToUtf8();
        if (!report.empty() && report.back() != '\n') {
            report += '\n';
        }
        WriteToStream(report + BufferPoolLine(), diagnostics, "metrics report");
    }
    if (settings.trace) {
        WriteFileBytes(*settings.trace, Metrics::GetRegistry().ExportTrace(), "trace");
        if (auto const dropped = Metrics::GetRegistry().DroppedTraceEventCount(); dropped != 0) {
            zel::core::ZelLog(
                zel::core::ZelLogLevel::Warning,
                TStringCore::FromUtf8("the trace holds the first " + std::to_string(c_traceEventLimit) +
                                      " events; " + std::to_string(dropped) + " later ones were left out"));
        }
    }
}

// Writes the result as a normal run does.
void WriteResult(RunSettings const& settings, zel::core::IDataStore const& result, std::FILE* out) {
    if (settings.output) {
        WriteStoreFile(result, *settings.output);
    } else {
        WriteToStream(FormatStoreJson(result), out, "result to stdout");
    }
}

Outcome RunMachine(RunSettings const& settings,
                   std::shared_ptr<zel::vm::ICancellationTokenSource> const& cancel,
                   TStringCore const& program, std::shared_ptr<zel::core::IDataStore> store,
                   std::shared_ptr<zel::core::IDataStore> const& changes,
                   zel::core::IFunctionLookup const& functions, std::FILE* out, std::FILE* diagnostics) {
    auto const vm = MakeMachine(settings, program, std::move(store), functions);
    // The machine polls the source at the start of a run too, so a Ctrl-C while the files were
    // read or the graph was built stops the run before its first node. The progress line asks
    // the Ctrl-C source whenever the machine asks it.
    auto const progress = std::make_shared<ProgressLine>(cancel, diagnostics);
    vm->SetCancellationTokenSource(progress);
    if (Run(*vm, *progress) == TransformStatus::Cancelled) {
        return Outcome::Cancelled;
    }
    if (changes) {
        ApplyChanges(*vm, *changes);
        if (Run(*vm, *progress) == TransformStatus::Cancelled) {
            return Outcome::Cancelled;
        }
    }

    auto const scope = Metrics::OpenScope(L"vtlrun_WriteResult");
    WriteResult(settings, *vm->MaterializeDataStore(), out);
    return Outcome::Done;
}

// --explain: the statements one by one over one store, traced; the result as a normal run gives it.
Outcome ExplainMachine(RunSettings const& settings,
                       std::shared_ptr<zel::vm::ICancellationTokenSource> const& cancel,
                       TStringCore const& program, zel::core::IDataStore const& store,
                       zel::core::IFunctionLookup const& functions, std::FILE* out) {
    auto const result =
        RunStepwise(program, store, functions, settings.vmOptions, settings.sample, cancel.get());
    if (!result) {
        return Outcome::Cancelled;
    }
    auto const scope = Metrics::OpenScope(L"vtlrun_WriteResult");
    WriteResult(settings, *result, out);
    return Outcome::Done;
}

Outcome RunSteps(RunSettings const& settings,
                 std::shared_ptr<zel::vm::ICancellationTokenSource> const& cancel, std::FILE* out,
                 std::FILE* diagnostics) {
    TStringCore program;
    std::shared_ptr<zel::core::IDataStore> store;
    std::shared_ptr<zel::core::IDataStore> changes;
    {
        auto const scope = Metrics::OpenScope(L"vtlrun_ReadFiles");
        program = DecodeProgram(settings.program, ReadFileBytes(settings.program, "program"));
        // Plain JSON values of the stores are read as the program declares its inputs.
        zel::core::StoreValueParser::ReadOptions readOptions = settings.readOptions;
        readOptions.declaredTypes = DeclaredTypesOf(program);
        store = ReadStoreFile(settings.store, "store", readOptions);
        // Read before the first run, so that a bad changes file costs no run.
        if (settings.changes) {
            changes = ReadStoreFile(*settings.changes, "changes", readOptions);
        }
    }

    // The lookup outlives the machine, which keeps references into it.
    auto const functions = zel::core::MakeBuiltinFunctionLookup();
    try {
        if (settings.explain) {
            return ExplainMachine(settings, cancel, program, *store, *functions, out);
        }
        return RunMachine(settings, cancel, program, std::move(store), changes, *functions, out, diagnostics);
    } catch (ZelException const& failure) {
        // A failure of the program's text or of one of its statements: the program's file in
        // front of its place.
        if (!PointsIntoProgram(failure.GetText())) {
            throw;
        }
        throw ZelRuntimeException(failure.GetError(), PlaceInProgram(settings.program, failure.GetText()));
    }
}

}  // namespace

Outcome RunProgram(RunSettings const& settings,
                   std::shared_ptr<zel::vm::ICancellationTokenSource> const& cancel, std::FILE* out,
                   std::FILE* diagnostics) {
    if (settings.threads) {
        // Only fails once the pool exists, and nothing has used it yet.
        TThreadPool::SetNumberOfThreads(*settings.threads);
    }
    if (settings.memoryCacheBytes) {
        zel::core::SetBufferCacheBound(*settings.memoryCacheBytes);
    }
    if (settings.metrics || settings.trace) {
        MetricsFilter::SetFilter(MetricsFilter::c_allBits);
    }
    if (settings.trace) {
        Metrics::GetRegistry().SetTraceEventLimit(c_traceEventLimit);
    }

    Outcome outcome;
    try {
        outcome = RunSteps(settings, cancel, out, diagnostics);
    } catch (...) {
        // The figures of a failed run still help to find out why; the failure itself is what the
        // user is told about, so a failure to write them is only logged.
        try {
            WriteDiagnostics(settings, diagnostics);
        } catch (ZelException const& e) {
            zel::core::ZelLog(zel::core::ZelLogLevel::Warning, e.GetText());
        } catch (...) {
        }
        throw;
    }
    WriteDiagnostics(settings, diagnostics);
    return outcome;
}

}  // namespace vtlrun
