#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "background_task_mgr_helper.h"
#include "data_root.h"
#include "datashare_helper.h"
#include "device_state.h"
#include "event_handler.h"
#include "hilog.h"
#include "movement_client.h"
#include "scoped_time_zone.h"
#include "sensor_agent.h"
#include "settings_store.h"
#include "simulated_phone.h"
#include "sleep_data_collecter.h"
#include "sleep_shared_pref.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "time_provider_ext.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {

using BackgroundTaskMgr::ContinuousTaskType;
using Emulator::LogCapture;
using Emulator::MotionState;
using Emulator::PhoneFault;
namespace MovementDataUtils = Msdp::MovementDataUtils;

constexpr int64_t kCycleGapMs = 600000;
constexpr int32_t kLight = SENSOR_TYPE_ID_AMBIENT_LIGHT;
constexpr int32_t kProximity = SENSOR_TYPE_ID_PROXIMITY;
constexpr int32_t kUidA = 20010;
constexpr int32_t kUidB = 20020;

// A night on a simulated phone: virtual clock and handler shared by the host and the phone, a scratch
// data root, and every message the host receives.
class CollecterTestBase : public testing::Test {
protected:
    static constexpr int64_t kStartMs = 1700000000000; // 2023-11-14 22:13:20 UTC
    static constexpr int64_t kNextAlarmMs = 1700031600000;

    void SetUp() override
    {
        STANDBT_MODE = 0;
        phone_.Reset();
        Emulator::ResetSensorService();
        Msdp::MovementClient::GetInstance().Reset();
        phone_.SetEventHandler(handler_);
        StandbyServiceImpl::GetInstance()->Reset();
        StandbyServiceImpl::GetInstance()->SetHandler(handler_);
        StandbyServiceImpl::GetInstance()->SetMessageObserver(
            [this](const StandbyMessage& message) { messages_.push_back(message); });
        Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", std::to_string(kNextAlarmMs));
    }

    void TearDown() override
    {
        StandbyServiceImpl::GetInstance()->Reset();
        phone_.Reset();
        STANDBT_MODE = 0;
    }

    std::vector<StandbyMessage> MessagesWithId(int32_t eventId) const
    {
        std::vector<StandbyMessage> found;
        std::copy_if(messages_.begin(), messages_.end(), std::back_inserter(found),
            [eventId](const StandbyMessage& message) { return message.eventId == eventId; });
        return found;
    }

    Emulator::ScopedTimeZone zone_{"UTC0"};
    Emulator::ScopedDataRoot dataRoot_;
    Emulator::ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    Emulator::SimulatedPhone& phone_ = Emulator::SimulatedPhone::GetInstance();
    std::vector<StandbyMessage> messages_;
};

class SleepDataCollecterTest : public CollecterTestBase {
protected:
    void SetUp() override
    {
        CollecterTestBase::SetUp();
        // Forget what earlier cases of this process left in the singletons.
        SleepMovementCallback::GetInstance()->OnMovementChanged(
            {MovementDataUtils::TYPE_STILL, MovementDataUtils::INVALID});
        deviceState_->HandleScreenUnlocked();
        deviceState_->HandleScreenOff();
    }

    std::shared_ptr<SleepDataCollecter> MakeCollecter()
    {
        collecter_ = std::make_shared<SleepDataCollecter>();
        return collecter_;
    }

    // Runs one cycle, returns the Want of its message 2000 and lets the next cycle start
    // kCycleGapMs after this one started.
    AAFwk::Want RunCycle()
    {
        size_t before = MessagesWithId(2000).size();
        collecter_->CollectSleepData(false);
        handler_->FastForwardBy(1000);
        auto sent = MessagesWithId(2000);
        EXPECT_EQ(sent.size(), before + 1);
        handler_->FastForwardBy(kCycleGapMs - 1000);
        return sent.size() == before + 1 ? *sent.back().want : AAFwk::Want();
    }

