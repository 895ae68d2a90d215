#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <vector>

#include "background_task_mgr_helper.h"
#include "battery_srv_client.h"
#include "event_handler.h"
#include "movement_client.h"
#include "power_mgr_client.h"
#include "sensor_agent.h"
#include "simulated_phone.h"
#include "suspend_manager_client.h"
#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

constexpr int64_t kStartMs = 1700000000000;
constexpr int64_t kMsToNs = 1000000;

struct Sample {
    int64_t wallMs;
    int32_t typeId;
    float value;
};
std::vector<Sample> g_samples;

void RecordSample(SensorEvent* event)
{
    float value = 0.0F;
    std::memcpy(&value, event->data, sizeof(float));
    g_samples.push_back({CurrentClock()->WallTimeMs(), event->sensorTypeId, value});
}

class SimulatedPhoneTest : public testing::Test {
protected:
    void SetUp() override
    {
        phone_.Reset();
        ResetSensorService();
        Msdp::MovementClient::GetInstance().Reset();
        phone_.SetEventHandler(handler_);
        g_samples.clear();
        user_.callback = RecordSample;
    }
    void TearDown() override { phone_.Reset(); }

    ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    SimulatedPhone& phone_ = SimulatedPhone::GetInstance();
    SensorUser user_{};
};

TEST_F(SimulatedPhoneTest, ActiveSensorDeliversCurrentValueAtBatchRateUntilDeactivated)
{
    phone_.SetAmbientLightLux(3.0F);
    ASSERT_EQ(SubscribeSensor(SENSOR_TYPE_ID_AMBIENT_LIGHT, &user_), SENSOR_SUCCESS);
    ASSERT_EQ(SetBatch(SENSOR_TYPE_ID_AMBIENT_LIGHT, &user_, 300 * kMsToNs, 0), SENSOR_SUCCESS);
    ASSERT_EQ(ActivateSensor(SENSOR_TYPE_ID_AMBIENT_LIGHT, &user_), SENSOR_SUCCESS);
    EXPECT_EQ(ActiveSensorUserCount(SENSOR_TYPE_ID_AMBIENT_LIGHT), 1);
    handler_->FastForwardBy(600);
    phone_.SetAmbientLightLux(7.5F);
    handler_->FastForwardBy(350);
    ASSERT_EQ(DeactivateSensor(SENSOR_TYPE_ID_AMBIENT_LIGHT, &user_), SENSOR_SUCCESS);
    handler_->FastForwardBy(2000);

    ASSERT_EQ(g_samples.size(), 3U);
    EXPECT_EQ(g_samples[0].wallMs, kStartMs + 300);
    EXPECT_EQ(g_samples[1].wallMs, kStartMs + 600);
    EXPECT_EQ(g_samples[2].wallMs, kStartMs + 900);
    EXPECT_FLOAT_EQ(g_samples[1].value, 3.0F);
    EXPECT_FLOAT_EQ(g_samples[2].value, 7.5F);
    EXPECT_EQ(UnsubscribeSensor(SENSOR_TYPE_ID_AMBIENT_LIGHT, &user_), SENSOR_SUCCESS);
    EXPECT_EQ(SubscribedSensorUserCount(SENSOR_TYPE_ID_AMBIENT_LIGHT), 0);
}

TEST_F(SimulatedPhoneTest, ReactivationDoesNotDoubleTheSampleStream)
{
    ASSERT_EQ(SubscribeSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), SENSOR_SUCCESS);
    ASSERT_EQ(ActivateSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), SENSOR_SUCCESS);
    handler_->FastForwardBy(100);
    ASSERT_EQ(DeactivateSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), SENSOR_SUCCESS);
    ASSERT_EQ(ActivateSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), SENSOR_SUCCESS);
    handler_->FastForwardBy(1000);
    // Default interval 200 ms from the second activation: 5 samples, none from the first.
    EXPECT_EQ(g_samples.size(), 5U);
}

