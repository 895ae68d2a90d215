#ifndef TESTS_SUPPORT_STORAGE_STOP_H
#define TESTS_SUPPORT_STORAGE_STOP_H

#include <functional>

namespace OHOS::Sim {

// How a test process stops at a chosen storage call.
enum class StopKind {
    COUNT_ONLY,    // never stops; the calls are only counted
    KILL,          // SIGKILL: whatever was written stays, synced or not (the page cache survives)
    POWER_CUT,     // what was not synced is dropped first, then SIGKILL
    TORN_POWER_CUT // as POWER_CUT, but the last unsynced write of each layer leaves a torn sector behind
};

// One counter of the storage calls made through the test layers below the stores (the preferences
// file layer and the SQLite shim), shared so that one number names one point of a whole run. The
// layers call Reached before each call; at the chosen one the process stops. Thread-safe; meant for
// a forked child, which it ends.
class StorageStop {
public:
    // Counts from zero again and stops at call `nth` (1-based) in the given way; nth 0 only counts.
    // `observer`, when given, is called with each call's number before it is made.
    static void Arm(StopKind kind, int nth, std::function<void(int call)> observer = nullptr);
    static int Calls();
    // Counts one call; when it is the chosen one, the process stops here (the call is not made).
    static void Reached();
    // What a layer does at a power cut: puts on disk only what was synced; with `tear`, its last
    // unsynced write is kept in part, as a sector the power cut interrupted. Layers register once.
    static void OnPowerCut(std::function<void(bool tear)> dropUnsynced);
};

// The bytes of an interrupted sector write that reach the disk: the first half of a 512-byte sector.
constexpr size_t kTornSectorBytes = 256;

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_STORAGE_STOP_H
