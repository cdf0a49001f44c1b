// Every directory of examples/ runs through the library and through vtlrun, and each must give
// the expected store byte for byte. examples/README.md describes the layout.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "e2e/E2eSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/io/BinaryProtocolWriter.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/vm/host/VMFactory.h"

namespace zel::test::e2e {
namespace {

namespace fs = std::filesystem;

struct Example {
    std::string name;
    fs::path dir;

    std::string Read(char const* file) const { return ReadFile(dir / file); }
    bool HasUpdate() const { return fs::exists(dir / "changes.json"); }
    // What the program itself writes to stderr (the function print), when it writes anything.
    std::optional<std::string> Stderr() const {
        return fs::exists(dir / "stderr.txt") ? std::optional(Read("stderr.txt")) : std::nullopt;
    }
    // One line of warnings.txt for each warning the run logs, in order: a part of its text.
    std::vector<std::string> Warnings() const {
        return fs::exists(dir / "warnings.txt") ? SplitLines(Read("warnings.txt"))
                                                : std::vector<std::string>{};
    }
};

// stderr holds one "[warning] ..." line for each expected part, in order, and nothing else.
void ExpectWarnings(std::string const& err, std::vector<std::string> const& expected) {
    std::istringstream lines(err);
    std::size_t index = 0;
    for (std::string line; std::getline(lines, line); ++index) {
        ASSERT_LT(index, expected.size()) << err;
        EXPECT_TRUE(line.starts_with("[warning] ")) << line;
        EXPECT_NE(line.find(expected[index]), std::string::npos) << line;
    }
    EXPECT_EQ(index, expected.size()) << err;
}

void PrintTo(Example const& example, std::ostream* out) {
    *out << example.name;
}

std::vector<Example> ListExamples() {
    std::vector<Example> examples;
    for (fs::path const& dir : ExampleDirs()) {
        examples.push_back({dir.filename().string(), dir});
    }
    return examples;
}

// As vtlrun prints a store.
std::string Printed(core::IDataStore const& store) {
    return core::JsonStoreWriter::WriteStore(store) + "\n";
}

class Examples : public ::testing::TestWithParam<Example> {};

TEST(ExampleSet, IsNotEmpty) {
    EXPECT_FALSE(ListExamples().empty()) << VOR_EXAMPLES_DIR;
}

TEST_P(Examples, TheLibraryGivesTheExpectedStore) {
    Example const& example = GetParam();
    std::shared_ptr<core::IDataStore> const store =
        core::StoreValueParser::MakeDataStore(example.Read("store.json"));
    std::string const storeBefore = Printed(*store);
    auto const functions = core::MakeBuiltinFunctionLookup();
    auto const vm = vm::VMFactory::Make(TStringCore::FromUtf8(example.Read("program.vtl")), store, *functions,
                                        vm::VMOptions());

    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    EXPECT_EQ(Printed(*vm->MaterializeDataStore()), example.Read("expected.json"));

    if (example.HasUpdate()) {
        auto const changes = core::StoreValueParser::MakeDataStore(example.Read("changes.json"));
        auto updater = vm->MakeDataStoreUpdater();
        auto const root = changes->GetRoot();
        for (TStringCore const& name : root->GetSortedNames()) {
            updater->Set(core::KeyPath(name), root->Find(name));
        }
        vm->ApplyUpdater(std::move(updater));
        ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
        EXPECT_EQ(Printed(*vm->MaterializeDataStore()), example.Read("expected-after-update.json"));
    }
    // The machine works on a clone: neither the runs nor the update reach the caller's store.
    EXPECT_EQ(Printed(*store), storeBefore);
}

// vtlrun prints the store, and with --update the store after the second run.
TEST_P(Examples, VtlrunPrintsTheExpectedStore) {
    Example const& example = GetParam();
    std::vector<std::string> arguments = {(example.dir / "program.vtl").string(),
                                          (example.dir / "store.json").string()};
    for (char const* expected : {"expected.json", "expected-after-update.json"}) {
        ProcessResult const run = RunVtlrun(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.out, example.Read(expected));
        if (auto const err = example.Stderr()) {
            EXPECT_EQ(run.err, *err);
        } else {
            ExpectWarnings(run.err, example.Warnings());
        }
        if (!example.HasUpdate()) {
            break;
        }
        arguments.insert(arguments.end(), {"--update", (example.dir / "changes.json").string()});
    }
}

// The binary protocol in and out, on one thread, one row per block, without the parallel and
// vectorised paths: the same result.
TEST_P(Examples, VtlrunGivesTheSameStoreFromBinaryWithEveryOptionTurnedDown) {
    Example const& example = GetParam();
    ScratchDir const scratch;
    auto const toBinary = [&](char const* json, std::string const& name) {
        auto const bytes = core::BinaryProtocolWriter::WriteStore(
            *core::StoreValueParser::MakeDataStore(example.Read(json)));
        return scratch.Write(name, std::string(bytes.begin(), bytes.end())).string();
    };
    std::string const store = toBinary("store.json", "store.bin");
    std::string const result = (scratch.Path() / "result.bin").string();
    std::vector<std::string> arguments = {(example.dir / "program.vtl").string(), store, "-o", result};
    arguments.insert(arguments.end(),
                     {"--threads", "1", "--block-size", "1", "--no-parallel", "--no-vectorise"});
    char const* expected = "expected.json";
    if (example.HasUpdate()) {
        arguments.insert(arguments.end(), {"--update", toBinary("changes.json", "changes.bin")});
        expected = "expected-after-update.json";
    }

    ProcessResult const run = RunVtlrun(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    ASSERT_TRUE(ReadFile(result).starts_with("VRST"));
    EXPECT_EQ(Printed(*core::StoreValueParser::MakeDataStoreFromFile(result)), example.Read(expected));
}

INSTANTIATE_TEST_SUITE_P(All, Examples, ::testing::ValuesIn(ListExamples()),
                         [](::testing::TestParamInfo<Example> const& info) {
                             std::string name = info.param.name;
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
                             return name;
                         });

}  // namespace
}  // namespace zel::test::e2e
