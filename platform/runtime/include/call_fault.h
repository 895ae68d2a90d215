#ifndef PLATFORM_INCLUDE_CALL_FAULT_H
#define PLATFORM_INCLUDE_CALL_FAULT_H

#include <mutex>

namespace OHOS::Emulator {

// The failure switch of one platform call: counts the calls and decides which of them fail, either
// every call while switched on, or the nth call after arming (and, when persistent, every later
// one). Fault loops read the count of a clean run to know how many points they can hit.
// Thread-safe.
class CallFault {
public:
    // Every call fails while on (independent of the armed nth call).
    void SetAlways(bool on);
    bool Always() const;
    // Makes the nth call from now (1 = the next one) fail, and with `persistent` every later call
    // too; restarts the count. nth <= 0 disarms and restarts the count.
    void FailNth(int nth, bool persistent);
    // Counts one call; true when that call must fail.
    bool OnCall();
    // Calls counted since the last FailNth or Reset, and how many of them were made to fail.
    int Calls() const;
    int Injected() const;
    // Off, disarmed, counts zero.
    void Reset();

private:
    mutable std::mutex mutex_;
    bool always_ = false;
    int failAt_ = 0;
    bool persistent_ = false;
    int calls_ = 0;
    int injected_ = 0;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_CALL_FAULT_H