    void SetSample(int32_t sensor, bool missing, float value)
    {
        phone_.SetFault(PhoneFault::SENSOR_SAMPLES_LOST, missing, sensor);
        sensor == kLight ? phone_.SetAmbientLightLux(value) : phone_.SetProximityDistance(value);
    }

    std::shared_ptr<DeviceState> deviceState_ = DeviceState::GetInstance();
    std::shared_ptr<SleepDataCollecter> collecter_;
};

TEST_F(SleepDataCollecterTest, CycleSamplesForOneSecondUnderTheLockAndSendsEveryParameter)
{
    deviceState_->HandleScreenOn();
    const int32_t screenOnCount = deviceState_->GetScreenOnCount();
    deviceState_->HandleScreenOff();
    const int64_t screenOffMs = clock_.Get().WallTimeMs();
    phone_.SetAmbientLightLux(3.0F);
    phone_.SetProximityDistance(4.0F);
    phone_.SetChargingStatus(1);
    MakeCollecter()->SubscribeMovement();
    phone_.SetMotionState(MotionState::STILL);
    handler_->FastForwardBy(600000);
    const int64_t recordMs = clock_.Get().WallTimeMs() + 1000;

    collecter_->CollectSleepData(false);
    EXPECT_EQ(Emulator::ActiveSensorUserCount(kLight) + Emulator::ActiveSensorUserCount(kProximity), 2);
    handler_->FastForwardBy(999);
    EXPECT_TRUE(MessagesWithId(2000).empty());
    handler_->FastForwardBy(1);
    EXPECT_EQ(Emulator::SubscribedSensorUserCount(kLight) + Emulator::SubscribedSensorUserCount(kProximity), 0);
    auto locks = phone_.GetRunningLockStats();
    ASSERT_EQ(locks.size(), 1U);
    EXPECT_EQ(std::make_tuple(locks[0].name, locks[0].held, locks[0].heldMs),
        std::make_tuple(std::string("SleepDataCollectRunningLock"), false, int64_t{1000}));

    auto sent = MessagesWithId(2000);
    ASSERT_EQ(sent.size(), 1U);
    ASSERT_TRUE(sent[0].want.has_value());
    // lastUserStationaryStartDuration: -1 ms truncates to 0 s.
    const std::map<std::string, AAFwk::Want::Value> expected{{"timestamp", recordMs},
        {"weekType", TimeProviderExt::TimestampToWeekIndex(recordMs + 43200000)},
        {"scrOffDuration", static_cast<int32_t>((recordMs - screenOffMs) / 1000)},
        {"lastUserStationaryStartDuration", 0}, {"userStationaryDuration", 601}, {"userMoveDuration", 0},
        {"chargeState", 1}, {"light", 3.0}, {"proximityOri", -1.0}, {"proximity", 4.0},
        {"unlockTimestamp", deviceState_->GetUnlockTimestamp()}, {"scrOnCount", screenOnCount},
        {"lightDarkDuration", 0}, {"proximityErrSize", 0}, {"proximityListSize", 0},
        {"nextAlarmClockTriggerTime", kNextAlarmMs}};
    EXPECT_EQ(sent[0].want->GetParams(), expected);
    EXPECT_EQ(collecter_->GetLastCollectTimestamp(), recordMs);
}

TEST_F(SleepDataCollecterTest, MissingLightIsBridgedOnceThenReportedMissing)
{
    MakeCollecter();
    // sample missing, lux, reported
    const std::vector<std::tuple<bool, float, double>> cycles{{false, 3.0F, 3.0}, {false, 2.0F, 2.0}, {true, 0, 2.0},
        {true, 0, -1.0}, {true, 0, -1.0}, {false, 1.0F, 1.0}, {true, 0, 1.0}};
    for (const auto& [missing, lux, expected] : cycles) {
        SetSample(kLight, missing, lux);
        EXPECT_EQ(RunCycle().GetDoubleParam("light", 0), expected);
    }
}