struct SensorFaultCase {
    PhoneFault fault;
    int32_t faultTarget;
    int32_t subscribe;
    int32_t activate;
    size_t samples;
};

std::ostream& operator<<(std::ostream& out, const SensorFaultCase& c)
{
    return out << "fault " << static_cast<int>(c.fault) << " on sensor " << c.faultTarget;
}

class SensorFaultTest : public SimulatedPhoneTest, public testing::WithParamInterface<SensorFaultCase> {};

TEST_P(SensorFaultTest, FaultHitsOnlyItsCallAndTarget)
{
    const auto& c = GetParam();
    phone_.SetFault(c.fault, true, c.faultTarget);
    EXPECT_EQ(SubscribeSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), c.subscribe);
    EXPECT_EQ(ActivateSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), c.activate);
    handler_->FastForwardBy(1000);
    EXPECT_EQ(g_samples.size(), c.samples);
}

INSTANTIATE_TEST_SUITE_P(Faults, SensorFaultTest,
    testing::Values(
        SensorFaultCase{PhoneFault::SUBSCRIBE_SENSOR, kAnySensor, SENSOR_SERVICE_EXCEPTION, SENSOR_WRONG_STATE, 0},
        SensorFaultCase{PhoneFault::SUBSCRIBE_SENSOR, SENSOR_TYPE_ID_AMBIENT_LIGHT, SENSOR_SUCCESS, SENSOR_SUCCESS, 5},
        SensorFaultCase{
            PhoneFault::ACTIVATE_SENSOR, SENSOR_TYPE_ID_PROXIMITY, SENSOR_SUCCESS, SENSOR_SERVICE_EXCEPTION, 0},
        SensorFaultCase{PhoneFault::SENSOR_SAMPLES_LOST, kAnySensor, SENSOR_SUCCESS, SENSOR_SUCCESS, 0}));

TEST_F(SimulatedPhoneTest, MissingSensorIsNotListedAndCannotBeSubscribed)
{
    phone_.SetSensorPresent(SENSOR_TYPE_ID_PROXIMITY, false);
    SensorInfo* sensors = nullptr;
    int32_t count = 0;
    ASSERT_EQ(GetAllSensors(&sensors, &count), SENSOR_SUCCESS);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(sensors[0].sensorTypeId, SENSOR_TYPE_ID_AMBIENT_LIGHT);
    EXPECT_EQ(SubscribeSensor(SENSOR_TYPE_ID_PROXIMITY, &user_), SENSOR_NOT_AVAILABLE);

    phone_.SetFault(PhoneFault::GET_ALL_SENSORS, true);
    EXPECT_EQ(GetAllSensors(&sensors, &count), SENSOR_SERVICE_EXCEPTION);
}

class RecordingMovement : public Msdp::MovementCallbackStub {
public:
    void OnMovementChanged(const Msdp::MovementDataUtils::MovementData& data) override
    {
        values.push_back({CurrentClock()->WallTimeMs(), data.value});
    }
    std::vector<std::pair<int64_t, int32_t>> values;
};

TEST_F(SimulatedPhoneTest, MovementChangesReachSubscribersByEventFilterAtTheirTime)
{
    auto both = std::make_shared<RecordingMovement>();
    auto exitOnly = std::make_shared<RecordingMovement>();
    auto& client = Msdp::MovementClient::GetInstance();
    ASSERT_EQ(
        client.SubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::ENTER_EXIT, 0, both), 0);
    ASSERT_EQ(
        client.SubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::EXIT, 0, exitOnly), 0);
    handler_->FastForwardBy(1000);
    phone_.SetMotionState(MotionState::STILL);
    phone_.SetMotionState(MotionState::STILL);
    handler_->FastForwardBy(1000);
    phone_.SetMotionState(MotionState::MOVING);
    handler_->FastForwardBy(1000);
    phone_.SetMotionState(MotionState::UNKNOWN);
    handler_->RunUntilIdle();

    using V = std::vector<std::pair<int64_t, int32_t>>;
    EXPECT_EQ(both->values, (V{{kStartMs + 1000, Msdp::MovementDataUtils::VALUE_ENTER},
                                {kStartMs + 2000, Msdp::MovementDataUtils::VALUE_EXIT},
                                {kStartMs + 3000, Msdp::MovementDataUtils::INVALID}}));
    EXPECT_EQ(exitOnly->values, (V{{kStartMs + 2000, Msdp::MovementDataUtils::VALUE_EXIT}}));

    ASSERT_EQ(
        client.UnsubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::ENTER_EXIT, both), 0);
    phone_.SetMotionState(MotionState::STILL);
    handler_->RunUntilIdle();
    EXPECT_EQ(both->values.size(), 3U);
}

