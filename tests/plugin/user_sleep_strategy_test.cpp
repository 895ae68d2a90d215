#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
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
#include "scoped_detector_variants.h"
#include "scoped_time_zone.h"
#include "simulated_phone.h"
#include "sleep_database_manager.h"
#include "sleep_detection.h"
#include "sleep_history_builder.h"
#include "sleep_shared_pref.h"
#include "standby_host_globals.h"
#include "standby_notification_subscriber.h"
#include "standby_service_impl.h"
#include "user_sleep_strategy.h"
#include "user_sleep_train_model.h"
#include "virtual_clock.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {
namespace {

using EventFwk::CommonEventSupport;

constexpr int64_t kWakeup = 1710200000000; // any predicted wake time: carried, never interpreted
const std::string kPermission = "ohos.permission.PERCEIVE_SMART_POWER_SCENARIO";
const std::string kDeepAction = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
const std::string kLightAction = "common.event.USER_LIGHT_SLEEP_STATE_CHANGED";
const std::string kEasyAction = "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED";
const std::string kNotCareAction = "common.event.USER_NOT_CARE_CHARGE_SLEEP";
const std::string kDeepParam = "resourceschedule.sleep.user_mode";
const std::string kNotCareParam = "resourceschedule.sleep.user_mode_not_care_charge";
const std::string kDayClockTask = "stop_user_sleep_force_task";
const std::string kRecordTask = "stop_record_notification_task";
const std::string kRecordingStopped = "stop recording notification messages when stop device night long standby by ai";
const std::string kHeader = "\n\n=================UserSleepStrategy=========================\n";

// The dump words of a test command: "-S --strategy -RT" and then `rest`.
std::vector<std::string> TestWords(std::vector<std::string> rest)
{
    rest.insert(rest.begin(), {"-S", "--strategy", "-RT"});
    return rest;
}

// Local wall-clock ms in the process time zone.
int64_t LocalMs(int year, int month, int day, int hour, int minute, int second = 0, int64_t ms = 0)
{
    return Emulator::LocalTimeMs(year, month, day, hour, minute, second) + ms;
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
        DeviceState::GetInstance()->HandleScreenOn();          // the singleton may remember an earlier case
        SleepDatabaseManager::GetInstance()->OnUserSwitched(); // open the database under this case's data root
        handler_->SetQuiescenceWait([]() { SleepDetection::WaitForTrainingThreads(); });
        Host()->Reset();
        Host()->SetHandler(handler_);
        Host()->SetMessageObserver([this](const StandbyMessage& message) { hostMessages_.push_back(message); });
        Emulator::NotificationCenter::GetInstance().SetHandler(handler_);
        Emulator::SimulatedPhone::GetInstance().SetEventHandler(handler_);
        Emulator::CommonEventBus::GetInstance().Subscribe({kDeepAction, kLightAction, kEasyAction, kNotCareAction},
            {kPermission}, [this](const EventFwk::CommonEventData& data) {
                const AAFwk::Want& want = data.GetWant();
                published_.emplace_back(want.GetAction(), want.GetBoolParam("isSleep", false),
                    want.HasParameter("wakeupTime") ? want.GetLongParam("wakeupTime", -3) : -2);
            });
        // Whatever the plug-in publishes, a subscriber without the permission must not receive it.
        Emulator::CommonEventBus::GetInstance().Subscribe(
            {}, {}, [this](const EventFwk::CommonEventData&) { ++unprivilegedDeliveries_; });
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
        Dump(TestWords({"--SetMode", "1"}));
    }
    // Start, then the screen goes off: the usual beginning of a night; then, if asked, deep sleep.
    void StartNight(bool deepSleep = false)
    {
        Start();
        ScreenOff();
        if (deepSleep) {
            Asleep(kWakeup);
        }
    }

    std::string Dump(const std::vector<std::string>& words)
    {
        std::string result;
        Host()->ShellDump(words, result);
        handler_->RunUntilIdle();
        return result;
    }
    std::string SleepDump(const std::string& word) { return Dump(TestWords({"--Sleep", word})); }

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

constexpr int64_t kHourMs = 3600000;

size_t HostCopies(const std::vector<StandbyMessage>& messages, const std::string& action)
{
    return std::count_if(messages.begin(), messages.end(),
        [&action](const StandbyMessage& message) { return message.eventId == 1 && message.action == action; });
}

TEST_F(StrategyTest, AsleepAtNightStartsDeepSleepWithEverythingItPublishes)
{
    StartNight(true);
    EXPECT_EQ(published_, (Events{{kDeepAction, true, kWakeup}}));
    ASSERT_EQ(HostCopies(hostMessages_, kDeepAction), 1u);
    const StandbyMessage& copy = hostMessages_.back();
    EXPECT_EQ(std::make_pair(copy.want->GetBoolParam("isSleep", false), copy.want->GetLongParam("wakeupTime", 0)),
        std::make_pair(true, kWakeup));
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(Param(kDeepParam), "sleep");
    EXPECT_EQ(PowerStates(), (PowerStateList{{100, 1}}));
    EXPECT_TRUE(handler_->HasTask(kDayClockTask));
    EXPECT_TRUE(log_.HasText("starting device long standby AI"));
    Asleep(kWakeup); // a repeated verdict publishes nothing new
    EXPECT_EQ(published_.size(), 1u);
}

// name, local time on 2024-03-11 (hour, minute, second), charging, screen off
class DeepSleepRefusalTest : public StrategyTest,
                             public ::testing::WithParamInterface<std::tuple<const char*, int, int, int, bool, bool>> {
};

TEST_P(DeepSleepRefusalTest, NoSleepStateStarts)
{
    const auto& [name, hour, minute, second, charging, screenOff] = GetParam();
    clock_.Get().SetWallTimeMs(LocalMs(2024, 3, 11, hour, minute, second));
    Start();
    SetCharging(charging);
    if (screenOff) {
        ScreenOff();
    }
    Asleep(kWakeup);
    LightAsleep();
    EXPECT_TRUE(published_.empty());
    EXPECT_EQ(Param(kDeepParam), "<unset>");
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_AI) || Pref(SleepSharedPref::USER_LIGHT_SLEEPING_AI));
}

