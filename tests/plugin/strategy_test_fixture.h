#ifndef TESTS_PLUGIN_STRATEGY_TEST_FIXTURE_H
#define TESTS_PLUGIN_STRATEGY_TEST_FIXTURE_H

#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "common_event_manager.h"
#include "data_root.h"
#include "device_state.h"
#include "event_handler.h"
#include "hilog.h"
#include "hisysevent.h"
#include "notification_helper.h"
#include "parameters.h"
#include "scoped_time_zone.h"
#include "simulated_phone.h"
#include "sleep_detection.h"
#include "sleep_shared_pref.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "user_sleep_strategy.h"
#include "virtual_clock.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {

inline const std::string kPermission = "ohos.permission.PERCEIVE_SMART_POWER_SCENARIO";
inline const std::string kDeepAction = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
inline const std::string kLightAction = "common.event.USER_LIGHT_SLEEP_STATE_CHANGED";
inline const std::string kEasyAction = "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED";
inline const std::string kNotCareAction = "common.event.USER_NOT_CARE_CHARGE_SLEEP";
inline const std::string kDeepParam = "resourceschedule.sleep.user_mode";
inline const std::string kNotCareParam = "resourceschedule.sleep.user_mode_not_care_charge";
inline const std::string kDayClockTask = "stop_user_sleep_force_task";
inline const std::string kRecordTask = "stop_record_notification_task";
inline const std::string kRecordingStopped =
    "stop recording notification messages when stop device night long standby by ai";
inline const std::vector<std::string> kSleepDump = {"-S", "--strategy", "-RT", "--Sleep"};

// Local wall-clock ms in the process time zone.
inline int64_t LocalMs(int year, int month, int day, int hour, int minute, int second = 0, int64_t ms = 0)
{
    struct tm local {};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return static_cast<int64_t>(mktime(&local)) * 1000 + ms;
}

// One event seen by the permission-holding subscriber: action, isSleep, wakeupTime (-2: none carried).
using Published = std::tuple<std::string, bool, int64_t>;
using Events = std::vector<Published>;
using PowerStateList = std::vector<std::pair<int32_t, int32_t>>;

// A phone at 23:00 local time (Monday 2024-03-11, UTC+8) with the screen on, a virtual host handler,
// the event bus watched by one subscriber holding the smart-power permission and one holding none.
// Start() creates the strategy through the host, as the simulator does.
class StrategyTest : public ::testing::Test {
public:
    void SetUp() override
    {
        Emulator::SystemParameters::GetInstance().Reset();
        Emulator::CommonEventBus::GetInstance().Reset();
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::SimulatedPhone::GetInstance().Reset();
        Emulator::ClearSysEvents();
        STANDBT_MODE = 0;
        DeviceState::GetInstance()->HandleScreenOn(); // the singleton may remember an earlier case
        handler_->SetQuiescenceWait([]() { SleepDetection::WaitForTrainingThreads(); });
        Host()->Reset();
        Host()->SetHandler(handler_);
        Host()->SetMessageObserver([this](const StandbyMessage& message) { hostMessages_.push_back(message); });
        Emulator::NotificationCenter::GetInstance().SetHandler(handler_);
        Emulator::SimulatedPhone::GetInstance().SetEventHandler(handler_);
        const std::vector<std::string> actions = {kDeepAction, kLightAction, kEasyAction, kNotCareAction};
        Emulator::CommonEventBus::GetInstance().Subscribe(
            actions, {kPermission}, [this](const EventFwk::CommonEventData& data) {
                const AAFwk::Want& want = data.GetWant();
                published_.emplace_back(want.GetAction(), want.GetBoolParam("isSleep", false),
                    want.HasParameter("wakeupTime") ? want.GetLongParam("wakeupTime", -3) : -2);
            });
        Emulator::CommonEventBus::GetInstance().Subscribe(
            actions, {}, [this](const EventFwk::CommonEventData&) { ++unprivilegedDeliveries_; });
    }

    void TearDown() override
    {
        EXPECT_EQ(unprivilegedDeliveries_, 0) << "an event was published without the permission";
        // Pending tasks hold the engine and the strategy, which hold the handler: run them out so
        // that nothing is left behind.
        handler_->RemoveTask("user_sleep_detection_loop_task");
        handler_->FastForwardBy(86400000);
        SleepDetection::WaitForTrainingThreads();
        Host()->Reset();
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::SimulatedPhone::GetInstance().SetEventHandler(nullptr);
        Emulator::CommonEventBus::GetInstance().Reset();
        STANDBT_MODE = 0;
    }

