#ifndef PLATFORM_INCLUDE_BATTERY_SRV_CLIENT_H
#define PLATFORM_INCLUDE_BATTERY_SRV_CLIENT_H

#include <cstdint>

// The battery service's client, answering from the simulated phone (simulated_phone.h).

namespace OHOS::PowerMgr {

enum class BatteryChargeState : int32_t {
    CHARGE_STATE_NONE = 0,
    CHARGE_STATE_ENABLE = 1,
    CHARGE_STATE_DISABLE = 2,
    CHARGE_STATE_FULL = 3,
    CHARGE_STATE_BUTT = 4, // not a state: what a failing service answers
};

constexpr int32_t INVALID_BATT_INT_VALUE = -1;

// Thread-safe. While made to fail (PhoneFault::BATTERY_SERVICE) the answers are CHARGE_STATE_BUTT
// and INVALID_BATT_INT_VALUE.
class BatterySrvClient {
public:
    static BatterySrvClient& GetInstance();
    BatteryChargeState GetChargingStatus();
    // Battery level in percent.
    int32_t GetCapacity();
};

} // namespace OHOS::PowerMgr

#endif // PLATFORM_INCLUDE_BATTERY_SRV_CLIENT_H
