// Both joins against a nested-loop reference that reads the rules directly: the side that builds,
// specials on the build side never matching and making the probe side's specials unmatched, a
// build side without specials matching a special probe row by its slot's fill, matches in probe
// row order, and a left outer join's unmatched rows last with Null on the right.

#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <string>
#include <vector>

#include "vm/filter/FilterTestSupport.h"
#include "zel/core/store/IStoreTable.h"

namespace zel::test::join {
namespace {

using filter::Json;
using filter::Parse;
using filter::RunProgram;
using filter::Value;

struct Key {
    int kind = 0;
    std::string value;  // compared as is: int32 keys in decimal, texts folded to lower case
    std::string json;
};

struct Side {
    std::vector<Key> keys;
    bool HasSpecials() const {
        for (Key const& key : keys) {
            if (key.kind != 0) {
                return true;
            }
        }
        return false;
    }
};

Side RandomSide(std::mt19937& random, bool texts, unsigned int rows) {
    static char const* const c_texts[] = {"", "a", "A", "b", "B", "ab"};
    Side side;
    for (unsigned int r = 0; r < rows; ++r) {
        Key key;
        unsigned int const roll = random() % 8;
        key.kind = roll == 0 ? 1 : (roll == 1 ? 2 : 0);
        if (texts) {
            std::string const text = c_texts[random() % 6];
            for (char c : text) {
                key.value += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
            key.json = "\"" + text + "\"";
        } else {
            int const number = static_cast<int>(random() % 5);
            key.value = std::to_string(number);
            key.json = key.value;
        }
        if (key.kind != 0) {
            // The slot of a special holds the fill: 0, or the empty text.
            key.value = texts ? "" : "0";
            key.json = key.kind == 1 ? "null" : R"({"$special": "error"})";
        }
        side.keys.push_back(key);
    }
    return side;
}

// Pairs of (left row, right row) and the unmatched left rows, by the rules.
struct Reference {
    std::vector<std::pair<unsigned int, unsigned int>> matches;
    std::vector<unsigned int> unmatched;
};

Reference Match(Side const& left, Side const& right, bool outer) {
    bool const leftBuilds = !outer && left.keys.size() <= right.keys.size();
    Side const& build = leftBuilds ? left : right;
    Side const& probe = leftBuilds ? right : left;
    bool const buildSpecials = build.HasSpecials();
    Reference result;
    for (unsigned int p = 0; p < probe.keys.size(); ++p) {
        bool found = false;
        if (!(buildSpecials && probe.keys[p].kind != 0)) {
            for (unsigned int b = 0; b < build.keys.size(); ++b) {
                if (build.keys[b].kind == 0 && build.keys[b].value == probe.keys[p].value) {
                    found = true;
                    result.matches.emplace_back(leftBuilds ? b : p, leftBuilds ? p : b);
                }
            }
        }
        if (!found) {
            result.unmatched.push_back(p);
        }
    }
    return result;
}

std::string Column(std::string const& type, std::vector<std::string> const& elements) {
    std::string text = R"({"$type": ")" + type + R"(", "values": [)";
    for (std::size_t i = 0; i < elements.size(); ++i) {
        text += (i == 0 ? "" : ", ") + elements[i];
    }
    return text + "]}";
}

std::string KeyColumn(std::string const& type, Side const& side) {
    std::vector<std::string> elements;
    for (Key const& key : side.keys) {
        elements.push_back(key.json);
    }
    return Column(type, elements);
}

std::vector<std::string> Numbers(unsigned int count, unsigned int first) {
    std::vector<std::string> numbers;
    for (unsigned int i = 0; i < count; ++i) {
        numbers.push_back(std::to_string(first + i));
    }
    return numbers;
}

TEST(JoinProperty, BothJoinsMatchANestedLoopReference) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        bool const texts = round % 2 == 1;
        std::string const type = texts ? "array<string(nocase)>" : "array<int32>";
        Side const left = RandomSide(random, texts, random() % 12);
        Side const right = RandomSide(random, texts, random() % 12);
        Value const x = Parse(R"({"$type": "table", "columns": {"k": )" + KeyColumn(type, left) +
                              R"(, "l": )" + Column("array<int32>", Numbers(left.keys.size(), 0)) + "}}");
        Value const y = Parse(R"({"$type": "table", "columns": {"id": )" + KeyColumn(type, right) +
                              R"(, "r": )" + Column("array<int32>", Numbers(right.keys.size(), 100)) + "}}");
        for (bool outer : {false, true}) {
            SCOPED_TRACE("round " + std::to_string(round) + (outer ? " outer" : " inner"));
            Reference const reference = Match(left, right, outer);
            std::vector<std::string> k;
            std::vector<std::string> id;
            std::vector<std::string> l;
            std::vector<std::string> r;
            for (auto const& [a, b] : reference.matches) {
                k.push_back(left.keys[a].json);
                id.push_back(right.keys[b].json);
                l.push_back(std::to_string(a));
                r.push_back(std::to_string(100 + b));
            }
            if (outer) {
                for (unsigned int a : reference.unmatched) {
                    k.push_back(left.keys[a].json);
                    id.push_back("null");
                    l.push_back(std::to_string(a));
                    r.push_back("null");
                }
            }
            Value const expected =
                Parse(R"({"$type": "table", "columns": {"k": )" + Column(type, k) + R"(, "id": )" +
                      Column(type, id) + R"(, "l": )" + Column("array<int32>", l) + R"(, "r": )" +
                      Column("array<int32>", r) + "}}");
            Value const result = RunProgram(
                std::string("input ~init.x : table, ~init.y : table\nb : table = ") +
                    (outer ? "LeftOuterJoin" : "InnerJoin") + "(~init.x.k, ~init.y.id, ~init.x, ~init.y)\n",
                {{L"x", x}, {L"y", y}});
            EXPECT_EQ(Json(result), Json(expected));
        }
    }
}

}  // namespace
}  // namespace zel::test::join
