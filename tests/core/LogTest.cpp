#include <gtest/gtest.h>

#include <vector>

#include "support/LogCapture.h"
#include "zel/core/utility/ZelLog.h"

using namespace zel::core;

TEST(Log, ThresholdDefaultsToWarningAndFiltersBothTestAndWrite) {
    zel::test::LogCapture capture;
    EXPECT_EQ(GetZelLogger().GetThreshold(), ZelLogLevel::Warning);
    EXPECT_TRUE(GetZelLogger().AcceptsLogLevel(ZelLogLevel::Error));
    EXPECT_TRUE(GetZelLogger().AcceptsLogLevel(static_cast<ZelLogLevel>(1)));
    EXPECT_FALSE(GetZelLogger().AcceptsLogLevel(ZelLogLevel::Info));

    ZelLog(ZelLogLevel::Info, L"dropped");
    ZelLog(ZelLogLevel::Warning, L"kept");
    GetZelLogger().SetThreshold(ZelLogLevel::Trace);
    ZelLog(ZelLogLevel::Trace, L"now kept");
    GetZelLogger().SetThreshold(ZelLogLevel::Error);
    ZelLog(ZelLogLevel::Warning, L"dropped again");
    GetZelLogger().SetThreshold(ZelLogLevel::Warning);
    EXPECT_EQ(capture.Text(), "[warning] kept\n[trace] now kept\n");
}

TEST(Log, SinkMayLogFromInsideItself) {
    int calls = 0;
    auto previous = GetZelLogger().SetSink([&](ZelLogLevel, TStringCore const& text) {
        if (++calls == 1) {
            ZelLog(ZelLogLevel::Error, text + L" again");
        }
    });
    ZelLog(ZelLogLevel::Error, L"once");
    GetZelLogger().SetSink(std::move(previous));
    EXPECT_EQ(calls, 2);
}

TEST(Log, DefaultSinkWritesLevelAndUtf8TextToStderr) {
    testing::internal::CaptureStderr();
    ZelLog(ZelLogLevel::Error, L"caf\u00e9");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[error] caf\xc3\xa9\n");
}

TEST(Log, LevelsParseByNameAndNumber) {
    EXPECT_EQ(ParseZelLogLevel("warning"), ZelLogLevel::Warning);
    EXPECT_EQ(ParseZelLogLevel("4"), ZelLogLevel::Trace);
    EXPECT_EQ(ParseZelLogLevel("5"), std::nullopt);
    EXPECT_EQ(ParseZelLogLevel("Warn"), std::nullopt);
    EXPECT_EQ(ZelLogLevelName(ZelLogLevel::Debug), "debug");
}
