// ZipWith as a program meets it: the shorter column wins, the constant shortcut and when it does
// not apply, specials with and without a special form, exact rows at block boundaries on one
// thread and on several, the range form, and a transform that runs several times at once.

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/CheckFailure.h"
#include "vm/flatdata/MapTestSupport.h"
#include "vm/zipwith/ZipWithTestSupport.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/materialize/MakeTransform.h"
#include "zel/vm/transform/RawData.h"

namespace zel::test::zipwith {
namespace {

using core::KeyPath;
using core::ZelError;
using map::DoubleBuffer;
using map::Doubles;
using map::RowOf;
using map::ValuesOf;
using vm::RawDataView;
using vm::TypedRawData;

KeyPath const c_a = KeyPath::FromTexts({L"~init", L"a"});
KeyPath const c_b = KeyPath::FromTexts({L"~init", L"b"});
KeyPath const c_c(L"c");

// The transform of the first statement of `program`.
std::unique_ptr<vm::Transform> MakeFirst(std::string const& program, vm::VMOptions const& options = {}) {
    return MakeFirstWith(Functions(), program, options);
}

struct LengthCase {
    std::string_view what;
    std::string_view function;
    std::string_view a;
    std::string_view b;
    std::string_view expected;
    long long calls;  // row calls of the probe
};

// A special in one column reaches the special form with the specials of both columns, so the row
// is special whichever column held it. A function without a special form reads the value slot of
// a special row (0) and makes no special.
TEST(ZipWith, TheShorterColumnWinsOnlyTwoConstantsTakeTheShortcutAndSpecialsReachTheSpecialForm) {
    // clang-format off
    for (LengthCase const& c : {
        LengthCase{"5 and 3 rows", "probe_add()", "[1.0, 2.0, 3.0, 4.0, 5.0]", "[10.0, 20.0, 30.0]",
                   R"({"$type":"array<double>","values":[11.0,22.0,33.0]})", 3},
        LengthCase{"3 and 5 rows", "probe_add()", "[10.0, 20.0, 30.0]", "[1.0, 2.0, 3.0, 4.0, 5.0]",
                   R"({"$type":"array<double>","values":[11.0,22.0,33.0]})", 3},
        // One constant column is no shortcut: every row is called, and the result is flat.
        LengthCase{"a constant of 1000 and a flat 4", "probe_add()", R"({"$type":"array<double>","constant":2.5,"count":1000})",
                   "[1.0, 2.0, 3.0, 4.0]", R"({"$type":"array<double>","values":[3.5,4.5,5.5,6.5]})", 4},
        LengthCase{"two constants of 1000 and 10", "probe_add()", R"({"$type":"array<double>","constant":2.5,"count":1000})",
                   R"({"$type":"array<double>","constant":4.0,"count":10})", R"({"$type":"array<double>","constant":6.5,"count":10})", 1},
        LengthCase{"two constants, one of them Null", "probe_add()", R"({"$type":"array<double>","constant":2.5,"count":3})",
                   R"({"$type":"array<double>","constant":null,"count":5})", R"({"$type":"array<double>","constant":null,"count":3})", 0},
        // A stateful function's calls differ, so they are not repeated.
        LengthCase{"two constants, stateful", "probe_running()", R"({"$type":"array<double>","constant":2.5,"count":1000})",
                   R"({"$type":"array<double>","constant":4.0,"count":3})", R"({"$type":"array<double>","values":[1.0,2.0,3.0]})", 3},
        LengthCase{"an empty column", "probe_add()", "{\"$type\":\"array<double>\",\"values\":[]}", "[1.0, 2.0, 3.0]",
                   R"({"$type":"array<double>","values":[]})", 0},
        LengthCase{"an empty constant", "probe_add()", R"({"$type":"array<double>","constant":1.0,"count":0})",
                   R"({"$type":"array<double>","constant":1.0,"count":4})", R"({"$type":"array<double>","values":[]})", 0},
        LengthCase{"a Null in b", "add()", "[1.0, 2.0, 3.0]", "[10.0, null, 30.0]", R"({"$type":"array<double>","values":[11.0,null,33.0]})", 0},
        LengthCase{"a Null in a", "add()", "[null, 2.0, 3.0]", "[10.0, 20.0, 30.0]", R"({"$type":"array<double>","values":[null,22.0,33.0]})", 0},
        LengthCase{"a Null without a special form", "probe_regular()", "[1.0, 2.0, 3.0]", "[10.0, null, 30.0]", R"({"$type":"array<double>","values":[11.0,2.0,33.0]})", 0},
    }) {
        // clang-format on
        for (bool vectorized : {true, false}) {
            SCOPED_TRACE(std::string(c.what) + (vectorized ? ", blocks" : ", rows"));
            g_probeCalls = 0;
            Value const result =
                RunProgram(ZipWithProgram(std::string(c.function)), {{L"a", Parse(c.a)}, {L"b", Parse(c.b)}},
                           Blocks(2, true, vectorized));
            EXPECT_EQ(Json(result), c.expected);
            EXPECT_EQ(g_probeCalls.load(), c.calls);
        }
    }
}

// Long enough to go parallel, in blocks of 1000 rows that do not divide the count: every row
// exact, on one thread and on several, and row by row. Nulls sit in the second column only, at
// block ends, block starts and in between.
TEST(ZipWith, EveryRowIsExactAcrossBlocksSeriallyAndInParallel) {
    unsigned int const count = 600'001;
    std::vector<double> a(count);
    std::vector<double> b(count);
    std::vector<unsigned int> nullRows;
    for (unsigned int i = 0; i < count; ++i) {
        a[i] = i + 0.5;
        b[i] = -2.0 * i;
        if (i % 1000 == 0 || i % 1000 == 999 || i % 777 == 5) {
            nullRows.push_back(i);
        }
    }
    Value const first = Doubles(a);
    Value const second = Doubles(b, nullRows);
    std::vector<bool> isNull(count, false);
    for (unsigned int row : nullRows) {
        isNull[row] = true;
    }
    for (auto const& [parallel, vectorized] :
         {std::pair{true, true}, std::pair{false, true}, std::pair{true, false}}) {
        SCOPED_TRACE(std::string(parallel ? "parallel" : "serial") + (vectorized ? " blocks" : " rows"));
        Value const result = RunProgram(ZipWithProgram("add()"), {{L"a", first}, {L"b", second}},
                                        Blocks(1000, parallel, vectorized));
        ASSERT_EQ(result->GetCount(), count);
        unsigned int wrong = 0;
        for (unsigned int row = 0; row < count && wrong < 5; ++row) {
            map::DoubleRow const got = RowOf(result, row);
            bool const ok = isNull[row] ? got.special == SpecialKind::Null
                                        : got.value == std::optional<double>(a[row] + b[row]);
            if (!ok) {
                ADD_FAILURE() << "row " << row;
                ++wrong;
            }
        }
    }
    // A stateful function runs on one thread with one object for the whole column, in row order,
    // even where parallel work is allowed.
    Value const running = RunProgram(ZipWithProgram("probe_running()"), {{L"a", first}, {L"b", Doubles(b)}},
                                     Blocks(1000, true, true));
    auto const& rows = running->AsTypedArray<unsigned long long>();
    unsigned int wrong = 0;
    for (unsigned int row = 0; row < count && wrong < 5; ++row) {
        if (std::bit_cast<double>(rows.GetValue(row)) != row + 1.0) {
            ADD_FAILURE() << "stateful row " << row;
            ++wrong;
        }
    }
}

// The range form writes the rows of the range into a part of a larger buffer, row 0 of the view
// taking the first row of the range; a range longer than its view is refused before a row is
// written; an empty range does nothing.
TEST(ZipWith, TheRangeFormWritesItsViewOnly) {
    vm::TransformValues const inputs{{c_a, Parse("[0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0]")},
                                     {c_b, Parse("[0.0, 10.0, 20.0, 30.0, null, 50.0, 60.0, 70.0, 80.0]")}};
    for (bool vectorized : {true, false}) {
        SCOPED_TRACE(vectorized ? "blocks" : "rows");
        auto const zip = MakeFirst(ZipWithProgram("add()"), Blocks(2, true, vectorized));
        ASSERT_TRUE(zip->CanTransformOverRange());
        auto buffer = DoubleBuffer(10);
        RawDataView view(*buffer, 2, 5);
        zip->DoTransformOverRange(inputs, 3, 5, view, nullptr);
        EXPECT_EQ(ValuesOf(*buffer), (std::vector<double>{0, 0, 33, 0, 55, 66, 77, 0, 0, 0}));
        EXPECT_EQ(buffer->GetSpecialsView()[3], SpecialKind::Null);
        EXPECT_TRUE(buffer->HasSpecials());

        auto untouched = DoubleBuffer(6);
        RawDataView three(*untouched, 1, 3);
        ExpectRuntimeError([&] { zip->DoTransformOverRange(inputs, 0, 6, three, nullptr); },
                           ZelError::RangeViolation, "a range of 6 rows does not fit a view of 3 rows");
        RawDataView end(*untouched, 6, 0);
        zip->DoTransformOverRange(inputs, 9, 0, end, nullptr);
        EXPECT_EQ(ValuesOf(*untouched), std::vector<double>(6, 0.0));
        EXPECT_FALSE(untouched->HasSpecials());
    }
}

// A creator's key argument is an input of the transform; the metrics name carries the function's
// name; a clone gives the same rows; and one transform serves two threads at once, each with its
// own columns, since it keeps nothing of a run.
TEST(ZipWith, TheTransformNamesItsInputsAndRunsSeveralTimesAtOnce) {
    auto const pick = MakeFirst(
        "input ~init.a : array<tuple>, ~init.b : array<bool>, ~init.i : int32\n"
        "c : array<int32> = ZipWith(~init.a, ~init.b) fn pick_int32(~init.i)\n");
    EXPECT_EQ(filter::Texts(pick->GetInputPaths()), "~init.a ~init.b ~init.i");
    EXPECT_EQ(filter::Texts(pick->GetOutputPaths()), "c");
    EXPECT_EQ(pick->GetOperatorType(), core::OperatorType::ZipWith);
    EXPECT_EQ(pick->GetMetricsString(), TStringCore(L"ZipWith_pick_int32"));
    vm::TransformValues const tuples{
        {c_a,
         Parse(
             R"({"$type":"array<tuple>","values":[{"$type":"tuple","values":[1,2]},{"$type":"tuple","values":[3,4]}]})")},
        {c_b, Parse("[true, false]")},
        {KeyPath::FromTexts({L"~init", L"i"}), core::factory::MakeInt32(1)}};
    std::string const expected = R"({"$type":"array<int32>","values":[2,null]})";
    EXPECT_EQ(Json(pick->DoTransform(tuples, nullptr).GetValue(c_c)), expected);
    EXPECT_EQ(Json(pick->Clone()->DoTransform(tuples, nullptr).GetValue(c_c)), expected);

    auto const add = MakeFirst(ZipWithProgram("add()"), Blocks(4));
    auto const runMany = [&](double offset, bool& ok) {
        std::vector<double> a(1000);
        for (unsigned int i = 0; i < a.size(); ++i) {
            a[i] = offset + i;
        }
        vm::TransformValues const inputs{{c_a, Doubles(a)}, {c_b, Doubles(a, {7})}};
        ok = true;
        for (int run = 0; run < 50; ++run) {
            Value const result = add->DoTransform(inputs, nullptr).GetValue(c_c);
            ok = ok && RowOf(result, 7).special == SpecialKind::Null &&
                 RowOf(result, 999).value == 2 * (offset + 999);
        }
    };
    bool firstOk = false;
    bool secondOk = false;
    std::thread other(runMany, 1e6, std::ref(secondOk));
    runMany(0.0, firstOk);
    other.join();
    EXPECT_TRUE(firstOk);
    EXPECT_TRUE(secondOk);
}

}  // namespace
}  // namespace zel::test::zipwith
