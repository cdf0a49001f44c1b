// GroupBy and ApplyByPartition programs: partitions of adjacent equal keys (specials, collations,
// several keys), the output tables of both forms, zero rows, the range and gather modes and what
// tells them apart, NoOp and Case children, parallel runs equal to serial ones, cancellation before
// and during the tasks, and the failures of the operator.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/CheckFailure.h"
#include "vm/partition/ChildProgramSupport.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::partition {
namespace {

using child::GetProbes;
using child::Json;
using child::MakeFirst;
using child::Parse;
using child::Path;
using child::RunToJson;
using core::ZelError;

constexpr char const* c_input = "input ~init.t : table { k : array<string>, v : array<double> }\n";

std::string TableValue(std::string const& keys, std::string const& values) {
    return R"({"$type": "table", "columns": {"k": )" + keys + R"(, "v": )" + values + "}}";
}

// A store of the table ~init.t.
std::string Table(std::string const& keys, std::string const& values) {
    return R"({"t": )" + TableValue(keys, values) + "}";
}

// The JSON of a result table with these columns, given as name and typed array JSON, in name order.
std::string ResultTable(std::vector<std::pair<std::string, std::string>> const& columns) {
    std::string text = R"({"$type":"table","columns":{)";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        text += (i ? "," : "") + ("\"" + columns[i].first + "\":") + columns[i].second;
    }
    return text + "}}";
}

// A table of no rows: its columns must say their types.
constexpr char const* c_noKeys = R"({"$type": "array<string>", "values": []})";
constexpr char const* c_noValues = R"({"$type": "array<double>", "values": []})";

std::string Doubles(std::string const& values) {
    return R"({"$type":"array<double>","values":[)" + values + "]}";
}
std::string Strings(std::string const& values) {
    return R"({"$type":"array<string>","values":[)" + values + "]}";
}
std::string Int32s(std::string const& values) {
    return R"({"$type":"array<int32>","values":[)" + values + "]}";
}

// A child without a range form makes every partition run with a gather; the results are the same.
std::string GatherChild(bool gather) {
    return gather ? "  scratch : array<double> = Copy(~init.t.v)\n" : "";
}

std::string GroupByProgram(bool gather) {
    return std::string(c_input) + R"(out : table = GroupBy(~init.t, ~init.t.k) {
  out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0
  out.n : array<int32> = Reduce(~init.t.v) fn count() value 0
)" + GatherChild(gather) +
           "}\n";
}

std::string ApplyByPartitionProgram(bool gather) {
    return std::string(c_input) + R"(out : table = ApplyByPartition(~init.t, ~init.t.k) {
  out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0
  out.running : array<double> = Scan(~init.t.v) fn add() value 0.0
)" + GatherChild(gather) +
           "}\n";
}

// GroupBy makes a row of each partition; in ApplyByPartition a scalar fills every row of its
// partition, an array its rows in order. Both with a range and a gather, serial and parallel.
TEST(PartitionForms, AdjacentEqualKeysFormAPartitionAndEachResultFillsItsRows) {
    struct Row {
        std::string (*program)(bool gather);
        char const* keys;
        char const* values;
        std::string expected;
    };
    std::vector<Row> const rows{
        // a a b a: three partitions, two of them of key a; b is a partition of one row.
        {GroupByProgram, R"(["a", "a", "b", "a"])", "[1.0, 2.0, 3.0, 4.0]",
         ResultTable(
             {{"k", Strings(R"("a","b","a")")}, {"n", Int32s("2,1,1")}, {"total", Doubles("3.0,3.0,4.0")}})},
        {GroupByProgram, R"(["z"])", "[7.5]",
         ResultTable({{"k", Strings(R"("z")")}, {"n", Int32s("1")}, {"total", Doubles("7.5")}})},
        // No rows: no partition, and still every column.
        {GroupByProgram, c_noKeys, c_noValues,
         ResultTable({{"k", Strings("")}, {"n", Int32s("")}, {"total", Doubles("")}})},
        {ApplyByPartitionProgram, R"(["a", "a", "b", "a"])", "[1.0, 2.0, 3.0, 4.0]",
         ResultTable({{"k", Strings(R"("a","a","b","a")")},
                      {"running", Doubles("1.0,3.0,3.0,4.0")},
                      {"total", Doubles("3.0,3.0,3.0,4.0")},
                      {"v", Doubles("1.0,2.0,3.0,4.0")}})},
        {ApplyByPartitionProgram, c_noKeys, c_noValues,
         ResultTable(
             {{"k", Strings("")}, {"running", Doubles("")}, {"total", Doubles("")}, {"v", Doubles("")}})},
    };
    for (Row const& row : rows) {
        for (bool gather : {false, true}) {
            for (vm::VMOptions const& options : {vm::VMOptions(), child::Serial()}) {
                EXPECT_EQ(RunToJson(row.program(gather), Table(row.keys, row.values), L"out", options),
                          row.expected)
                    << row.program(false) << row.keys << (gather ? ", gather" : ", range");
            }
        }
    }
}

