// vtlrun's command line, exit status and messages: 0 done, 1 failed with one "error CODE" line
// (and, for a program, the file, line and column), 2 a bad command line.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include <string>
#include <vector>

#include "e2e/E2eSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"

namespace zel::test::e2e {
namespace {

std::string const c_copyProgram = "input ~init.a : array<int32>\nb : array<int32> = Copy(~init.a)\n";
std::string const c_store = R"({"a": [1, 2, 3]})";
std::string const c_result =
    R"({"a":{"$type":"array<int32>","values":[1,2,3]},"b":{"$type":"array<int32>","values":[1,2,3]}})"
    "\n";

// A scratch directory with a good program and store in it.
class Vtlrun : public ::testing::Test {
protected:
    ScratchDir m_scratch;
    std::string m_program = m_scratch.Write("copy.vtl", c_copyProgram).string();
    std::string m_store = m_scratch.Write("store.json", c_store).string();

    std::string Write(std::string const& name, std::string const& bytes) const {
        return m_scratch.Write(name, bytes).string();
    }
};

void ExpectFailure(ProcessResult const& run, std::string const& firstLine) {
    EXPECT_EQ(run.exitCode, 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(FirstLine(run.err), firstLine);
}

TEST_F(Vtlrun, UsageErrorsExitWith2AndSayWhy) {
    std::vector<std::vector<std::string>> const commandLines = {
        {},
        {m_program},
        {m_program, m_store, m_store},
        {m_program, m_store, "--bogus"},
        {m_program, m_store, "--meta"},  // no guessing of abbreviated names
        {m_program, m_store, "--output"},
        {m_program, m_store, "--threads", "0"},
        {m_program, m_store, "--threads", "-1"},
        {m_program, m_store, "--threads", "4x"},
        {m_program, m_store, "--threads", "1025"},
        {m_program, m_store, "--block-size", "0"},
        {m_program, m_store, "--block-size", "99999999999999999999"},
        {m_program, m_store, "--log-level", "loud"},
        {m_program, m_store, "--max-expanded-rows", "0"},
        {m_program, m_store, "--max-expanded-rows", "4294967296"},
        {m_program, m_store, "--memory-cache", "1048577"},
        {"--list-functions", m_program},
    };
    for (auto const& arguments : commandLines) {
        ProcessResult const run = RunVtlrun(arguments);
        std::string const shown = arguments.empty() ? "(none)" : arguments.back();
        EXPECT_EQ(run.exitCode, 2) << shown;
        EXPECT_EQ(run.out, "") << shown;
        EXPECT_TRUE(run.err.starts_with("vtlrun: ")) << run.err;
        EXPECT_NE(run.err.find("\nusage: vtlrun"), std::string::npos) << run.err;
    }
}

TEST_F(Vtlrun, HelpAndTheFunctionListGoToStdout) {
    ProcessResult const help = RunVtlrun({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.starts_with("usage: vtlrun PROGRAM.vtl STORE [options]\n")) << help.out;
    EXPECT_EQ(help.err, "");
    // Help wins over everything else on the line, even what would be a usage error.
    EXPECT_EQ(RunVtlrun({m_program, "-h"}).out, help.out);
    ProcessResult const helpAndNonsense = RunVtlrun({"--bogus", "--help", "--threads", "0"});
    EXPECT_EQ(helpAndNonsense.exitCode, 0);
    EXPECT_EQ(helpAndNonsense.out, help.out);

    ProcessResult const functions = RunVtlrun({"--list-functions"});
    EXPECT_EQ(functions.exitCode, 0);
    EXPECT_EQ(functions.out, core::PrintBuiltinFunctions());
}

TEST_F(Vtlrun, AProgramErrorNamesTheFileLineAndColumnAndShowsTheLine) {
    std::string const syntax =
        Write("syntax.vtl", "input ~init.a : array<int32>\nb = Copy(~init.a fn f())\n");
    ProcessResult const run = RunVtlrun({syntax, m_store});
    ExpectFailure(run, "error 1004 (VtlSyntaxError): " + syntax +
                           ":2:18: expected \")\" after the inputs, found \"fn\"");
    // The excerpt and the caret under the column follow.
    EXPECT_NE(run.err.find("\n  b = Copy(~init.a fn f())\n                   ^"), std::string::npos)
        << run.err;

    std::string const unwritten = Write("unwritten.vtl", "b : array<int32> = Copy(c)\n");
    EXPECT_TRUE(FirstLine(RunVtlrun({unwritten, m_store}).err)
                    .starts_with("error 1005 (VtlProgramError): " + unwritten + ":1:25: "));

    // Bytes that are not UTF-8 are placed too, not reported as an encoding failure.
    std::string const bytes = Write("bytes.vtl", "input ~init.a : array<int32>\nb = Copy(\xff)\n");
    EXPECT_TRUE(FirstLine(RunVtlrun({bytes, m_store}).err)
                    .starts_with("error 1004 (VtlSyntaxError): " + bytes + ":2:10: "));
}

TEST_F(Vtlrun, FilesThatCannotBeReadOrWrittenAreNamed) {
    std::string const missing = (m_scratch.Path() / "missing.json").string();
    std::string const dir = m_scratch.Path().string();
    std::string const unwritable = (m_scratch.Path() / "no" / "result.json").string();
    std::string const absent = ": No such file or directory";
    struct Case {
        std::vector<std::string> arguments;
        std::string message;
    };
    for (auto const& [arguments, message] : std::vector<Case>{
             {{missing, m_store}, missing + ": cannot read the program" + absent},
             {{m_program, missing}, missing + ": cannot read the store" + absent},
             {{m_program, dir}, dir + ": cannot read the store: Is a directory"},
             {{m_program, m_store, "--update", missing}, missing + ": cannot read the changes" + absent},
             {{m_program, m_store, "-o", unwritable}, unwritable + ": cannot write the result" + absent}}) {
        ExpectFailure(RunVtlrun(arguments), "error 1000 (InvalidArgument): " + message);
    }
}

// One line, the store's file in front of the reader's place in it; the debug report of the failed
// check shows only at --log-level debug.
TEST_F(Vtlrun, AMalformedStoreIsOneLineNamingTheFile) {
    std::string const bad = Write("bad.json", R"({"a": [1, "x"]})");
    ProcessResult const run = RunVtlrun({m_program, bad});
    // The program declares ~init.a an array of int32, so the store's a is read as one.
    ExpectFailure(run, "error 1003 (StoreFormatError): " + bad +
                           ": JSON store: expected an int32 at /a/1 (element 1, line 1, column 11)");
    EXPECT_EQ(run.err, FirstLine(run.err) + "\n");

    ProcessResult const debug = RunVtlrun({m_program, bad, "--log-level", "debug"});
    EXPECT_EQ(debug.exitCode, 1);
    EXPECT_NE(debug.err.find("[debug] check failed at code/"), std::string::npos) << debug.err;
    EXPECT_NE(debug.err.find("\n" + FirstLine(run.err) + "\n"), std::string::npos) << debug.err;
}

// A store whose constant array declares more rows than --max-expanded-rows allows fails, naming
// the file and the value; at the bound it runs.
TEST_F(Vtlrun, TheBoundOnExpandedRowsIsSetOnTheCommandLine) {
    std::string const store =
        Write("constant.json", R"({"a": {"$type": "array<int32>", "constant": 7, "count": 3}})");
    ExpectFailure(RunVtlrun({m_program, store, "--max-expanded-rows", "2"}),
                  "error 1003 (StoreFormatError): " + store +
                      ": JSON store: a constant array of 3 rows, more than the 2 rows a value may expand to "
                      "(ReadOptions::maxExpandedRows) at /a (line 1, column 7)");
    ProcessResult const run = RunVtlrun({m_program, store, "--max-expanded-rows=3"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find(R"("b":{"$type":"array<int32>")"), std::string::npos) << run.out;
}

// Broken input of any kind is a failure with a message: never a crash, an abort or a trace.
TEST_F(Vtlrun, BrokenInputNeverCrashes) {
    std::vector<std::pair<std::string, std::string>> const inputs = {
        {c_copyProgram, ""},
        {c_copyProgram, "VRST"},
        {c_copyProgram, std::string("VRST\x01\x00\x00\x00\x0e\x00\xff\xff\xff\xff", 14)},
        {c_copyProgram, R"({"b": [1]})"},  // the program's input is missing
        {c_copyProgram, std::string(200, '[')},
        {std::string(100, '('), c_store},
        {std::string("b = Copy(\0)", 11), c_store},
        {"b : array<int32> = NoSuchOperator(~init.a)", c_store},
    };
    for (auto const& [program, store] : inputs) {
        ProcessResult const run =
            RunVtlrun({Write("broken.vtl", program), Write("broken.store", store), "--log-level", "trace"});
        EXPECT_EQ(run.exitCode, 1) << program << " / " << store << "\n" << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err.find("error "), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find("AddressSanitizer"), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find("runtime error"), std::string::npos) << run.err;
    }
}

TEST_F(Vtlrun, OutputFileMetricsAndTrace) {
    std::string const json = (m_scratch.Path() / "result.json").string();
    std::string const trace = (m_scratch.Path() / "run.trace.json").string();
    ProcessResult const run =
        RunVtlrun({m_program, m_store, "-o", json, "--metrics", "--trace", trace, "--memory-cache", "3"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(ReadFile(json), c_result);
    // The report on stderr, one line a scope, the machine's and vtlrun's own, then the buffers.
    EXPECT_NE(run.err.find("zel_VM_Execute "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("vtlrun_ReadFiles "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(" MiB cached of at most 3, "), std::string::npos) << run.err;
    std::string const events = ReadFile(trace);
    EXPECT_TRUE(events.starts_with("{\"traceEvents\":[")) << events;
    EXPECT_NE(events.find("\"name\":\"zel_VM_Execute\""), std::string::npos) << events;
}

// Not timed: the program is a FIFO, so vtlrun is known to wait in its read, with the handler in
// place, when the interrupt is sent; the program arrives after it. The read carries on, and the
// machine, polling the flag at the start of the run, stops before the first node.
TEST_F(Vtlrun, CtrlCCancelsTheRunAndExitsWith130) {
    std::string const fifo = (m_scratch.Path() / "program.vtl").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    VtlrunProcess process({fifo, m_store});
    // Opening the writing end succeeds once vtlrun has opened the reading end.
    int writer = -1;
    while ((writer = open(fifo.c_str(), O_WRONLY | O_NONBLOCK)) < 0) {
        ASSERT_EQ(errno, ENXIO);
        ASSERT_TRUE(process.IsRunning()) << process.Wait().err;
        sched_yield();
    }
    ASSERT_EQ(kill(process.Pid(), SIGINT), 0);
    ASSERT_EQ(write(writer, c_copyProgram.data(), c_copyProgram.size()),
              static_cast<ssize_t>(c_copyProgram.size()));
    close(writer);

    ProcessResult const run = process.Wait();
    EXPECT_EQ(run.exitCode, 130) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "vtlrun: cancelled by Ctrl-C\n");
}

TEST_F(Vtlrun, AChangeThatTheMachineRefusesFailsTheSecondRun) {
    std::string const changes = Write("changes.json", R"({"nosuch": 1})");
    ExpectFailure(RunVtlrun({m_program, m_store, "--update", changes}),
                  "error 352 (KeyNotFound): cannot update \"~init.nosuch\": it holds no value");
}

}  // namespace
}  // namespace zel::test::e2e
