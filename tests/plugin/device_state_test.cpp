#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "background_task_mgr_helper.h"
#include "collecter_test_fixture.h"
#include "device_state.h"
#include "hilog.h"

namespace OHOS::DevStandbyMgr {
namespace {

using BackgroundTaskMgr::ContinuousTaskType;
using Emulator::PhoneFault;

constexpr int32_t kUidA = 20010;
constexpr int32_t kUidB = 20020;

class DeviceStateTest : public CollecterTestBase {
protected:
    std::shared_ptr<DeviceState> state_ = DeviceState::GetInstance();
};

TEST_F(DeviceStateTest, ScreenEventsTrackTimesAndCount)
{
    const int32_t count = state_->GetScreenOnCount();
    state_->HandleScreenOff();
    EXPECT_TRUE(state_->IsScreenOff() && state_->IsLocked());
    clock_.Get().AdvanceMs(300000);
    EXPECT_EQ(state_->GetScrOffDuration(), 300000);
    state_->HandleScreenOn();
    EXPECT_FALSE(state_->IsScreenOff());
    EXPECT_EQ(std::make_tuple(state_->GetScreenOffTimestamp(), state_->GetScrOffDuration(), state_->GetScreenOnCount()),
        std::make_tuple(int64_t{-1}, int64_t{0}, count + 1));
    state_->HandleScreenUnlocked();
    EXPECT_FALSE(state_->IsLocked());
    EXPECT_EQ(state_->GetUnlockTimestamp(), kStartMs + 300000);
}

TEST_F(DeviceStateTest, EveryStateButNoneCountsAsCharging)
{
    for (const auto& [status, charging] : {std::pair{0, false}, {1, true}, {2, true}, {3, true}}) {
        phone_.SetChargingStatus(status);
        EXPECT_EQ(state_->IsCharging(), charging) << status;
    }
    phone_.SetBatteryLevel(42);
    EXPECT_EQ(state_->GetBatteryLevel(), 42);
    // A failing battery service answers an invalid state, which is not "none".
    phone_.SetChargingStatus(0);
    phone_.SetFault(PhoneFault::BATTERY_SERVICE, true);
    EXPECT_TRUE(state_->IsCharging());
    EXPECT_EQ(state_->GetBatteryLevel(), -1);
}

TEST_F(DeviceStateTest, ContinuousTasksAnswerByTypeSkippingFrozenApps)
{
    using Tasks = std::vector<Emulator::ContinuousTask>;
    using Texts = std::vector<std::string>;
    // name, tasks, frozen uids, service fault, in use, active type, logs
    const std::vector<
        std::tuple<const char*, Tasks, std::vector<int32_t>, std::vector<PhoneFault>, bool, int32_t, Texts>>
        cases{{"None", {}, {}, {}, false, 0, {}},
            {"Call", {{ContinuousTaskType::VOIP, kUidA, 1}}, {}, {}, true, 8, {"calling now, do nothing"}},
            {"Audio", {{ContinuousTaskType::AUDIO_PLAYBACK, kUidA, 1}}, {}, {}, true, 2,
                {"playing or recording audio now, do nothing"}},
            {"Navigation", {{ContinuousTaskType::LOCATION, kUidA, 1}}, {}, {}, true, 4, {"navigating now, do nothing"}},
            {"RecordingIsNotCounted", {{ContinuousTaskType::AUDIO_RECORDING, kUidA, 1}}, {}, {}, false, 0, {}},
            {"OtherTypesPassed",
                {{ContinuousTaskType::DATA_TRANSFER, kUidA, 1}, {ContinuousTaskType::BLUETOOTH_INTERACTION, kUidB, 2}},
                {}, {}, false, 0, {}},
            {"FrozenCallSkipped", {{ContinuousTaskType::VOIP, kUidA, 1}, {ContinuousTaskType::LOCATION, kUidB, 2}},
                {kUidA}, {}, true, 4, {"ignore frozen app, uid : 20010", "navigating now, do nothing"}},
            {"OnlyFrozen", {{ContinuousTaskType::AUDIO_PLAYBACK, kUidA, 1}}, {kUidA}, {}, false, 0,
                {"ignore frozen app, uid : 20010"}},
            {"TaskServiceFails", {{ContinuousTaskType::VOIP, kUidA, 1}}, {}, {PhoneFault::CONTINUOUS_TASKS}, false, 0,
                {}},
            {"SuspendManagerFailsNothingFrozen", {{ContinuousTaskType::VOIP, kUidA, 1}}, {kUidA},
                {PhoneFault::SUSPEND_MANAGER}, true, 8, {"calling now, do nothing"}}};
    for (const auto& [name, tasks, frozenUids, faults, inUse, activeType, logs] : cases) {
        phone_.Reset();
        for (const auto& task : tasks) {
            phone_.AddContinuousTask(task);
        }
        for (int32_t uid : frozenUids) {
            phone_.SetUidFrozen(uid, true);
        }
        for (PhoneFault fault : faults) {
            phone_.SetFault(fault, true);
        }
        Emulator::LogCapture log;
        EXPECT_EQ(state_->IsContinuousBackgroundTask(), inUse) << name;
        EXPECT_EQ(state_->GetActiveUsingType(), activeType) << name;
        for (const auto& text : logs) {
            EXPECT_TRUE(log.HasText(text)) << name << ": " << text;
        }
        if (logs.empty() && faults.empty()) {
            EXPECT_TRUE(log.Texts().empty()) << name;
        }
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