TEST(PartitionGroupBy, KeysCompareAsTheirColumnsDoAndAChangeInAnyKeyStartsAPartition) {
    struct Row {
        char const* columns;  // of ~init.t
        char const* keys;     // the partition keys
        char const* store;
        std::string expected;  // in the result
    };
    std::vector<Row> const rows{
        // A special equals a special of its kind, never a value.
        {"k : array<int32>", "~init.t.k",
         R"({"t": {"$type": "table", "columns": {"k": [null, null, 1, 1, null], "v": [1.0, 1.0, 1.0, 1.0, 1.0]}}})",
         R"("k":{"$type":"array<int32>","values":[null,1,null]})"},
        // Strings compare under the column's collation: the first row of a partition gives its key.
        {"k : array<string(nocase)>", "~init.t.k",
         R"({"t": {"$type": "table", "columns": {"k": {"$type": "array<string(nocase)>", "values": ["A", "a", "b", "B"]},
               "v": [1.0, 1.0, 1.0, 1.0]}}})",
         R"("k":{"$type":"array<string(nocase)>","values":["A","b"]})"},
        {"k1 : array<int32>, k2 : array<string>", "~init.t.k1, ~init.t.k2",
         R"({"t": {"$type": "table", "columns": {"k1": [1, 1, 1, 2], "k2": ["x", "x", "y", "y"], "v": [1.0, 2.0, 4.0, 8.0]}}})",
         ResultTable({{"k1", Int32s("1,1,2")},
                      {"k2", Strings(R"("x","y","y")")},
                      {"n", Int32s("2,1,1")},
                      {"total", Doubles("3.0,4.0,8.0")}})},
    };
    for (Row const& row : rows) {
        std::string const program = "input ~init.t : table { " + std::string(row.columns) +
                                    ", v : array<double> }\nout : table = GroupBy(~init.t, " + row.keys +
                                    R"() {
  out.n : array<int32> = Reduce(~init.t.v) fn count() value 0
  out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0
}
)";
        std::string const result = RunToJson(program, row.store, L"out");
        EXPECT_NE(result.find(row.expected), std::string::npos) << result;
    }
}

// A Reduce over a captured column that is not in the table shows the mode: over a range it folds
// the partition's rows of the column, in a partition's own store the whole column.
TEST(PartitionModes, RangeModeComputesThePartitionsRowsAndAnyOtherChildTurnsItOff) {
    std::string const head =
        R"(input ~init.t : table { k : array<int32>, v : array<double> }, ~init.w : array<double>
out : table = GroupBy(~init.t, ~init.t.k, ~init.w) {
  out.s : array<double> = Reduce(~init.w) fn add() value 0.0
  out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0
)";
    std::string const store =
        R"({"t": {"$type": "table", "columns": {"k": [1, 1, 2], "v": [1.0, 2.0, 4.0]}}, "w": [1.0, 10.0, 100.0]})";
    struct Row {
        char const* extraChild;
        char const* s;
    };
    std::vector<Row> const rows{
        {"", "11.0,100.0"},
        // A NoOp is no child at all.
        {"  NoOp()\n", "11.0,100.0"},
        // A child without a range form.
        {"  scratch : array<double> = Copy(~init.t.v)\n", "111.0,111.0"},
        // A child whose output lies outside the partition's output.
        {"  scratch : double = Reduce(~init.t.v) fn add() value 0.0\n", "111.0,111.0"},
        // A child with two outputs.
        {"  out.x : array<double>, out.y : array<double> = Case(~init.t.v) { when always() { out.x = "
         "Copy(~init.t.v); out.y = Copy(~init.t.v) } "
         "else { out.x = Copy(~init.t.v); out.y = Copy(~init.t.v) } }\n",
         "111.0,111.0"},
    };
    for (Row const& row : rows) {
        std::string const program = head + row.extraChild + "}\noutput out\n";
        std::string const result = RunToJson(program, store, L"out");
        // The partition's own columns are the same in both modes.
        EXPECT_NE(result.find(R"("total":)" + Doubles("3.0,4.0")), std::string::npos) << result;
        EXPECT_NE(result.find(R"("s":)" + Doubles(row.s)), std::string::npos) << row.extraChild << result;
    }
}

