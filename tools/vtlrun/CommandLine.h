#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "zel/core/io/StoreValueParser.h"
#include "zel/core/utility/ZelLog.h"
#include "zel/vm/execute/VMOptions.h"

namespace vtlrun {

// What the command line asks for.
enum class Command { Run, Help, ListFunctions };

struct RunSettings {
    std::filesystem::path program;
    std::filesystem::path store;
    // Where the result goes instead of stdout; the binary protocol when it ends in ".bin".
    std::optional<std::filesystem::path> output;
    // A store of changed inputs for a second run.
    std::optional<std::filesystem::path> changes;
    std::optional<std::filesystem::path> trace;
    bool metrics = false;
    // The size of the process thread pool; the pool's own default when not given.
    std::optional<unsigned int> threads;
    zel::vm::VMOptions vmOptions;
    // How the store and the changes are read: the bound on rows that a value may expand to.
    zel::core::StoreValueParser::ReadOptions readOptions;
    // The bound on the bytes of freed column buffers kept for reuse; the library's default when
    // not given.
    std::optional<std::size_t> memoryCacheBytes;
    zel::core::ZelLogLevel logLevel = zel::core::ZelLogLevel::Info;
    // Run one statement at a time and trace each through the log, values sampled to `sample`
    // elements (0: none, 4294967295: all).
    bool explain = false;
    unsigned int sample = 10;
};

struct CommandLine {
    Command command = Command::Run;
    RunSettings settings;
};

// A command line that cannot be run as written; the text says why, in one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the arguments (argv[0] is skipped). Throws UsageError for an unknown option, a missing or
// malformed value, a missing or extra positional argument.
CommandLine ParseCommandLine(int argc, char const* const* argv);

// The text that --help prints.
std::string HelpText();

}  // namespace vtlrun
