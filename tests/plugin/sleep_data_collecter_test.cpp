#include <gtest/gtest.h>

#include <ostream>
#include <variant>

#include "collecter_test_fixture.h"
#include "datashare_helper.h"
#include "device_state.h"
#include "hilog.h"
#include "sleep_data_collecter.h"
#include "sleep_shared_pref.h"
#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {

using Emulator::LogCapture;
using Emulator::MotionState;
using Emulator::PhoneFault;
using MovementValue = Msdp::MovementDataUtils::TypeValue;

constexpr int64_t kCycleGapMs = 600000;
constexpr float kNoSample = -1.0F;

class SleepDataCollecterTest : public CollecterTestBase {
protected:
    void SetUp() override
    {
        CollecterTestBase::SetUp();
        // Forget what earlier cases of this process left in the singletons.
        SleepMovementCallback::GetInstance()->OnMovementChanged(
            {Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::INVALID});
        deviceState_->HandleScreenUnlocked();
        deviceState_->HandleScreenOff();
    }

    std::shared_ptr<SleepDataCollecter> MakeCollecter()
    {
        collecter_ = std::make_shared<SleepDataCollecter>();
        return collecter_;
    }

    // Runs one cycle and returns the Want of its message 2000.
    AAFwk::Want RunCycle()
    {
        size_t before = MessagesWithId(2000).size();
        collecter_->CollectSleepData(false);
        handler_->FastForwardBy(1000);
        auto sent = MessagesWithId(2000);
        EXPECT_EQ(sent.size(), before + 1);
        return sent.empty() ? AAFwk::Want() : *sent.back().want;
    }

    // Lets the next cycle start kCycleGapMs after the previous one started.
    void WaitForNextCycle() { handler_->FastForwardBy(kCycleGapMs - 1000); }

    void SetSampleMissing(int32_t sensorTypeId, bool missing)
    {
        phone_.SetFault(PhoneFault::SENSOR_SAMPLES_LOST, missing, sensorTypeId);
    }

    std::shared_ptr<DeviceState> deviceState_ = DeviceState::GetInstance();
    std::shared_ptr<SleepDataCollecter> collecter_;
};

template <typename T> void ExpectParam(const AAFwk::Want& want, const std::string& key, T expected)
{
    const auto& params = want.GetParams();
    auto it = params.find(key);
    ASSERT_NE(it, params.end()) << key;
    ASSERT_TRUE(std::holds_alternative<T>(it->second)) << key << " has another type";
    EXPECT_EQ(std::get<T>(it->second), expected) << key;
}

