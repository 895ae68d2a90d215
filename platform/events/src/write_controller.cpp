#include "write_controller.h"

#include <map>
#include <mutex>
#include <utility>

#include "time_service_client.h"

namespace OHOS::Emulator {
namespace {

constexpr int64_t kNsPerMs = 1000000;

// Counts per domain and name within the current window of the boot clock.
struct RateLimiter {
    std::mutex mutex;
    int64_t windowMs = kDefaultSysEventWindowMs;
    int32_t limit = kDefaultSysEventLimitPerWindow;
    std::map<std::pair<std::string, std::string>, std::pair<int64_t, int32_t>> windows; // start ms, count

    bool IsOverLimit(const std::string& domain, const std::string& eventName)
    {
        const int64_t nowMs = MiscServices::TimeServiceClient::GetInstance()->GetBootTimeNs() / kNsPerMs;
        std::lock_guard<std::mutex> lock(mutex);
        auto& [start, count] = windows[{domain, eventName}];
        if (count == 0 || nowMs - start >= windowMs || nowMs < start) {
            start = nowMs;
            count = 0;
        }
        if (count >= limit) {
            return true;
        }
        ++count;
        return false;
    }

    void Set(int64_t newWindowMs, int32_t newLimit)
    {
        std::lock_guard<std::mutex> lock(mutex);
        windowMs = newWindowMs > 0 ? newWindowMs : kDefaultSysEventWindowMs;
        limit = newLimit >= 0 ? newLimit : 0;
        windows.clear();
    }
};

RateLimiter& Limiter()
{
    static RateLimiter limiter;
    return limiter;
}

} // namespace

void SetSysEventRateLimit(int64_t windowMs, int32_t limitPerWindow)
{
    Limiter().Set(windowMs, limitPerWindow);
}

void ResetSysEventRateLimit()
{
    Limiter().Set(kDefaultSysEventWindowMs, kDefaultSysEventLimitPerWindow);
}

} // namespace OHOS::Emulator

namespace OHOS::HiviewDFX {

bool WriteController::CheckLimitWritingEvent(const std::string& domain, const std::string& eventName)
{
    return Emulator::Limiter().IsOverLimit(domain, eventName);
}

} // namespace OHOS::HiviewDFX
