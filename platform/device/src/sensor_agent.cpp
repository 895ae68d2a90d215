#include "sensor_agent.h"

#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "simulated_phone.h"
#include "virtual_clock.h"

namespace {

using OHOS::Emulator::PhoneFault;
using OHOS::Emulator::SimulatedPhone;

constexpr int64_t kDefaultSamplingIntervalNs = 200000000;
constexpr int64_t kNsPerMs = 1000000;
constexpr int32_t kSampleVersion = 1;

// One user's registration for one sensor type. `generation` changes at every activation and
// deactivation, so a sample scheduled for an earlier activation is dropped.
struct Registration {
    RecordSensorCallback callback = nullptr;
    int64_t samplingIntervalNs = kDefaultSamplingIntervalNs;
    bool active = false;
    uint64_t generation = 0;
};

using RegistrationKey = std::pair<int32_t, const SensorUser*>;

struct SensorService {
    std::mutex mutex;
    std::map<RegistrationKey, Registration> registrations;
};

SensorService& Service()
{
    static SensorService service;
    return service;
}

struct SensorCatalogEntry {
    int32_t typeId;
    const char* name;
    float maxRange;
};

constexpr SensorCatalogEntry kCatalog[] = {
    {SENSOR_TYPE_ID_AMBIENT_LIGHT, "ambient_light", 10000.0F},
    {SENSOR_TYPE_ID_PROXIMITY, "proximity", 5.0F},
};

SensorInfo MakeSensorInfo(int32_t typeId)
{
    SensorInfo info{};
    const char* name = "sensor";
    float maxRange = 0.0F;
    for (const auto& entry : kCatalog) {
        if (entry.typeId == typeId) {
            name = entry.name;
            maxRange = entry.maxRange;
        }
    }
    std::strncpy(info.sensorName, name, SENSOR_NAME_MAX_LEN - 1);
    std::strncpy(info.vendorName, "emulator", SENSOR_NAME_MAX_LEN - 1);
    info.sensorTypeId = typeId;
    info.sensorId = typeId;
    info.maxRange = maxRange;
    info.precision = 1.0F;
    info.minSamplePeriod = kNsPerMs;
    info.maxSamplePeriod = 1000 * kNsPerMs;
    return info;
}

// Calls `callback` with the phone's current value of the sensor type.
void DeliverSample(int32_t typeId, RecordSensorCallback callback)
{
    const SimulatedPhone& phone = SimulatedPhone::GetInstance();
    AmbientLightData light{phone.GetAmbientLightLux(), 0.0F, 0.0F};
    ProximityData proximity{phone.GetProximityDistance()};
    SensorEvent event{};
    event.sensorTypeId = typeId;
    event.version = kSampleVersion;
    event.timestamp = OHOS::Emulator::CurrentBootTimeNs();
    if (typeId == SENSOR_TYPE_ID_AMBIENT_LIGHT) {
        event.data = reinterpret_cast<uint8_t*>(&light);
        event.dataLen = sizeof(light);
    } else {
        event.data = reinterpret_cast<uint8_t*>(&proximity);
        event.dataLen = sizeof(proximity);
    }
    callback(&event);
}

void ScheduleSample(const RegistrationKey& key, uint64_t generation, int64_t intervalNs)
{
    auto sample = [key, generation]() {
        RecordSensorCallback callback = nullptr;
        int64_t intervalNs = 0;
        {
            std::lock_guard<std::mutex> lock(Service().mutex);
            auto it = Service().registrations.find(key);
            if (it == Service().registrations.end() || !it->second.active || it->second.generation != generation) {
                return;
            }
            callback = it->second.callback;
            intervalNs = it->second.samplingIntervalNs;
        }
        if (!SimulatedPhone::GetInstance().HasFault(PhoneFault::SENSOR_SAMPLES_LOST, key.first)) {
            DeliverSample(key.first, callback);
        }
        ScheduleSample(key, generation, intervalNs);
    };
    int64_t delayMs = intervalNs / kNsPerMs;
    SimulatedPhone::GetInstance().PostCallback(sample, delayMs > 0 ? delayMs : 1);
}

bool Fails(PhoneFault fault, int32_t typeId)
{
    return SimulatedPhone::GetInstance().CallFails(fault, typeId);
}

} // namespace

int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count)
{
    if (sensorInfo == nullptr || count == nullptr) {
        return SENSOR_PARAMETER_ERROR;
    }
    if (Fails(PhoneFault::GET_ALL_SENSORS, OHOS::Emulator::kAnySensor)) {
        return SENSOR_SERVICE_EXCEPTION;
    }
    thread_local std::vector<SensorInfo> listed;
    listed.clear();
    for (int32_t typeId : SimulatedPhone::GetInstance().PresentSensors()) {
        listed.push_back(MakeSensorInfo(typeId));
    }
    *sensorInfo = listed.data();
    *count = static_cast<int32_t>(listed.size());
    return SENSOR_SUCCESS;
}