TEST_F(SleepDataCollecterTest, CycleSamplesForOneSecondUnderTheLockAndSendsEveryParameter)
{
    deviceState_->HandleScreenOn();
    int32_t screenOnCount = deviceState_->GetScreenOnCount();
    deviceState_->HandleScreenOff();
    const int64_t screenOffMs = clock_.Get().WallTimeMs();
    phone_.SetAmbientLightLux(3.0F);
    phone_.SetProximityDistance(4.0F);
    phone_.SetChargingStatus(1);
    MakeCollecter()->SubscribeMovement();
    phone_.SetMotionState(MotionState::STILL);
    handler_->FastForwardBy(600000);
    const int64_t cycleStart = clock_.Get().WallTimeMs();

    collecter_->CollectSleepData(false);
    EXPECT_EQ(Emulator::ActiveSensorUserCount(SENSOR_TYPE_ID_AMBIENT_LIGHT), 1);
    EXPECT_EQ(Emulator::ActiveSensorUserCount(SENSOR_TYPE_ID_PROXIMITY), 1);
    handler_->FastForwardBy(999);
    EXPECT_TRUE(MessagesWithId(2000).empty());
    handler_->FastForwardBy(1);

    EXPECT_EQ(Emulator::SubscribedSensorUserCount(SENSOR_TYPE_ID_AMBIENT_LIGHT), 0);
    EXPECT_EQ(Emulator::SubscribedSensorUserCount(SENSOR_TYPE_ID_PROXIMITY), 0);
    auto locks = phone_.GetRunningLockStats();
    ASSERT_EQ(locks.size(), 1U);
    EXPECT_EQ(locks[0].name, "SleepDataCollectRunningLock");
    EXPECT_FALSE(locks[0].held);
    EXPECT_EQ(locks[0].heldMs, 1000);

    auto sent = MessagesWithId(2000);
    ASSERT_EQ(sent.size(), 1U);
    ASSERT_TRUE(sent[0].want.has_value());
    const AAFwk::Want& want = *sent[0].want;
    const int64_t recordMs = cycleStart + 1000;
    EXPECT_EQ(want.GetParams().size(), 16U);
    ExpectParam<int64_t>(want, "timestamp", recordMs);
    ExpectParam<int32_t>(want, "weekType", TimeProviderExt::TimestampToWeekIndex(recordMs + 43200000));
    ExpectParam<int32_t>(want, "scrOffDuration", static_cast<int32_t>((recordMs - screenOffMs) / 1000));
    ExpectParam<int32_t>(want, "lastUserStationaryStartDuration", 0); // -1 ms truncates to 0 s
    ExpectParam<int32_t>(want, "userStationaryDuration", 601);
    ExpectParam<int32_t>(want, "userMoveDuration", 0);
    ExpectParam<int32_t>(want, "chargeState", 1);
    ExpectParam<double>(want, "light", 3.0);
    ExpectParam<double>(want, "proximityOri", -1.0);
    ExpectParam<double>(want, "proximity", 4.0);
    ExpectParam<int64_t>(want, "unlockTimestamp", deviceState_->GetUnlockTimestamp());
    ExpectParam<int32_t>(want, "scrOnCount", screenOnCount);
    ExpectParam<int32_t>(want, "lightDarkDuration", 0);
    ExpectParam<int32_t>(want, "proximityErrSize", 0);
    ExpectParam<int32_t>(want, "proximityListSize", 0);
    ExpectParam<int64_t>(want, "nextAlarmClockTriggerTime", kNextAlarmMs);
    EXPECT_EQ(collecter_->GetLastCollectTimestamp(), recordMs);
}

TEST_F(SleepDataCollecterTest, MissingLightIsBridgedOnceThenReportedMissing)
{
    MakeCollecter();
    phone_.SetAmbientLightLux(3.0F);
    const struct {
        bool missing;
        float lux;
        double expected;
    } cycles[] = {{false, 3.0F, 3.0}, {false, 2.0F, 2.0}, {true, 0, 2.0}, {true, 0, kNoSample}, {true, 0, kNoSample},
        {false, 1.0F, 1.0}, {true, 0, 1.0}};
    for (const auto& cycle : cycles) {
        SetSampleMissing(SENSOR_TYPE_ID_AMBIENT_LIGHT, cycle.missing);
        phone_.SetAmbientLightLux(cycle.lux);
        EXPECT_EQ(RunCycle().GetDoubleParam("light", 0), cycle.expected);
        WaitForNextCycle();
    }
}

struct ProximityCase {
    int32_t mode;
    bool holster;
    std::vector<double> expected; // for samples: far 4.0, missing, missing, covered 0.0
};

std::ostream& operator<<(std::ostream& out, const ProximityCase& c)
{
    return out << "mode " << c.mode << (c.holster ? " holster" : "");
}

class ProximitySubstitutionTest : public SleepDataCollecterTest, public testing::WithParamInterface<ProximityCase> {};

