#include "virtual_clock.h"

#include <ctime>
#include <mutex>

namespace OHOS::Emulator {
namespace {

constexpr int64_t kNsPerMs = 1000000;
constexpr int64_t kNsPerSec = 1000000000;
constexpr int64_t kMsPerSec = 1000;

// The machine's clocks: real time for the wall, CLOCK_BOOTTIME for time since boot.
class SystemClock final : public Clock {
public:
    int64_t WallTimeMs() const override
    {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        return static_cast<int64_t>(now.tv_sec) * kMsPerSec + now.tv_nsec / kNsPerMs;
    }
    int64_t BootTimeNs() const override
    {
        timespec now{};
        clock_gettime(CLOCK_BOOTTIME, &now);
        return static_cast<int64_t>(now.tv_sec) * kNsPerSec + now.tv_nsec;
    }
};

struct ClockSlot {
    std::mutex mutex;
    std::shared_ptr<Clock> installed;
};

ClockSlot& Slot()
{
    static ClockSlot slot;
    return slot;
}

const std::shared_ptr<Clock>& SystemClockInstance()
{
    static const std::shared_ptr<Clock> systemClock = std::make_shared<SystemClock>();
    return systemClock;
}

// What `read` returns for the installed clock, read under the slot's lock so that the clock cannot
// be released meanwhile.
template <typename Read> int64_t ReadCurrentClock(Read read)
{
    ClockSlot& slot = Slot();
    std::lock_guard<std::mutex> lock(slot.mutex);
    return read(slot.installed ? *slot.installed : *SystemClockInstance());
}

} // namespace

VirtualClock::VirtualClock(int64_t wallStartMs, int64_t bootStartNs) : wallMs_(wallStartMs), bootNs_(bootStartNs) {}

int64_t VirtualClock::WallTimeMs() const
{
    return wallMs_.load();
}

int64_t VirtualClock::BootTimeNs() const
{
    return bootNs_.load();
}

void VirtualClock::AdvanceMs(int64_t deltaMs)
{
    if (deltaMs <= 0) {
        return;
    }
    bootNs_.fetch_add(deltaMs * kNsPerMs);
    wallMs_.fetch_add(deltaMs);
}

void VirtualClock::SetWallTimeMs(int64_t wallMs)
{
    wallMs_.store(wallMs);
}

void InstallClock(std::shared_ptr<Clock> clock)
{
    ClockSlot& slot = Slot();
    std::lock_guard<std::mutex> lock(slot.mutex);
    slot.installed = std::move(clock);
}

std::shared_ptr<Clock> CurrentClock()
{
    ClockSlot& slot = Slot();
    std::lock_guard<std::mutex> lock(slot.mutex);
    return slot.installed ? slot.installed : SystemClockInstance();
}

int64_t CurrentWallTimeMs()
{
    return ReadCurrentClock([](const Clock& clock) { return clock.WallTimeMs(); });
}

int64_t CurrentBootTimeNs()
{
    return ReadCurrentClock([](const Clock& clock) { return clock.BootTimeNs(); });
}

std::shared_ptr<VirtualClock> CurrentVirtualClock()
{
    return std::dynamic_pointer_cast<VirtualClock>(CurrentClock());
}

ScopedVirtualClock::ScopedVirtualClock(int64_t wallStartMs) : clock_(std::make_shared<VirtualClock>(wallStartMs))
{
    ClockSlot& slot = Slot();
    std::lock_guard<std::mutex> lock(slot.mutex);
    previous_ = slot.installed;
    slot.installed = clock_;
}

ScopedVirtualClock::~ScopedVirtualClock()
{
    InstallClock(previous_);
}

} // namespace OHOS::Emulator