INSTANTIATE_TEST_SUITE_P(Conditions, DeepSleepRefusalTest,
    ::testing::Values(std::make_tuple("Charging", 23, 0, 0, true, true),
        std::make_tuple("ScreenOn", 23, 0, 0, false, false), std::make_tuple("ExactlyNine", 21, 0, 0, false, true),
        std::make_tuple("Noon", 12, 0, 0, false, true), std::make_tuple("MorningDayStart", 7, 49, 49, false, true)),
    [](const auto& info) { return std::string(std::get<0>(info.param)); });

TEST_F(StrategyTest, NightBeginsJustAfterNineAndEndsJustBeforeTheDayStart)
{
    Start();
    const std::vector<std::pair<int64_t, bool>> cases{{LocalMs(2024, 3, 11, 21, 0, 1), false},
        {LocalMs(2024, 3, 12, 7, 49, 47), false}, {LocalMs(2024, 3, 12, 7, 49, 48), true},
        {LocalMs(2024, 3, 12, 21, 0, 0), true}};
    for (const auto& [at, day] : cases) {
        clock_.Get().SetWallTimeMs(at);
        EXPECT_EQ(strategy_->IsDayTime(), day) << at;
    }
}

TEST_F(StrategyTest, EasyWakeupStartsAfterThirtyMinutesOfScreenOffAndEndsOnScreenOn)
{
    StartNight(true);
    RunTo(LocalMs(2024, 3, 11, 23, 29, 59, 999));
    Asleep(kWakeup);
    EXPECT_FALSE(Pref(SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI));
    RunTo(LocalMs(2024, 3, 11, 23, 30));
    Asleep(kWakeup);
    EXPECT_TRUE(Pref(SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI));
    EXPECT_TRUE(log_.HasText("start easy wakeup sleep by ai"));
    ScreenOn(); // mode 0: deep sleep stays, easy wake-up ends
    EXPECT_EQ(published_, (Events{{kDeepAction, true, kWakeup}, {kEasyAction, true, -2}, {kEasyAction, false, -2}}));
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_FALSE(Pref(SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI));
}

TEST_F(StrategyTest, DeepStopEndsEasyWakeupToo)
{
    StartNight();
    RunTo(LocalMs(2024, 3, 11, 23, 45));
    Asleep(kWakeup); // deep and, screen off for 45 minutes, easy at once
    Unlock();
    EXPECT_EQ(published_, (Events{{kDeepAction, true, kWakeup}, {kEasyAction, true, -2}, {kDeepAction, false, -1},
                              {kEasyAction, false, -2}}));
}

// Each way a sleep state ends, with the reason logged and reported for it.
struct StopCase {
    const char* name;
    std::function<void(StrategyTest&)> stop;
    int32_t deepReason, lightReason; // 0: does not end that state
    const char* reasonText;
    bool wakeTimeIsNow; // the deep-ended event carries now, else -1
};

class StopTest : public StrategyTest, public ::testing::WithParamInterface<StopCase> {};

TEST_P(StopTest, DeepSleepEndsAndOpensTheRecordingPeriod)
{
    const StopCase& stopCase = GetParam();
    StartNight(true);
    published_.clear();
    const int64_t stopAt = Now();
    stopCase.stop(*this);
    if (stopCase.deepReason == 0) {
        EXPECT_TRUE(published_.empty());
        EXPECT_EQ(Param(kDeepParam), "sleep");
        EXPECT_TRUE(handler_->HasTask(kDayClockTask));
        return;
    }
    ASSERT_FALSE(published_.empty());
    EXPECT_EQ(published_[0], (Published{kDeepAction, false, stopCase.wakeTimeIsNow ? stopAt : -1}));
    EXPECT_EQ(Param(kDeepParam), "unsleep");
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(PowerStates(), (PowerStateList{{100, 1}, {100, stopCase.deepReason}}));
    EXPECT_FALSE(handler_->HasTask(kDayClockTask));
    EXPECT_TRUE(handler_->HasTask(kRecordTask));
    EXPECT_EQ(SubscriberCount(), 1u);
    EXPECT_TRUE(log_.HasText(std::string("stop user deep slp because of ") + stopCase.reasonText));
}