// Samples far 4.0, missing, missing, covered 0.0: what each host mode makes of them, with and
// without a holster.
TEST_F(SleepDataCollecterTest, ProximityIsSubstitutedByHostMode)
{
    const std::vector<std::tuple<int32_t, bool, std::vector<double>>> cases{{3, false, {4.0, -1.0, -1.0, 0.0}},
        {3, true, {4.0, -1.0, -1.0, 0.0}}, {1, false, {4.0, 5.1, 5.1, 0.0}}, {1, true, {4.0, 5.1, 5.1, 0.0}},
        {0, false, {4.0, 4.0, -1.0, 0.0}}, {2, false, {4.0, 4.0, -1.0, 0.0}},
        {0, true, {0.0001, 0.0001, 0.0001, 0.0001}}, {2, true, {0.0001, 0.0001, 0.0001, 0.0001}}};
    const std::vector<std::pair<bool, float>> samples{{false, 4.0F}, {true, 0}, {true, 0}, {false, 0.0F}};
    for (const auto& [mode, holster, expected] : cases) {
        STANDBT_MODE = mode;
        SleepSharedPref::UpdateBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, holster);
        MakeCollecter();
        LogCapture log;
        double previous = -1.0;
        for (size_t i = 0; i < samples.size(); ++i) {
            SetSample(kProximity, samples[i].first, samples[i].second);
            AAFwk::Want want = RunCycle();
            EXPECT_FLOAT_EQ(want.GetDoubleParam("proximity", 0), expected[i]) << mode << holster << " cycle " << i;
            EXPECT_FLOAT_EQ(want.GetDoubleParam("proximityOri", 0), previous) << mode << holster << " cycle " << i;
            previous = want.GetDoubleParam("proximity", 0);
        }
        const auto texts = log.Texts();
        EXPECT_EQ(std::count(texts.begin(), texts.end(), "the device uses a wallet-style holster"),
            holster && mode != 1 && mode != 3 ? 4 : 0);
    }
}

// lux, distance, unlock before the cycle, expected dark duration
using DarkStep = std::tuple<float, float, bool, int32_t>;
class DarkDurationTest : public SleepDataCollecterTest,
                         public testing::WithParamInterface<std::tuple<const char*, bool, std::vector<DarkStep>>> {};

TEST_P(DarkDurationTest, CountsContinuousDarkness)
{
    const auto& [name, still, steps] = GetParam();
    MakeCollecter()->SubscribeMovement();
    if (still) {
        phone_.SetMotionState(MotionState::STILL);
        handler_->FastForwardBy(3600000);
    }
    for (size_t i = 0; i < steps.size(); ++i) {
        const auto& [lux, distance, unlockBefore, expected] = steps[i];
        if (unlockBefore) {
            deviceState_->HandleScreenUnlocked();
        }
        phone_.SetAmbientLightLux(lux);
        phone_.SetProximityDistance(distance);
        EXPECT_EQ(RunCycle().GetIntParam("lightDarkDuration", -99), expected) << name << " cycle " << i;
    }
}

