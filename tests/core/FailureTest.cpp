#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/CheckFailure.h"
#include "support/LogCapture.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/core/utility/ZelLog.h"

using namespace zel::core;
using zel::test::ExpectCheckFailure;
using zel::test::ReportCollector;

namespace {

void CheckIndex(unsigned index, unsigned m_size) {
    ZEL_CHECK(index < m_size, ZelError::RangeViolation);
}

}  // namespace

TEST(Checks, EachFormReportsItsConditionTextOnceThenThrowsTheSameCode) {
    int const* node = nullptr;
    int value = 1;
    std::vector<int> inputs;
    char const* ptr = "ab";
    char const* ptrEnd = ptr + 2;
    unsigned count = 3;

    ExpectCheckFailure([&] { CheckIndex(4, 4); }, ZelError::RangeViolation, "(index < m_size)");
    ExpectCheckFailure([&] { ZEL_CHECK_EXACT(!(ptr + count > ptrEnd), ZelError::RangeViolation); },
                       ZelError::RangeViolation, "!(ptr + count > ptrEnd)");
    ExpectCheckFailure([&] { ZEL_CHECK_NOT_NULL(node, ZelError::FunctionMissing); },
                       ZelError::FunctionMissing, "(node) != nullptr");
    ExpectCheckFailure([&] { ZEL_CHECK_NULL(&value, ZelError::DuplicateNode); }, ZelError::DuplicateNode,
                       "(&value) == nullptr");
    ExpectCheckFailure([&] { ZEL_CHECK_NOT_EMPTY(inputs, ZelError::SpecError213); }, ZelError::SpecError213,
                       "!(inputs.empty())");
    ExpectCheckFailure([&] { ZEL_FAIL(ZelError::UnknownOperator); }, ZelError::UnknownOperator, "");

    // The logic forms throw the logic exception.
    ExpectCheckFailure<ZelLogicException>([&] { ZEL_CHECK_LOGIC(1 + 1 == 3, ZelError::LogicFailure); },
                                          ZelError::LogicFailure, "(1 + 1 == 3)");
    ExpectCheckFailure<ZelLogicException>([&] { ZEL_CHECK_LOGIC_NOT_NULL(node, ZelError::LogicFailure); },
                                          ZelError::LogicFailure, "(node) != nullptr");
    ExpectCheckFailure<ZelLogicException>(
        [&] { ZEL_CHECK_LOGIC_EXACT(!(node == nullptr), ZelError::LogicFailure); }, ZelError::LogicFailure,
        "!(node == nullptr)");
    ExpectCheckFailure<ZelLogicException>([&] { ZEL_FAIL_LOGIC(ZelError::JoinTypeUnsupported); },
                                          ZelError::JoinTypeUnsupported, "");
}

TEST(Checks, PassingCheckEvaluatesOnceAndReportsNothing) {
    ReportCollector collector;
    int evaluations = 0;
    ZEL_CHECK(++evaluations == 1, ZelError::LogicFailure);
    ZEL_CHECK_NOT_NULL(&evaluations, ZelError::LogicFailure);
    EXPECT_EQ(evaluations, 1);
    EXPECT_TRUE(collector.Reports().empty());
}

TEST(Checks, FailuresWithTextCarryItInReportAndException) {
    ReportCollector collector;
    try {
        ZEL_FAIL_WITH_TEXT(ZelError::CreateTableInputInvalid, L"column \u00e9 is not an array");
        FAIL() << "no throw";
    } catch (ZelRuntimeException const& e) {
        EXPECT_EQ(e.GetText(), L"column \u00e9 is not an array");
    }
    try {
        ZEL_FAIL_LOGIC_WITH_TEXT(ZelError::UnsupportedOperation, L"no key map interface");
        FAIL() << "no throw";
    } catch (ZelLogicException const& e) {
        EXPECT_STREQ(e.what(), "logic error 1 (UnsupportedOperation): no key map interface");
    }
    auto const reports = collector.Reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].conditionText, "");
    EXPECT_EQ(reports[0].message, "column \xc3\xa9 is not an array");
    EXPECT_EQ(reports[0].sourcePath, "tests/core/FailureTest.cpp");  // relative to the repository
    EXPECT_EQ(reports[1].error, ZelError::UnsupportedOperation);
}

// A logic failure must not pass for a runtime failure.
static_assert(std::is_base_of_v<ZelException, ZelLogicException> &&
              !std::is_base_of_v<ZelRuntimeException, ZelLogicException>);

TEST(Exceptions, WhatNamesTheCodeAndTheText) {
    ZelRuntimeException const withText(ZelError::UnsupportedTypes, L"unsupported types in Map");
    EXPECT_STREQ(withText.what(), "error 185 (UnsupportedTypes): unsupported types in Map");
    EXPECT_STREQ(ZelRuntimeException(ZelError::KeyNotFound, L"a.\u00e9").what(),
                 "error 352 (KeyNotFound): a.\xc3\xa9");
    EXPECT_STREQ(ZelLogicException(ZelError::JoinTypeUnsupported).what(),
                 "logic error 339 (JoinTypeUnsupported)");
    EXPECT_STREQ(ZelRuntimeException(static_cast<ZelError>(9999)).what(), "error 9999");
    // Codes without a name of their own are named by their number.
    EXPECT_EQ(ZelErrorName(ZelError::OperatorHasNoTransform), "SpecError216");
    EXPECT_TRUE(ZelErrorName(static_cast<ZelError>(221)).empty());

    ZelRuntimeException const copy(withText);  // copies keep code, text and message
    EXPECT_EQ(copy.GetError(), ZelError::UnsupportedTypes);
    EXPECT_STREQ(copy.what(), withText.what());
}

TEST(DebugReport, DefaultHandlerWritesOneErrorLineAndScopedHandlersNest) {
    {
        zel::test::LogCapture capture;
        EXPECT_THROW(ZEL_CHECK(1 > 2, ZelError::DuplicateKey), ZelRuntimeException);
        PerformZelDebugReport("a/b.cpp", 7, "", ZelError::FunctionMissing, "no such function");
        EXPECT_EQ(capture.Count("error", "tests/core/FailureTest.cpp:"), 1u) << capture.Text();
        EXPECT_EQ(capture.Count("error", "(1 > 2) failed, error 111 (DuplicateKey)"), 1u) << capture.Text();
        EXPECT_TRUE(capture.Text().ends_with(
            "\n[error] debug report: a/b.cpp:7: error 123 (FunctionMissing): no such function\n"));
    }

    int outer = 0;
    int inner = 0;
    ScopedZelDebugReportHandler outerScope([&](ZelDebugReport const&) { ++outer; });
    {
        ScopedZelDebugReportHandler innerScope([&](ZelDebugReport const&) { ++inner; });
        PerformZelDebugReport("x", 1, "", ZelError::LogicFailure, "");
    }
    PerformZelDebugReport("x", 1, "", ZelError::LogicFailure, "");
    EXPECT_EQ(inner, 1);
    EXPECT_EQ(outer, 1);
}
