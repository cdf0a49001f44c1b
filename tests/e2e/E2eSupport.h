#pragma once

// Support for the end-to-end tests: running the vtlrun binary, scratch directories, files.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::test::e2e {

// A fresh directory, removed with everything in it when the object goes.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(ScratchDir const&) = delete;
    ScratchDir& operator=(ScratchDir const&) = delete;

    std::filesystem::path const& Path() const { return m_path; }
    // Writes the file (name relative to the directory) and returns its path.
    std::filesystem::path Write(std::string const& name, std::string const& bytes) const;

private:
    std::filesystem::path m_path;
};

struct ProcessResult {
    int exitCode = -1;  // the exit status, or 128 + the signal that ended the process
    std::string out;
    std::string err;
};

// A vtlrun process started with the arguments; stdout and stderr are captured whole.
class VtlrunProcess {
public:
    // Relative paths among the arguments are taken from `workingDirectory` when one is given.
    explicit VtlrunProcess(std::vector<std::string> const& arguments,
                           std::optional<std::filesystem::path> const& workingDirectory = std::nullopt);
    ~VtlrunProcess();  // waits, if Wait was not called
    VtlrunProcess(VtlrunProcess const&) = delete;
    VtlrunProcess& operator=(VtlrunProcess const&) = delete;

    int Pid() const { return m_pid; }
    // False once the process has ended (then Wait returns at once).
    bool IsRunning();
    ProcessResult Wait();

private:
    std::unique_ptr<ScratchDir> m_scratch;
    int m_pid = -1;
    std::optional<int> m_status;
};

// Runs vtlrun with the arguments and waits for it.
ProcessResult RunVtlrun(std::vector<std::string> const& arguments);
// The same, run in `workingDirectory`.
ProcessResult RunVtlrunIn(std::filesystem::path const& workingDirectory,
                          std::vector<std::string> const& arguments);

std::string ReadFile(std::filesystem::path const& path);

// The text up to the first line feed.
std::string FirstLine(std::string const& text);

// The lines of `text`, without their line feeds.
std::vector<std::string> SplitLines(std::string const& text);

// The lines inside the first `maxBlocks` code blocks of docs/vtlrun.md under the heading line
// `heading`, up to the next heading.
std::vector<std::string> VtlrunDocBlockLines(std::string const& heading, int maxBlocks);

// The directories of examples/ that hold a program.vtl, in name order (examples/host is a host
// program, not a VTL example).
std::vector<std::filesystem::path> ExampleDirs();

}  // namespace zel::test::e2e