// Each run starts just after an unlock, so its first cycle restarts the count.
INSTANTIATE_TEST_SUITE_P(Sequences, DarkDurationTest,
    testing::Values(std::make_tuple("BrightThenDark", false,
                        std::vector<DarkStep>{{100, 4, false, 0}, {1, 4, false, 0}, {1, 4, false, 600},
                            {1, 4, false, 1200}, {6, 4, false, 0}, {1, 4, false, 0}, {1, 4, false, 600}}),
        std::make_tuple("CoveredWhileMovingRestarts", false,
            std::vector<DarkStep>{
                {1, 4, false, 0}, {1, 4, false, 0}, {1, 0, false, 0}, {1, 4, false, 0}, {1, 4, false, 600}}),
        std::make_tuple("CoveredWhileStillCounts", true,
            std::vector<DarkStep>{{1, 4, false, 0}, {1, 4, false, 0}, {1, 0, false, 600}, {1, 0, false, 1200}}),
        // The brightness marker left by a restart keeps a covered phone at 0 until it reads far once.
        std::make_tuple("CoveredSinceRestartStaysZero", true,
            std::vector<DarkStep>{
                {1, 0, false, 0}, {1, 0, false, 0}, {1, 0, false, 0}, {1, 4, false, 0}, {1, 0, false, 600}}),
        std::make_tuple("UnlockInDarknessRestarts", false,
            std::vector<DarkStep>{{1, 4, false, 0}, {1, 4, false, 0}, {1, 4, false, 600}, {1, 4, true, 0},
                {1, 4, false, 0}, {1, 4, false, 600}})),
    [](const auto& info) { return std::string(std::get<0>(info.param)); });

// errors, normals before them, stored state before, state after
class HolsterStateTest : public SleepDataCollecterTest,
                         public testing::WithParamInterface<std::tuple<int, int, bool, bool>> {};

TEST_P(HolsterStateTest, SwitchesAtItsThresholdsAndPersists)
{
    const auto& [errors, normals, initial, expected] = GetParam();
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, initial);
    MakeCollecter();
    LogCapture log;
    SleepDataRecord record;
    record.proximityOrigin = 5.0;
    for (int i = 0; i < normals + errors; ++i) {
        record.timestamp = kStartMs + i;
        record.light = i < normals ? 10.0 : 0.1;
        collecter_->FinishDayCollect(record);
    }
    EXPECT_EQ(collecter_->IsProximityError(), expected);
    EXPECT_EQ(SleepSharedPref::GetBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, !expected), expected);
    EXPECT_EQ(log.HasText("update proximity error state to " + std::to_string(expected)), initial != expected);
    EXPECT_EQ(
        std::make_pair(record.proximityErrorSize, record.proximityListSize), std::make_pair(errors, errors + normals));

    LogCapture restartLog;
    EXPECT_EQ(SleepDataCollecter().IsProximityError(), expected);
    EXPECT_TRUE(restartLog.HasText("get is_proximity_error is " + std::to_string(expected)));
}

// 7 errors are too few to judge (even at 0.07); 0.5 switches on, 0.4 keeps the state, 0.39 switches off.
INSTANTIATE_TEST_SUITE_P(Thresholds, HolsterStateTest,
    testing::Values(std::make_tuple(7, 0, false, false), std::make_tuple(8, 0, false, true),
        std::make_tuple(8, 8, false, true), std::make_tuple(8, 12, true, true), std::make_tuple(8, 12, false, false),
        std::make_tuple(39, 61, true, false), std::make_tuple(7, 100, true, true)));

TEST_F(SleepDataCollecterTest, HolsterStatisticsKeepFortyEightHours)
{
    MakeCollecter();
    SleepDataRecord record;
    record.light = 0.1;
    record.proximityOrigin = 5.0;
    const int64_t window = 172800000;
    // The first is 1 ms too old at the third, the second exactly 48 h; then a day record much later.
    for (int64_t timestamp : {kStartMs, kStartMs + 1, kStartMs + 1 + window}) {
        record.timestamp = timestamp;
        collecter_->FinishDayCollect(record);
    }
    EXPECT_EQ(record.proximityErrorSize, 2);
    record.light = 10.0;
    record.timestamp += window + 1;
    collecter_->FinishDayCollect(record);
    EXPECT_EQ(std::make_pair(record.proximityErrorSize, record.proximityListSize), std::make_pair(0, 1));
}

