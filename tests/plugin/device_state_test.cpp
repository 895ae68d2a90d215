#include <gtest/gtest.h>

#include <ostream>

#include "background_task_mgr_helper.h"
#include "collecter_test_fixture.h"
#include "device_state.h"
#include "hilog.h"

namespace OHOS::DevStandbyMgr {
namespace {

using BackgroundTaskMgr::ContinuousTaskType;
using Emulator::LogCapture;
using Emulator::PhoneFault;

constexpr int32_t kUidA = 20010;
constexpr int32_t kUidB = 20020;

class DeviceStateTest : public CollecterTestBase {
protected:
    std::shared_ptr<DeviceState> state_ = DeviceState::GetInstance();
};

TEST_F(DeviceStateTest, ScreenEventsTrackTimesAndCount)
{
    int32_t count = state_->GetScreenOnCount();
    state_->HandleScreenOff();
    EXPECT_TRUE(state_->IsScreenOff());
    EXPECT_TRUE(state_->IsLocked());
    clock_.Get().AdvanceMs(300000);
    EXPECT_EQ(state_->GetScrOffDuration(), 300000);
    state_->HandleScreenOn();
    EXPECT_FALSE(state_->IsScreenOff());
    EXPECT_EQ(state_->GetScreenOffTimestamp(), -1);
    EXPECT_EQ(state_->GetScrOffDuration(), 0);
    EXPECT_EQ(state_->GetScreenOnCount(), count + 1);
    state_->HandleScreenUnlocked();
    EXPECT_FALSE(state_->IsLocked());
    EXPECT_EQ(state_->GetUnlockTimestamp(), kStartMs + 300000);
    EXPECT_EQ(DeviceState::GetInstance(), state_);
}

TEST_F(DeviceStateTest, EveryStateButNoneCountsAsCharging)
{
    const struct {
        int32_t status;
        bool charging;
    } cases[] = {{0, false}, {1, true}, {2, true}, {3, true}};
    for (const auto& c : cases) {
        phone_.SetChargingStatus(c.status);
        EXPECT_EQ(state_->IsCharging(), c.charging) << c.status;
    }
    phone_.SetBatteryLevel(42);
    EXPECT_EQ(state_->GetBatteryLevel(), 42);
    // A failing battery service answers an invalid state, which is not "none".
    phone_.SetChargingStatus(0);
    phone_.SetFault(PhoneFault::BATTERY_SERVICE, true);
    EXPECT_TRUE(state_->IsCharging());
    EXPECT_EQ(state_->GetBatteryLevel(), -1);
}

struct TaskCase {
    const char* name;
    std::vector<Emulator::ContinuousTask> tasks;
    std::vector<int32_t> frozenUids;
    std::vector<PhoneFault> faults;
    bool expected;
    int32_t activeType;
    std::vector<std::string> logs;
};

std::ostream& operator<<(std::ostream& out, const TaskCase& c)
{
    return out << c.name;
}

class ContinuousTaskTest : public DeviceStateTest, public testing::WithParamInterface<TaskCase> {};

TEST_P(ContinuousTaskTest, AnswersByTypeSkippingFrozenApps)
{
    const auto& c = GetParam();
    for (const auto& task : c.tasks) {
        phone_.AddContinuousTask(task);
    }
    for (int32_t uid : c.frozenUids) {
        phone_.SetUidFrozen(uid, true);
    }
    for (PhoneFault fault : c.faults) {
        phone_.SetFault(fault, true);
    }
    LogCapture log;
    EXPECT_EQ(state_->IsContinuousBackgroundTask(), c.expected);
    EXPECT_EQ(state_->GetActiveUsingType(), c.activeType);
    for (const auto& text : c.logs) {
        EXPECT_TRUE(log.HasText(text)) << text;
    }
    if (c.logs.empty()) {
        EXPECT_TRUE(log.Texts().empty() || !c.faults.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Tasks, ContinuousTaskTest,
    testing::Values(TaskCase{"None", {}, {}, {}, false, 0, {}},
        TaskCase{"Call", {{ContinuousTaskType::VOIP, kUidA, 1}}, {}, {}, true, 8, {"calling now, do nothing"}},
        TaskCase{"Audio", {{ContinuousTaskType::AUDIO_PLAYBACK, kUidA, 1}}, {}, {}, true, 2,
            {"playing or recording audio now, do nothing"}},
        TaskCase{
            "Navigation", {{ContinuousTaskType::LOCATION, kUidA, 1}}, {}, {}, true, 4, {"navigating now, do nothing"}},
        TaskCase{"RecordingIsNotCounted", {{ContinuousTaskType::AUDIO_RECORDING, kUidA, 1}}, {}, {}, false, 0, {}},
        TaskCase{"OtherTypesPassed",
            {{ContinuousTaskType::DATA_TRANSFER, kUidA, 1}, {ContinuousTaskType::BLUETOOTH_INTERACTION, kUidB, 2}}, {},
            {}, false, 0, {}},
        TaskCase{"FrozenCallSkipped", {{ContinuousTaskType::VOIP, kUidA, 1}, {ContinuousTaskType::LOCATION, kUidB, 2}},
            {kUidA}, {}, true, 4, {"ignore frozen app, uid : 20010", "navigating now, do nothing"}},
        TaskCase{"OnlyFrozen", {{ContinuousTaskType::AUDIO_PLAYBACK, kUidA, 1}}, {kUidA}, {}, false, 0,
            {"ignore frozen app, uid : 20010"}},
        TaskCase{"TaskServiceFails", {{ContinuousTaskType::VOIP, kUidA, 1}}, {}, {PhoneFault::CONTINUOUS_TASKS}, false,
            0, {}},
        TaskCase{"SuspendManagerFailsNothingFrozen", {{ContinuousTaskType::VOIP, kUidA, 1}}, {kUidA},
            {PhoneFault::SUSPEND_MANAGER}, true, 8, {"calling now, do nothing"}}),
    [](const testing::TestParamInfo<TaskCase>& info) { return std::string(info.param.name); });

} // namespace
} // namespace OHOS::DevStandbyMgr