TEST_P(ProximitySubstitutionTest, SubstitutesByHostMode)
{
    const auto& c = GetParam();
    STANDBT_MODE = c.mode;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, c.holster);
    MakeCollecter();
    LogCapture log;
    const struct {
        bool missing;
        float distance;
    } samples[] = {{false, 4.0F}, {true, 0}, {true, 0}, {false, 0.0F}};
    double previous = -1.0;
    for (size_t i = 0; i < 4; ++i) {
        SetSampleMissing(SENSOR_TYPE_ID_PROXIMITY, samples[i].missing);
        phone_.SetProximityDistance(samples[i].distance);
        AAFwk::Want want = RunCycle();
        EXPECT_FLOAT_EQ(want.GetDoubleParam("proximity", 0), c.expected[i]) << "cycle " << i;
        EXPECT_FLOAT_EQ(want.GetDoubleParam("proximityOri", 0), previous) << "cycle " << i;
        previous = want.GetDoubleParam("proximity", 0);
        WaitForNextCycle();
    }
    int holsterLines = 0;
    for (const auto& text : log.Texts()) {
        holsterLines += text == "the device uses a wallet-style holster" ? 1 : 0;
    }
    EXPECT_EQ(holsterLines, c.holster && c.mode != 1 && c.mode != 3 ? 4 : 0);
}

INSTANTIATE_TEST_SUITE_P(Modes, ProximitySubstitutionTest,
    testing::Values(ProximityCase{3, false, {4.0, -1.0, -1.0, 0.0}}, ProximityCase{3, true, {4.0, -1.0, -1.0, 0.0}},
        ProximityCase{1, false, {4.0, 5.1, 5.1, 0.0}}, ProximityCase{1, true, {4.0, 5.1, 5.1, 0.0}},
        ProximityCase{0, false, {4.0, 4.0, -1.0, 0.0}}, ProximityCase{2, false, {4.0, 4.0, -1.0, 0.0}},
        ProximityCase{0, true, {0.0001, 0.0001, 0.0001, 0.0001}},
        ProximityCase{2, true, {0.0001, 0.0001, 0.0001, 0.0001}}));

struct DarkStep {
    float lux;
    float distance;
    bool unlockBefore;
    int32_t expected;
};

struct DarkCase {
    const char* name;
    bool still;
    std::vector<DarkStep> steps;
};

std::ostream& operator<<(std::ostream& out, const DarkCase& c)
{
    return out << c.name;
}

class DarkDurationTest : public SleepDataCollecterTest, public testing::WithParamInterface<DarkCase> {};

TEST_P(DarkDurationTest, CountsContinuousDarkness)
{
    MakeCollecter()->SubscribeMovement();
    if (GetParam().still) {
        phone_.SetMotionState(MotionState::STILL);
        handler_->FastForwardBy(3600000);
    }
    int cycle = 0;
    for (const auto& step : GetParam().steps) {
        if (step.unlockBefore) {
            deviceState_->HandleScreenUnlocked();
        }
        phone_.SetAmbientLightLux(step.lux);
        phone_.SetProximityDistance(step.distance);
        EXPECT_EQ(RunCycle().GetIntParam("lightDarkDuration", -99), step.expected) << "cycle " << cycle++;
        WaitForNextCycle();
    }
}

// Each run starts just after an unlock, so its first cycle restarts the count.
INSTANTIATE_TEST_SUITE_P(Sequences, DarkDurationTest,
    testing::Values(
        DarkCase{"BrightThenDark", false,
            {{100.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 600}, {1.0F, 4.0F, false, 1200},
                {6.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 600}}},
        DarkCase{"CoveredWhileMovingRestarts", false,
            {{1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 0}, {1.0F, 0.0F, false, 0}, {1.0F, 4.0F, false, 0},
                {1.0F, 4.0F, false, 600}}},
        DarkCase{"CoveredWhileStillCounts", true,
            {{1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 0}, {1.0F, 0.0F, false, 600}, {1.0F, 0.0F, false, 1200}}},
        // The brightness marker left by a restart keeps a covered phone at 0 until it reads far once.
        DarkCase{"CoveredSinceRestartStaysZero", true,
            {{1.0F, 0.0F, false, 0}, {1.0F, 0.0F, false, 0}, {1.0F, 0.0F, false, 0}, {1.0F, 4.0F, false, 0},
                {1.0F, 0.0F, false, 600}}},
        DarkCase{"UnlockInDarknessRestarts", false,
            {{1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 600}, {1.0F, 4.0F, true, 0},
                {1.0F, 4.0F, false, 0}, {1.0F, 4.0F, false, 600}}}),
    [](const testing::TestParamInfo<DarkCase>& info) { return std::string(info.param.name); });