int32_t SubscribeSensor(int32_t sensorTypeId, const SensorUser* user)
{
    if (user == nullptr || user->callback == nullptr) {
        return SENSOR_PARAMETER_ERROR;
    }
    if (Fails(PhoneFault::SUBSCRIBE_SENSOR, sensorTypeId)) {
        return SENSOR_SERVICE_EXCEPTION;
    }
    if (!SimulatedPhone::GetInstance().IsSensorPresent(sensorTypeId)) {
        return SENSOR_NOT_AVAILABLE;
    }
    std::lock_guard<std::mutex> lock(Service().mutex);
    Service().registrations[{sensorTypeId, user}].callback = user->callback;
    return SENSOR_SUCCESS;
}

int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval, int64_t reportInterval)
{
    (void)reportInterval; // samples are reported as they are taken
    if (user == nullptr) {
        return SENSOR_PARAMETER_ERROR;
    }
    std::lock_guard<std::mutex> lock(Service().mutex);
    auto it = Service().registrations.find({sensorTypeId, user});
    if (it == Service().registrations.end()) {
        return SENSOR_WRONG_STATE;
    }
    it->second.samplingIntervalNs = samplingInterval > 0 ? samplingInterval : kDefaultSamplingIntervalNs;
    return SENSOR_SUCCESS;
}

int32_t ActivateSensor(int32_t sensorTypeId, const SensorUser* user)
{
    if (user == nullptr || user->callback == nullptr) {
        return SENSOR_PARAMETER_ERROR;
    }
    if (Fails(PhoneFault::ACTIVATE_SENSOR, sensorTypeId)) {
        return SENSOR_SERVICE_EXCEPTION;
    }
    RegistrationKey key{sensorTypeId, user};
    uint64_t generation = 0;
    int64_t intervalNs = 0;
    {
        std::lock_guard<std::mutex> lock(Service().mutex);
        auto it = Service().registrations.find(key);
        if (it == Service().registrations.end()) {
            return SENSOR_WRONG_STATE;
        }
        Registration& registration = it->second;
        registration.callback = user->callback;
        if (registration.active) {
            return SENSOR_SUCCESS;
        }
        registration.active = true;
        generation = ++registration.generation;
        intervalNs = registration.samplingIntervalNs;
    }
    ScheduleSample(key, generation, intervalNs);
    return SENSOR_SUCCESS;
}

int32_t DeactivateSensor(int32_t sensorTypeId, const SensorUser* user)
{
    if (user == nullptr) {
        return SENSOR_PARAMETER_ERROR;
    }
    if (Fails(PhoneFault::DEACTIVATE_SENSOR, sensorTypeId)) {
        return SENSOR_SERVICE_EXCEPTION;
    }
    std::lock_guard<std::mutex> lock(Service().mutex);
    auto it = Service().registrations.find({sensorTypeId, user});
    if (it == Service().registrations.end() || !it->second.active) {
        return SENSOR_WRONG_STATE;
    }
    it->second.active = false;
    ++it->second.generation;
    return SENSOR_SUCCESS;
}

int32_t UnsubscribeSensor(int32_t sensorTypeId, const SensorUser* user)
{
    if (user == nullptr) {
        return SENSOR_PARAMETER_ERROR;
    }
    if (Fails(PhoneFault::UNSUBSCRIBE_SENSOR, sensorTypeId)) {
        return SENSOR_SERVICE_EXCEPTION;
    }
    std::lock_guard<std::mutex> lock(Service().mutex);
    return Service().registrations.erase({sensorTypeId, user}) > 0 ? SENSOR_SUCCESS : SENSOR_WRONG_STATE;
}

namespace OHOS::Emulator {

int32_t SubscribedSensorUserCount(int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(Service().mutex);
    int32_t count = 0;
    for (const auto& entry : Service().registrations) {
        count += entry.first.first == sensorTypeId ? 1 : 0;
    }
    return count;
}

int32_t ActiveSensorUserCount(int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(Service().mutex);
    int32_t count = 0;
    for (const auto& entry : Service().registrations) {
        count += (entry.first.first == sensorTypeId && entry.second.active) ? 1 : 0;
    }
    return count;
}

void ResetSensorService()
{
    std::lock_guard<std::mutex> lock(Service().mutex);
    Service().registrations.clear();
}

} // namespace OHOS::Emulator
