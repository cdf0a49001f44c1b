// Map programs run through the VM: results at block boundaries, specials in and out, the constant
// shortcut, stateful and creator functions, sets, empty columns, and the parallel path.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "vm/flatdata/MapTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/StoreValueFactory.h"
#include "zel/core/utility/StreamingStore.h"
#include "zel/vm/host/DataStoreUpdater.h"

namespace zel::test::map {
namespace {

using core::SpecialKind;
using vm::VMOptions;

class MapTest : public ::testing::Test {
protected:
    void SetUp() override { g_probeCalls = 0; }
};

// Every row of `result` against `expected` (nullopt for a special of kind `special`).
void ExpectRows(Value const& result, std::vector<std::optional<double>> const& expected,
                SpecialKind special = SpecialKind::Null) {
    ASSERT_EQ(result->GetCount(), expected.size());
    for (unsigned int row = 0; row < expected.size(); ++row) {
        DoubleRow const actual = RowOf(result, row);
        if (expected[row]) {
            ASSERT_EQ(actual.special, SpecialKind::None) << "row " << row;
            ASSERT_EQ(*actual.value, *expected[row]) << "row " << row;
        } else {
            ASSERT_EQ(actual.special, special) << "row " << row;
        }
    }
}

TEST_F(MapTest, RowsAreExactAroundBlockBoundaries) {
    // Blocks of 4 rows: one short block, exactly one, one and a bit, several, several and a bit.
    for (unsigned int count : {1u, 3u, 4u, 5u, 8u, 13u}) {
        for (bool withSpecials : {false, true}) {
            for (bool vectorized : {true, false}) {
                SCOPED_TRACE(testing::Message()
                             << count << " rows, specials " << withSpecials << ", vectorized " << vectorized);
                std::vector<unsigned int> nullRows;
                if (withSpecials) {
                    // The first and last row of the column and the two rows around a block edge.
                    for (unsigned int row : {0u, 3u, 4u, count - 1}) {
                        if (row < count) {
                            nullRows.push_back(row);
                        }
                    }
                }
                std::vector<double> const values = Ramp(count);
                VMOptions options = SmallBlocks(4);
                options.SetUseVectorizedTransforms(vectorized);
                Value const result =
                    RunProgram(MapProgram("multiply(2.0)"), {{L"a", Doubles(values, nullRows)}}, options);
                std::vector<std::optional<double>> expected(values.begin(), values.end());
                for (auto& v : expected) {
                    *v *= 2;
                }
                for (unsigned int row : nullRows) {
                    expected[row].reset();
                }
                ExpectRows(result, expected);
                EXPECT_EQ(result->AsCollection().HasSpecialValues(), withSpecials);
                EXPECT_FALSE(result->AsCollection().IsConstant());
            }
        }
    }
}

TEST_F(MapTest, ASpecialOnlyFunctionSeesEveryRowAndRaisesSpecialsFromAnyBlock) {
    for (bool vectorized : {true, false}) {
        VMOptions options = SmallBlocks(4);
        options.SetUseVectorizedTransforms(vectorized);
        // No specials in: the special form runs anyway, since there is no other. Rows 0, 5 and 10
        // are negative and come out as Error, in the first, second and third block.
        std::vector<double> const values = Ramp(11, 5);
        Value const errors = RunProgram(MapProgram("probe_special()"), {{L"a", Doubles(values)}}, options);
        std::vector<std::optional<double>> expected;
        for (double v : values) {
            expected.push_back(v < 0 ? std::nullopt : std::optional(v * 10));
        }
        ExpectRows(errors, expected, SpecialKind::Error);
        EXPECT_EQ(g_probeCalls.exchange(0), 11);

        // Specials in, none out: the result carries no specials column.
        Value const healed =
            RunProgram(MapProgram("probe_special()"), {{L"a", Doubles(Ramp(6), {1, 4})}}, options);
        ExpectRows(healed, {5.0, -1.0, 25.0, 35.0, -1.0, 55.0});
        EXPECT_FALSE(healed->AsCollection().HasSpecialValues());
        g_probeCalls = 0;
    }
}

// A host's own function object may write only the slots it changes: the rows it leaves start as
// they should, specials 0 and elements at their initial value, in blocks and row by row.
TEST_F(MapTest, AHostFunctionThatLeavesSlotsUnwrittenFindsThemAtTheirInitialValue) {
    for (bool vectorized : {true, false}) {
        VMOptions options = SmallBlocks(4);
        options.SetUseVectorizedTransforms(vectorized);
        std::vector<double> const values = Ramp(100, 10);
        Value const flagged = RunProgram(MapProgram("probe_sparse()"), {{L"a", Doubles(values)}}, options);
        std::vector<std::optional<double>> expected;
        for (double v : values) {
            expected.push_back(v < 0 ? std::nullopt : std::optional(1.0));
        }
        ExpectRows(flagged, expected, SpecialKind::Error);

        Value const positive =
            RunProgram(MapProgram("probe_positive()"), {{L"a", Doubles(values)}}, options);
        expected.clear();
        for (double v : values) {
            expected.push_back(v > 0 ? v : 0.0);
        }
        ExpectRows(positive, expected);
    }
}

TEST_F(MapTest, ARegularOnlyFunctionReadsTheStoredValueOfASpecialRow) {
    // Without a special form the specials are not read: a Null row holds 0, and gives f(0).
    Value const result =
        RunProgram(MapProgram("probe_regular()"), {{L"a", Doubles(Ramp(6), {0, 5})}}, SmallBlocks(4));
    ExpectRows(result, {100.0, 101.5, 102.5, 103.5, 104.5, 100.0});
    EXPECT_FALSE(result->AsCollection().HasSpecialValues());
}

TEST_F(MapTest, AConstantColumnCostsOneCallAndGivesAConstantColumn) {
    unsigned int const count = 1'000'000;
    Value const result = RunProgram(MapProgram("probe_count()"), {{L"a", ConstantDoubles(2.5, count)}});
    EXPECT_EQ(g_probeCalls.exchange(0), 1);
    EXPECT_TRUE(result->AsCollection().IsConstant());
    EXPECT_EQ(result->GetCount(), count);
    EXPECT_EQ(*RowOf(result, count - 1).value, 3.5);

    // A constant special goes through the special form once and stays a constant special; the
    // plain function behind it is not called for a special.
    Value const nulls = core::factory::MakeConstantArray<unsigned long long>(core::StoreTypeInfo::Double, 7,
                                                                             SpecialKind::Null);
    Value const special = RunProgram(MapProgram("probe_count()"), {{L"a", nulls}});
    EXPECT_EQ(g_probeCalls.load(), 0);
    EXPECT_TRUE(special->AsCollection().IsConstant());
    EXPECT_EQ(special->GetCount(), 7u);
    EXPECT_EQ(RowOf(special, 6).special, SpecialKind::Null);
}

TEST_F(MapTest, AStatefulFunctionIsCalledForEveryRowInOrderOnOneThread) {
    auto expectRunning = [](Value const& result, unsigned int count) {
        ASSERT_EQ(result->GetCount(), count);
        auto const& typed = result->AsTypedArray<unsigned long long>();
        for (unsigned int row = 0; row < count; ++row) {
            ASSERT_EQ(static_cast<long long>(typed.GetValue(row)), row + 1) << "row " << row;
        }
    };
    // No shortcut on a constant column: each row is its own call.
    Value const small = RunProgram(MapProgram("probe_running()", "array<double>", "array<int64>"),
                                   {{L"a", ConstantDoubles(2.5, 10)}}, SmallBlocks(4));
    EXPECT_FALSE(small->AsCollection().IsConstant());
    expectRunning(small, 10);
    EXPECT_EQ(g_probeCalls.exchange(0), 10);

    // Above the row count at which Map goes parallel: one object counting 1, 2, 3, ... through
    // every row shows that the blocks ran one after another, in order.
    VMOptions parallel;
    parallel.SetMaxWorkerThreadsToUse(4);
    unsigned int const count = 600'000;
    Value const large = RunProgram(MapProgram("probe_running()", "array<double>", "array<int64>"),
                                   {{L"a", Doubles(Ramp(count))}}, parallel);
    expectRunning(large, count);
}

TEST_F(MapTest, CreatorArgumentsAreResolvedAtEachRun) {
    core::StoreValueMap entries;
    entries.emplace(L"a", Doubles({1.0, 2.0, 3.0}));
    entries.emplace(L"factor", core::factory::MakeDouble(3.0));
    std::shared_ptr<core::IDataStore> store = core::factory::MakeDataStore(std::move(entries));
    auto vm = vm::VMFactory::Make(
        TStringCore::FromUtf8("input ~init.a : array<double>, ~init.factor : double\n"
                              "b : array<double> = Map(~init.a) fn multiply(~init.factor)\n"
                              "c : array<double> = Map(~init.a) fn multiply(2)\n"),
        store, Functions(), SmallBlocks(2));
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    ExpectRows(vm->MaterializeDataStore()->GetValue(core::KeyPath(L"b")), {3.0, 6.0, 9.0});
    // An int32 literal converts to the column's type.
    ExpectRows(vm->MaterializeDataStore()->GetValue(core::KeyPath(L"c")), {2.0, 4.0, 6.0});

    auto updater = vm->MakeDataStoreUpdater();
    updater->Set(core::KeyPath(L"factor"), core::factory::MakeDouble(-1.0));
    vm->ApplyUpdater(std::move(updater));
    ASSERT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    ExpectRows(vm->MaterializeDataStore()->GetValue(core::KeyPath(L"b")), {-1.0, -2.0, -3.0});
}

TEST_F(MapTest, ASetComesOutAsTheSetOfItsDistinctResults) {
    auto members = std::make_unique<std::vector<unsigned long long>>();
    for (double v : {1.0, -1.0, 2.0, 0.0}) {
        members->push_back(std::bit_cast<unsigned long long>(v));
    }
    auto specials = std::make_unique<std::vector<SpecialKind>>(
        std::vector{SpecialKind::None, SpecialKind::None, SpecialKind::None, SpecialKind::Null});
    Value const set = core::factory::MakeSet<unsigned long long>(core::StoreTypeInfo::Double,
                                                                 std::move(members), std::move(specials));
    ASSERT_EQ(set->GetCount(), 4u);
    Value const result =
        RunProgram(MapProgram("abs()", "set<double>", "set<double>"), {{L"a", set}}, SmallBlocks(2));
    ASSERT_EQ(result->GetStoreType(), core::StoreType::Set);
    // |1| and |-1| meet; the Null member passes through the special form and stays.
    ASSERT_EQ(result->GetCount(), 3u);
    ExpectRows(result, {1.0, 2.0, std::nullopt});
}

TEST_F(MapTest, AnEmptyColumnGivesAnEmptyColumnWithoutCalls) {
    Value const result = RunProgram(MapProgram("probe_count()"), {{L"a", Doubles({})}});
    EXPECT_EQ(result->GetStoreType(), core::StoreType::Array);
    EXPECT_EQ(result->GetCount(), 0u);
    EXPECT_EQ(result->AsCollection().GetElementTypeInfo().GetStoreType(), core::StoreType::Double);
    EXPECT_EQ(g_probeCalls.load(), 0);
}

TEST_F(MapTest, LargeColumnsGiveTheSameRowsInParallelAsSerially) {
    // Above 500000 rows Map may use pool workers: every row must still be its own function's
    // result, specials included, whichever thread ran its block.
    unsigned int const count = 600'001;
    std::vector<unsigned int> nullRows;
    for (unsigned int row = 0; row < count; row += 999) {
        nullRows.push_back(row);
    }
    Value const input = Doubles(Ramp(count, 7), nullRows);
    VMOptions parallel;
    parallel.SetMaxWorkerThreadsToUse(2);
    VMOptions serial;
    serial.SetUseParallelTransforms(false);

    for (std::string function : {"multiply(3.0)", "probe_special()"}) {
        SCOPED_TRACE(function);
        Value const inParallel = RunProgram(MapProgram(function), {{L"a", input}}, parallel);
        Value const inSeries = RunProgram(MapProgram(function), {{L"a", input}}, serial);
        ASSERT_EQ(inParallel->GetCount(), count);
        EXPECT_TRUE(inParallel->Equals(*inSeries));
        EXPECT_TRUE(inParallel->AsCollection().HasSpecialValues());
        // Spot checks against the function itself: a Null row, a negative row, a plain row.
        bool const special = function == "probe_special()";
        DoubleRow const nullRow = RowOf(inParallel, 999 * 300);
        DoubleRow const negativeRow = RowOf(inParallel, 7000);
        EXPECT_EQ(nullRow.special, special ? SpecialKind::None : SpecialKind::Null);
        EXPECT_EQ(nullRow.value, special ? std::optional(-1.0) : std::nullopt);
        EXPECT_EQ(negativeRow.special, special ? SpecialKind::Error : SpecialKind::None);
        EXPECT_EQ(negativeRow.value, special ? std::nullopt : std::optional(-7000.5 * 3));
        EXPECT_EQ(RowOf(inParallel, count - 1).value, (count - 0.5) * (special ? 10 : 3));
    }
}

// Above the threshold a Map with a string result runs on two threads, each making its texts in an
// arena of its own: every row must be the serial run's, whether the function made a new text (ASCII
// or the full mapping of "ß") or returned its input shared, and a text taken out of the result
// must outlive the result and the run.
TEST_F(MapTest, StringResultsAreTheSameOnTwoThreadsAndOutliveTheRun) {
    unsigned int const count = 600'001;
    std::vector<std::wstring> const forms{L"abc", L"ABC", L"stra\u00dfe", L"", L"x1 y2", L"\u00e9t\u00e9"};
    auto texts = std::make_unique<std::vector<core::RIndirectString>>();
    for (unsigned int row = 0; row < count; ++row) {
        texts->emplace_back(forms[row % forms.size()] + std::to_wstring(row));
    }
    Value const input =
        core::factory::MakeArray<core::RIndirectString>(core::StoreTypeInfo::String, std::move(texts));
    VMOptions parallel;
    parallel.SetMaxWorkerThreadsToUse(2);
    VMOptions serial;
    serial.SetUseParallelTransforms(false);
    std::string const program = MapProgram("upper()", "array<string>", "array<string>");

    Value inParallel = RunProgram(program, {{L"a", input}}, parallel);
    Value const inSeries = RunProgram(program, {{L"a", input}}, serial);
    ASSERT_EQ(inParallel->GetCount(), count);
    EXPECT_TRUE(inParallel->Equals(*inSeries));
    auto const& strings = dynamic_cast<core::ITypedArray<core::RIndirectString> const&>(*inParallel);
    EXPECT_EQ(strings.GetValue(2).View(), L"STRASSE2");
    core::RIndirectString const made = strings.GetValue(count - 3);
    core::RIndirectString const shared = strings.GetValue(count - 6);
    inParallel.reset();
    EXPECT_EQ(made.View(), L"X1 Y2" + std::to_wstring(count - 3));
    EXPECT_EQ(shared.View(), L"ABC" + std::to_wstring(count - 6));
}

// A result larger than the cache is written past it, a piece of a block at a time: rows must be
// exact at every piece and block edge, with blocks whose rows start off a 16-byte boundary, on one
// thread and on two. A function that may leave rows unwritten still finds them at their initial
// value.
TEST_F(MapTest, AResultLargerThanTheCacheIsExactInEveryRow) {
    unsigned int const count = static_cast<unsigned int>(core::c_streamingStoreBytes / sizeof(double)) + 3;
    Value const input = Doubles(Ramp(count, 5));
    for (unsigned int blockSize : {999u, 5000u}) {
        for (bool parallel : {false, true}) {
            SCOPED_TRACE(testing::Message() << "blocks of " << blockSize << (parallel ? ", parallel" : ""));
            VMOptions options = SmallBlocks(blockSize);
            options.SetUseParallelTransforms(parallel);
            options.SetMaxWorkerThreadsToUse(2);
            std::vector<double> const values = Ramp(count, 5);
            std::vector<std::optional<double>> expected(values.begin(), values.end());
            for (auto& value : expected) {
                *value *= 3.0;
            }
            ExpectRows(RunProgram(MapProgram("multiply(3.0)"), {{L"a", input}}, options), expected);
            for (std::size_t row = 0; row < count; ++row) {
                expected[row] = values[row] > 0 ? values[row] : 0.0;
            }
            ExpectRows(RunProgram(MapProgram("probe_positive()"), {{L"a", input}}, options), expected);
        }
    }
}

}  // namespace
}  // namespace zel::test::map
