#include "scoped_detector_variants.h"

#include "standby_host_globals.h"

namespace OHOS::DevStandbyMgr {

ScopedDetectorVariants::ScopedDetectorVariants(std::initializer_list<DetectorVariant> variants)
    : previous_(SLEEP_DETECTOR_VARIANTS)
{
    uint32_t mask = 0;
    for (DetectorVariant variant : variants) {
        mask |= DetectorVariantBit(variant);
    }
    SLEEP_DETECTOR_VARIANTS = mask;
}

ScopedDetectorVariants::~ScopedDetectorVariants()
{
    SLEEP_DETECTOR_VARIANTS = previous_;
}

} // namespace OHOS::DevStandbyMgr
