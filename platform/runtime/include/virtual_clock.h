#ifndef PLATFORM_INCLUDE_VIRTUAL_CLOCK_H
#define PLATFORM_INCLUDE_VIRTUAL_CLOCK_H

#include <atomic>
#include <cstdint>
#include <memory>

namespace OHOS::Emulator {

// The process-wide source of "now" behind TimeServiceClient. By default the system clock;
// tests and the simulator install a VirtualClock so that nothing depends on the machine's time.
class Clock {
public:
    virtual ~Clock() = default;
    // Wall-clock milliseconds since the Unix epoch.
    virtual int64_t WallTimeMs() const = 0;
    // Nanoseconds since boot; never moves backwards.
    virtual int64_t BootTimeNs() const = 0;
};

// A clock that moves only when told to. Thread-safe: any thread may read it; the driver moves it.
class VirtualClock final : public Clock {
public:
    explicit VirtualClock(int64_t wallStartMs, int64_t bootStartNs = 0);
    int64_t WallTimeMs() const override;
    int64_t BootTimeNs() const override;
    // Moves wall and boot time forward together. REQUIRES: deltaMs >= 0.
    void AdvanceMs(int64_t deltaMs);
    // Sets the wall clock alone (a user or network time change); boot time stays.
    void SetWallTimeMs(int64_t wallMs);

private:
    std::atomic<int64_t> wallMs_;
    std::atomic<int64_t> bootNs_;
};

// Installs the clock that TimeServiceClient reads from now on; nullptr restores the system clock.
void InstallClock(std::shared_ptr<Clock> clock);
// The installed clock (never null: the system clock when none is installed).
std::shared_ptr<Clock> CurrentClock();
// The installed clock's times, read without taking a reference to the clock (two atomic updates
// per read, on the platform's most frequent call).
int64_t CurrentWallTimeMs();
int64_t CurrentBootTimeNs();
// The installed clock if it is a VirtualClock, else nullptr.
std::shared_ptr<VirtualClock> CurrentVirtualClock();

// RAII for tests: installs a fresh VirtualClock at wallStartMs, restores the previous clock on exit.
class ScopedVirtualClock {
public:
    explicit ScopedVirtualClock(int64_t wallStartMs);
    ~ScopedVirtualClock();
    ScopedVirtualClock(const ScopedVirtualClock&) = delete;
    ScopedVirtualClock& operator=(const ScopedVirtualClock&) = delete;
    VirtualClock& Get() const { return *clock_; }
    std::shared_ptr<VirtualClock> Shared() const { return clock_; }

private:
    std::shared_ptr<Clock> previous_;
    std::shared_ptr<VirtualClock> clock_;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_VIRTUAL_CLOCK_H
