// The bound on the rows that a constant or run-length array may declare: both readers refuse an
// array past it, naming the value, and take one at it.

#include <gtest/gtest.h>

#include "core/io/StoreFormatTestSupport.h"

namespace zel::test {
namespace {

using core::StoreValueParser::ReadOptions;

ReadOptions Bound(std::uint32_t rows) {
    ReadOptions options;
    options.maxExpandedRows = rows;
    return options;
}

struct ExpandedCase {
    char const* name;
    std::string json;  // a store whose one array declares 11 rows under /m/c
    char const* layout;
};

std::vector<ExpandedCase> const c_cases = {
    {"Constant", R"({"m": {"c": {"$type": "array<double>", "constant": 1.5, "count": 11}}})",
     "a constant array"},
    {"Runs", R"({"m": {"c": {"$type": "array<string>", "runs": [{"value": "x", "count": 6},
                                                              {"special": "null", "count": 5}]}}})",
     "a run-length array"},
    {"RunsWithIndices", R"({"m": {"c": {"$type": "array<int32>", "runs": [{"value": 1, "count": 11}],
                                        "indices": [0, 10]}}})",
     "a run-length array"},
};

TEST(ExpandedRows, BothReadersRefuseAnArrayPastTheBoundAndNameIt) {
    for (ExpandedCase const& c : c_cases) {
        SCOPED_TRACE(c.name);
        std::string const text =
            std::string(c.layout) + " of 11 rows, more than the 10 rows a value may expand to";
        // The same store in the binary protocol, written from what the default bound reads.
        std::vector<std::uint8_t> const binary = core::BinaryProtocolWriter::WriteStore(
            *core::StoreValueParser::MakeDataStore(std::string_view(c.json)));

        ExpectFormatError([&] { core::StoreValueParser::MakeDataStore(std::string_view(c.json), Bound(10)); },
                          {text, "/m/c"});
        ExpectFormatError(
            [&] {
                core::BinaryProtocolReader reader(binary.data(), binary.size());
                core::StoreValueParser::MakeDataStore(reader, Bound(10));
            },
            {text, "/m/c"});

        // At the bound the array reads, whole.
        auto const store = core::StoreValueParser::MakeDataStore(std::string_view(c.json), Bound(11));
        core::BinaryProtocolReader reader(binary.data(), binary.size());
        EXPECT_TRUE(core::StoreValueParser::MakeDataStore(reader, Bound(11)));
        EXPECT_TRUE(store->GetValue(core::KeyPath::Parse(L"m.c")));
    }
}

TEST(ExpandedRows, ByDefaultAFewBytesCannotDeclareFourBillionRows) {
    ExpectFormatError(
        [] {
            core::StoreValueParser::MakeDataStore(std::string_view(
                R"({"a": {"$type": "array<bool>", "constant": true, "count": 4294967295}})"));
        },
        {"a constant array of 4294967295 rows, more than the 16777216 rows", "ReadOptions::maxExpandedRows",
         "at /a"});
    // The bound is on rows that are declared, not listed: a listed array of any length is not bound.
    std::string listed = R"({"a": [)";
    for (int i = 0; i < 20; ++i) {
        listed += (i ? ", " : "") + std::to_string(i);
    }
    listed += "]}";
    EXPECT_NO_THROW(core::StoreValueParser::MakeDataStore(std::string_view(listed), Bound(10)));
}

}  // namespace
}  // namespace zel::test
