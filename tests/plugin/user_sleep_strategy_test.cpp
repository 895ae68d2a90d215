#include <functional>

#include "strategy_test_fixture.h"

namespace OHOS::DevStandbyMgr {
namespace {

using EventFwk::CommonEventSupport;
using Events = std::vector<Published>;
using PowerStateList = std::vector<std::pair<int32_t, int32_t>>;

constexpr int64_t kWakeup = 1710200000000; // any predicted wake time: carried, never interpreted
constexpr int64_t kHourMs = 3600000;

TEST_F(StrategyTest, AsleepAtNightStartsDeepSleepWithEverythingItPublishes)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);

    EXPECT_EQ(published_, (Events{{kDeepAction, true, kWakeup}}));
    auto hostCopies = HostMessagesWithAction(kDeepAction);
    ASSERT_EQ(hostCopies.size(), 1u);
    EXPECT_TRUE(hostCopies[0].want->GetBoolParam("isSleep", false));
    EXPECT_EQ(hostCopies[0].want->GetLongParam("wakeupTime", 0), kWakeup);
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(Param(kDeepParam), "sleep");
    EXPECT_EQ(PowerStates(), (PowerStateList{{100, 1}}));
    EXPECT_TRUE(handler_->HasTask(kDayClockTask));
    EXPECT_TRUE(log_.HasText("starting device long standby AI"));

    Asleep(kWakeup); // a repeated verdict publishes nothing new
    EXPECT_EQ(published_.size(), 1u);
}

struct RefusalCase {
    const char* name;
    int hour; // local time on 2024-03-11
    int minute;
    int second;
    bool charging;
    bool screenOff;
};

void PrintTo(const RefusalCase& refusal, std::ostream* out)
{
    *out << refusal.name;
}

class DeepSleepRefusalTest : public StrategyTest, public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(DeepSleepRefusalTest, NoSleepStateStarts)
{
    const RefusalCase& refusal = GetParam();
    clock_.Get().SetWallTimeMs(LocalMs(2024, 3, 11, refusal.hour, refusal.minute, refusal.second));
    Start();
    SetCharging(refusal.charging);
    if (refusal.screenOff) {
        ScreenOff();
    }
    Asleep(kWakeup);
    LightAsleep();

    EXPECT_TRUE(published_.empty());
    EXPECT_EQ(Param(kDeepParam), "<unset>");
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_FALSE(Pref(SleepSharedPref::USER_LIGHT_SLEEPING_AI));
}

INSTANTIATE_TEST_SUITE_P(Conditions, DeepSleepRefusalTest,
    ::testing::Values(RefusalCase{"Charging", 23, 0, 0, true, true}, RefusalCase{"ScreenOn", 23, 0, 0, false, false},
        RefusalCase{"ExactlyNine", 21, 0, 0, false, true}, RefusalCase{"Noon", 12, 0, 0, false, true},
        RefusalCase{"MorningDayStart", 7, 49, 49, false, true}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, NightBeginsJustAfterNineAndEndsJustBeforeTheDayStart)
{
    Start();
    for (int64_t at : {LocalMs(2024, 3, 11, 21, 0, 1), LocalMs(2024, 3, 12, 7, 49, 47)}) {
        clock_.Get().SetWallTimeMs(at);
        EXPECT_FALSE(strategy_->IsDayTime()) << at;
    }
    for (int64_t at : {LocalMs(2024, 3, 12, 7, 49, 48), LocalMs(2024, 3, 12, 21, 0, 0)}) {
        clock_.Get().SetWallTimeMs(at);
        EXPECT_TRUE(strategy_->IsDayTime()) << at;
    }
}

TEST_F(StrategyTest, EasyWakeupStartsAfterThirtyMinutesOfScreenOffAndEndsOnScreenOn)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
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
    Start();
    ScreenOff();
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
    int32_t deepReason;  // 0: does not end deep sleep
    int32_t lightReason; // 0: does not end light sleep
    const char* reasonText;
    bool wakeTimeIsNow; // the deep-ended event carries now, else -1 (or the engine's time for 2002)
};

void PrintTo(const StopCase& stopCase, std::ostream* out)
{
    *out << stopCase.name;
}

