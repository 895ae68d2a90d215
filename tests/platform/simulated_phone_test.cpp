#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "event_handler.h"
#include "movement_client.h"
#include "power_mgr_client.h"
#include "sensor_agent.h"
#include "simulated_phone.h"
#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

namespace MovementDataUtils = Msdp::MovementDataUtils;
using Values = std::vector<std::pair<int64_t, int32_t>>;

constexpr int64_t kStartMs = 1700000000000;
constexpr int32_t kLight = SENSOR_TYPE_ID_AMBIENT_LIGHT;

// Sensor samples as (virtual time, value).
std::vector<std::pair<int64_t, float>> g_samples;

void RecordSample(SensorEvent* event)
{
    float value = 0.0F;
    std::memcpy(&value, event->data, sizeof(float));
    g_samples.emplace_back(CurrentClock()->WallTimeMs(), value);
}

class RecordingMovement : public Msdp::MovementCallbackStub {
public:
    void OnMovementChanged(const MovementDataUtils::MovementData& data) override
    {
        values.emplace_back(CurrentClock()->WallTimeMs(), data.value);
    }
    Values values;
};

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
    static int32_t SubscribeStill(int32_t eventFilter, const std::shared_ptr<RecordingMovement>& callback)
    {
        return Msdp::MovementClient::GetInstance().SubscribeCallback(
            MovementDataUtils::TYPE_STILL, eventFilter, 0, callback);
    }

    ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    SimulatedPhone& phone_ = SimulatedPhone::GetInstance();
    SensorUser user_{};
};

TEST_F(SimulatedPhoneTest, ActiveSensorDeliversCurrentValueAtBatchRateOnceUntilDeactivated)
{
    phone_.SetAmbientLightLux(3.0F);
    ASSERT_EQ(SubscribeSensor(kLight, &user_), SENSOR_SUCCESS);
    ASSERT_EQ(SetBatch(kLight, &user_, 300000000, 0), SENSOR_SUCCESS);
    ASSERT_EQ(ActivateSensor(kLight, &user_), SENSOR_SUCCESS);
    handler_->FastForwardBy(600);
    phone_.SetAmbientLightLux(7.5F);
    handler_->FastForwardBy(350);
    ASSERT_EQ(DeactivateSensor(kLight, &user_), SENSOR_SUCCESS);
    handler_->FastForwardBy(2000);
    // A second activation starts one stream, with nothing left over from the first.
    ASSERT_EQ(ActivateSensor(kLight, &user_), SENSOR_SUCCESS);
    handler_->FastForwardBy(350);
    ASSERT_EQ(DeactivateSensor(kLight, &user_), SENSOR_SUCCESS);

    EXPECT_EQ(g_samples, (std::vector<std::pair<int64_t, float>>{{kStartMs + 300, 3.0F}, {kStartMs + 600, 3.0F},
                             {kStartMs + 900, 7.5F}, {kStartMs + 3250, 7.5F}}));
}

TEST_F(SimulatedPhoneTest, MovementChangesReachSubscribersByEventFilterAtTheirTime)
{
    auto both = std::make_shared<RecordingMovement>();
    auto exitOnly = std::make_shared<RecordingMovement>();
    auto late = std::make_shared<RecordingMovement>();
    ASSERT_EQ(SubscribeStill(MovementDataUtils::ENTER_EXIT, both), 0);
    ASSERT_EQ(SubscribeStill(MovementDataUtils::EXIT, exitOnly), 0);
    handler_->FastForwardBy(1000);
    phone_.SetMotionState(MotionState::STILL);
    phone_.SetMotionState(MotionState::STILL);
    handler_->FastForwardBy(1000);
    ASSERT_EQ(SubscribeStill(MovementDataUtils::ENTER_EXIT, late), 0); // joins a still phone
    phone_.SetMotionState(MotionState::MOVING);
    handler_->FastForwardBy(1000);
    phone_.SetMotionState(MotionState::UNKNOWN);
    handler_->RunUntilIdle();

    const Values exit{{kStartMs + 2000, MovementDataUtils::VALUE_EXIT}};
    const Values invalid{{kStartMs + 3000, MovementDataUtils::INVALID}};
    EXPECT_EQ(both->values, (Values{{kStartMs + 1000, MovementDataUtils::VALUE_ENTER}, exit[0], invalid[0]}));
    EXPECT_EQ(exitOnly->values, exit);
    EXPECT_EQ(late->values, (Values{{kStartMs + 2000, MovementDataUtils::VALUE_ENTER}, exit[0], invalid[0]}));

    auto& client = Msdp::MovementClient::GetInstance();
    ASSERT_EQ(client.UnsubscribeCallback(MovementDataUtils::TYPE_STILL, MovementDataUtils::ENTER_EXIT, both), 0);
    phone_.SetMotionState(MotionState::STILL);
    handler_->RunUntilIdle();
    EXPECT_EQ(both->values.size(), 3U);
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
    clock_.Get().SetWallTimeMs(kStartMs - 86400000); // a wall clock change costs nothing
    EXPECT_TRUE(lock->IsUsed());
    phone_.SetFault(PhoneFault::RUNNING_LOCK_LOCK, true);
    EXPECT_NE(lock->Lock(0), 0); // a refused lock is not counted
    lock.reset();                // destruction releases
    clock_.Get().AdvanceMs(10000);
    auto stats = phone_.GetRunningLockStats();
    ASSERT_EQ(stats.size(), 1U);
    EXPECT_EQ(stats[0].name, "cycle");
    EXPECT_EQ(stats[0].heldMs, 6000);
    EXPECT_EQ(stats[0].lockCount, 4);
    EXPECT_FALSE(stats[0].held);
}

} // namespace
} // namespace OHOS::Emulator