    static std::shared_ptr<StandbyServiceImpl> Host() { return StandbyServiceImpl::GetInstance(); }

    // Creates and registers the strategy, calls OnCreated and switches the engine's own night
    // observations off, so that only the test decides when the user sleeps.
    void Start()
    {
        strategy_ = std::make_shared<UserSleepStrategy>();
        Host()->RegisterStrategy(strategy_);
        ASSERT_EQ(Host()->OnCreated(), ERR_OK);
        Dump({"-S", "--strategy", "-RT", "--SetMode", "1"});
    }
    // Start, then the screen goes off: the usual beginning of a night.
    void StartNight()
    {
        Start();
        ScreenOff();
    }

    std::string Dump(const std::vector<std::string>& words)
    {
        std::string result;
        Host()->ShellDump(words, result);
        handler_->RunUntilIdle();
        return result;
    }
    std::string SleepDump(const std::string& word)
    {
        std::vector<std::string> words = kSleepDump;
        words.push_back(word);
        return Dump(words);
    }

    void Send(const StandbyMessage& message)
    {
        Host()->DispatchEvent(message);
        handler_->RunUntilIdle();
    }
    // Sends message `eventId` with one parameter, or with none when `key` is empty.
    template <typename T = int32_t>
    void Send(int32_t eventId, const std::string& action = "", const std::string& key = "", T value = T())
    {
        std::optional<AAFwk::Want> want;
        if (!key.empty()) {
            want.emplace().SetParam(key, value);
        }
        Send(StandbyMessage(eventId, action, want));
    }
    void SendCommonEvent(const std::string& action) { Send(1, action); }
    void ScreenOff() { SendCommonEvent(EventFwk::CommonEventSupport::COMMON_EVENT_SCREEN_OFF); }
    void ScreenOn() { SendCommonEvent(EventFwk::CommonEventSupport::COMMON_EVENT_SCREEN_ON); }
    void Unlock() { SendCommonEvent(EventFwk::CommonEventSupport::COMMON_EVENT_SCREEN_UNLOCKED); }
    void CallState(int32_t state)
    {
        Send(1, EventFwk::CommonEventSupport::COMMON_EVENT_CALL_STATE_CHANGED, "state", state);
    }
    void Asleep(int64_t wakeupTime)
    {
        AAFwk::Want want;
        want.SetParam("isSleep", true);
        want.SetParam("wakeupTime", wakeupTime);
        Send(StandbyMessage(2003, "", want));
    }
    void LightAsleep() { Send(StandbyMessage(2004)); }
    void SetCharging(bool charging) { Emulator::SimulatedPhone::GetInstance().SetChargingStatus(charging ? 1 : 0); }

    // Moves virtual time to `wallMs`, running every task that falls due.
    void RunTo(int64_t wallMs) { handler_->AdvanceTo(wallMs); }
    int64_t Now() const { return clock_.Get().WallTimeMs(); }

    static std::string Param(const std::string& key) { return system::GetParameter(key, "<unset>"); }
    static bool Pref(const std::string& key) { return SleepSharedPref::GetBoolSettings(key, false); }
    // The (type, value) pairs of the power-state statistics written so far.
    static PowerStateList PowerStates()
    {
        PowerStateList states;
        for (const auto& event : Emulator::ReadSysEvents("POWER_BRAIN_STATE")) {
            states.emplace_back(event.params["TYPE"].get<int32_t>(), event.params["VALUE"].get<int32_t>());
        }
        return states;
    }
    size_t SubscriberCount() const { return Emulator::NotificationCenter::GetInstance().SubscriberCount(); }

    Emulator::ScopedTimeZone zone_{"CST-8"};
    Emulator::ScopedDataRoot dataRoot_;
    Emulator::ScopedVirtualClock clock_{LocalMs(2024, 3, 11, 23, 0)};
    Emulator::LogCapture log_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    std::shared_ptr<UserSleepStrategy> strategy_;
    Events published_;
    std::vector<StandbyMessage> hostMessages_;
    int unprivilegedDeliveries_ = 0;
};

} // namespace OHOS::DevStandbyMgr

#endif // TESTS_PLUGIN_STRATEGY_TEST_FIXTURE_H
