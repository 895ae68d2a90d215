#include <gtest/gtest.h>

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
    void SetUp() override { ResetAll(); }
    void TearDown() override { ResetAll(); }
    static void ResetAll()
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
    std::vector<std::string> keys;
    for (const auto& item : first.params.items()) {
        keys.push_back(item.key());
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"Z_INT", "A_LONG", "M_DOUBLE", "LIST", "FLOATS", "TEXT", "FLAG"}));
    EXPECT_EQ(first.params["Z_INT"].get<int32_t>(), -7);
    EXPECT_EQ(first.params["A_LONG"].get<int64_t>(), 1700000000123);
    EXPECT_DOUBLE_EQ(first.params["M_DOUBLE"].get<double>(), 2.5);
    EXPECT_EQ(first.params["LIST"].get<std::vector<double>>(), doubles);
    // Floats are written with their shortest text, not their binary expansion as doubles.
    EXPECT_EQ(first.params["FLOATS"].get<std::vector<double>>(), (std::vector<double>{0.1, 0.5}));
    EXPECT_EQ(first.params["TEXT"].get<std::string>(), "abc");
    EXPECT_TRUE(first.params["FLAG"].get<bool>());

    EXPECT_EQ(events[1].timeMs, kStartMs + 1500);
    EXPECT_EQ(events[1].type, 4);
    EXPECT_TRUE(events[1].params.empty());
    EXPECT_EQ(Emulator::ReadSysEvents("SECOND").size(), 1U);
}

TEST_F(HiSysEventTest, RefusedWritesLeaveNothing)
{
    Emulator::SetSysEventWriteFails(true);
    EXPECT_EQ(
        HiSysEvent::Write(HiSysEvent::Domain::RSS, "E", HiSysEvent::STATISTIC, "K", 1), HiSysEvent::ERR_WRITE_FAILED);
    Emulator::SetSysEventWriteFails(false);
    EXPECT_EQ(HiSysEvent::Write(HiSysEvent::Domain::RSS, "", HiSysEvent::STATISTIC), HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_EQ(HiSysEvent::Write("", "E", HiSysEvent::STATISTIC), HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_EQ(HiSysEvent::Write(HiSysEvent::Domain::RSS, "E", HiSysEvent::STATISTIC, "K", 1, "K", 2),
        HiSysEvent::ERR_INVALID_EVENT);
    EXPECT_EQ(
        HiSysEvent::Write(HiSysEvent::Domain::RSS, "E", HiSysEvent::STATISTIC, "", 1), HiSysEvent::ERR_INVALID_EVENT);
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
