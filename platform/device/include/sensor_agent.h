#ifndef PLATFORM_INCLUDE_SENSOR_AGENT_H
#define PLATFORM_INCLUDE_SENSOR_AGENT_H

#include <cstdint>

// The sensor service's client interface (C style, global namespace), backed by the simulated phone
// (simulated_phone.h).
//
// A client fills a SensorUser with its callback, then per sensor type: SubscribeSensor, optionally
// SetBatch, ActivateSensor; later DeactivateSensor and UnsubscribeSensor. While a user is subscribed
// and active, the service calls its callback with one sample every sampling interval, starting one
// interval after activation. Samples are delivered as tasks on the phone's event handler at their
// virtual time, so the callback runs on that handler's thread; none are delivered while no handler is
// set. The service keeps the callback pointer given at subscription (refreshed at activation) and
// never reads the SensorUser after the call returns, so a user may be freed while still active.
// All functions are thread-safe and return SENSOR_SUCCESS (0) or a failure code.

constexpr int32_t SENSOR_NAME_MAX_LEN = 48;
constexpr int32_t SENSOR_USER_DATA_SIZE = 16;

// Sensor type ids of the sensor service.
constexpr int32_t SENSOR_TYPE_ID_AMBIENT_LIGHT = 5;
constexpr int32_t SENSOR_TYPE_ID_PROXIMITY = 12;

enum SensorErrorCode : int32_t {
    SENSOR_SUCCESS = 0,
    SENSOR_PARAMETER_ERROR = 401,        // null pointer or callback
    SENSOR_SERVICE_EXCEPTION = 14500101, // the service refused (made to fail on demand)
    SENSOR_NOT_AVAILABLE = 14500102,     // no sensor of that type on this phone
    SENSOR_WRONG_STATE = 14500103,       // e.g. activating a user that is not subscribed
};

// One sensor as GetAllSensors lists it.
struct SensorInfo {
    char sensorName[SENSOR_NAME_MAX_LEN];
    char vendorName[SENSOR_NAME_MAX_LEN];
    int32_t sensorTypeId;
    int32_t sensorId;
    float maxRange;
    float precision;
    float power;
    int64_t minSamplePeriod; // ns
    int64_t maxSamplePeriod; // ns
};

// One sample. `data` points to dataLen bytes laid out as the sensor type's sample struct below; it
// is valid only during the callback.
struct SensorEvent {
    int32_t sensorTypeId;
    int32_t version;
    int64_t timestamp; // ns since boot
    int32_t option;
    int32_t mode;
    uint8_t* data;
    uint32_t dataLen;
};

// Sample of SENSOR_TYPE_ID_AMBIENT_LIGHT.
struct AmbientLightData {
    float intensity;         // lux
    float colorTemperature;  // kelvin
    float infraredLuminance; // cd/m2
};

// Sample of SENSOR_TYPE_ID_PROXIMITY.
struct ProximityData {
    float distance; // cm; 0 when something covers the sensor
};

using RecordSensorCallback = void (*)(SensorEvent* event);

struct UserData {
    char userData[SENSOR_USER_DATA_SIZE];
};

struct SensorUser {
    char name[SENSOR_NAME_MAX_LEN];
    RecordSensorCallback callback;
    UserData* userData;
};

// Lists the phone's sensors. *sensorInfo points to service-owned storage valid until the next call
// on the same thread. Fails (and leaves the outputs untouched) when made to fail or on null outputs.
int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count);
// Registers `user` for samples of that sensor type. Fails when the phone has no such sensor.
int32_t SubscribeSensor(int32_t sensorTypeId, const SensorUser* user);
// Sets the sampling and reporting intervals (ns) for a subscribed user; intervals <= 0 keep the
// default sampling interval (200 ms).
int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval, int64_t reportInterval);
// Starts delivering samples to a subscribed user.
int32_t ActivateSensor(int32_t sensorTypeId, const SensorUser* user);
// Stops delivering samples; fails when the user is not active.
int32_t DeactivateSensor(int32_t sensorTypeId, const SensorUser* user);
// Drops the subscription (deactivating it first); fails when the user is not subscribed.
int32_t UnsubscribeSensor(int32_t sensorTypeId, const SensorUser* user);

namespace OHOS::Emulator {

// Number of users subscribed to, and active on, a sensor type right now. For tests and the simulator.
int32_t SubscribedSensorUserCount(int32_t sensorTypeId);
int32_t ActiveSensorUserCount(int32_t sensorTypeId);
// Forgets every subscription (a fresh sensor service).
void ResetSensorService();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_SENSOR_AGENT_H
