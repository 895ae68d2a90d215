#ifndef SLEEP_DETECTION_INCLUDE_DETECTOR_VARIANTS_H
#define SLEEP_DETECTION_INCLUDE_DETECTOR_VARIANTS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace OHOS::DevStandbyMgr {

// Opt-in changes to single rules of the detector, measured beside the detector as it is defined.
// None is on unless the standby host's SLEEP_DETECTOR_VARIANTS says so; only the simulator and the
// tests set that variable, so on a phone the detector always runs as defined. A variant is never
// made the default. Each one is read at the single place where its rule is decided.
enum class DetectorVariant : uint32_t {
    // Rule relaxed: deep sleep never starts while the phone charges, and the not-care-charge state
    // (a deep sleep whatever the charger) starts only from the dump command.
    // Why: a phone charged overnight never reports its user asleep; in the simulated populations
    // most missed nights are nights charged through the sleep.
    NOT_CARE_CHARGE_FROM_BEHAVIOUR,
    // Rule relaxed: after a night wake, deep sleep starts again only once the baseline's stillness
    // and darkness needs (20 to 50 minutes) are met anew.
    // Why: people who look at the phone at night lose most of their night.
    QUICK_RESUME,
    // Rule relaxed: night is 21:00 to 07:49:48 local time for everyone.
    // Why: a person who sleeps outside those hours is never detected.
    LEARNED_NIGHT_WINDOW,
};
constexpr size_t DETECTOR_VARIANT_COUNT = 3;

// The name used on the command line and in output folders: "not-care-charge", "quick-resume",
// "learned-window".
const char* DetectorVariantName(DetectorVariant variant);
std::optional<DetectorVariant> DetectorVariantFromName(const std::string& name);

// Bit of a variant in the host's SLEEP_DETECTOR_VARIANTS mask.
constexpr uint32_t DetectorVariantBit(DetectorVariant variant)
{
    return 1u << static_cast<uint32_t>(variant);
}

// Whether the host turned the variant on.
bool IsDetectorVariantOn(DetectorVariant variant);

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_DETECTOR_VARIANTS_H
