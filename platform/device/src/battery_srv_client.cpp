#include "battery_srv_client.h"

#include "simulated_phone.h"

namespace OHOS::PowerMgr {

using Emulator::PhoneFault;
using Emulator::SimulatedPhone;

BatterySrvClient& BatterySrvClient::GetInstance()
{
    static BatterySrvClient client;
    return client;
}

BatteryChargeState BatterySrvClient::GetChargingStatus()
{
    const SimulatedPhone& phone = SimulatedPhone::GetInstance();
    if (phone.HasFault(PhoneFault::BATTERY_SERVICE)) {
        return BatteryChargeState::CHARGE_STATE_BUTT;
    }
    return static_cast<BatteryChargeState>(phone.GetChargingStatus());
}

int32_t BatterySrvClient::GetCapacity()
{
    const SimulatedPhone& phone = SimulatedPhone::GetInstance();
    if (phone.HasFault(PhoneFault::BATTERY_SERVICE)) {
        return INVALID_BATT_INT_VALUE;
    }
    return phone.GetBatteryLevel();
}

} // namespace OHOS::PowerMgr