class StopTest : public StrategyTest, public ::testing::WithParamInterface<StopCase> {
public:
    static void SendId(StrategyTest& test, int32_t eventId) { test.Send(StandbyMessage(eventId)); }
};

TEST_P(StopTest, DeepSleepEndsAndOpensTheRecordingPeriod)
{
    const StopCase& stopCase = GetParam();
    Start();
    ScreenOff();
    Asleep(kWakeup);
    published_.clear();
    int64_t stopAt = Now();
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
    EXPECT_TRUE(Subscribed());
    EXPECT_TRUE(log_.HasText(std::string("stop user deep slp because of ") + stopCase.reasonText));
}

TEST_P(StopTest, LightSleepEnds)
{
    const StopCase& stopCase = GetParam();
    Start();
    ScreenOff();
    LightAsleep();
    ASSERT_EQ(published_, (Events{{kLightAction, true, -2}}));
    published_.clear();
    stopCase.stop(*this);

    if (stopCase.lightReason == 0) {
        EXPECT_TRUE(Pref(SleepSharedPref::USER_LIGHT_SLEEPING_AI));
        EXPECT_TRUE(std::none_of(
            published_.begin(), published_.end(), [](const Published& event) { return event.action == kLightAction; }));
        return;
    }
    ASSERT_FALSE(published_.empty());
    EXPECT_EQ(published_[0], (Published{kLightAction, false, -2}));
    EXPECT_FALSE(Pref(SleepSharedPref::USER_LIGHT_SLEEPING_AI));
    EXPECT_TRUE(log_.HasText("stoping light device long standby AI"));
    EXPECT_TRUE(log_.HasText(std::string("stop user light slp because of ") + stopCase.reasonText));
}

INSTANTIATE_TEST_SUITE_P(Reasons, StopTest,
    ::testing::Values(StopCase{"Awake",
                          [](StrategyTest& test) {
                              AAFwk::Want want;
                              want.SetParam("wakeupTime", int64_t{-1});
                              test.Send(StandbyMessage(2002, "", want));
                          },
                          -1, -1, "SleepDetection", false},
        StopCase{"AwakeWithoutWakeTime", [](StrategyTest& test) { StopTest::SendId(test, 2002); }, -1, -1,
            "SleepDetection", false},
        StopCase{"DayClock", [](StrategyTest& test) { StopTest::SendId(test, 2005); }, -2, -2,
            "Day clock message by AI", true},
        StopCase{
            "UserMoving", [](StrategyTest& test) { StopTest::SendId(test, 2009); }, -7, -7, "user start moving", true},
        StopCase{"Unlock", [](StrategyTest& test) { test.Unlock(); }, -6, -6, "user present", false},
        StopCase{"PowerConnected",
            [](StrategyTest& test) { test.SendCommonEvent(CommonEventSupport::COMMON_EVENT_POWER_CONNECTED); }, -4, -4,
            "usb connected", true},
        StopCase{"IncomingCall", [](StrategyTest& test) { test.CallState(4); }, -11, -11, "incoming call", false},
        StopCase{"OtherCallState", [](StrategyTest& test) { test.CallState(1); }, 0, 0, "", false},
        StopCase{"ScreenOnInModeThree",
            [](StrategyTest& test) {
                STANDBT_MODE = 3;
                test.ScreenOn();
            },
            -5, -5, "scr on", false},
        StopCase{"ScreenOnInOtherModes", [](StrategyTest& test) { test.ScreenOn(); }, 0, 0, "", false},
        StopCase{
            "LightSleepStarts", [](StrategyTest& test) { test.LightAsleep(); }, -8, 0, "user start light slp", true},
        StopCase{"DeepSleepStarts", [](StrategyTest& test) { test.Asleep(kWakeup); }, 0, -1, "SleepDetection", false},
        StopCase{"DumpExit",
            [](StrategyTest& test) {
                test.Dump({"-S", "--strategy", "-RT", "--Sleep", "exit"});
            },
            -10, 0, "hidumper command", false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, DeepAndLightSleepExcludeEachOther)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
    int64_t lightAt = Now();
    LightAsleep();
    Asleep(kWakeup);
    EXPECT_EQ(published_, (Events{{kDeepAction, true, kWakeup}, {kDeepAction, false, lightAt}, {kLightAction, true, -2},
                              {kLightAction, false, -2}, {kDeepAction, true, kWakeup}}));
}

TEST_F(StrategyTest, SleepStatesEndWhenAVerdictArrivesInDayTime)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
    {
        Emulator::ScopedTimeZone travelled("UTC0"); // 15:00 local: day
        Asleep(kWakeup);
        EXPECT_EQ(published_.back(), (Published{kDeepAction, false, kWakeup}));
        EXPECT_TRUE(log_.HasText("stop user deep slp because of SleepDetection"));
    }
    LightAsleep();
    {
        Emulator::ScopedTimeZone travelled("UTC0");
        LightAsleep();
        EXPECT_EQ(published_.back(), (Published{kLightAction, false, -2}));
    }
}

