#ifndef HOST_INCLUDE_STANDBY_HOST_GLOBALS_H
#define HOST_INCLUDE_STANDBY_HOST_GLOBALS_H

#include <cstdint>
#include <string>

namespace OHOS::DevStandbyMgr {

// The host's standby mode; strategies only compare it with numbers (0 by default).
extern int32_t STANDBT_MODE;
// Detector variants the simulator or a test turned on, one bit each (0, none, by default; a phone's
// host never sets it).
extern uint32_t SLEEP_DETECTOR_VARIANTS;
// Sensor batching the host asks for, in nanoseconds: sampling period 200 ms, reporting delay 0
// (every sample reported at once).
extern int64_t SENSOR_SAMPLING_RATE;
extern int64_t SENSOR_REPORTING_RATE;

// Positions of the words of a dump command line, and its option words.
constexpr int32_t DUMP_FIRST_PARAM = 0;
constexpr int32_t DUMP_SECOND_PARAM = 1;
constexpr int32_t DUMP_THIRD_PARAM = 2;
constexpr int32_t DUMP_FOURTH_PARAM = 3;
constexpr int32_t DUMP_FIFTH_PARAM = 4;
constexpr int32_t DUMP_SIXTH_PARAM = 5;
inline const std::string DUMP_DETAIL_INFO = "-D";
inline const std::string DUMP_SIMULATE_SENSOR = "-S";
inline const std::string DUMP_STRATGY_DETAIL = "--strategy";

} // namespace OHOS::DevStandbyMgr

#endif // HOST_INCLUDE_STANDBY_HOST_GLOBALS_H
