#include "detector_variants.h"

#include "standby_host_globals.h"

namespace OHOS::DevStandbyMgr {

const char* DetectorVariantName(DetectorVariant variant)
{
    switch (variant) {
    case DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR:
        return "not-care-charge";
    case DetectorVariant::QUICK_RESUME:
        return "quick-resume";
    case DetectorVariant::LEARNED_NIGHT_WINDOW:
        return "learned-window";
    }
    return "unknown";
}

std::optional<DetectorVariant> DetectorVariantFromName(const std::string& name)
{
    for (uint32_t i = 0; i < DETECTOR_VARIANT_COUNT; ++i) {
        const auto variant = static_cast<DetectorVariant>(i);
        if (name == DetectorVariantName(variant)) {
            return variant;
        }
    }
    return std::nullopt;
}

bool IsDetectorVariantOn(DetectorVariant variant)
{
    return (SLEEP_DETECTOR_VARIANTS & DetectorVariantBit(variant)) != 0;
}

} // namespace OHOS::DevStandbyMgr
