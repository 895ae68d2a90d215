#ifndef SLEEP_DETECTION_INCLUDE_SLEEP_DATA_COLLECTER_H
#define SLEEP_DETECTION_INCLUDE_SLEEP_DATA_COLLECTER_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "device_state.h"
#include "event_handler.h"
#include "movement_client.h"
#include "power_mgr_client.h"
#include "refbase.h"
#include "sensor_agent.h"
#include "sleep_data_record.h"
#include "standby_message.h"

namespace OHOS::DevStandbyMgr {

// Receives the movement service's still/move changes and keeps the start times of the current and
// the previous still period and of the current move period. One per process. The movement service
// writes the times; cycles read them on the host's handler thread.
class SleepMovementCallback : public Msdp::MovementCallbackStub {
public:
    static sptr<SleepMovementCallback> GetInstance();

    // Entering stillness starts a still period; leaving it starts a move period, remembers the still
    // period's start and tells the host (message 2009); any other value forgets all three times.
    void OnMovementChanged(const Msdp::MovementDataUtils::MovementData& data) override;
    // Milliseconds since the start of the current still period, the previous one, and the current
    // move period; when that start is not a time, the stored marker itself (0 or -1).
    int64_t GetStillDuration() const;
    int64_t GetLastStillDuration() const;
    int64_t GetMoveDuration() const;

private:
    static int64_t DurationSince(int64_t startTimestamp);

    std::atomic<int64_t> stillStartTimestamp_{-1};
    std::atomic<int64_t> lastStillStartTimestamp_{-1};
    std::atomic<int64_t> moveStartTimestamp_{-1};
};

// Takes one observation of the phone per sampling cycle: ambient light and proximity over a one-second
// sensor window (kept awake by a running lock), movement durations, screen and charging state and the
// next alarm. A normal cycle sends the record to the host as message 2000; a day-finishing cycle folds
// it into the proximity-error (holster) statistics instead. Keeps the light-dark bookkeeping between
// cycles. Created by the detection engine and used on the host's handler thread; the sensor callbacks
// write only the two class-wide samples.
class SleepDataCollecter : public std::enable_shared_from_this<SleepDataCollecter> {
public:
    // What StartSensor and StartMonitoringInner return when a sensor cannot be started.
    static constexpr ErrCode ERR_SENSOR_START_FAILED = 980000917;

    SleepDataCollecter();

    // Finds the light and proximity sensors the phone has; false when it has neither.
    bool InitSensorUserMap();
    bool IsSupportedSensor(int32_t sensorTypeId);
    void AssignAmbientLightSensorCallBack();
    void AssignProximitySensorCallBack();
    static void AmbientLightCallback(SensorEvent* event);
    static void ProximityCallback(SensorEvent* event);

    ErrCode StartSensor();
    void StopSensor();
    void StartMonitoring();
    ErrCode StartMonitoringInner();

    // One sampling cycle: sensors on now, the record made one second later on the host's handler.
    void CollectSleepData(bool finishDay);
    void SaveSleepData(bool finishDay);
    SleepDataRecord SaveSleepCollectData();
    // Counts the record as a holster (dark but far) or normal observation and updates the judgement.
    void FinishDayCollect(SleepDataRecord& record);

    int32_t GetWeekType();
    int32_t GetScrOffDuration();
    int32_t GetUserStationaryDuration();
    int32_t GetLastUserStationaryDuration();
    int32_t GetUserMoveDuration();
    float GetLight();
    float GetProximity();
    // Seconds of continuous darkness up to this cycle.
    int32_t GetLightDarkDuration();
    void UpdateDarkDurPara(float light, float proximity, bool reset);
    // 1.0 holster, 0.0 no holster, -1.0 undecided; no side effects.
    float CalcuProxErrState();
    void UpdateProximityErrorState(bool state);
    // Drops proximity observations more than 48 hours older than `now`.
    void DeleteOldProximityData(int64_t now);
    // The next alarm (ms) from the settings store; -1 when it cannot be read.
    int64_t GetNextAlarmClockTriggerTime();
    bool GetProximityErrorStateROM();

    void SubscribeMovement();
    void UnsubscribeMovement();

    // Time of the last completed cycle (ms), 0 before the first.
    int64_t GetLastCollectTimestamp() const { return lastCollectTimestamp_; }
    bool IsProximityError() const { return isProximityError_; }

    // The latest samples of the sensor callbacks; -1.0 when none arrived since the cycle began.
    static AmbientLightData m_currentAmbientLightData;
    static float m_currentProximityData;

private:
    static void ResetCurrentSamples();
    void PostFinishCollectTask(bool finishDay);
    void DispatchRecord(const SleepDataRecord& record);
    void PruneProximityTimes(int64_t now);

    float proximity_ = -1.0F;
    bool isProximityError_ = false;
    float lastProximity_ = -1.0F;
    bool proximityFallbackUsed_ = false;
    int64_t lastCollectTimestamp_ = 0;
    bool isDarkReset_ = false;
    float light_ = -1.0F;
    float lastLight_ = -1.0F;
    bool lightFallbackUsed_ = false;
    bool isMovementSubscribed_ = false;
    std::mutex movementMutex_;
    std::vector<int64_t> proximityErrorTimes_;
    std::vector<int64_t> proximityNormalTimes_;
    int32_t stationaryDurationSec_ = -1;
    int64_t collectTimestamp_ = -1;
    int64_t darkStartTimestamp_ = -1;
    std::shared_ptr<PowerMgr::RunningLock> runningLock_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<DeviceState> deviceState_;
    std::map<int32_t, SensorUser> sensorUserMap_;
    bool isMonitoring_ = false;
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_SLEEP_DATA_COLLECTER_H