TEST_F(StrategyTest, ChargingBlocksDeepSleepButNotTheNotCareChargeState)
{
    Start();
    SetCharging(true);
    ScreenOff();
    EXPECT_EQ(Dump({"-S", "--strategy", "-RT", "--Sleep", "into"}),
        "\n\n=================UserSleepStrategy=========================\nstart slp\n");
    EXPECT_EQ(published_, (Events{{kNotCareAction, true, -1}}));
    EXPECT_EQ(Param(kNotCareParam), "sleep");
    EXPECT_EQ(Param(kDeepParam), "<unset>");
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI));

    Dump({"-S", "--strategy", "-RT", "--Sleep", "exit"});
    EXPECT_EQ(published_.back(), (Published{kNotCareAction, false, -1}));
    EXPECT_EQ(Param(kNotCareParam), "unsleep");
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI));
}

struct DayClockCase {
    const char* name;
    const char* zone;
    int64_t start; // from local midnight starting 2024-03-31
};

void PrintTo(const DayClockCase& dayClock, std::ostream* out)
{
    *out << dayClock.name;
}

class DayClockTest : public StrategyTest, public ::testing::WithParamInterface<DayClockCase> {};

// The day clock ends a deep sleep that nothing else ended at the next 07:15 local time, spread by
// (start mod 600) ms.
TEST_P(DayClockTest, EndsDeepSleepAtQuarterPastSeven)
{
    const DayClockCase& dayClock = GetParam();
    Emulator::ScopedTimeZone zone(dayClock.zone);
    int64_t start = LocalMs(2024, 3, 31, 0, 0) + dayClock.start;
    int64_t fire = LocalMs(2024, 3, 31, 7, 15) + start % 600;
    clock_.Get().SetWallTimeMs(start);
    Start();
    ScreenOff();
    Asleep(kWakeup);
    ASSERT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));

    RunTo(fire - 1);
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    RunTo(fire);
    EXPECT_FALSE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(published_.back(), (Published{kDeepAction, false, fire}));
    EXPECT_EQ(PowerStates().back(), (std::pair<int32_t, int32_t>{100, -2}));
}

