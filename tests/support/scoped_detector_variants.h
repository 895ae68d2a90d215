#ifndef TESTS_SUPPORT_SCOPED_DETECTOR_VARIANTS_H
#define TESTS_SUPPORT_SCOPED_DETECTOR_VARIANTS_H

#include <cstdint>
#include <initializer_list>

#include "detector_variants.h"

namespace OHOS::DevStandbyMgr {

// RAII for tests: turns exactly the given detector variants on in the host's switch and restores
// the previous mask on exit.
class ScopedDetectorVariants {
public:
    explicit ScopedDetectorVariants(std::initializer_list<DetectorVariant> variants);
    ~ScopedDetectorVariants();
    ScopedDetectorVariants(const ScopedDetectorVariants&) = delete;
    ScopedDetectorVariants& operator=(const ScopedDetectorVariants&) = delete;

private:
    uint32_t previous_;
};

} // namespace OHOS::DevStandbyMgr

#endif // TESTS_SUPPORT_SCOPED_DETECTOR_VARIANTS_H
