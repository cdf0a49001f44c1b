// vtlrun: runs a VTL program over a store file and prints the result store. docs/vtlrun.md
// describes the options, the output and the exit status.

#include <signal.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "CommandLine.h"
#include "Failure.h"
#include "RunProgram.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/utility/ZelException.h"
#include "zel/core/utility/ZelLog.h"

namespace {

constexpr int c_exitDone = 0;
constexpr int c_exitFailed = 1;
constexpr int c_exitUsage = 2;
// What a shell reports for a process ended by SIGINT: 128 + 2.
constexpr int c_exitCancelled = 130;

// Set by the SIGINT handler, read by the machine's polls from any thread. A lock-free atomic is
// one of the few things a signal handler may touch.
std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnInterrupt(int) {
    g_interrupted.store(true, std::memory_order_relaxed);
}

// The first Ctrl-C asks the run to stop at the machine's next poll. The handler is reset by the
// first signal, so that a second Ctrl-C ends the process at once if the run does not stop.
// Interrupted reads and writes start again (SA_RESTART), so that a Ctrl-C while a file is read is
// a cancelled run, not a failed read.
void CatchInterrupt() {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
}

class InterruptCancellation final : public zel::vm::ICancellationTokenSource {
public:
    bool IsCancellationRequested() const override { return g_interrupted.load(std::memory_order_relaxed); }
};

void Print(std::FILE* stream, std::string const& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

int Main(int argc, char** argv) {
    vtlrun::CommandLine commandLine;
    try {
        commandLine = vtlrun::ParseCommandLine(argc, argv);
    } catch (vtlrun::UsageError const& e) {
        Print(stderr, std::string("vtlrun: ") + e.what() +
                          "\nusage: vtlrun PROGRAM.vtl STORE [options]; vtlrun --help says more\n");
        return c_exitUsage;
    }

    switch (commandLine.command) {
        case vtlrun::Command::Help:
            Print(stdout, vtlrun::HelpText());
            return c_exitDone;
        case vtlrun::Command::ListFunctions:
            Print(stdout, zel::core::PrintBuiltinFunctions());
            return c_exitDone;
        case vtlrun::Command::Run:
            break;
    }

    vtlrun::RunSettings const& settings = commandLine.settings;
    zel::core::GetZelLogger().SetThreshold(settings.logLevel);
    vtlrun::RouteDebugReportsToLog();
    CatchInterrupt();
    if (vtlrun::RunProgram(settings, std::make_shared<InterruptCancellation>(), stdout, stderr) ==
        vtlrun::Outcome::Cancelled) {
        Print(stderr, "vtlrun: cancelled by Ctrl-C\n");
        return c_exitCancelled;
    }
    return c_exitDone;
}

}  // namespace

// Every failure ends here as one message and exit status 1: no stack trace, no abort.
int main(int argc, char** argv) {
    try {
        return Main(argc, argv);
    } catch (zel::core::ZelException const& e) {
        Print(stderr, vtlrun::DescribeFailure(e));
    } catch (std::bad_alloc const&) {
        Print(stderr, "error: out of memory\n");
    } catch (std::exception const& e) {
        Print(stderr, std::string("error: ") + e.what() + "\n");
    } catch (...) {
        Print(stderr, "error: an unknown failure\n");
    }
    return c_exitFailed;
}
