#ifndef TESTS_PLUGIN_COLLECTER_TEST_FIXTURE_H
#define TESTS_PLUGIN_COLLECTER_TEST_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

#include "data_root.h"
#include "event_handler.h"
#include "movement_client.h"
#include "scoped_time_zone.h"
#include "sensor_agent.h"
#include "settings_store.h"
#include "simulated_phone.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {

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

} // namespace OHOS::DevStandbyMgr

#endif // TESTS_PLUGIN_COLLECTER_TEST_FIXTURE_H
