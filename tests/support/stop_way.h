#ifndef TESTS_SUPPORT_STOP_WAY_H
#define TESTS_SUPPORT_STOP_WAY_H

#include <functional>
#include <string>

namespace OHOS::Sim {

// Where a test process is stopped, and how.
enum class StopWay {
    PREFERENCES_STEP_KILL,   // SIGKILL at a counted file-system step of a preferences write
    DATABASE_OPERATION_KILL, // SIGKILL at a counted statement step of the relational store
    STORAGE_CALL_KILL,       // SIGKILL at a storage call below the stores (inside SQLite's own writes)
    POWER_CUT,               // a power cut at a storage call: what was not synced is lost
    TORN_POWER_CUT,          // the same, with the last unsynced write of each store torn
};

std::string StopWayName(StopWay way);

// In a child, before it touches a store: counts the calls `way` names, calls `onCall` (if given)
// with each call's number, and stops the process at call `stopAt`; stopAt <= 0 only counts. The
// three storage-call ways put the power-loss layers under the preferences files and SQLite.
void ArmStop(StopWay way, int stopAt, const std::function<void(int call)>& onCall = nullptr);
// The calls counted since ArmStop.
int CountedCalls(StopWay way);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_STOP_WAY_H