TEST_F(SimulatedPhoneTest, SubscriberJoiningAStillPhoneHearsEnterOnce)
{
    phone_.SetMotionState(MotionState::STILL);
    handler_->RunUntilIdle();
    auto callback = std::make_shared<RecordingMovement>();
    ASSERT_EQ(Msdp::MovementClient::GetInstance().SubscribeCallback(
                  Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::ENTER_EXIT, 0, callback),
        0);
    handler_->RunUntilIdle();
    ASSERT_EQ(callback->values.size(), 1U);
    EXPECT_EQ(callback->values[0].second, Msdp::MovementDataUtils::VALUE_ENTER);
}

TEST_F(SimulatedPhoneTest, MovementServiceRefusesOnDemand)
{
    auto callback = std::make_shared<RecordingMovement>();
    auto& client = Msdp::MovementClient::GetInstance();
    phone_.SetFault(PhoneFault::MOVEMENT_SUBSCRIBE, true);
    EXPECT_NE(client.SubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL, 3, 0, callback), 0);
    EXPECT_EQ(client.SubscriptionCount(), 0U);
    phone_.SetFault(PhoneFault::MOVEMENT_SUBSCRIBE, false);
    ASSERT_EQ(client.SubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL, 3, 0, callback), 0);
    phone_.SetFault(PhoneFault::MOVEMENT_UNSUBSCRIBE, true);
    EXPECT_NE(client.UnsubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL, 3, callback), 0);
    EXPECT_EQ(client.SubscriptionCount(), 1U);
}

TEST_F(SimulatedPhoneTest, RunningLockAccountsHeldTimeIncludingExpiryAndRelock)
{
    auto lock = PowerMgr::PowerMgrClient::GetInstance().CreateRunningLock(
        "cycle", PowerMgr::RunningLockType::RUNNINGLOCK_BACKGROUND);
    ASSERT_NE(lock, nullptr);
    ASSERT_EQ(lock->Lock(2000), 0);
    clock_.Get().AdvanceMs(1000);
    EXPECT_TRUE(lock->IsUsed());
    EXPECT_EQ(lock->UnLock(), 0);
    EXPECT_FALSE(lock->IsUsed());
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 1000);

    ASSERT_EQ(lock->Lock(2000), 0); // never unlocked: expires after 2000 ms
    clock_.Get().AdvanceMs(5000);
    EXPECT_FALSE(lock->IsUsed());
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 3000);

    ASSERT_EQ(lock->Lock(2000), 0);
    clock_.Get().AdvanceMs(1500);
    ASSERT_EQ(lock->Lock(2000), 0); // restarts the timeout
    clock_.Get().AdvanceMs(1500);
    EXPECT_TRUE(lock->IsUsed());
    clock_.Get().SetWallTimeMs(kStartMs - 86400000); // a wall clock change costs nothing
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 6000);
    lock.reset(); // destruction releases
    clock_.Get().AdvanceMs(10000);
    auto stats = phone_.GetRunningLockStats();
    ASSERT_EQ(stats.size(), 1U);
    EXPECT_EQ(stats[0].name, "cycle");
    EXPECT_EQ(stats[0].heldMs, 6000);
    EXPECT_EQ(stats[0].lockCount, 4);
    EXPECT_FALSE(stats[0].held);
}

