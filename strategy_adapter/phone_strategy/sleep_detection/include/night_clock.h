#ifndef SLEEP_DETECTION_INCLUDE_NIGHT_CLOCK_H
#define SLEEP_DETECTION_INCLUDE_NIGHT_CLOCK_H

#include <cstdint>
#include <vector>

namespace OHOS::DevStandbyMgr {

// The hour of the day that the night rules see (night and day windows, the hour-dependent
// stillness, darkness and light rules). As defined it is the local hour. With the learned-window
// variant on and a learned time table loaded, it is the local hour moved by the distance between
// the person's learned sleep centre and 03:00, the centre of the fixed night: a person who sleeps
// 08:30-15:30 sees "23:30" at 08:30. What does not move: the tables' five-minute time slots, the
// wake-up prediction and its alarm test, the day clock at 07:15, the afternoon unsleep report and
// the training, which all keep the local time. Process-wide, like the learned model it follows.
class NightClock {
public:
    // The hour the night rules see at `timestamp` (ms).
    static float NightHour(int64_t timestamp);
    // Learns the sleep centre from the weekday and weekend time tables (288 slots each, normalised
    // to 0..1), weighing weekdays 5 and weekend days 2.
    static void LearnSleepCentre(const std::vector<float>& weekday, const std::vector<float>& weekend);
    // No learned table: the fixed window.
    static void Forget();
    // The learned shift in whole five-minute slots (0 without a learned table).
    static int32_t ShiftSlots();
};

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_NIGHT_CLOCK_H
