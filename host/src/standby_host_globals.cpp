#include "standby_host_globals.h"

namespace OHOS::DevStandbyMgr {

int32_t STANDBT_MODE = 0;
uint32_t SLEEP_DETECTOR_VARIANTS = 0;
// Sample every 200 ms and report each sample at once (no batching delay).
int64_t SENSOR_SAMPLING_RATE = 200000000;
int64_t SENSOR_REPORTING_RATE = 0;

} // namespace OHOS::DevStandbyMgr