TEST_F(SimulatedPhoneTest, RunningLockFaults)
{
    phone_.SetFault(PhoneFault::RUNNING_LOCK_CREATE, true);
    EXPECT_EQ(PowerMgr::PowerMgrClient::GetInstance().CreateRunningLock(
                  "x", PowerMgr::RunningLockType::RUNNINGLOCK_BACKGROUND),
        nullptr);
    phone_.ClearFaults();
    auto lock = PowerMgr::PowerMgrClient::GetInstance().CreateRunningLock(
        "x", PowerMgr::RunningLockType::RUNNINGLOCK_BACKGROUND);
    phone_.SetFault(PhoneFault::RUNNING_LOCK_LOCK, true);
    EXPECT_NE(lock->Lock(0), 0);
    clock_.Get().AdvanceMs(1000);
    EXPECT_EQ(phone_.GetRunningLockHeldMs(), 0);
}

TEST_F(SimulatedPhoneTest, BatteryAnswersStateOrItsInvalidValuesWhenFailing)
{
    phone_.SetChargingStatus(static_cast<int32_t>(PowerMgr::BatteryChargeState::CHARGE_STATE_FULL));
    phone_.SetBatteryLevel(87);
    auto& battery = PowerMgr::BatterySrvClient::GetInstance();
    EXPECT_EQ(battery.GetChargingStatus(), PowerMgr::BatteryChargeState::CHARGE_STATE_FULL);
    EXPECT_EQ(battery.GetCapacity(), 87);
    phone_.SetFault(PhoneFault::BATTERY_SERVICE, true);
    EXPECT_EQ(battery.GetChargingStatus(), PowerMgr::BatteryChargeState::CHARGE_STATE_BUTT);
    EXPECT_EQ(battery.GetCapacity(), PowerMgr::INVALID_BATT_INT_VALUE);
}

TEST_F(SimulatedPhoneTest, ContinuousTasksAndFrozenStatesComeFromThePhone)
{
    phone_.AddContinuousTask({BackgroundTaskMgr::VOIP, 20010, 1});
    phone_.AddContinuousTask({BackgroundTaskMgr::AUDIO_PLAYBACK, 20020, 2});
    phone_.SetUidFrozen(20020, true);
    phone_.SetUidFrozen(30000, false);

    std::vector<std::shared_ptr<BackgroundTaskMgr::ContinuousTaskCallbackInfo>> tasks;
    ASSERT_EQ(BackgroundTaskMgr::BackgroundTaskMgrHelper::GetContinuousTaskApps(tasks), 0);
    ASSERT_EQ(tasks.size(), 2U);
    EXPECT_EQ(tasks[0]->GetTypeId(), static_cast<uint32_t>(BackgroundTaskMgr::VOIP));
    EXPECT_EQ(tasks[1]->GetCreatorUid(), 20020);

    std::vector<SuspendManager::AppFrozenState> states;
    ASSERT_EQ(SuspendManager::SuspendManagerClient::GetInstance().GetAllAppFrozenState(states), 0);
    ASSERT_EQ(states.size(), 3U);
    EXPECT_EQ(states[0].uid, 20010);
    EXPECT_FALSE(states[0].isAllProcessFrozen);
    EXPECT_TRUE(states[1].isAllProcessFrozen);

    phone_.RemoveContinuousTasksOf(20010);
    phone_.SetFault(PhoneFault::CONTINUOUS_TASKS, true);
    phone_.SetFault(PhoneFault::SUSPEND_MANAGER, true);
    EXPECT_NE(BackgroundTaskMgr::BackgroundTaskMgrHelper::GetContinuousTaskApps(tasks), 0);
    EXPECT_EQ(tasks.size(), 2U); // untouched on failure
    EXPECT_NE(SuspendManager::SuspendManagerClient::GetInstance().GetAllAppFrozenState(states), 0);
    EXPECT_EQ(phone_.GetContinuousTasks().size(), 1U);
}

} // namespace
} // namespace OHOS::Emulator