TEST_P(StopTest, LightSleepEnds)
{
    const StopCase& stopCase = GetParam();
    StartNight();
    LightAsleep();
    ASSERT_EQ(published_, (Events{{kLightAction, true, -2}}));
    published_.clear();
    stopCase.stop(*this);
    if (stopCase.lightReason == 0) {
        EXPECT_TRUE(Pref(SleepSharedPref::USER_LIGHT_SLEEPING_AI));
        EXPECT_TRUE(std::none_of(published_.begin(), published_.end(),
            [](const Published& event) { return std::get<0>(event) == kLightAction; }));
        return;
    }
    ASSERT_FALSE(published_.empty());
    EXPECT_EQ(published_[0], (Published{kLightAction, false, -2}));
    EXPECT_FALSE(Pref(SleepSharedPref::USER_LIGHT_SLEEPING_AI));
    EXPECT_TRUE(log_.HasText("stoping light device long standby AI"));
    EXPECT_TRUE(log_.HasText(std::string("stop user light slp because of ") + stopCase.reasonText));
}

// With not-care-charge from behaviour on, the state that an asleep verdict started on the charger
// ends wherever deep sleep would end, with the same wake time, and takes its day clock with it. A
// light-sleep or deep-sleep verdict cannot start either state on the charger, so it ends nothing.
TEST_P(StopTest, NotCareChargeFromBehaviourEndsWhereDeepSleepWould)
{
    const StopCase& stopCase = GetParam();
    ScopedDetectorVariants variants{DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR};
    Start();
    SetCharging(true);
    ScreenOff();
    Asleep(kWakeup);
    ASSERT_EQ(published_, (Events{{kNotCareAction, true, kWakeup}}));
    ASSERT_TRUE(handler_->HasTask(kDayClockTask));
    published_.clear();
    const int64_t stopAt = Now();
    stopCase.stop(*this);
    const std::string name = stopCase.name;
    if (stopCase.deepReason == 0 || name == "LightSleepStarts") {
        EXPECT_TRUE(published_.empty());
        EXPECT_EQ(Param(kNotCareParam), "sleep");
        EXPECT_TRUE(handler_->HasTask(kDayClockTask));
        return;
    }
    EXPECT_EQ(published_, (Events{{kNotCareAction, false, stopCase.wakeTimeIsNow ? stopAt : -1}}));
    EXPECT_EQ(Param(kNotCareParam), "unsleep");
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI));
    EXPECT_FALSE(handler_->HasTask(kDayClockTask));
}

INSTANTIATE_TEST_SUITE_P(Reasons, StopTest,
    ::testing::Values(StopCase{"Awake", [](StrategyTest& t) { t.Send<int64_t>(2002, "", "wakeupTime", -1); }, -1, -1,
                          "SleepDetection", false},
        StopCase{"AwakeWithoutWakeTime", [](StrategyTest& t) { t.Send(2002); }, -1, -1, "SleepDetection", false},
        StopCase{"DayClock", [](StrategyTest& t) { t.Send(2005); }, -2, -2, "Day clock message by AI", true},
        StopCase{"UserMoving", [](StrategyTest& t) { t.Send(2009); }, -7, -7, "user start moving", true},
        StopCase{"Unlock", [](StrategyTest& t) { t.Unlock(); }, -6, -6, "user present", false},
        StopCase{"PowerConnected",
            [](StrategyTest& t) { t.SendCommonEvent(CommonEventSupport::COMMON_EVENT_POWER_CONNECTED); }, -4, -4,
            "usb connected", true},
        StopCase{"IncomingCall", [](StrategyTest& t) { t.CallState(4); }, -11, -11, "incoming call", false},
        StopCase{"OtherCallState", [](StrategyTest& t) { t.CallState(1); }, 0, 0, "", false},
        StopCase{
            "ScreenOnInModeThree", [](StrategyTest& t) { STANDBT_MODE = 3, t.ScreenOn(); }, -5, -5, "scr on", false},
        StopCase{"ScreenOnInOtherModes", [](StrategyTest& t) { t.ScreenOn(); }, 0, 0, "", false},
        StopCase{"LightSleepStarts", [](StrategyTest& t) { t.LightAsleep(); }, -8, 0, "user start light slp", true},
        StopCase{"DeepSleepStarts", [](StrategyTest& t) { t.Asleep(kWakeup); }, 0, -1, "SleepDetection", false},
        StopCase{"DumpExit", [](StrategyTest& t) { t.SleepDump("exit"); }, -10, 0, "hidumper command", false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, SleepStatesEndWhenAVerdictArrivesInDayTime)
{
    StartNight();
    for (const auto& [start, ended] :
        {std::pair<std::function<void()>, Published>{[this]() { Asleep(kWakeup); }, {kDeepAction, false, kWakeup}},
            {[this]() { LightAsleep(); }, {kLightAction, false, -2}}}) {
        start();
        Emulator::ScopedTimeZone travelled("UTC0"); // 15:00 local: day
        start();
        EXPECT_EQ(published_.back(), ended);
    }
    EXPECT_TRUE(log_.HasText("stop user deep slp because of SleepDetection"));
}

// The dump's "into" starts deep sleep only off the charger, the not-care-charge state either way;
// "exit" ends both.
TEST_F(StrategyTest, ChargingBlocksDeepSleepButNotTheNotCareChargeState)
{
    for (bool charging : {true, false}) {
        StartNight();
        SetCharging(charging);
        published_.clear();
        EXPECT_EQ(SleepDump("into"), kHeader + "start slp\n");
        EXPECT_EQ(published_, (charging ? Events{{kNotCareAction, true, -1}}
                                        : Events{{kDeepAction, true, -1}, {kNotCareAction, true, -1}}));
        EXPECT_EQ(Param(kNotCareParam), "sleep");
        EXPECT_EQ(Param(kDeepParam), charging ? "<unset>" : "sleep");
        EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI));
        SleepDump("exit");
        EXPECT_EQ(published_.back(), (Published{kNotCareAction, false, -1}));
        EXPECT_EQ(Param(kNotCareParam), "unsleep");
        EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI));
    }
}

