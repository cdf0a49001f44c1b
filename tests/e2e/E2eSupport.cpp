#include "e2e/E2eSupport.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace zel::test::e2e {

VtlrunProcess::VtlrunProcess(std::vector<std::string> const& arguments,
                             std::optional<std::filesystem::path> const& workingDirectory)
    : m_scratch(std::make_unique<ScratchDir>()) {
    // The output goes to files rather than pipes, so that a child that writes much to both streams
    // cannot block on one while the parent waits on the other.
    std::string const outPath = (m_scratch->Path() / "stdout").string();
    std::string const errPath = (m_scratch->Path() / "stderr").string();

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    std::string const directory = workingDirectory ? workingDirectory->string() : std::string();
    if (workingDirectory) {
        posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    }

    std::string const program = VOR_VTLRUN_PATH;
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (std::string const& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);

    pid_t pid = 0;
    int const spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        throw std::system_error(spawned, std::generic_category(), "cannot start " + program);
    }
    m_pid = pid;
}

VtlrunProcess::~VtlrunProcess() {
    if (!m_status) {
        try {
            Wait();
        } catch (...) {
        }
    }
}

bool VtlrunProcess::IsRunning() {
    if (m_status) {
        return false;
    }
    int status = 0;
    if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_status = status;
        return false;
    }
    return true;
}

ProcessResult VtlrunProcess::Wait() {
    while (!m_status) {
        int status = 0;
        if (waitpid(m_pid, &status, 0) == m_pid) {
            m_status = status;
        } else if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "waitpid");
        }
    }
    ProcessResult result;
    result.exitCode = WIFEXITED(*m_status) ? WEXITSTATUS(*m_status) : 128 + WTERMSIG(*m_status);
    result.out = ReadFile(m_scratch->Path() / "stdout");
    result.err = ReadFile(m_scratch->Path() / "stderr");
    return result;
}

ProcessResult RunVtlrun(std::vector<std::string> const& arguments) {
    return VtlrunProcess(arguments).Wait();
}

ProcessResult RunVtlrunIn(std::filesystem::path const& workingDirectory,
                          std::vector<std::string> const& arguments) {
    return VtlrunProcess(arguments, workingDirectory).Wait();
}

ScratchDir::ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vtlrun-e2e-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    m_path = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::filesystem::path ScratchDir::Write(std::string const& name, std::string const& bytes) const {
    std::filesystem::path const path = m_path / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string ReadFile(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string FirstLine(std::string const& text) {
    return text.substr(0, text.find('\n'));
}

std::vector<std::string> SplitLines(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> VtlrunDocBlockLines(std::string const& heading, int maxBlocks) {
    std::ifstream doc(std::string(VOR_DOCS_DIR) + "/vtlrun.md");
    std::vector<std::string> lines;
    bool inSection = false;
    int fences = 0;
    for (std::string line; std::getline(doc, line) && fences / 2 < maxBlocks;) {
        if (line.starts_with("#")) {
            inSection = line == heading;
        } else if (inSection && line.starts_with("```")) {
            ++fences;
        } else if (inSection && fences % 2 == 1) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<std::filesystem::path> ExampleDirs() {
    std::vector<std::filesystem::path> dirs;
    for (std::filesystem::directory_entry const& entry :
         std::filesystem::directory_iterator(VOR_EXAMPLES_DIR)) {
        if (entry.is_directory() && std::filesystem::exists(entry.path() / "program.vtl")) {
            dirs.push_back(entry.path());
        }
    }
    std::sort(dirs.begin(), dirs.end());
    return dirs;
}

}  // namespace zel::test::e2e
