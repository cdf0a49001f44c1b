#include "CommandLine.h"

#include <boost/program_options.hpp>

#include <charconv>
#include <limits>
#include <string_view>
#include <vector>

namespace po = boost::program_options;

namespace vtlrun {

namespace {

constexpr unsigned int c_maxThreads = 1024;
// A block is the unit of a vectorised loop; past a few million rows a larger block only costs
// memory.
constexpr unsigned int c_maxBlockSize = 1u << 24;
// 1 TiB: beyond any machine, and its byte count fits in 64 bits.
constexpr unsigned int c_maxMemoryCacheMebibytes = 1u << 20;

// A whole decimal number from `minimum` to `maximum`. Parsed by hand because the library's
// conversion to unsigned accepts "-1" and wraps it round.
unsigned int ParseCount(std::string const& option, std::string const& text, unsigned int minimum,
                        unsigned int maximum) {
    unsigned long long value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < minimum ||
        value > maximum) {
        throw UsageError("--" + option + " takes a whole number from " + std::to_string(minimum) + " to " +
                         std::to_string(maximum) + ", not \"" + text + "\"");
    }
    return static_cast<unsigned int>(value);
}

}  // namespace

std::string HelpText() {
    return R"(usage: vtlrun PROGRAM.vtl STORE [options]
       vtlrun --list-functions
       vtlrun --help

Runs the VTL program over the store (JSON, or the binary protocol) and prints the result store as
one line of JSON on stdout.

options:
  -o, --output FILE      write the result store to FILE instead: the binary protocol when FILE
                         ends in ".bin", else JSON
  --update CHANGES       after the run, apply the store CHANGES (JSON or binary) as changed
                         inputs, run again and give the second result; key maps in CHANGES change
                         only the members they name
  --threads N            worker threads (1 to 1024): the size of the thread pool and the most
                         that one transform uses
  --block-size N         rows per vector block (1 to 16777216, default 1024)
  --max-expanded-rows N  the most rows a constant or run-length array of a store may declare
                         (1 to 4294967295, default 16777216)
  --memory-cache MIB     the most MiB of freed column buffers kept for reuse (0 to 1048576,
                         default 1024)
  --no-parallel          run every transform on the calling thread
  --no-vectorise         use the row-by-row transforms instead of the block loops
  --metrics              print the time spent per scope to stderr after the run
  --trace FILE           write a trace-event JSON file of the run
  --log-level LEVEL      error, warning, info (default), debug or trace, or 0 to 4; debug also
                         shows the report of each failed check
  --explain              run one statement at a time and trace each on stderr: the statement,
                         its inputs and its outputs
  --sample N             with --explain, the most elements of a value that the trace shows
                         (0 to 4294967295, default 10; 4294967295 shows all)
  --list-functions       print the built-in functions and their signatures
  -h, --help             print this text

exit status: 0 done, 1 failed (one "error CODE (Name): text" on stderr), 2 bad command line,
130 cancelled by Ctrl-C.
)";
}