struct HolsterCase {
    int errors;
    int normals;
    bool initial;
    bool expected;
};

std::ostream& operator<<(std::ostream& out, const HolsterCase& c)
{
    return out << c.errors << " errors " << c.normals << " normals from " << c.initial;
}

class HolsterStateTest : public SleepDataCollecterTest, public testing::WithParamInterface<HolsterCase> {};

TEST_P(HolsterStateTest, SwitchesAtItsThresholdsAndPersists)
{
    const auto& c = GetParam();
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, c.initial);
    MakeCollecter();
    LogCapture log;
    int64_t time = kStartMs;
    auto finish = [&](bool error) {
        SleepDataRecord record;
        record.timestamp = time++;
        record.light = error ? 0.1 : 10.0;
        record.proximityOrigin = 5.0;
        collecter_->FinishDayCollect(record);
        return record;
    };
    for (int i = 0; i < c.normals; ++i) {
        finish(false);
    }
    SleepDataRecord last;
    for (int i = 0; i < c.errors; ++i) {
        last = finish(true);
    }
    EXPECT_EQ(collecter_->IsProximityError(), c.expected);
    EXPECT_EQ(SleepSharedPref::GetBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, !c.expected), c.expected);
    EXPECT_EQ(log.HasText("update proximity error state to " + std::to_string(c.expected)), c.initial != c.expected);
    EXPECT_EQ(last.proximityErrorSize, c.errors);
    EXPECT_EQ(last.proximityListSize, c.errors + c.normals);

    LogCapture restartLog;
    SleepDataCollecter restarted;
    EXPECT_EQ(restarted.IsProximityError(), c.expected);
    EXPECT_TRUE(restartLog.HasText("get is_proximity_error is " + std::to_string(c.expected)));
}

INSTANTIATE_TEST_SUITE_P(Thresholds, HolsterStateTest,
    testing::Values(HolsterCase{7, 0, false, false}, // too few errors to judge
        HolsterCase{8, 0, false, true},              // ratio 1.0
        HolsterCase{8, 8, false, true},              // ratio exactly 0.5
        HolsterCase{8, 12, true, true},              // ratio exactly 0.4 keeps the state
        HolsterCase{8, 12, false, false},            //
        HolsterCase{39, 61, true, false},            // ratio ends at 0.39
        HolsterCase{7, 100, true, true}));           // too few errors: no change even at 0.07

TEST_F(SleepDataCollecterTest, HolsterStatisticsKeepFortyEightHours)
{
    MakeCollecter();
    SleepDataRecord record;
    record.light = 0.1;
    record.proximityOrigin = 5.0;
    const int64_t window = 172800000;
    for (int64_t timestamp : {kStartMs, kStartMs + 1}) {
        record.timestamp = timestamp;
        collecter_->FinishDayCollect(record);
    }
    record.timestamp = kStartMs + 1 + window; // the first is now 1 ms too old, the second exactly 48 h
    collecter_->FinishDayCollect(record);
    EXPECT_EQ(record.proximityErrorSize, 2);
    record.light = 10.0;
    record.timestamp += window + 1;
    collecter_->FinishDayCollect(record);
    EXPECT_EQ(record.proximityErrorSize, 0);
    EXPECT_EQ(record.proximityListSize, 1);
}

TEST_F(SleepDataCollecterTest, FinishingCycleFeedsStatisticsInsteadOfSending)
{
    phone_.SetAmbientLightLux(0.2F);
    phone_.SetProximityDistance(4.0F);
    MakeCollecter();
    for (int i = 0; i < 9; ++i) {
        collecter_->CollectSleepData(true);
        handler_->FastForwardBy(1000);
        WaitForNextCycle();
    }
    EXPECT_TRUE(MessagesWithId(2000).empty());
    // The first cycle's original proximity is the initial -1, so 8 of 9 count as dark but far.
    EXPECT_TRUE(collecter_->IsProximityError());
    EXPECT_FLOAT_EQ(collecter_->CalcuProxErrState(), 1.0F);
}