INSTANTIATE_TEST_SUITE_P(Times, DayClockTest,
    ::testing::Values(DayClockCase{"SameDay", "CST-8", 3 * kHourMs + 123},
        DayClockCase{"NextDay", "CST-8", -1 * kHourMs + 599}, // 23:00:00.599 the evening before
        DayClockCase{"JustBefore", "CST-8", 7 * kHourMs + 15 * 60000 - 1000},
        // The clocks go forward at 02:00 that night: still 07:15 on the wall.
        DayClockCase{"SpringForward", "CET-1CEST,M3.5.0,M10.5.0/3", kHourMs / 2}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, DayDelayIsComputedFromTheLocalCalendar)
{
    Start();
    struct {
        int64_t now;
        int64_t delayBeforeSpread;
    } const cases[] = {
        {LocalMs(2024, 3, 11, 23, 0, 0, 5), 8 * kHourMs + 15 * 60000 - 5},
        {LocalMs(2024, 3, 12, 3, 0), 4 * kHourMs + 15 * 60000},
        {LocalMs(2024, 3, 12, 7, 15), 0},
        {LocalMs(2024, 3, 12, 7, 15, 0, 1), 24 * kHourMs - 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(strategy_->GetDayDelayedDur(c.now), c.delayBeforeSpread + c.now % 600) << c.now;
    }
}

TEST_F(StrategyTest, RecordingPeriodForwardsNotificationsForFiveMinutes)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
    EXPECT_FALSE(Subscribed());
    auto& center = Emulator::NotificationCenter::GetInstance();
    Unlock();
    int64_t stoppedAt = Now();
    ASSERT_TRUE(Subscribed());
    EXPECT_TRUE(log_.HasText("start recording notification messages when stop device night long standby by ai"));

    center.PostNotification("com.example.mail", stoppedAt + 30000);
    center.ChangeBadge("com.example.mail", 0, stoppedAt + 90000);
    RunTo(stoppedAt + 299999);
    EXPECT_TRUE(Subscribed());
    EXPECT_TRUE(log_.Contains("new notification information: timestamp " + std::to_string(stoppedAt + 30000)));
    EXPECT_TRUE(log_.Contains("cancel notification information: timestamp " + std::to_string(stoppedAt + 90000)));

    RunTo(stoppedAt + 300000);
    EXPECT_FALSE(Subscribed());
    EXPECT_TRUE(log_.HasText("stop recording notification messages when stop device night long standby by ai"));

    log_.Clear();
    AAFwk::Want want;
    want.SetParam("timestamp", Now());
    want.SetParam("pkg", std::string("com.example.late"));
    Send(StandbyMessage(2007, "", want)); // outside the period: dropped
    EXPECT_FALSE(log_.Contains("new notification information"));
}

TEST_F(StrategyTest, NewDeepSleepClosesAnOpenRecordingPeriodFirst)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
    Send(StandbyMessage(2009));
    ASSERT_TRUE(Subscribed());
    log_.Clear();
    Asleep(kWakeup);
    EXPECT_FALSE(Subscribed());
    EXPECT_FALSE(handler_->HasTask(kRecordTask));
    auto texts = log_.Texts();
    auto closed = std::find(
        texts.begin(), texts.end(), "stop recording notification messages when stop device night long standby by ai");
    auto started = std::find(texts.begin(), texts.end(), "starting device long standby AI");
    EXPECT_LT(closed, started);
}

TEST_F(StrategyTest, FailedSubscribeIsRetriedAndThePeriodStillEnds)
{
    Start();
    ScreenOff();
    Emulator::NotificationCenter::GetInstance().SetSubscribeFails(true);
    Asleep(kWakeup);
    Send(StandbyMessage(2009));
    EXPECT_TRUE(log_.HasText("SubscribeNotification ret: 1600001."));
    EXPECT_FALSE(Subscribed());
    EXPECT_TRUE(handler_->HasTask(kRecordTask));
    handler_->FastForwardBy(300000);
    EXPECT_TRUE(log_.HasText("stop recording notification messages when stop device night long standby by ai"));

    Emulator::NotificationCenter::GetInstance().SetSubscribeFails(false);
    Asleep(kWakeup);
    Send(StandbyMessage(2009));
    EXPECT_TRUE(Subscribed());
}

TEST_F(StrategyTest, FailedPublishStillChangesTheState)
{
    Start();
    ScreenOff();
    Emulator::CommonEventBus::GetInstance().SetPublishFails(true);
    Asleep(kWakeup);
    EXPECT_TRUE(published_.empty());
    EXPECT_TRUE(HostMessagesWithAction(kDeepAction).empty());
    EXPECT_TRUE(log_.HasText("PublishCommonEvent for user slp state changed fail"));
    EXPECT_TRUE(Pref(SleepSharedPref::USER_SLEEPING_AI));
    EXPECT_EQ(Param(kDeepParam), "sleep");
}

struct RestoredState {
    const char* name;
    const std::string* key;
    const std::string* action;
    const std::string* parameter; // nullptr: the state has none
    const char* readLog;
};

void PrintTo(const RestoredState& state, std::ostream* out)
{
    *out << state.name;
}

class RestartTest : public StrategyTest, public ::testing::WithParamInterface<RestoredState> {};

