// Both forms of MultiSort against a plain reference: a stable sort with a comparator that reads the
// rules directly (specials by kind and direction, then values), on random tables with specials,
// ties, -0 and +0, and strings that tie under their collation.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/IStoreTable.h"

namespace zel::test::multisort {
namespace {

using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

struct Cell {
    int kind = 0;  // 0 ordinary, else the special kind
    double number = 0;
    std::string text;  // for the string column: compared without case
};

struct Column {
    std::string name;
    std::string type;
    std::vector<Cell> cells;
    std::vector<std::string> json;  // each element's JSON
};

std::string SpecialJson(int kind) {
    return kind == 1 ? "null" : R"({"$special": )" + std::to_string(kind) + "}";
}

Column RandomColumn(std::mt19937& random, int which, unsigned int rows) {
    static char const* const c_names[] = {"i", "d", "s", "f"};
    static char const* const c_types[] = {"array<int32>", "array<double>", "array<string(nocase)>",
                                          "array<bool>"};
    static double const c_doubles[] = {-1.5, -0.0, 0.0, 2.25, 1e10, -3.0};
    static char const* const c_texts[] = {"a", "A", "ab", "Ab", "b", "", "ba"};
    Column column{c_names[which], c_types[which], {}, {}};
    for (unsigned int r = 0; r < rows; ++r) {
        Cell cell;
        unsigned int const roll = random() % 10;
        if (roll == 0) {
            cell.kind = 1;
        } else if (roll == 1) {
            cell.kind = 2 + static_cast<int>(random() % 2) * 5;  // Error or kind 7
        }
        std::string json;
        switch (which) {
            case 0:
                cell.number = static_cast<int>(random() % 7) - 3;
                json = std::to_string(static_cast<int>(cell.number));
                break;
            case 1: {
                double const value = c_doubles[random() % 6];
                cell.number = value;
                json = value == 0 && std::signbit(value) ? "-0.0" : std::to_string(value);
                break;
            }
            case 2: {
                std::string const text = c_texts[random() % 7];
                for (char c : text) {
                    cell.text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
                }
                json = "\"" + text + "\"";
                break;
            }
            default:
                cell.number = random() % 2;
                json = cell.number != 0 ? "true" : "false";
        }
        column.json.push_back(cell.kind == 0 ? json : SpecialJson(cell.kind));
        column.cells.push_back(cell);
    }
    return column;
}

// -1, 0 or 1 as a is ordered before, with or after b by one ascending key, specials aside.
int CompareValues(Cell const& a, Cell const& b) {
    if (a.text != b.text) {
        return a.text < b.text ? -1 : 1;
    }
    return a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
}

bool Before(Cell const& a, Cell const& b, bool descending, bool& decided) {
    decided = true;
    if (a.kind != b.kind) {
        return descending ? a.kind < b.kind : a.kind > b.kind;
    }
    int const order = a.kind == 0 ? CompareValues(a, b) : 0;
    if (order != 0) {
        return descending ? order > 0 : order < 0;
    }
    decided = false;
    return false;
}

std::vector<unsigned int> ReferenceOrder(std::vector<Column const*> const& keys,
                                         std::vector<bool> const& descending, unsigned int rows) {
    std::vector<unsigned int> order(rows);
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](unsigned int a, unsigned int b) {
        for (std::size_t k = 0; k < keys.size(); ++k) {
            bool decided = false;
            bool const before = Before(keys[k]->cells[a], keys[k]->cells[b], descending[k], decided);
            if (decided) {
                return before;
            }
        }
        return false;
    });
    return order;
}

std::string JsonList(std::vector<unsigned int> const& rows) {
    std::string text = "[";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        text += (i == 0 ? "" : ",") + std::to_string(rows[i]);
    }
    return text + "]";
}

TEST(MultiSortProperty, BothFormsMatchAStableComparatorSort) {
    std::mt19937 random(20261125);
    for (int round = 0; round < 150; ++round) {
        unsigned int const rows = round % 10 == 9 ? 600 : random() % 30;
        std::vector<Column> columns;
        std::string columnsJson;
        for (int which = 0; which < 4; ++which) {
            columns.push_back(RandomColumn(random, which, rows));
            std::string values;
            for (std::size_t r = 0; r < rows; ++r) {
                values += (r == 0 ? "" : ", ") + columns.back().json[r];
            }
            columnsJson += "\"" + columns.back().name + R"(": {"$type": ")" + columns.back().type +
                           R"(", "values": [)" + values + "]}, ";
        }
        std::vector<unsigned int> pos(rows);
        std::iota(pos.begin(), pos.end(), 0u);
        Value const table = Parse(R"({"$type": "table", "columns": {)" + columnsJson +
                                  R"("pos": {"$type": "array<int32>", "values": )" + JsonList(pos) + "}}}");

        // The table form, by one to three distinct keys in random directions.
        std::vector<int> picks{0, 1, 2, 3};
        std::shuffle(picks.begin(), picks.end(), random);
        picks.resize(1 + random() % 3);
        std::vector<Column const*> keys;
        std::vector<bool> descending;
        std::string keyList;
        std::string orders;
        for (int pick : picks) {
            keys.push_back(&columns[pick]);
            descending.push_back(random() % 2 == 1);
            keyList += "~init.t." + columns[pick].name + ", ";
            orders += std::string(orders.empty() ? "" : ", ") + (descending.back() ? "\"DESC\"" : "\"ASC\"");
        }
        SCOPED_TRACE("round " + std::to_string(round) + ": " + keyList + orders);
        Value const sorted = RunProgram("input ~init.t : table\nb : table = MultiSort(" + keyList +
                                            "~init.t) fn sort(" + orders + ") value true\n",
                                        {{L"t", table}});
        EXPECT_EQ(Json(sorted->AsTable().GetColumn(L"pos")),
                  Json(Parse(R"({"$type": "array<int32>", "values": )" +
                             JsonList(ReferenceOrder(keys, descending, rows)) + "}")));

        // The array form, by the first key's column alone.
        Column const& only = *keys.front();
        std::string expected;
        for (unsigned int row : ReferenceOrder({&only}, {descending.front()}, rows)) {
            expected += (expected.empty() ? "" : ", ") + only.json[row];
        }
        Value const array = RunProgram(
            "input ~init.a : " + only.type + "\nb : " + only.type + " = MultiSort(~init.a) fn sort(" +
                (descending.front() ? "\"DESC\"" : "\"ASC\"") + ") value false\n",
            {{L"a", table->AsTable().GetColumn(TStringCore::FromUtf8(only.name))}});
        EXPECT_EQ(Json(array),
                  Json(Parse(R"({"$type": ")" + only.type + R"(", "values": [)" + expected + "]}")));
    }
}

}  // namespace
}  // namespace zel::test::multisort
