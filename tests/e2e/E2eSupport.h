#pragma once

// Support for the end-to-end tests: running the vtlrun binary, scratch directories, files.

#include <filesystem>
#include <string>
#include <vector>

namespace zel::test::e2e {

// Where the build put vtlrun and where the examples lie (compile definitions of the suite).
std::filesystem::path VtlrunPath();
std::filesystem::path ExamplesDir();

struct ProcessResult {
    int exitCode = -1;  // the exit status, or 128 + the signal that ended the process
    std::string out;
    std::string err;
};

// Runs vtlrun with the arguments and waits for it; stdout and stderr are captured whole.
ProcessResult RunVtlrun(std::vector<std::string> const& arguments);

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

std::string ReadFile(std::filesystem::path const& path);

// The text up to the first line feed.
std::string FirstLine(std::string const& text);

}  // namespace zel::test::e2e
