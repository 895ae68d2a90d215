#include "sleep_data_collecter.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "sleep_log.h"
#include "sleep_shared_pref.h"
#include "standby_datashare_helper.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "string_utils.h"
#include "time_provider_ext.h"
#include "want.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int32_t EVENT_SLEEP_DATA_COLLECTED = 2000;
constexpr int32_t EVENT_DEVICE_LEFT_STILL = 2009;

constexpr int32_t RUNNING_LOCK_TIMEOUT_MS = 2000;
constexpr int64_t SENSOR_WINDOW_MS = 1000;
constexpr int64_t HALF_DAY_MS = 43200000;
constexpr int64_t PROXIMITY_WINDOW_MS = 172800000;
constexpr int64_t MOVEMENT_REPORT_LATENCY_NS = 200000000000;
constexpr int32_t MS_PER_SEC = 1000;

constexpr float NO_SAMPLE = -1.0F;
constexpr float BRIGHT_LUX = 5.0F;
constexpr float BRIGHTNESS_MARKER_LUX = 50.0F;
constexpr float COVERED_PROXIMITY = 0.01F;
constexpr float FAR_PROXIMITY = 5.1F;
constexpr float HOLSTER_PROXIMITY = 0.0001F;
constexpr float HOLSTER_DARK_LUX = 0.5F;
constexpr int32_t STANDBY_MODE_RAW_PROXIMITY = 3;
constexpr int32_t STANDBY_MODE_FAR_WHEN_MISSING = 1;

constexpr size_t PROXIMITY_ERROR_MIN_COUNT = 8;
constexpr float PROXIMITY_ERROR_ON_RATIO = 0.5F;
constexpr float PROXIMITY_ERROR_OFF_RATIO = 0.4F;
constexpr float PROXIMITY_STATE_ON = 1.0F;
constexpr float PROXIMITY_STATE_OFF = 0.0F;
constexpr float PROXIMITY_STATE_UNDECIDED = -1.0F;

constexpr int32_t SETTINGS_DATA_SA_ID = 1914;
const std::string NEAREST_ALARM_KEY = "nearestAlarmingTime";
const std::string RUNNING_LOCK_NAME = "SleepDataCollectRunningLock";
const int32_t SENSOR_IDS_TO_FIND[] = {SENSOR_TYPE_ID_PROXIMITY, SENSOR_TYPE_ID_AMBIENT_LIGHT};

// The collector's strong hold on the movement callback singleton.
sptr<SleepMovementCallback> g_movementCallback;

// Judgement of the holster state from the counts of dark-but-far and other observations.
float JudgeProximityError(size_t errors, size_t normals)
{
    if (errors < PROXIMITY_ERROR_MIN_COUNT) {
        return PROXIMITY_STATE_UNDECIDED;
    }
    float ratio = static_cast<float>(errors) / static_cast<float>(errors + normals);
    if (ratio >= PROXIMITY_ERROR_ON_RATIO) {
        return PROXIMITY_STATE_ON;
    }
    if (ratio < PROXIMITY_ERROR_OFF_RATIO) {
        return PROXIMITY_STATE_OFF;
    }
    return PROXIMITY_STATE_UNDECIDED;
}

} // namespace

AmbientLightData SleepDataCollecter::m_currentAmbientLightData{NO_SAMPLE, NO_SAMPLE, NO_SAMPLE};
float SleepDataCollecter::m_currentProximityData = NO_SAMPLE;

sptr<SleepMovementCallback> SleepMovementCallback::GetInstance()
{
    static std::mutex mutex;
    static sptr<SleepMovementCallback> instance;
    std::lock_guard<std::mutex> lock(mutex);
    if (instance == nullptr) {
        instance = std::make_shared<SleepMovementCallback>();
    }
    return instance;
}

void SleepMovementCallback::OnMovementChanged(const Msdp::MovementDataUtils::MovementData& data)
{
    if (data.type != Msdp::MovementDataUtils::TYPE_STILL) {
        return;
    }
    int64_t now = TimeProviderExt::GetCurMsecTimestamp();
    if (data.value == Msdp::MovementDataUtils::VALUE_EXIT) {
        lastStillStartTimestamp_ = stillStartTimestamp_.load();
        stillStartTimestamp_ = 0;
        moveStartTimestamp_ = now;
        StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(EVENT_DEVICE_LEFT_STILL));
    } else if (data.value == Msdp::MovementDataUtils::VALUE_ENTER) {
        stillStartTimestamp_ = now;
        moveStartTimestamp_ = 0;
    } else {
        stillStartTimestamp_ = -1;
        lastStillStartTimestamp_ = -1;
        moveStartTimestamp_ = -1;
    }
}