TEST_F(SleepDataCollecterTest, FinishingCycleFeedsStatisticsInsteadOfSending)
{
    phone_.SetAmbientLightLux(0.2F);
    phone_.SetProximityDistance(4.0F);
    MakeCollecter();
    for (int i = 0; i < 9; ++i) {
        collecter_->CollectSleepData(true);
        handler_->FastForwardBy(kCycleGapMs);
    }
    EXPECT_TRUE(MessagesWithId(2000).empty());
    // The first cycle's original proximity is the initial -1, so 8 of 9 count as dark but far.
    EXPECT_TRUE(collecter_->IsProximityError());
    EXPECT_FLOAT_EQ(collecter_->CalcuProxErrState(), 1.0F);
}

TEST_F(SleepDataCollecterTest, MovementDurationsAndLeavingStillness)
{
    auto callback = SleepMovementCallback::GetInstance();
    auto durations = [&callback]() {
        return std::make_tuple(
            callback->GetStillDuration(), callback->GetLastStillDuration(), callback->GetMoveDuration());
    };
    EXPECT_EQ(callback->GetStillDuration(), -1);
    callback->OnMovementChanged({MovementDataUtils::TYPE_STILL, MovementDataUtils::VALUE_ENTER});
    clock_.Get().AdvanceMs(300000);
    EXPECT_EQ(callback->GetStillDuration(), 300000);
    EXPECT_EQ(callback->GetMoveDuration(), 0);
    callback->OnMovementChanged({MovementDataUtils::TYPE_STILL, MovementDataUtils::VALUE_EXIT});
    handler_->RunUntilIdle();
    auto left = MessagesWithId(2009);
    ASSERT_EQ(left.size(), 1U);
    EXPECT_FALSE(left[0].want.has_value());
    clock_.Get().AdvanceMs(20000);
    EXPECT_EQ(durations(), std::make_tuple(int64_t{0}, int64_t{320000}, int64_t{20000}));
    callback->OnMovementChanged({MovementDataUtils::TYPE_ON_FOOT, MovementDataUtils::VALUE_ENTER});
    EXPECT_EQ(callback->GetMoveDuration(), 20000); // other movement types are ignored
    callback->OnMovementChanged({MovementDataUtils::TYPE_STILL, static_cast<MovementDataUtils::TypeValue>(0)});
    EXPECT_EQ(durations(), std::make_tuple(int64_t{-1}, int64_t{-1}, int64_t{-1}));
    handler_->RunUntilIdle();
    EXPECT_EQ(MessagesWithId(2009).size(), 1U);
}

TEST_F(SleepDataCollecterTest, MovementSubscriptionFollowsTheFlagWhateverTheServiceSays)
{
    MakeCollecter();
    LogCapture log;
    phone_.SetFault(PhoneFault::MOVEMENT_SUBSCRIBE, true);
    collecter_->SubscribeMovement();
    collecter_->SubscribeMovement();
    EXPECT_EQ(log.Texts(), std::vector<std::string>{"SubscribeMovement ret = 31500001"});
    collecter_->UnsubscribeMovement();
    collecter_->UnsubscribeMovement();
    EXPECT_TRUE(log.HasText("UnsubscribeMovement ret = 31500002"));
    phone_.ClearFaults();
    collecter_->SubscribeMovement();
    EXPECT_TRUE(log.HasText("SubscribeMovement ret = 0"));
    phone_.SetMotionState(MotionState::MOVING);
    handler_->RunUntilIdle();
    EXPECT_EQ(MessagesWithId(2009).size(), 1U);
}

// fault, sensor it hits, expected logs
class SensorFailureTest
    : public SleepDataCollecterTest,
      public testing::WithParamInterface<std::tuple<const char*, PhoneFault, int32_t, std::vector<std::string>>> {};