// Many partitions over the thread pool give what one thread gives, in both modes and with a Case
// child, which each thread clones.
TEST(PartitionModes, PartitionsOnSeveralThreadsGiveTheResultOfOne) {
    std::string keys;
    std::string values;
    for (int row = 0; row < 3000; ++row) {
        keys += (row ? "," : "") + std::to_string(row / 3 + (row % 7 == 0 ? 1 : 0));
        values += (row ? "," : "") + std::to_string(row % 11) + ".0";
    }
    std::string const store =
        R"({"t": {"$type": "table", "columns": {"k": [)" + keys + R"(], "v": [)" + values + "]}}}";
    std::string const input = "input ~init.t : table { k : array<int32>, v : array<double> }\n";
    std::vector<std::string> const programs{
        input + R"(out : table = GroupBy(~init.t, ~init.t.k) {
  out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0
}
)",
        input + R"(out : table = GroupBy(~init.t, ~init.t.k) {
  total : double = Reduce(~init.t.v) fn add() value 0.0
  out.big : array<double> = Case(total) {
    when gt(total, 12.0) { out.big = SetValueMulti() fn add(total, 1000.0) }
    else { out.big = Copy(total) }
  }
}
)",
        input + R"(out : table = ApplyByPartition(~init.t, ~init.t.k) {
  out.running : array<double> = Scan(~init.t.v) fn add() value 0.0
  scratch : array<double> = Copy(~init.t.v)
}
)",
    };
    for (std::string const& program : programs) {
        vm::VMOptions parallel;
        parallel.SetMaxWorkerThreadsToUse(4);
        std::string const serial = RunToJson(program, store, L"out", child::Serial());
        EXPECT_EQ(RunToJson(program, store, L"out", parallel), serial) << program;
        EXPECT_GT(serial.size(), 3000u);
    }
}

// ApplyByPartition over three partitions of two rows; the Map's function raises the flag.
std::string CancellingProgram(bool gather) {
    return std::string(c_input) + R"(out : table = ApplyByPartition(~init.t, ~init.t.k) {
  out.w : array<double> = Map(~init.t.v) fn probe_cancel()
)" + (gather ? "  scratch : array<double> = Copy(~init.t.v)\n" : "") +
           "}\n";
}

constexpr char const* c_threePartitions = R"(["a", "a", "b", "b", "c", "c"])";
constexpr char const* c_sixValues = "[1.0, 2.0, 3.0, 4.0, 5.0, 6.0]";

// The first partition runs to its end, and the next task sees the stop; without a source every
// partition runs.
TEST(PartitionCancel, AStopBeforeOrDuringTheTasksReturnsNoOutput) {
    vm::TransformValues const inputs{{Path(L"~init.t"), Parse(TableValue(c_threePartitions, c_sixValues))}};
    for (bool gather : {false, true}) {
        SCOPED_TRACE(gather ? "gather" : "range");
        auto const transform = MakeFirst(CancellingProgram(gather), child::Serial());
        vm::TransformValues const outputs = child::ExpectStopsWhenCancelled(*transform, inputs, 2);
        EXPECT_EQ(GetProbes().calls.load(), 6);
        EXPECT_NE(Json(outputs.GetValue(Path(L"out"))).find(R"("w":)" + Doubles("1.0,2.0,3.0,4.0,5.0,6.0")),
                  std::string::npos);
    }
    child::ExpectMachineCancelled(CancellingProgram(false), Table(c_threePartitions, c_sixValues), 2,
                                  child::Serial());
}

TEST(PartitionFailures, APartitionNeedsAKey) {
    for (char const* inputs : {"~init.t", "~init.t, ~init.w"}) {
        std::string const program =
            "input ~init.t : table { k : array<int32> }, ~init.w : double\nout : table = GroupBy(" +
            std::string(inputs) + ") {\n  out.n : array<int32> = Reduce(~init.t.k) fn count() value 0\n}\n";
        ExpectCheckFailure([&] { MakeFirst(program); }, ZelError::SpecError226, "!(m_inputColumns).empty()");
        ExpectRuntimeError(
            [&] { child::MakeVM(program, R"({"t": {"$type": "table", "columns": {"k": [1]}}, "w": 1.0})"); },
            ZelError::SpecError226, "GroupBy: GroupBy needs at least one partition key");
    }
}

TEST(PartitionFailures, AResultNamedAsAnInputColumnIsRefused) {
    std::string const program = std::string(c_input) + R"(out : table = ApplyByPartition(~init.t, ~init.t.k) {
  out.v : array<double> = Reduce(~init.t.v) fn add() value 0.0
}
)";
    auto const transform = MakeFirst(program);
    vm::TransformValues const inputs{{Path(L"~init.t"), Parse(TableValue(R"(["a"])", "[1.0]"))}};
    ExpectCheckFailure([&] { transform->DoTransform(inputs, nullptr); }, ZelError::DuplicateKey,
                       "(result.second)");
}

TEST(PartitionFailures, AFailingChildNamesItsOwnStatement) {
    child::ExpectMakeFailsAt(std::string(c_input) + R"(out : table = GroupBy(~init.t, ~init.t.k) {
  out.n : array<double> = Reduce(~init.t.k) fn add() value 0.0
}
)",
                             Table(R"(["a"])", "[1.0]"), "line 3, column 3: Reduce:");
}

}  // namespace
}  // namespace zel::test::partition