int64_t SleepMovementCallback::DurationSince(int64_t startTimestamp)
{
    return startTimestamp > 0 ? TimeProviderExt::GetCurMsecTimestamp() - startTimestamp : startTimestamp;
}

int64_t SleepMovementCallback::GetStillDuration() const
{
    return DurationSince(stillStartTimestamp_);
}

int64_t SleepMovementCallback::GetLastStillDuration() const
{
    return DurationSince(lastStillStartTimestamp_);
}

int64_t SleepMovementCallback::GetMoveDuration() const
{
    return DurationSince(moveStartTimestamp_);
}

SleepDataCollecter::SleepDataCollecter()
{
    STANDBYSERVICE_LOGI("SleepDataCollecter create");
    handler_ = StandbyServiceImpl::GetInstance()->GetHandler();
    deviceState_ = DeviceState::GetInstance();
    g_movementCallback = SleepMovementCallback::GetInstance();
    if (!InitSensorUserMap()) {
        STANDBYSERVICE_LOGE("do not find any usable sensor to detect motion");
    }
    AssignAmbientLightSensorCallBack();
    AssignProximitySensorCallBack();
    isProximityError_ = GetProximityErrorStateROM();
    STANDBYSERVICE_LOGI("get is_proximity_error is %{public}d", isProximityError_);
    runningLock_ = PowerMgr::PowerMgrClient::GetInstance().CreateRunningLock(
        RUNNING_LOCK_NAME, PowerMgr::RunningLockType::RUNNINGLOCK_BACKGROUND);
}

bool SleepDataCollecter::IsSupportedSensor(int32_t sensorTypeId)
{
    SensorInfo* sensors = nullptr;
    int32_t count = 0;
    if (GetAllSensors(&sensors, &count) != SENSOR_SUCCESS) {
        STANDBYSERVICE_LOGE("get all sensors failed, sensors are not available");
        return false;
    }
    return std::any_of(
        sensors, sensors + count, [sensorTypeId](const SensorInfo& info) { return info.sensorTypeId == sensorTypeId; });
}

bool SleepDataCollecter::InitSensorUserMap()
{
    for (int32_t sensorTypeId : SENSOR_IDS_TO_FIND) {
        if (IsSupportedSensor(sensorTypeId) && sensorUserMap_.count(sensorTypeId) == 0) {
            sensorUserMap_[sensorTypeId] = SensorUser{};
        }
    }
    return !sensorUserMap_.empty();
}

void SleepDataCollecter::AssignAmbientLightSensorCallBack()
{
    auto it = sensorUserMap_.find(SENSOR_TYPE_ID_AMBIENT_LIGHT);
    if (it != sensorUserMap_.end()) {
        it->second.callback = AmbientLightCallback;
    }
}

void SleepDataCollecter::AssignProximitySensorCallBack()
{
    auto it = sensorUserMap_.find(SENSOR_TYPE_ID_PROXIMITY);
    if (it != sensorUserMap_.end()) {
        it->second.callback = ProximityCallback;
    }
}

void SleepDataCollecter::AmbientLightCallback(SensorEvent* event)
{
    if (event == nullptr || event->data == nullptr || event->dataLen < sizeof(AmbientLightData)) {
        return;
    }
    std::memcpy(&m_currentAmbientLightData, event->data, sizeof(AmbientLightData));
}

void SleepDataCollecter::ProximityCallback(SensorEvent* event)
{
    if (event == nullptr || event->data == nullptr || event->dataLen < sizeof(float)) {
        return;
    }
    std::memcpy(&m_currentProximityData, event->data, sizeof(float));
}