TEST_P(SensorFailureTest, CycleStillProducesARecordAndLeavesSensorsOff)
{
    const auto& [name, fault, target, logs] = GetParam();
    phone_.SetFault(fault, true, target);
    LogCapture log;
    MakeCollecter();
    AAFwk::Want want = RunCycle();
    for (const auto& text : logs) {
        EXPECT_TRUE(log.HasText(text)) << text;
    }
    EXPECT_EQ(std::make_pair(want.GetDoubleParam("light", 0), want.GetDoubleParam("proximity", 0)),
        std::make_pair(-1.0, -1.0));
    EXPECT_EQ(Emulator::SubscribedSensorUserCount(kLight) + Emulator::SubscribedSensorUserCount(kProximity), 0);
    EXPECT_FALSE(phone_.GetRunningLockStats().at(0).held);
    EXPECT_EQ(collecter_->StartMonitoringInner(),
        fault == PhoneFault::GET_ALL_SENSORS ? ERR_OK : SleepDataCollecter::ERR_SENSOR_START_FAILED);
    EXPECT_EQ(Emulator::ActiveSensorUserCount(kLight) + Emulator::ActiveSensorUserCount(kProximity), 0);
}

INSTANTIATE_TEST_SUITE_P(Failures, SensorFailureTest,
    testing::Values(std::make_tuple("NoSensorService", PhoneFault::GET_ALL_SENSORS, Emulator::kAnySensor,
                        std::vector<std::string>{"get all sensors failed, sensors are not available",
                            "do not find any usable sensor to detect motion"}),
        std::make_tuple("ProximitySubscribeFails", PhoneFault::SUBSCRIBE_SENSOR, kProximity,
            std::vector<std::string>{"StartSensor", "subscribe sensor succeed for sensor ID 5",
                "subscribe sensor failed for sensor ID 12", "StopSensor", "deactivate sensor failed for sensor ID 12",
                "unsubscribe sensor failed for sensor ID 12"}),
        std::make_tuple("LightActivateFails", PhoneFault::ACTIVATE_SENSOR, kLight,
            std::vector<std::string>{
                "activate sensor failed for sensor ID 5", "deactivate sensor failed for sensor ID 5"})),
    [](const auto& info) { return std::string(std::get<0>(info.param)); });

TEST_F(SleepDataCollecterTest, CycleWithoutRunningLockStillSends)
{
    phone_.SetFault(PhoneFault::RUNNING_LOCK_CREATE, true);
    MakeCollecter();
    phone_.SetAmbientLightLux(2.0F);
    EXPECT_EQ(RunCycle().GetDoubleParam("light", 0), 2.0);
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 0);
}

TEST_F(SleepDataCollecterTest, CollecterGoneDuringTheWindowReleasesTheLockAndSendsNothing)
{
    MakeCollecter()->CollectSleepData(false);
    collecter_.reset();
    handler_->FastForwardBy(5000);
    EXPECT_TRUE(MessagesWithId(2000).empty());
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 0);
}

TEST_F(SleepDataCollecterTest, NextAlarmReadsTheSettingOrDegrades)
{
    // query fails, stored value, answer
    const std::vector<std::tuple<bool, const char*, int64_t>> cases{{false, "1700031600000", 1700031600000},
        {false, " 1700031600000 ", 1700031600000}, {false, "soon", 0}, {true, "1700031600000", -1}};
    MakeCollecter();
    for (const auto& [queryFails, stored, expected] : cases) {
        Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", stored);
        Emulator::SetDataShareFault(Emulator::DataShareFault::QUERY_FAILS, queryFails);
        LogCapture log;
        EXPECT_EQ(collecter_->GetNextAlarmClockTriggerTime(), expected) << stored;
        EXPECT_EQ(log.HasText("query nearest alarm clock failed"), queryFails);
    }
    Emulator::ResetDataShareFaults();
}

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
        LogCapture log;
        EXPECT_EQ(state_->IsContinuousBackgroundTask(), inUse) << name;
        EXPECT_EQ(state_->GetActiveUsingType(), activeType) << name;
        EXPECT_EQ(log.Texts(), logs) << name;
    }
}

} // namespace
} // namespace OHOS::DevStandbyMgr