TEST_P(RestartTest, StateLeftOnBeforeARestartIsEndedAndAnnounced)
{
    const RestoredState& state = GetParam();
    SleepSharedPref::UpdateBoolSettings(*state.key, true);
    Start();

    ASSERT_EQ(published_.size(), 1u);
    EXPECT_EQ(published_[0].action, *state.action);
    EXPECT_FALSE(published_[0].isSleep);
    EXPECT_FALSE(Pref(*state.key));
    if (state.parameter != nullptr) {
        EXPECT_EQ(Param(*state.parameter), "unsleep");
    }
    EXPECT_TRUE(log_.HasText(std::string(state.readLog) + ": 1"));
}

INSTANTIATE_TEST_SUITE_P(States, RestartTest,
    ::testing::Values(
        RestoredState{"Deep", &SleepSharedPref::USER_SLEEPING_AI, &kDeepAction, &kDeepParam, "user_deep_slp_AI"},
        RestoredState{"NotCareCharge", &SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI, &kNotCareAction,
            &kNotCareParam, "user_deep_slp_not_care_charge_AI"},
        RestoredState{"Light", &SleepSharedPref::USER_LIGHT_SLEEPING_AI, &kLightAction, nullptr, "user_light_slp_AI"},
        RestoredState{"EasyWakeup", &SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, &kEasyAction, nullptr,
            "user_easy_wakeup_slp_AI"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StrategyTest, RestartAfterDeepSleepReportsThePgRestartReason)
{
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_SLEEPING_AI, true);
    Start();
    EXPECT_EQ(published_, (Events{{kDeepAction, false, -1}}));
    EXPECT_EQ(PowerStates(), (PowerStateList{{100, -3}}));
    EXPECT_TRUE(log_.HasText("stop user deep slp because of pg restart"));
}

TEST_F(StrategyTest, UnknownMessagesChangeNothing)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
    published_.clear();
    for (int32_t id : {0, 2006, 2010, -1}) {
        Send(StandbyMessage(id));
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
    EXPECT_TRUE(log_.Contains("screenOffDuration: 1234"));
    EXPECT_TRUE(log_.Contains("stationaryDuration: 567"));
    EXPECT_TRUE(log_.Contains("proximityOrigin: 0.25"));
    EXPECT_TRUE(log_.Contains("screenOnCount: 9"));
    EXPECT_TRUE(log_.Contains("nextAlarmClockTime: 1710222000000"));
    EXPECT_TRUE(log_.Contains("lightDarkDuration: -1")); // absent keys keep their defaults
}

// The engine counts a reason for every observation that was not asleep; the first screen-on between
// 12:00 and 21:00 reports the main one, unless the user did enter deep sleep.
TEST_F(StrategyTest, UnsleepReasonIsReportedAfterNoonOnlyForNightsWithoutDeepSleep)
{
    Start();
    for (bool enteredDeepSleep : {false, true}) {
        ScreenOff();
        if (enteredDeepSleep) {
            Asleep(kWakeup);
        }
        AAFwk::Want want;
        want.SetParam("timestamp", Now());
        Send(StandbyMessage(2000, "", want));     // an observation the engine cannot call asleep
        RunTo(Now() + 12 * kHourMs + 59 * 60000); // 11:59
        ScreenOn();
        ScreenOff();
        EXPECT_TRUE(PowerStates().empty() || PowerStates().back().first != 1001);
        RunTo(Now() + 2 * 60000); // 12:01
        Emulator::ClearSysEvents();
        ScreenOn();
        PowerStateList expected;
        if (!enteredDeepSleep) {
            expected.emplace_back(1001, 1);
        }
        EXPECT_EQ(PowerStates(), expected) << enteredDeepSleep;
        RunTo(Now() + 10 * kHourMs); // 22:01
    }
}

TEST_F(StrategyTest, TwoOnCreatedCallsReplaceTheEngineAndSubscriber)
{
    Start();
    ScreenOff();
    Asleep(kWakeup);
    Send(StandbyMessage(2009));
    ASSERT_TRUE(Subscribed());
    EXPECT_EQ(Host()->OnCreated(), ERR_OK);
    EXPECT_EQ(Emulator::NotificationCenter::GetInstance().SubscriberCount(), 0u);
    handler_->FastForwardBy(300000); // the period opened before still closes cleanly
    EXPECT_FALSE(Subscribed());
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

} // namespace
} // namespace OHOS::DevStandbyMgr