ErrCode SleepDataCollecter::StartSensor()
{
    STANDBYSERVICE_LOGI("StartSensor");
    for (auto& [sensorTypeId, user] : sensorUserMap_) {
        if (SubscribeSensor(sensorTypeId, &user) != SENSOR_SUCCESS) {
            STANDBYSERVICE_LOGE("subscribe sensor failed for sensor ID %{public}d", sensorTypeId);
            return ERR_SENSOR_START_FAILED;
        }
        STANDBYSERVICE_LOGI("subscribe sensor succeed for sensor ID %{public}d", sensorTypeId);
        SetBatch(sensorTypeId, &user, SENSOR_SAMPLING_RATE, SENSOR_REPORTING_RATE);
        if (ActivateSensor(sensorTypeId, &user) != SENSOR_SUCCESS) {
            STANDBYSERVICE_LOGE("activate sensor failed for sensor ID %{public}d", sensorTypeId);
            return ERR_SENSOR_START_FAILED;
        }
    }
    return ERR_OK;
}

void SleepDataCollecter::StopSensor()
{
    STANDBYSERVICE_LOGI("StopSensor");
    if (!isMonitoring_) {
        return;
    }
    for (auto& [sensorTypeId, user] : sensorUserMap_) {
        if (DeactivateSensor(sensorTypeId, &user) != SENSOR_SUCCESS) {
            STANDBYSERVICE_LOGE("deactivate sensor failed for sensor ID %{public}d", sensorTypeId);
        }
        if (UnsubscribeSensor(sensorTypeId, &user) != SENSOR_SUCCESS) {
            STANDBYSERVICE_LOGE("unsubscribe sensor failed for sensor ID %{public}d", sensorTypeId);
        }
    }
    isMonitoring_ = false;
}

void SleepDataCollecter::ResetCurrentSamples()
{
    m_currentAmbientLightData = {NO_SAMPLE, NO_SAMPLE, NO_SAMPLE};
    m_currentProximityData = NO_SAMPLE;
}

void SleepDataCollecter::StartMonitoring()
{
    ResetCurrentSamples();
    StartMonitoringInner();
}

ErrCode SleepDataCollecter::StartMonitoringInner()
{
    isMonitoring_ = true;
    if (StartSensor() != ERR_OK) {
        StopSensor();
        return ERR_SENSOR_START_FAILED;
    }
    return ERR_OK;
}

void SleepDataCollecter::CollectSleepData(bool finishDay)
{
    if (runningLock_ != nullptr) {
        runningLock_->Lock(RUNNING_LOCK_TIMEOUT_MS);
    }
    StartMonitoring();
    PostFinishCollectTask(finishDay);
}

void SleepDataCollecter::PostFinishCollectTask(bool finishDay)
{
    std::weak_ptr<SleepDataCollecter> weakSelf = weak_from_this();
    if (weakSelf.expired() || handler_ == nullptr) {
        return;
    }
    handler_->PostTask(
        [weakSelf, finishDay]() {
            auto self = weakSelf.lock();
            if (self == nullptr) {
                return;
            }
            self->StopSensor();
            self->SaveSleepData(finishDay);
            if (self->runningLock_ != nullptr) {
                self->runningLock_->UnLock();
            }
        },
        "", SENSOR_WINDOW_MS, AppExecFwk::EventQueue::Priority::LOW);
}

void SleepDataCollecter::SaveSleepData(bool finishDay)
{
    SleepDataRecord record = SaveSleepCollectData();
    if (finishDay) {
        FinishDayCollect(record);
        return;
    }
    DispatchRecord(record);
}

void SleepDataCollecter::DispatchRecord(const SleepDataRecord& record)
{
    StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(EVENT_SLEEP_DATA_COLLECTED, "", record.ToWant()));
}

SleepDataRecord SleepDataCollecter::SaveSleepCollectData()
{
    SleepDataRecord record;
    int64_t now = TimeProviderExt::GetCurMsecTimestamp();
    collectTimestamp_ = now;
    record.timestamp = now;
    record.weekType = TimeProviderExt::TimestampToWeekIndex(now + HALF_DAY_MS);
    record.screenOffDuration = GetScrOffDuration();
    record.lastUserStationaryStartDuration = GetLastUserStationaryDuration();
    record.stationaryDuration = GetUserStationaryDuration();
    record.userMoveDuration = GetUserMoveDuration();
    record.chargeState = deviceState_->IsCharging() ? 1 : 0;
    record.light = GetLight();
    record.proximityOrigin = proximity_;
    record.proximity = GetProximity();
    record.unlockTimestamp = deviceState_->GetUnlockTimestamp();
    record.screenOnCount = deviceState_->GetScreenOnCount();
    record.lightDarkDuration = GetLightDarkDuration();
    record.proximityErrorSize = static_cast<int32_t>(proximityErrorTimes_.size());
    record.proximityListSize = static_cast<int32_t>(proximityErrorTimes_.size() + proximityNormalTimes_.size());
    record.nextAlarmClockTime = GetNextAlarmClockTriggerTime();
    lastCollectTimestamp_ = collectTimestamp_;
    return record;
}

