#include "night_clock.h"

#include <atomic>
#include <cmath>

#include "detector_variants.h"
#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {
constexpr int32_t SLOTS_PER_DAY = 288;
constexpr int32_t SLOTS_PER_HOUR = 12;
constexpr int32_t FIXED_NIGHT_CENTRE_SLOT = 3 * SLOTS_PER_HOUR; // 03:00
constexpr float HOURS_PER_DAY = 24.0F;
constexpr double WEEKDAY_WEIGHT = 5.0;
constexpr double WEEKEND_WEIGHT = 2.0;
const double TWO_PI = 2.0 * std::acos(-1.0);

std::atomic<int32_t> g_shiftSlots{0};

// The centre of sleep on the circle of the day, as a slot (0..287), or -1 when the tables hold none.
int32_t SleepCentreSlot(const std::vector<float>& weekday, const std::vector<float>& weekend)
{
    double x = 0.0;
    double y = 0.0;
    for (int32_t slot = 0; slot < SLOTS_PER_DAY; ++slot) {
        const double weight = WEEKDAY_WEIGHT * weekday.at(slot) + WEEKEND_WEIGHT * weekend.at(slot);
        const double angle = TWO_PI * slot / SLOTS_PER_DAY;
        x += weight * std::cos(angle);
        y += weight * std::sin(angle);
    }
    if (std::hypot(x, y) <= 0.0) {
        return -1;
    }
    const double turns = std::atan2(y, x) / TWO_PI;
    const auto slot = static_cast<int32_t>(std::lround((turns < 0.0 ? turns + 1.0 : turns) * SLOTS_PER_DAY));
    return slot % SLOTS_PER_DAY;
}
} // namespace

float NightClock::NightHour(int64_t timestamp)
{
    const float hour = TimeProviderExt::TimestampToDayHour(timestamp);
    const int32_t shift = g_shiftSlots.load();
    if (!IsDetectorVariantOn(DetectorVariant::LEARNED_NIGHT_WINDOW) || shift == 0) {
        return hour;
    }
    const float moved = hour - static_cast<float>(shift) / SLOTS_PER_HOUR;
    return moved < 0.0F ? moved + HOURS_PER_DAY : (moved >= HOURS_PER_DAY ? moved - HOURS_PER_DAY : moved);
}

void NightClock::LearnSleepCentre(const std::vector<float>& weekday, const std::vector<float>& weekend)
{
    const int32_t centre = SleepCentreSlot(weekday, weekend);
    if (centre < 0) {
        Forget();
        return;
    }
    // The shortest way round the day from the fixed centre to the learned one.
    int32_t shift = (centre - FIXED_NIGHT_CENTRE_SLOT + SLOTS_PER_DAY) % SLOTS_PER_DAY;
    if (shift >= SLOTS_PER_DAY / 2) {
        shift -= SLOTS_PER_DAY;
    }
    g_shiftSlots.store(shift);
}

void NightClock::Forget()
{
    g_shiftSlots.store(0);
}

int32_t NightClock::ShiftSlots()
{
    return g_shiftSlots.load();
}

} // namespace OHOS::DevStandbyMgr
