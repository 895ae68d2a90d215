#ifndef SLEEP_DETECTION_INCLUDE_DEVICE_STATE_H
#define SLEEP_DETECTION_INCLUDE_DEVICE_STATE_H

#include <cstdint>
#include <memory>

namespace OHOS::DevStandbyMgr {

// What the plug-in knows of the device between observations: screen and lock state fed by the
// detection engine's screen events, plus answers about charging, battery and continuous background
// tasks asked of the platform. Process-wide; the screen events and the readers run on the host's
// handler thread.
class DeviceState {
public:
    // Active-use codes left by IsContinuousBackgroundTask (GetActiveUsingType): the type id of the
    // continuous task that decided, 0 when none did.
    static constexpr int32_t ACTIVE_USE_NONE = 0;
    static constexpr int32_t ACTIVE_USE_AUDIO = 2;
    static constexpr int32_t ACTIVE_USE_NAVIGATION = 4;
    static constexpr int32_t ACTIVE_USE_CALL = 8;

    static std::shared_ptr<DeviceState> GetInstance();

    // Screen on: one more screen-on, screen no longer off, no screen-off time.
    void HandleScreenOn();
    // Screen off: off and locked since now.
    void HandleScreenOff();
    // Unlocked now.
    void HandleScreenUnlocked();

    // Every charging state other than "none" counts as charging.
    bool IsCharging() const;
    // Battery level in percent.
    int32_t GetBatteryLevel() const;
    // Milliseconds since the screen went off, 0 when it is not off.
    int64_t GetScrOffDuration() const;
    // Whether a call, audio playback or navigation runs as a continuous task of an app that is not
    // frozen; remembers the deciding task's code for GetActiveUsingType.
    bool IsContinuousBackgroundTask();

    bool IsScreenOff() const { return isScreenOff_; }
    bool IsLocked() const { return isLocked_; }
    int32_t GetScreenOnCount() const { return screenOnCount_; }
    // Wall-clock ms of the last screen-off, -1 while the screen is on.
    int64_t GetScreenOffTimestamp() const { return screenOffTimestamp_; }
    // Wall-clock ms of the last unlock, -1 before the first.
    int64_t GetUnlockTimestamp() const { return unlockTimestamp_; }
    // The code of the last IsContinuousBackgroundTask answer (ACTIVE_USE_*).
    int32_t GetActiveUsingType() const { return activeUsingType_; }

private:
    bool isScreenOff_ = false;
    bool isLocked_ = true;
    int32_t screenOnCount_ = 0;
    int64_t screenOffTimestamp_ = -1;
    int64_t unlockTimestamp_ = -1;
    int32_t activeUsingType_ = ACTIVE_USE_NONE;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_DEVICE_STATE_H