void SleepDataCollecter::FinishDayCollect(SleepDataRecord& record)
{
    if (record.light < HOLSTER_DARK_LUX && record.proximityOrigin > COVERED_PROXIMITY) {
        proximityErrorTimes_.push_back(record.timestamp);
    } else {
        proximityNormalTimes_.push_back(record.timestamp);
    }
    PruneProximityTimes(record.timestamp);
    float state = CalcuProxErrState();
    STANDBYSERVICE_LOGI("calculation proximity error state is %{public}f", state);
    if (state != PROXIMITY_STATE_UNDECIDED) {
        bool newState = state == PROXIMITY_STATE_ON;
        if (newState != isProximityError_) {
            UpdateProximityErrorState(newState);
        }
    }
    record.proximityErrorSize = static_cast<int32_t>(proximityErrorTimes_.size());
    record.proximityListSize = static_cast<int32_t>(proximityErrorTimes_.size() + proximityNormalTimes_.size());
}

void SleepDataCollecter::PruneProximityTimes(int64_t now)
{
    int64_t oldest = now - PROXIMITY_WINDOW_MS;
    auto isOld = [oldest](int64_t time) { return time < oldest; };
    proximityErrorTimes_.erase(
        std::remove_if(proximityErrorTimes_.begin(), proximityErrorTimes_.end(), isOld), proximityErrorTimes_.end());
    proximityNormalTimes_.erase(
        std::remove_if(proximityNormalTimes_.begin(), proximityNormalTimes_.end(), isOld), proximityNormalTimes_.end());
}

void SleepDataCollecter::DeleteOldProximityData(int64_t now)
{
    PruneProximityTimes(now);
}

float SleepDataCollecter::CalcuProxErrState()
{
    return JudgeProximityError(proximityErrorTimes_.size(), proximityNormalTimes_.size());
}

void SleepDataCollecter::UpdateProximityErrorState(bool state)
{
    isProximityError_ = state;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, state);
    STANDBYSERVICE_LOGI("update proximity error state to %{public}d", state);
}

bool SleepDataCollecter::GetProximityErrorStateROM()
{
    return SleepSharedPref::GetBoolSettings(SleepSharedPref::IS_PROXIMITY_ERROR, false);
}

int32_t SleepDataCollecter::GetWeekType()
{
    return TimeProviderExt::TimestampToWeekIndex(collectTimestamp_ + HALF_DAY_MS);
}

int32_t SleepDataCollecter::GetScrOffDuration()
{
    int64_t screenOffTimestamp = deviceState_->GetScreenOffTimestamp();
    if (screenOffTimestamp <= 0) {
        return 0;
    }
    return static_cast<int32_t>((TimeProviderExt::GetCurMsecTimestamp() - screenOffTimestamp) / MS_PER_SEC);
}

int32_t SleepDataCollecter::GetUserStationaryDuration()
{
    stationaryDurationSec_ = static_cast<int32_t>(g_movementCallback->GetStillDuration() / MS_PER_SEC);
    return stationaryDurationSec_;
}

int32_t SleepDataCollecter::GetLastUserStationaryDuration()
{
    return static_cast<int32_t>(g_movementCallback->GetLastStillDuration() / MS_PER_SEC);
}

int32_t SleepDataCollecter::GetUserMoveDuration()
{
    return static_cast<int32_t>(g_movementCallback->GetMoveDuration() / MS_PER_SEC);
}

float SleepDataCollecter::GetLight()
{
    light_ = m_currentAmbientLightData.intensity;
    if (light_ == NO_SAMPLE && !lightFallbackUsed_) {
        light_ = lastLight_;
        lightFallbackUsed_ = true;
    } else {
        lightFallbackUsed_ = false;
    }
    return light_;
}

