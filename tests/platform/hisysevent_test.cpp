#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "data_root.h"
#include "hisysevent.h"
#include "virtual_clock.h"
#include "write_controller.h"

namespace {

using OHOS::HiviewDFX::HiSysEvent;
using OHOS::HiviewDFX::WriteController;
namespace Emulator = OHOS::Emulator;

constexpr int64_t kStartMs = 1700000000000;

class HiSysEventTest : public testing::Test {
protected:
    void SetUp() override { Emulator::ResetSysEventRateLimit(); }
    void TearDown() override
    {
        Emulator::SetSysEventWriteFails(false);
        Emulator::ResetSysEventRateLimit();
    }

    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_{kStartMs};
};

TEST_F(HiSysEventTest, WritesOneJsonLinePerEventWithTypedParamsInOrder)
{
    std::vector<double> doubles{0.25, 1.0};
    std::vector<float> floats{0.1F, 0.5F};
    ASSERT_EQ(
        HiSysEvent::Write(HiSysEvent::Domain::RSS, "FIRST", HiSysEvent::STATISTIC, "Z_INT", int32_t{-7}, "A_LONG",
            int64_t{1700000000123}, "M_DOUBLE", 2.5, "LIST", doubles, "FLOATS", floats, "TEXT", "abc", "FLAG", true),
        HiSysEvent::SUCCESS);
    clock_.Get().AdvanceMs(1500);
    ASSERT_EQ(HiSysEvent::Write("OTHER", "SECOND", HiSysEvent::BEHAVIOR), HiSysEvent::SUCCESS);

    std::vector<Emulator::SysEventRecord> events = Emulator::ReadSysEvents();
    ASSERT_EQ(events.size(), 2U);
    const Emulator::SysEventRecord& first = events[0];
    EXPECT_EQ(first.timeMs, kStartMs);
    EXPECT_EQ(first.domain, "RSS");
    EXPECT_EQ(first.name, "FIRST");
    EXPECT_EQ(first.type, 2);
    // Keys keep their order and values their type; floats are written with their shortest text.
    EXPECT_EQ(first.params.dump(), R"({"Z_INT":-7,"A_LONG":1700000000123,"M_DOUBLE":2.5,"LIST":[0.25,1.0],)"
                                   R"("FLOATS":[0.1,0.5],"TEXT":"abc","FLAG":true})");

    EXPECT_EQ(events[1].timeMs, kStartMs + 1500);
    EXPECT_EQ(events[1].type, 4);
    EXPECT_TRUE(events[1].params.empty());
}

// The file holds one compact JSON object per line, fields in a fixed order, texts escaped.
// The listener is handed each event with its parameters' text exactly as the file holds it.
TEST_F(HiSysEventTest, EventLinesAreCompactJsonInFieldOrder)
{
    std::vector<std::string> heard;
    Emulator::SetSysEventListener([&heard](const Emulator::SysEventRecord& record, const std::string& paramsText) {
        heard.push_back(record.name + " " + paramsText);
    });
    ASSERT_EQ(HiSysEvent::Write("D\"Q", "N\\1", HiSysEvent::FAULT, "K", "a\nb", "L", int64_t{-2}), HiSysEvent::SUCCESS);
    ASSERT_EQ(HiSysEvent::Write(HiSysEvent::Domain::RSS, "E", HiSysEvent::SECURITY), HiSysEvent::SUCCESS);
    Emulator::SetSysEventListener(nullptr);
    EXPECT_EQ(heard, (std::vector<std::string>{R"(N\1 {"K":"a\nb","L":-2})", "E {}"}));
    const std::vector<std::string> expected = {
        R"({"time":1700000000000,"domain":"D\"Q","name":"N\\1","type":1,"params":{"K":"a\nb","L":-2}})",
        R"({"time":1700000000000,"domain":"RSS","name":"E","type":3,"params":{}})",
    };
    std::ifstream file(Emulator::SysEventFilePath());
    std::string line;
    for (const std::string& want : expected) {
        ASSERT_TRUE(std::getline(file, line));
        EXPECT_EQ(line, want);
    }
    EXPECT_FALSE(std::getline(file, line)) << "one line per event";
}

TEST_F(HiSysEventTest, RefusedWritesLeaveNothing)
{
    const auto rss = HiSysEvent::Domain::RSS;
    const auto statistic = HiSysEvent::STATISTIC;
    Emulator::SetSysEventWriteFails(true);
    EXPECT_EQ(HiSysEvent::Write(rss, "E", statistic, "K", 1), HiSysEvent::ERR_WRITE_FAILED);
    Emulator::SetSysEventWriteFails(false);
    EXPECT_EQ(HiSysEvent::Write(rss, "", statistic), HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_EQ(HiSysEvent::Write("", "E", statistic), HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_EQ(HiSysEvent::Write(rss, "E", statistic, "K", 1, "K", 2), HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_EQ(HiSysEvent::Write(rss, "E", statistic, "", 1), HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_TRUE(Emulator::ReadSysEvents().empty());
}

TEST_F(HiSysEventTest, RateLimitCountsPerNameWithinItsWindow)
{
    Emulator::SetSysEventRateLimit(1000, 2);
    EXPECT_FALSE(WriteController::CheckLimitWritingEvent("RSS", "A"));
    EXPECT_FALSE(WriteController::CheckLimitWritingEvent("RSS", "A"));
    EXPECT_TRUE(WriteController::CheckLimitWritingEvent("RSS", "A"));
    EXPECT_FALSE(WriteController::CheckLimitWritingEvent("RSS", "B"));
    EXPECT_FALSE(WriteController::CheckLimitWritingEvent("OTHER", "A"));

    clock_.Get().AdvanceMs(999);
    EXPECT_TRUE(WriteController::CheckLimitWritingEvent("RSS", "A"));
    clock_.Get().AdvanceMs(1);
    EXPECT_FALSE(WriteController::CheckLimitWritingEvent("RSS", "A"));

    Emulator::SetSysEventRateLimit(1000, 0);
    EXPECT_TRUE(WriteController::CheckLimitWritingEvent("RSS", "C"));
}

} // namespace