CommandLine ParseCommandLine(int argc, char const* const* argv) {
    po::options_description options;
    // Counts are read as text and checked by ParseCount.
    options.add_options()                                    //
        ("help,h", "")                                       //
        ("list-functions", "")                               //
        ("output,o", po::value<std::string>(), "")           //
        ("update", po::value<std::string>(), "")             //
        ("threads", po::value<std::string>(), "")            //
        ("block-size", po::value<std::string>(), "")         //
        ("max-expanded-rows", po::value<std::string>(), "")  //
        ("memory-cache", po::value<std::string>(), "")       //
        ("no-parallel", "")                                  //
        ("no-vectorise", "")                                 //
        ("metrics", "")                                      //
        ("trace", po::value<std::string>(), "")              //
        ("log-level", po::value<std::string>(), "")          //
        ("explain", "")                                      //
        ("sample", po::value<std::string>(), "")             //
        ("files", po::value<std::vector<std::string>>(), "");
    po::positional_options_description positional;
    positional.add("files", -1);

    po::variables_map values;
    try {
        // No guessing of abbreviated option names: "--meta" is an error, not "--metrics".
        auto const style = po::command_line_style::default_style & ~po::command_line_style::allow_guessing;
        po::store(
            po::command_line_parser(argc, argv).options(options).positional(positional).style(style).run(),
            values);
        po::notify(values);
    } catch (po::error const& e) {
        // Asking for help is never an error, whatever else is on the line.
        for (int i = 1; i < argc; ++i) {
            if (std::string_view(argv[i]) == "--help" || std::string_view(argv[i]) == "-h") {
                return CommandLine{Command::Help, {}};
            }
        }
        throw UsageError(e.what());
    }

    CommandLine result;
    if (values.count("help") != 0) {
        result.command = Command::Help;
        return result;
    }
    std::vector<std::string> files;
    if (values.count("files") != 0) {
        files = values["files"].as<std::vector<std::string>>();
    }
    if (values.count("list-functions") != 0) {
        if (!files.empty()) {
            throw UsageError("--list-functions takes no program or store");
        }
        result.command = Command::ListFunctions;
        return result;
    }
    if (files.size() != 2) {
        throw UsageError(files.size() < 2 ? "a program and a store are needed"
                                          : "too many arguments: only a program and a store are taken");
    }

    RunSettings& settings = result.settings;
    settings.program = files[0];
    settings.store = files[1];
    auto const text = [&](char const* name) -> std::optional<std::string> {
        if (values.count(name) == 0) {
            return std::nullopt;
        }
        return values[name].as<std::string>();
    };
    if (auto const output = text("output")) {
        settings.output = *output;
    }
    if (auto const changes = text("update")) {
        settings.changes = *changes;
    }
    if (auto const trace = text("trace")) {
        settings.trace = *trace;
    }
    settings.metrics = values.count("metrics") != 0;
    if (auto const threads = text("threads")) {
        settings.threads = ParseCount("threads", *threads, 1, c_maxThreads);
        settings.vmOptions.SetMaxWorkerThreadsToUse(*settings.threads);
    }
    if (auto const blockSize = text("block-size")) {
        settings.vmOptions.SetBaseVectorizationBlockSize(
            ParseCount("block-size", *blockSize, 1, c_maxBlockSize));
    }
    if (auto const rows = text("max-expanded-rows")) {
        settings.readOptions.maxExpandedRows =
            ParseCount("max-expanded-rows", *rows, 1, std::numeric_limits<unsigned int>::max());
    }
    if (auto const mebibytes = text("memory-cache")) {
        settings.memoryCacheBytes =
            std::size_t{ParseCount("memory-cache", *mebibytes, 0, c_maxMemoryCacheMebibytes)} << 20;
    }
    if (values.count("no-parallel") != 0) {
        settings.vmOptions.SetUseParallelTransforms(false);
    }
    if (values.count("no-vectorise") != 0) {
        settings.vmOptions.SetUseVectorizedTransforms(false);
    }
    settings.explain = values.count("explain") != 0;
    if (auto const sample = text("sample")) {
        if (!settings.explain) {
            throw UsageError("--sample goes with --explain");
        }
        settings.sample = ParseCount("sample", *sample, 0, std::numeric_limits<unsigned int>::max());
    }
    if (settings.explain && settings.changes) {
        throw UsageError("--explain traces one run and takes no --update");
    }
    if (auto const level = text("log-level")) {
        auto const parsed = zel::core::ParseZelLogLevel(*level);
        if (!parsed) {
            throw UsageError("--log-level takes error, warning, info, debug, trace or 0 to 4, not \"" +
                             *level + "\"");
        }
        settings.logLevel = *parsed;
    }
    return result;
}

}  // namespace vtlrun
