// GroupBy against a plain loop over random sorted tables: the partitions, their keys, sums and
// counts, serial and parallel, over a range and with a gather, on tables that cross the blocks in
// which partition starts are found.

#include <gtest/gtest.h>

#include <bit>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "vm/partition/ChildProgramSupport.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/store/RIndirectString.h"

namespace zel::test::partition {
namespace {

using child::Path;

struct Row {
    std::optional<int> k;  // empty for a null key
    std::string s;
    int v;
};

struct Group {
    std::optional<int> k;
    std::string s;
    double total = 0;
    int count = 0;
};

// Sorted on k, with runs of random length (some long enough to span many blocks of rows), and a
// second key s that changes now and then inside a run of k.
std::vector<Row> RandomTable(std::mt19937& random, unsigned int rowCount) {
    std::vector<Row> rows;
    std::uniform_int_distribution<int> runLength(1, 12);
    std::uniform_int_distribution<int> percent(0, 99);
    int key = -3;
    while (rows.size() < rowCount) {
        int const length = percent(random) < 3 ? 3000 : runLength(random);
        bool const isNull = percent(random) < 5;
        std::string s = percent(random) < 50 ? "x" : "y";
        for (int i = 0; i < length && rows.size() < rowCount; ++i) {
            if (percent(random) < 10) {
                s = s == "x" ? "y" : "x";
            }
            rows.push_back(Row{isNull ? std::nullopt : std::optional<int>(key), s, percent(random) - 50});
        }
        key += 1 + percent(random) % 3;
    }
    return rows;
}

std::vector<Group> NaiveGroupBy(std::vector<Row> const& rows) {
    std::vector<Group> groups;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i == 0 || rows[i].k != rows[i - 1].k || rows[i].s != rows[i - 1].s) {
            groups.push_back(Group{rows[i].k, rows[i].s});
        }
        groups.back().total += rows[i].v;
        ++groups.back().count;
    }
    return groups;
}

std::string StoreJson(std::vector<Row> const& rows) {
    std::string k;
    std::string s;
    std::string v;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        char const* const comma = i ? "," : "";
        k += comma + (rows[i].k ? std::to_string(*rows[i].k) : "null");
        s += comma + ("\"" + rows[i].s + "\"");
        v += comma + std::to_string(rows[i].v) + ".0";
    }
    // Typed, so that a table of no rows reads too.
    return R"({"t": {"$type": "table", "columns": {"k": {"$type": "array<int32>", "values": [)" + k +
           R"(]}, "s": {"$type": "array<string>", "values": [)" + s +
           R"(]}, "v": {"$type": "array<double>", "values": [)" + v + "]}}}}";
}

std::string Program(bool gather) {
    return std::string(R"(input ~init.t : table { k : array<int32>, s : array<string>, v : array<double> }
out : table = GroupBy(~init.t, ~init.t.k, ~init.t.s) {
  out.total : array<double> = Reduce(~init.t.v) fn add() value 0.0
  out.n : array<int32> = Reduce(~init.t.v) fn count() value 0
)") + (gather ? "  scratch : array<double> = Copy(~init.t.v)\n" : "") +
           "}\n";
}

void ExpectGroups(core::IStoreTable const& table, std::vector<Group> const& expected,
                  std::string const& what) {
    ASSERT_EQ(table.GetRowCount(), expected.size()) << what;
    auto const& k = table.GetColumn(L"k")->AsTypedArray<unsigned int>();
    auto const& s = table.GetColumn(L"s")->AsTypedArray<core::RIndirectString>();
    auto const& total = table.GetColumn(L"total")->AsTypedArray<unsigned long long>();
    auto const& n = table.GetColumn(L"n")->AsTypedArray<unsigned int>();
    for (unsigned int i = 0; i < expected.size(); ++i) {
        Group const& group = expected[i];
        ASSERT_EQ(k.IsSpecial(i), !group.k.has_value()) << what << " row " << i;
        if (group.k) {
            ASSERT_EQ(static_cast<int>(k.GetValue(i)), *group.k) << what << " row " << i;
        }
        ASSERT_EQ(TStringCore(s.GetValue(i)).ToUtf8(), group.s) << what << " row " << i;
        ASSERT_EQ(std::bit_cast<double>(total.GetValue(i)), group.total) << what << " row " << i;
        ASSERT_EQ(static_cast<int>(n.GetValue(i)), group.count) << what << " row " << i;
    }
}

TEST(PartitionReference, GroupByMatchesAPlainLoopOnRandomSortedTables) {
    std::mt19937 random(20261125);
    for (unsigned int rowCount : {0u, 1u, 2u, 40u, 4097u, 9000u}) {
        std::vector<Row> const rows = RandomTable(random, rowCount);
        std::vector<Group> const expected = NaiveGroupBy(rows);
        std::string const store = StoreJson(rows);
        for (bool gather : {false, true}) {
            for (bool parallel : {false, true}) {
                vm::VMOptions options;
                options.SetUseParallelTransforms(parallel);
                auto vm = child::MakeVM(Program(gather), store, options);
                ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
                auto const result = vm->MaterializeDataStore()->GetValue(Path(L"out"));
                ExpectGroups(result->AsTable(), expected,
                             std::to_string(rowCount) + " rows" + (gather ? ", gather" : ", range") +
                                 (parallel ? ", parallel" : ", serial"));
            }
        }
    }
}

}  // namespace
}  // namespace zel::test::partition
