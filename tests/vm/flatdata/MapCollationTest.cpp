// String comparisons over a collated column compare as the column's collation does, so that they
// agree with its key sets, with Filter and with Distinct; a collation they cannot honour is refused
// when the machine is made.

#include "vm/flatdata/MapTestSupport.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/utility/ZelException.h"

namespace zel::test::map {
namespace {

Value Json(std::string const& json) {
    return core::StoreValueParser::MakeValue(json);
}

Value Words(std::string const& collation) {
    return Json(R"({"$type": "array<string()" + collation +
                R"()>", "values": ["Apple", "apple", "b", "B", "c"]})");
}

std::vector<std::optional<bool>> Bools(Value const& array) {
    std::vector<std::optional<bool>> rows;
    auto const& typed = array->AsTypedArray<unsigned char>();
    for (unsigned int row = 0; row < array->GetCount(); ++row) {
        rows.push_back(typed.IsSpecial(row) ? std::nullopt : std::optional<bool>(typed.GetValue(row) != 0));
    }
    return rows;
}

TEST(MapCollation, ComparisonsOverANocaseColumnFollowItsCollation) {
    struct Case {
        char const* function;
        std::vector<std::optional<bool>> expected;  // Apple, apple, b, B, c
        char const* collation = "nocase";
    };
    // clang-format off
    Case const cases[] = {
        {R"(eq("APPLE"))",          {true,  true,  false, false, false}},
        {R"(ne("APPLE"))",          {false, false, true,  true,  true}},
        {R"(lt("b"))",              {true,  true,  false, false, false}},
        {R"(le("B"))",              {true,  true,  true,  true,  false}},
        {R"(gt("B"))",              {false, false, false, false, true}},
        {R"(ge("b"))",              {false, false, true,  true,  true}},
        {R"(between("APPLE", "b"))", {true,  true,  true,  true,  false}},
        // A binary column still compares by code point.
        {R"(eq("apple"))",          {false, true,  false, false, false}, "binary"},
    };
    // clang-format on
    for (Case const& c : cases) {
        SCOPED_TRACE(c.function);
        std::string const type = std::string("array<string(") + c.collation + ")>";
        Value const result =
            RunProgram(MapProgram(c.function, type, "array<bool>"), {{L"a", Words(c.collation)}});
        EXPECT_EQ(Bools(result), c.expected);
    }
}

// eq finds a row exactly where a key set of the column's collation finds its key, Filter by eq
// keeps those rows, and Distinct keeps the first of the texts that eq finds equal.
TEST(MapCollation, EqFilterDistinctAndAKeySetLookupAgreeOnTheSameColumn) {
    std::string const program = R"(
        input ~init.a : array<string(nocase)>, ~init.keys : object
        b : array<bool> = Map(~init.a) fn eq("B")
        c : array<double> = Map(~init.a) fn lookup_double(~init.keys)
        d : array<string(nocase)> = Filter(~init.a) fn eq("B") value false
        e : set<string(nocase)> = Distinct(~init.a) value false
    )";
    core::StoreValueMap entries;
    entries.emplace(L"a", Words("nocase"));
    entries.emplace(L"keys",
                    Json(R"({"$type": "keyset<string(nocase),double>", "keys": ["b"], "values": [1.5]})"));
    auto vm = vm::VMFactory::Make(TStringCore::FromUtf8(program),
                                  core::factory::MakeDataStore(std::move(entries)), Functions());
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    auto const result = vm->MaterializeDataStore();
    std::vector<std::optional<bool>> const equal = Bools(result->GetValue(core::KeyPath(L"b")));
    Value const found = result->GetValue(core::KeyPath(L"c"));
    ASSERT_EQ(equal.size(), found->GetCount());
    for (unsigned int row = 0; row < found->GetCount(); ++row) {
        EXPECT_EQ(equal[row].value_or(false), RowOf(found, row).special == SpecialKind::None)
            << "row " << row;
    }
    EXPECT_EQ(equal, (std::vector<std::optional<bool>>{false, false, true, true, false}));
    EXPECT_TRUE(result->GetValue(core::KeyPath(L"d"))
                    ->Equals(*Json(R"({"$type": "array<string(nocase)>", "values": ["b", "B"]})")));
    EXPECT_TRUE(result->GetValue(core::KeyPath(L"e"))
                    ->Equals(*Json(R"({"$type": "set<string(nocase)>", "values": ["Apple", "b", "c"]})")));
}

TEST(MapCollation, AComparisonRefusesACollationItCannotHonour) {
    try {
        RunProgram(MapProgram(R"(eq("apple"))", "array<string(de)>", "array<bool>"), {{L"a", Words("de")}});
        ADD_FAILURE() << "a code point comparison over a de column";
    } catch (core::ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), core::ZelError::FunctionMissing) << e.what();
        EXPECT_NE(std::string(e.what()).find("no unary function eq(string(de))"), std::string::npos)
            << e.what();
        EXPECT_NE(std::string(e.what()).find("compares by code point and would ignore the collation"),
                  std::string::npos)
            << e.what();
    }
}

}  // namespace
}  // namespace zel::test::map