// An asleep or light-sleep verdict under each switch and situation, and what it publishes.
struct BehaviourStartCase {
    const char* name;
    bool switchOn, charging, screenOff, lightVerdict;
    int hour;
    Events expected;
};

class NotCareChargeFromBehaviourStartTest : public StrategyTest,
                                            public ::testing::WithParamInterface<BehaviourStartCase> {};

TEST_P(NotCareChargeFromBehaviourStartTest, StartsOnlyWhenTheChargerAloneKeepsDeepSleepAway)
{
    const BehaviourStartCase& c = GetParam();
    std::optional<ScopedDetectorVariants> variants;
    if (c.switchOn) {
        variants.emplace(std::initializer_list<DetectorVariant>{DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR});
    }
    clock_.Get().SetWallTimeMs(LocalMs(2024, 3, 11, c.hour, 0));
    Start();
    SetCharging(c.charging);
    if (c.screenOff) {
        ScreenOff();
    }
    c.lightVerdict ? LightAsleep() : Asleep(kWakeup);
    EXPECT_EQ(published_, c.expected);
    const bool notCareCharge = !c.expected.empty() && std::get<0>(c.expected[0]) == kNotCareAction;
    EXPECT_EQ(Param(kNotCareParam), notCareCharge ? "sleep" : "<unset>");
    EXPECT_EQ(Pref(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI), notCareCharge);
    EXPECT_EQ(handler_->HasTask(kDayClockTask), !c.expected.empty() && !c.lightVerdict);
}

INSTANTIATE_TEST_SUITE_P(Situations, NotCareChargeFromBehaviourStartTest,
    ::testing::Values(BehaviourStartCase{"SwitchOff", false, true, true, false, 23, {}},
        BehaviourStartCase{"ChargingAtNight", true, true, true, false, 23, {{kNotCareAction, true, kWakeup}}},
        BehaviourStartCase{"OffTheCharger", true, false, true, false, 23, {{kDeepAction, true, kWakeup}}},
        BehaviourStartCase{"OffTheChargerSwitchOff", false, false, true, false, 23, {{kDeepAction, true, kWakeup}}},
        BehaviourStartCase{"ScreenOn", true, true, false, false, 23, {}},
        BehaviourStartCase{"DayTime", true, true, true, false, 12, {}},
        BehaviourStartCase{"LightVerdict", true, true, true, true, 23, {}},
        BehaviourStartCase{"LightVerdictOffTheCharger", true, false, true, true, 23, {{kLightAction, true, -2}}}),
    [](const auto& info) { return std::string(info.param.name); });

// Unplugged, the not-care-charge state that behaviour started ends at once and the ordinary rules
// take over: the next asleep verdict starts deep sleep. Without the switch an unplug, an awake
// verdict or an unlock leave a not-care-charge state alone (only the dump ends it).
TEST_F(StrategyTest, UnplugHandsNotCareChargeFromBehaviourOverToDeepSleep)
{
    {
        ScopedDetectorVariants variants{DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR};
        Start();
        SetCharging(true);
        ScreenOff();
        Asleep(kWakeup);
        SetCharging(false);
        const int64_t unpluggedAt = Now();
        SendCommonEvent(CommonEventSupport::COMMON_EVENT_POWER_DISCONNECTED);
        EXPECT_FALSE(handler_->HasTask(kDayClockTask));
        Asleep(kWakeup);
        EXPECT_EQ(published_, (Events{{kNotCareAction, true, kWakeup}, {kNotCareAction, false, unpluggedAt},
                                  {kDeepAction, true, kWakeup}}));
    }
    SetCharging(true);
    SleepDump("exit");
    SleepDump("into");
    published_.clear();
    SendCommonEvent(CommonEventSupport::COMMON_EVENT_POWER_DISCONNECTED);
    Send(2002);
    Unlock();
    EXPECT_TRUE(published_.empty());
    EXPECT_EQ(Param(kNotCareParam), "sleep");
}

// A deep sleep that nothing else ends is ended at the next 07:15 on the local wall clock, spread by
// (start mod 600) ms, also on the nights the clocks change.
struct DayClockCase {
    const char* name;
    const char* zone;
    int startMonth, startDay, startHour;
    int fireMonth, fireDay;
};

class DayClockTest : public StrategyTest, public ::testing::WithParamInterface<DayClockCase> {};

TEST_P(DayClockTest, EndsDeepSleepAtQuarterPastSevenLocal)
{
    const DayClockCase& c = GetParam();
    Emulator::ScopedTimeZone localZone(c.zone);
    const int64_t start = LocalMs(2024, c.startMonth, c.startDay, c.startHour, 0, 0, 599);
    const int64_t fire = LocalMs(2024, c.fireMonth, c.fireDay, 7, 15) + start % 600;
    clock_.Get().SetWallTimeMs(start);
    StartNight(true);
    ASSERT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    RunTo(fire - 1);
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    RunTo(fire);
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(published_.back(), (Published{kDeepAction, false, fire}));
    EXPECT_EQ(PowerStates().back(), (std::pair<int32_t, int32_t>{100, -2}));
}