float SleepDataCollecter::GetProximity()
{
    proximity_ = m_currentProximityData;
    if (STANDBT_MODE == STANDBY_MODE_RAW_PROXIMITY) {
        return proximity_;
    }
    if (STANDBT_MODE == STANDBY_MODE_FAR_WHEN_MISSING) {
        if (proximity_ == NO_SAMPLE) {
            proximity_ = FAR_PROXIMITY;
        }
        return proximity_;
    }
    if (isProximityError_) {
        STANDBYSERVICE_LOGI("the device uses a wallet-style holster");
        proximity_ = HOLSTER_PROXIMITY;
        proximityFallbackUsed_ = false;
    } else if (proximity_ == NO_SAMPLE && !proximityFallbackUsed_) {
        proximity_ = lastProximity_;
        proximityFallbackUsed_ = true;
    } else {
        proximityFallbackUsed_ = false;
    }
    return proximity_;
}

int32_t SleepDataCollecter::GetLightDarkDuration()
{
    float light = light_;
    float proximity = proximity_;
    int64_t now = collectTimestamp_;
    if (light > BRIGHT_LUX || lastCollectTimestamp_ < deviceState_->GetUnlockTimestamp()) {
        UpdateDarkDurPara(BRIGHTNESS_MARKER_LUX, proximity, true);
        return 0;
    }
    if (lastLight_ > BRIGHT_LUX) {
        if (proximity <= COVERED_PROXIMITY) {
            UpdateDarkDurPara(BRIGHTNESS_MARKER_LUX, COVERED_PROXIMITY, true);
        } else {
            UpdateDarkDurPara(light, proximity, false);
        }
        return 0;
    }
    bool stillThroughInterval = (now - lastCollectTimestamp_) / MS_PER_SEC < stationaryDurationSec_;
    if (proximity > COVERED_PROXIMITY || stillThroughInterval) {
        UpdateDarkDurPara(light, proximity, false);
        return static_cast<int32_t>((now - darkStartTimestamp_) / MS_PER_SEC);
    }
    darkStartTimestamp_ = now;
    UpdateDarkDurPara(BRIGHTNESS_MARKER_LUX, COVERED_PROXIMITY, true);
    return 0;
}

void SleepDataCollecter::UpdateDarkDurPara(float light, float proximity, bool reset)
{
    if (reset || isDarkReset_) {
        darkStartTimestamp_ = collectTimestamp_;
    }
    isDarkReset_ = reset;
    lastLight_ = light;
    lastProximity_ = proximity;
}

int64_t SleepDataCollecter::GetNextAlarmClockTriggerTime()
{
    StandbyDataShareHelper helper(SETTINGS_DATA_SA_ID);
    std::string value;
    if (helper.GetStringValue(NEAREST_ALARM_KEY, value) != ERR_OK) {
        STANDBYSERVICE_LOGE("query nearest alarm clock failed");
        return -1;
    }
    long alarmTime = 0;
    StringUtils::StringToNumber(value, alarmTime);
    return alarmTime;
}

void SleepDataCollecter::SubscribeMovement()
{
    std::lock_guard<std::mutex> lock(movementMutex_);
    if (isMovementSubscribed_) {
        return;
    }
    int32_t ret = Msdp::MovementClient::GetInstance().SubscribeCallback(Msdp::MovementDataUtils::TYPE_STILL,
        Msdp::MovementDataUtils::ENTER_EXIT, MOVEMENT_REPORT_LATENCY_NS, g_movementCallback);
    isMovementSubscribed_ = true;
    STANDBYSERVICE_LOGI("SubscribeMovement ret = %{public}d", ret);
}

void SleepDataCollecter::UnsubscribeMovement()
{
    std::lock_guard<std::mutex> lock(movementMutex_);
    if (!isMovementSubscribed_) {
        return;
    }
    int32_t ret = Msdp::MovementClient::GetInstance().UnsubscribeCallback(
        Msdp::MovementDataUtils::TYPE_STILL, Msdp::MovementDataUtils::ENTER_EXIT, g_movementCallback);
    isMovementSubscribed_ = false;
    STANDBYSERVICE_LOGI("UnsubscribeMovement ret = %{public}d", ret);
}

} // namespace OHOS::DevStandbyMgr