TEST_F(SleepDataCollecterTest, MovementDurationsAndLeavingStillness)
{
    auto callback = SleepMovementCallback::GetInstance();
    EXPECT_EQ(callback->GetStillDuration(), -1);
    callback->OnMovementChanged({Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::VALUE_ENTER});
    clock_.Get().AdvanceMs(300000);
    EXPECT_EQ(callback->GetStillDuration(), 300000);
    EXPECT_EQ(callback->GetMoveDuration(), 0);
    callback->OnMovementChanged({Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::VALUE_EXIT});
    handler_->RunUntilIdle();
    auto left = MessagesWithId(2009);
    ASSERT_EQ(left.size(), 1U);
    EXPECT_FALSE(left[0].want.has_value());
    clock_.Get().AdvanceMs(20000);
    EXPECT_EQ(callback->GetStillDuration(), 0);
    EXPECT_EQ(callback->GetLastStillDuration(), 320000);
    EXPECT_EQ(callback->GetMoveDuration(), 20000);
    callback->OnMovementChanged({Msdp::MovementDataUtils::TYPE_ON_FOOT, Msdp::MovementDataUtils::VALUE_ENTER});
    EXPECT_EQ(callback->GetMoveDuration(), 20000); // other movement types are ignored
    callback->OnMovementChanged({Msdp::MovementDataUtils::TYPE_STILL, static_cast<MovementValue>(0)});
    EXPECT_EQ(callback->GetStillDuration(), -1);
    EXPECT_EQ(callback->GetLastStillDuration(), -1);
    EXPECT_EQ(callback->GetMoveDuration(), -1);
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
    log.Clear();
    phone_.ClearFaults();
    collecter_->SubscribeMovement();
    EXPECT_TRUE(log.HasText("SubscribeMovement ret = 0"));
    phone_.SetMotionState(MotionState::MOVING);
    handler_->RunUntilIdle();
    EXPECT_EQ(MessagesWithId(2009).size(), 1U);
}

struct SensorFailureCase {
    const char* name;
    PhoneFault fault;
    int32_t target;
    std::vector<std::string> logs;
};

std::ostream& operator<<(std::ostream& out, const SensorFailureCase& c)
{
    return out << c.name;
}

class SensorFailureTest : public SleepDataCollecterTest, public testing::WithParamInterface<SensorFailureCase> {};

TEST_P(SensorFailureTest, CycleStillProducesARecordAndLeavesSensorsOff)
{
    const auto& c = GetParam();
    phone_.SetFault(c.fault, true, c.target);
    LogCapture log;
    MakeCollecter();
    AAFwk::Want want = RunCycle();
    for (const auto& text : c.logs) {
        EXPECT_TRUE(log.HasText(text)) << text;
    }
    EXPECT_EQ(want.GetDoubleParam("light", 0), -1.0);
    EXPECT_EQ(want.GetDoubleParam("proximity", 0), -1.0);
    EXPECT_EQ(Emulator::SubscribedSensorUserCount(SENSOR_TYPE_ID_AMBIENT_LIGHT), 0);
    EXPECT_EQ(Emulator::SubscribedSensorUserCount(SENSOR_TYPE_ID_PROXIMITY), 0);
    EXPECT_FALSE(phone_.GetRunningLockStats().at(0).held);
}

INSTANTIATE_TEST_SUITE_P(Failures, SensorFailureTest,
    testing::Values(
        SensorFailureCase{"NoSensorService", PhoneFault::GET_ALL_SENSORS, Emulator::kAnySensor,
            {"get all sensors failed, sensors are not available", "do not find any usable sensor to detect motion"}},
        SensorFailureCase{"ProximitySubscribeFails", PhoneFault::SUBSCRIBE_SENSOR, SENSOR_TYPE_ID_PROXIMITY,
            {"StartSensor", "subscribe sensor succeed for sensor ID 5", "subscribe sensor failed for sensor ID 12",
                "StopSensor", "deactivate sensor failed for sensor ID 12",
                "unsubscribe sensor failed for sensor ID 12"}},
        SensorFailureCase{"LightActivateFails", PhoneFault::ACTIVATE_SENSOR, SENSOR_TYPE_ID_AMBIENT_LIGHT,
            {"activate sensor failed for sensor ID 5", "deactivate sensor failed for sensor ID 5"}}),
    [](const testing::TestParamInfo<SensorFailureCase>& info) { return std::string(info.param.name); });

