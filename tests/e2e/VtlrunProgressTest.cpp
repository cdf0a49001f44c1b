// vtlrun draws how many nodes are done on one stderr line, and clears it at the end, only when
// stderr is a terminal. The delay before the first drawing is set to 0 here, so that a short run
// shows the line.

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "e2e/E2eSupport.h"

extern char** environ;

namespace zel::test::e2e {
namespace {

std::string const c_program = std::string(VOR_EXAMPLES_DIR) + "/map/program.vtl";
std::string const c_store = std::string(VOR_EXAMPLES_DIR) + "/map/store.json";

// What vtlrun writes to a terminal on its stderr; its stdout goes nowhere.
std::string StderrOnATerminal(std::vector<std::string> arguments) {
    // Everything the child needs is made before the fork: after it, only exec.
    std::vector<std::string> environment = {"VTLRUN_PROGRESS_DELAY_MS=0"};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    std::vector<char*> envp;
    for (auto& entry : environment) {
        envp.push_back(entry.data());
    }
    envp.push_back(nullptr);
    arguments.insert(arguments.begin(), VOR_VTLRUN_PATH);
    std::vector<char*> argv;
    for (auto& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    int const devNull = ::open("/dev/null", O_WRONLY);

    int terminal = -1;
    pid_t const pid = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        ::dup2(devNull, STDOUT_FILENO);
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    ::close(devNull);
    std::string seen;
    char buffer[4096];
    // The read fails (EIO) once the child has closed its side.
    for (ssize_t count; (count = ::read(terminal, buffer, sizeof buffer)) > 0;) {
        seen.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << seen;
    return seen;
}

TEST(VtlrunProgress, OnATerminalTheLineIsDrawnAndClearedAtTheEnd) {
    std::string const seen = StderrOnATerminal({c_program, c_store});
    EXPECT_NE(seen.find("\rvtlrun: "), std::string::npos) << seen;
    EXPECT_NE(seen.find(" nodes done"), std::string::npos) << seen;
    EXPECT_TRUE(seen.ends_with("\r\x1b[K")) << seen;
}

TEST(VtlrunProgress, ElsewhereNothingIsDrawn) {
    ::setenv("VTLRUN_PROGRESS_DELAY_MS", "0", 1);
    ProcessResult const run = RunVtlrun({c_program, c_store});
    ::unsetenv("VTLRUN_PROGRESS_DELAY_MS");
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
}

}  // namespace
}  // namespace zel::test::e2e