const char* const kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
const char* const kNewYork = "EST5EDT,M3.2.0,M11.1.0";

INSTANTIATE_TEST_SUITE_P(Nights, DayClockTest,
    ::testing::Values(DayClockCase{"SameDay", "CST-8", 3, 31, 3, 3, 31},
        DayClockCase{"NextDay", "CST-8", 3, 30, 23, 3, 31},
        DayClockCase{"BerlinSpringBeforeMidnight", kBerlin, 3, 30, 23, 3, 31},
        DayClockCase{"BerlinSpringAfterMidnight", kBerlin, 3, 31, 1, 3, 31},
        DayClockCase{"BerlinAutumnBeforeMidnight", kBerlin, 10, 26, 23, 10, 27},
        DayClockCase{"BerlinAutumnAfterMidnight", kBerlin, 10, 27, 1, 10, 27},
        DayClockCase{"NewYorkSpringBeforeMidnight", kNewYork, 3, 9, 23, 3, 10},
        DayClockCase{"NewYorkSpringAfterMidnight", kNewYork, 3, 10, 1, 3, 10},
        DayClockCase{"NewYorkAutumnBeforeMidnight", kNewYork, 11, 2, 23, 11, 3},
        DayClockCase{"NewYorkAutumnAfterMidnight", kNewYork, 11, 3, 0, 11, 3}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, DayDelayIsComputedFromTheLocalCalendar)
{
    Start();
    // now, delay before the spread
    const std::vector<std::pair<int64_t, int64_t>> cases{
        {LocalMs(2024, 3, 11, 23, 0, 0, 5), 8 * kHourMs + 15 * 60000 - 5},
        {LocalMs(2024, 3, 12, 3, 0), 4 * kHourMs + 15 * 60000}, {LocalMs(2024, 3, 12, 7, 15), 0},
        {LocalMs(2024, 3, 12, 7, 15, 0, 1), 24 * kHourMs - 1}};
    for (const auto& [now, delay] : cases) {
        EXPECT_EQ(strategy_->GetDayDelayedDur(now), delay + now % 600) << now;
    }
}

TEST_F(StrategyTest, RecordingPeriodForwardsNotificationsForFiveMinutes)
{
    StartNight(true);
    EXPECT_EQ(SubscriberCount(), 0u);
    Unlock();
    const int64_t stoppedAt = Now();
    ASSERT_EQ(SubscriberCount(), 1u);
    EXPECT_TRUE(log_.HasText("start recording notification messages when stop device night long standby by ai"));
    Emulator::NotificationCenter::GetInstance().PostNotification("com.example.mail", stoppedAt + 30000);
    Emulator::NotificationCenter::GetInstance().ChangeBadge("com.example.mail", 0, stoppedAt + 90000);
    RunTo(stoppedAt + 299999);
    EXPECT_EQ(SubscriberCount(), 1u);
    EXPECT_TRUE(log_.Contains("new notification information: timestamp " + std::to_string(stoppedAt + 30000)));
    EXPECT_TRUE(log_.Contains("cancel notification information: timestamp " + std::to_string(stoppedAt + 90000)));
    RunTo(stoppedAt + 300000);
    EXPECT_EQ(SubscriberCount(), 0u);
    EXPECT_TRUE(log_.HasText(kRecordingStopped));
    log_.Clear();
    Send<int64_t>(2007, "", "timestamp", Now()); // outside the period: dropped
    EXPECT_FALSE(log_.Contains("new notification information"));
}

TEST_F(StrategyTest, NewDeepSleepClosesAnOpenRecordingPeriodFirst)
{
    StartNight(true);
    Send(2009);
    ASSERT_EQ(SubscriberCount(), 1u);
    log_.Clear();
    Asleep(kWakeup);
    EXPECT_EQ(SubscriberCount(), 0u);
    EXPECT_FALSE(handler_->HasTask(kRecordTask));
    const auto texts = log_.Texts();
    EXPECT_LT(std::find(texts.begin(), texts.end(), kRecordingStopped),
        std::find(texts.begin(), texts.end(), "starting device long standby AI"));
}

// A refused subscribe or unsubscribe is logged with its code, leaves the flag as it was and is tried
// again at the next occasion; the recording period still opens and closes.
class SubscriptionFailureTest : public StrategyTest, public ::testing::WithParamInterface<bool> {};

TEST_P(SubscriptionFailureTest, IsLoggedAndRetriedAtTheNextOccasion)
{
    const bool unsubscribeFails = GetParam();
    auto& center = Emulator::NotificationCenter::GetInstance();
    StartNight(true);
    unsubscribeFails ? center.SetUnsubscribeFails(true) : center.SetSubscribeFails(true);
    Send(2009);
    handler_->FastForwardBy(300000);
    EXPECT_TRUE(log_.HasText(kRecordingStopped));
    EXPECT_TRUE(log_.HasText(
        unsubscribeFails ? "UnSubscribeNotification ret: 1600001." : "SubscribeNotification ret: 1600001."));
    EXPECT_EQ(SubscriberCount(), unsubscribeFails ? 1u : 0u);
    center.SetUnsubscribeFails(false);
    center.SetSubscribeFails(false);
    Asleep(kWakeup); // ends any recording period: the unsubscribe is retried
    EXPECT_EQ(SubscriberCount(), 0u);
    Send(2009); // the next period: the subscribe is retried
    EXPECT_EQ(SubscriberCount(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Failing, SubscriptionFailureTest, ::testing::Values(false, true),
    [](const auto& info) { return std::string(info.param ? "Unsubscribe" : "Subscribe"); });

TEST_F(StrategyTest, FailedPublishStillChangesTheState)
{
    StartNight();
    Emulator::CommonEventBus::GetInstance().SetPublishFails(true);
    Asleep(kWakeup);
    EXPECT_TRUE(published_.empty());
    EXPECT_EQ(HostCopies(hostMessages_, kDeepAction), 0u);
    EXPECT_TRUE(log_.HasText("PublishCommonEvent for user slp state changed fail"));
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(Param(kDeepParam), "sleep");
}

// name, stored key, action, system parameter (nullptr: none), the log of its read, power states
struct RestoredState {
    const char* name;
    const std::string *key, *action, *parameter;
    const char* readLog;
    PowerStateList powerStates;
};

class RestartTest : public StrategyTest, public ::testing::WithParamInterface<RestoredState> {};

TEST_P(RestartTest, StateLeftOnBeforeARestartIsEndedAndAnnounced)
{
    const RestoredState& state = GetParam();
    SleepSharedPref::UpdateBoolSettings(*state.key, true);
    Start();
    const int64_t wakeupTime = *state.action == kDeepAction || *state.action == kNotCareAction ? -1 : -2;
    EXPECT_EQ(published_, (Events{{*state.action, false, wakeupTime}}));
    EXPECT_FALSE(Pref(*state.key));
    if (state.parameter != nullptr) {
        EXPECT_EQ(Param(*state.parameter), "unsleep");
    }
    EXPECT_TRUE(log_.HasText(std::string(state.readLog) + ": 1"));
    EXPECT_EQ(PowerStates(), state.powerStates);
}

TEST_F(StrategyTest, RestartWithEasyWakeupStoredWarnsThenStopsInOnCreatedsName)
{
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, true);
    Start();
    std::vector<std::pair<LogLevel, std::string>> lines;
    for (const Emulator::LogRecord& record : log_.Records()) {
        if (record.message.find("easy wakeup slp state") != std::string::npos ||
            record.message.find("stop easy wakeup sleep state") != std::string::npos) {
            lines.emplace_back(record.level, record.message.substr(0, record.message.find(':')));
        }
    }
    EXPECT_EQ(
        lines, (std::vector<std::pair<LogLevel, std::string>>{{LOG_WARN, "[OnCreated"}, {LOG_INFO, "[OnCreated"}}));
    EXPECT_EQ(log_.Texts().back(), "stop easy wakeup sleep state");
}

INSTANTIATE_TEST_SUITE_P(States, RestartTest,
    ::testing::Values(RestoredState{"Deep", &SleepSharedPref::USER_SLEEPING_AI, &kDeepAction, &kDeepParam,
                          "user_deep_slp_AI", {{100, -3}}},
        RestoredState{"NotCareCharge", &SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI, &kNotCareAction,
            &kNotCareParam, "user_deep_slp_not_care_charge_AI", {}},
        RestoredState{
            "Light", &SleepSharedPref::USER_LIGHT_SLEEPING_AI, &kLightAction, nullptr, "user_light_slp_AI", {}},
        RestoredState{"EasyWakeup", &SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, &kEasyAction, nullptr,
            "user_easy_wakeup_slp_AI", {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, UnknownMessagesChangeNothing)
{
    StartNight(true);
    published_.clear();
    for (int32_t id : {0, 2006, 2010, -1}) {
        Send(id);
    }
    SendCommonEvent("usual.event.SOMETHING_ELSE");
    EXPECT_TRUE(published_.empty());
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
}

TEST_F(StrategyTest, ObservationKeysReachTheEngineAsRecordFields)
{
    Start();
    AAFwk::Want want;
    want.SetParam("timestamp", Now());
    want.SetParam("weekType", 2);
    want.SetParam("scrOffDuration", 1234);
    want.SetParam("userStationaryDuration", 567);
    want.SetParam("proximityOri", 0.25);
    want.SetParam("scrOnCount", 9);
    want.SetParam("nextAlarmClockTriggerTime", int64_t{1710222000000});
    Send(StandbyMessage(2000, "", want));
    // Absent keys keep their defaults.
    for (const char* text : {"screenOffDuration: 1234", "stationaryDuration: 567", "proximityOrigin: 0.25",
             "screenOnCount: 9", "nextAlarmClockTime: 1710222000000", "lightDarkDuration: -1"}) {
        EXPECT_TRUE(log_.Contains(text)) << text;
    }
}

// The engine counts a reason for every observation that was not asleep; a screen-on from 12:00 up to,
// not including, 21:00 reports the main one, unless the user did enter deep sleep that night.
struct UnsleepCase {
    const char* name;
    int hour, minute, second;
    bool enteredDeepSleep, reported;
};

class UnsleepReasonTest : public StrategyTest, public ::testing::WithParamInterface<UnsleepCase> {};

TEST_P(UnsleepReasonTest, IsReportedInsideTheAfternoonWindowOnly)
{
    const UnsleepCase& c = GetParam();
    StartNight(c.enteredDeepSleep);
    Send<int64_t>(2000, "", "timestamp", Now()); // an observation the engine cannot call asleep
    RunTo(LocalMs(2024, 3, 12, c.hour, c.minute, c.second));
    Emulator::ClearSysEvents();
    ScreenOn();
    EXPECT_EQ(PowerStates(), (c.reported ? PowerStateList{{1001, 1}} : PowerStateList{}));
}

INSTANTIATE_TEST_SUITE_P(Times, UnsleepReasonTest,
    ::testing::Values(UnsleepCase{"BeforeNoon", 11, 59, 59, false, false},
        UnsleepCase{"NoonExactly", 12, 0, 0, false, true}, UnsleepCase{"BeforeNine", 20, 59, 59, false, true},
        UnsleepCase{"NineExactly", 21, 0, 0, false, false}, UnsleepCase{"AfterDeepSleep", 12, 0, 0, true, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, DeepSleepSuppressesTheReportOnlyUntilTheFirstAfternoonScreenOn)
{
    StartNight(true);
    Send<int64_t>(2000, "", "timestamp", Now());
    RunTo(LocalMs(2024, 3, 12, 11, 0));
    ScreenOn(); // outside the window: the night's deep sleep is still remembered
    RunTo(LocalMs(2024, 3, 12, 13, 0));
    ScreenOn();
    ScreenOff();
    Send<int64_t>(2000, "", "timestamp", Now());
    RunTo(LocalMs(2024, 3, 12, 14, 0));
    EXPECT_TRUE(PowerStates().empty() || PowerStates().back().first != 1001);
    ScreenOn();
    EXPECT_EQ(PowerStates().back(), (std::pair<int32_t, int32_t>{1001, 1}));
}

TEST_F(StrategyTest, TwoOnCreatedCallsReplaceTheEngineAndSubscriber)
{
    StartNight(true);
    Send(2009);
    ASSERT_EQ(SubscriberCount(), 1u);
    EXPECT_EQ(Host()->OnCreated(), ERR_OK);
    Dump(TestWords({"--SetMode", "1"}));
    EXPECT_EQ(SubscriberCount(), 0u);
    handler_->FastForwardBy(300000); // the period opened before still closes cleanly
    EXPECT_EQ(SubscriberCount(), 0u);
    Asleep(kWakeup);
    Send(2009); // a later period subscribes the new subscriber
    EXPECT_EQ(SubscriberCount(), 1u);
}

// Parameter: the common event that ends the user's session.
class UserSwitchTest : public StrategyTest, public ::testing::WithParamInterface<std::string> {
public:
    // How often the model was loaded for a first unlock, 10 s after `Unlock()`.
    size_t UnlockAndCountFirstUnlockLoads()
    {
        Unlock();
        handler_->FastForwardBy(10000);
        const auto texts = log_.Texts();
        return std::count(texts.begin(), texts.end(), std::string("load model successful"));
    }
};

TEST_P(UserSwitchTest, ReopensTheDatabaseAndReloadsTheModelAtTheNextUnlock)
{
    Emulator::SleepHistoryBuilder(Emulator::SleepHabit{}, 1).Write(LocalMs(2024, 3, 11, 0, 0), {30, 0, 0});
    UserSleepTrainModel().Run();
    handler_->RunUntilIdle();
    Start();
    log_.Clear();
    EXPECT_EQ(UnlockAndCountFirstUnlockLoads(), 1u);
    EXPECT_EQ(UnlockAndCountFirstUnlockLoads(), 1u); // loaded: the next unlock does not load again
    SendCommonEvent(GetParam());
    EXPECT_EQ(UnlockAndCountFirstUnlockLoads(), 2u);
}

INSTANTIATE_TEST_SUITE_P(Events, UserSwitchTest,
    ::testing::Values(CommonEventSupport::COMMON_EVENT_USER_SWITCHED, CommonEventSupport::COMMON_EVENT_USER_STOPPING),
    [](const auto& info) {
        return info.param == CommonEventSupport::COMMON_EVENT_USER_SWITCHED ? "Switched" : "Stopping";
    });

// A boot restarts the five-minute training check, so that training follows the boot, not the screen-off.
TEST_F(StrategyTest, BootCompletedStartsTheTrainingCheck)
{
    Start();
    SetCharging(true);
    Unlock();
    handler_->FastForwardBy(180000); // ready for training: charging, battery above 30 %, never trained
    ScreenOff();
    const int64_t screenOffAt = Now();
    handler_->FastForwardBy(120000);
    SendCommonEvent(CommonEventSupport::COMMON_EVENT_BOOT_COMPLETED);
    const int64_t bootAt = Now();
    RunTo(screenOffAt + 300000 + 1000);
    EXPECT_FALSE(log_.HasText("ExecuteTrain method start"));
    RunTo(bootAt + 300000);
    EXPECT_TRUE(log_.HasText("ExecuteTrain method start"));
}

TEST_F(StrategyTest, StoppingStatesThatAreOffPublishesNothingButTheEasyWakeupStop)
{
    Start();
    strategy_->HandleStopDeepSleepByAI(-1, -1);
    strategy_->HandleStopLightSleepByAI(-1);
    strategy_->HandleStopDeepSleepNotCareChargingByAI(-1);
    EXPECT_TRUE(published_.empty());
    EXPECT_EQ(Param(kDeepParam), "<unset>");
    strategy_->HandleStopEasyWakeupSleep();
    EXPECT_EQ(published_, (Events{{kEasyAction, false, -2}}));
}

// name, dump words, answer
using DumpCase = std::tuple<const char*, std::vector<std::string>, std::string>;
TEST_F(StrategyTest, DumpAnswersExactly)
{
    Start();
    const DumpCase cases[] = {{"Detail", {"-D", "--strategy"}, kHeader},
        {"DetailWithMoreWords", {"-D", "--strategy", "--Sleep", "into"}, kHeader}, {"Empty", {}, ""},
        {"DetailAlone", {"-D"}, ""}, {"OtherStrategyWord", {"-D", "--other"}, ""},
        {"SimulateWithoutRT", {"-S", "--strategy", "--Sleep", "into"}, ""},
        {"LowerCaseRT", {"-S", "--strategy", "-rt", "--Sleep", "into"}, ""},
        {"TestWithoutCommand", TestWords({}), kHeader + "invalid args\n"},
        {"TestWithoutArgument", TestWords({"--Sleep"}), kHeader + "invalid args\n"},
        {"SleepInto", TestWords({"--Sleep", "into"}), kHeader + "start slp\n"},
        {"SleepExit", TestWords({"--Sleep", "exit"}), kHeader + "stop slp\n"},
        {"SleepOther", TestWords({"--Sleep", "out"}), kHeader},
        {"LowerCaseCommand", TestWords({"--sleep", "into"}), kHeader},
        {"SetModeOn", TestWords({"--SetMode", "1"}), kHeader + "Set InSleepTestMode true\n"},
        {"SetModeOff", TestWords({"--SetMode", "0"}), kHeader + "Set InSleepTestMode false\n"},
        {"SetModeOther", TestWords({"--SetMode", "2"}), kHeader},
        {"PredictAuto", TestWords({"--Predict", "auto"}), kHeader + "auto collect to predict\n"},
        {"PredictManualWithoutData", TestWords({"--Predict", "manual"}), kHeader + "invalid args\n"},
        {"PredictManual", TestWords({"--Predict", "manual", "1/2/3"}),
            kHeader + "manual input sleep data to predict\n"},
        {"PredictOther", TestWords({"--Predict", "now"}), kHeader}, {"Unknown", TestWords({"--Bogus", "x"}), kHeader}};
    for (const DumpCase& c : cases) {
        SCOPED_TRACE(std::get<0>(c));
        EXPECT_EQ(Dump(std::get<1>(c)), std::get<2>(c));
    }
}

TEST_F(StrategyTest, DumpSetModeSwitchesTheEngineTestMode)
{
    StartNight(); // the test mode is on
    handler_->FastForwardBy(60000);
    EXPECT_FALSE(log_.Contains("predict result"));
    Dump(TestWords({"--SetMode", "0"}));
    ScreenOn();
    handler_->FastForwardBy(11 * 60000); // outside the spacing of the first screen-off
    ScreenOff();
    handler_->FastForwardBy(60000);
    EXPECT_TRUE(log_.Contains("predict result"));
}

// Event id, action, timestamp and package of every message the host received (-1: no Want).
std::vector<std::tuple<int32_t, std::string, int64_t, std::string>> Notified(
    const std::vector<StandbyMessage>& messages)
{
    std::vector<std::tuple<int32_t, std::string, int64_t, std::string>> notified;
    for (const StandbyMessage& message : messages) {
        const AAFwk::Want want = message.want.value_or(AAFwk::Want());
        notified.emplace_back(
            message.eventId, message.action, want.GetLongParam("timestamp", -1), want.GetStringParam("pkg"));
    }
    return notified;
}

// The subscriber turns notifications and badge changes into host messages, with no strategy registered.
TEST_F(StrategyTest, SubscriberTurnsNotificationsAndBadgesIntoHostMessagesAtTheirDeliveryTime)
{
    StandbyNotificationSubscriber subscriber;
    ASSERT_EQ(Notification::NotificationHelper::SubscribeNotification(subscriber), 0);
    auto& center = Emulator::NotificationCenter::GetInstance();
    center.PostNotification("com.example.mail", Now() + 1000);
    center.PostNotification("", Now() + 2000);
    center.ChangeBadge("com.example.chat", 0, Now() + 3000);
    Notification::NotificationRequest request(7);
    request.SetDeliveryTime(Now() - 60000);
    subscriber.OnConsumed(std::make_shared<Notification::Notification>("pkg", request));
    subscriber.OnConsumed(nullptr);
    subscriber.OnBadgeChanged(nullptr);
    const int64_t start = Now();
    handler_->FastForwardBy(5000);
    EXPECT_EQ(Notified(hostMessages_),
        (decltype(Notified({})){{2007, "", start - 60000, "pkg"}, {2007, "", start + 1000, "com.example.mail"},
            {2007, "", start + 2000, ""}, {2008, "", start + 3000, "com.example.chat"}}));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
