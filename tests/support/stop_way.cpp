#include "stop_way.h"

#include <algorithm>
#include <csignal>

#include "power_loss_files.h"
#include "power_loss_vfs.h"
#include "preferences_file.h"
#include "rdb_faults.h"
#include "storage_stop.h"

namespace OHOS::Sim {
namespace {

StopKind StorageStopKind(StopWay way)
{
    switch (way) {
    case StopWay::POWER_CUT:
        return StopKind::POWER_CUT;
    case StopWay::TORN_POWER_CUT:
        return StopKind::TORN_POWER_CUT;
    default:
        return StopKind::KILL;
    }
}

} // namespace

std::string StopWayName(StopWay way)
{
    switch (way) {
    case StopWay::PREFERENCES_STEP_KILL:
        return "PreferencesStepKill";
    case StopWay::DATABASE_OPERATION_KILL:
        return "DatabaseOperationKill";
    case StopWay::STORAGE_CALL_KILL:
        return "StorageCallKill";
    case StopWay::POWER_CUT:
        return "PowerCut";
    default:
        return "TornPowerCut";
    }
}

void ArmStop(StopWay way, int stopAt, const std::function<void(int call)>& onCall)
{
    auto killAt = [stopAt, onCall](int call) {
        if (onCall) {
            onCall(call);
        }
        if (call == stopAt) {
            raise(SIGKILL);
        }
    };
    switch (way) {
    case StopWay::PREFERENCES_STEP_KILL:
        Emulator::SetPreferencesWriteStepObserver(killAt);
        return;
    case StopWay::DATABASE_OPERATION_KILL:
        Emulator::RdbFaults::SetOperationObserver(killAt);
        return;
    default:
        PowerLossFiles::Install();
        PowerLossVfs::Install();
        StorageStop::Arm(stopAt <= 0 ? StopKind::COUNT_ONLY : StorageStopKind(way), std::max(stopAt, 0), onCall);
    }
}

int CountedCalls(StopWay way)
{
    switch (way) {
    case StopWay::PREFERENCES_STEP_KILL:
        return Emulator::PreferencesWriteStepCount();
    case StopWay::DATABASE_OPERATION_KILL:
        return Emulator::RdbFaults::OperationCount();
    default:
        return StorageStop::Calls();
    }
}

} // namespace OHOS::Sim