TEST_F(SleepDataCollecterTest, PhoneWithoutSensorsStillCollects)
{
    phone_.SetSensorPresent(SENSOR_TYPE_ID_AMBIENT_LIGHT, false);
    phone_.SetSensorPresent(SENSOR_TYPE_ID_PROXIMITY, false);
    LogCapture log;
    MakeCollecter();
    EXPECT_TRUE(log.HasText("do not find any usable sensor to detect motion"));
    EXPECT_EQ(collecter_->StartMonitoringInner(), ERR_OK);
    EXPECT_EQ(RunCycle().GetDoubleParam("light", 0), -1.0);
}

TEST_F(SleepDataCollecterTest, StartMonitoringInnerReportsSensorFailure)
{
    phone_.SetFault(PhoneFault::ACTIVATE_SENSOR, true, SENSOR_TYPE_ID_PROXIMITY);
    MakeCollecter();
    EXPECT_EQ(collecter_->StartMonitoringInner(), SleepDataCollecter::ERR_SENSOR_START_FAILED);
    EXPECT_EQ(Emulator::ActiveSensorUserCount(SENSOR_TYPE_ID_AMBIENT_LIGHT), 0);
}

TEST_F(SleepDataCollecterTest, CycleWithoutRunningLockStillSends)
{
    phone_.SetFault(PhoneFault::RUNNING_LOCK_CREATE, true);
    LogCapture log;
    MakeCollecter();
    EXPECT_TRUE(log.HasText("create running lock failed"));
    phone_.SetAmbientLightLux(2.0F);
    EXPECT_EQ(RunCycle().GetDoubleParam("light", 0), 2.0);
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 0);
}

TEST_F(SleepDataCollecterTest, CollecterGoneDuringTheWindowLeavesTheLockToExpire)
{
    MakeCollecter()->CollectSleepData(false);
    collecter_.reset();
    handler_->FastForwardBy(5000);
    EXPECT_TRUE(MessagesWithId(2000).empty());
    // The lock object died with the collector, which releases the hold at once.
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 0);
}

struct AlarmCase {
    const char* name;
    bool queryFails;
    const char* stored;
    int64_t expected;
};

std::ostream& operator<<(std::ostream& out, const AlarmCase& c)
{
    return out << c.name;
}

class NextAlarmTest : public SleepDataCollecterTest, public testing::WithParamInterface<AlarmCase> {};

TEST_P(NextAlarmTest, ReadsTheSettingOrDegrades)
{
    const auto& c = GetParam();
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", c.stored);
    Emulator::SetDataShareFault(Emulator::DataShareFault::QUERY_FAILS, c.queryFails);
    MakeCollecter();
    LogCapture log;
    EXPECT_EQ(collecter_->GetNextAlarmClockTriggerTime(), c.expected);
    EXPECT_EQ(log.HasText("query nearest alarm clock failed"), c.queryFails);
    Emulator::ResetDataShareFaults();
}

INSTANTIATE_TEST_SUITE_P(Values, NextAlarmTest,
    testing::Values(AlarmCase{"Plain", false, "1700031600000", 1700031600000},
        AlarmCase{"WhiteSpace", false, " 1700031600000 ", 1700031600000}, AlarmCase{"Unparsable", false, "soon", 0},
        AlarmCase{"QueryFails", true, "1700031600000", -1}),
    [](const testing::TestParamInfo<AlarmCase>& info) { return std::string(info.param.name); });

} // namespace
} // namespace OHOS::DevStandbyMgr
