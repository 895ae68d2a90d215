// Crashes: a child process is killed (SIGKILL) at an exact counted step of a preferences write, of a
// database statement, or of SQLite's own writes (xWrite, xSync, xTruncate); afterwards the files
// must be whole and hold every acknowledged write, and a restarted service must close every sleep
// state that was stored as active. Each kill point runs in its own process.
//
// The store loops kill at every step. The night loops kill at about kPointsPerLoop points and inside
// every span of a published sleep state; SLEEP_FAULT_POINTS=<n> runs about n, SLEEP_FAULT_FULL=1
// every point. SLEEP_FAULT_REPORT=<file> appends one line per loop.

#include <gtest/gtest.h>

#include "fault_week.h"
#include "stopped_night.h"
#include "store_workloads.h"

namespace OHOS::Sim {
namespace {

constexpr int kPointsPerLoop = 12;

// A workload on one store, and the way it is killed.
struct StoreKill {
    std::string store;
    StoreStopLoop (*loop)(const std::string& dir, StopWay way);
    StopWay way;
};

void PrintTo(const StoreKill& kill, std::ostream* out)
{
    *out << kill.store << " " << StopWayName(kill.way);
}

class StoreKillTest : public testing::TestWithParam<StoreKill> {
protected:
    const ScratchFolder scratch_{"crash"};
};

TEST_P(StoreKillTest, StoreHoldsTheAcknowledgedWritesWholeAfterAKillAtEveryStep)
{
    const StoreKill& kill = GetParam();
    const std::string name = "kill\t" + kill.store + "_" + StopWayName(kill.way);
    AppendFaultReport(ExpectNoProblems(kill.loop(scratch_.Path(), kill.way), name));
}

INSTANTIATE_TEST_SUITE_P(EveryKillPoint, StoreKillTest,
    testing::Values(StoreKill{"Preferences", StopFlushesEverywhere, StopWay::PREFERENCES_STEP_KILL},
        StoreKill{"Preferences", StopFlushesEverywhere, StopWay::STORAGE_CALL_KILL},
        StoreKill{"Database", StopBatchesEverywhere, StopWay::DATABASE_OPERATION_KILL},
        StoreKill{"Database", StopBatchesEverywhere, StopWay::STORAGE_CALL_KILL}),
    [](const testing::TestParamInfo<StoreKill>& info) { return info.param.store + StopWayName(info.param.way); });

class NightKillTest : public testing::TestWithParam<StopWay> {
protected:
    const ScratchFolder scratch_{"crash-night"};
};

TEST_P(NightKillTest, RestartEndsEveryStoredSleepStateAfterANightWasKilled)
{
    const NightStopLoop loop = StopNightsAndRestart(scratch_.Path(), GetParam(), kPointsPerLoop);
    AppendFaultReport(ExpectRecoveredAfterEveryStop(loop, "kill\tnight_" + StopWayName(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(EveryKillWay, NightKillTest,
    testing::Values(StopWay::PREFERENCES_STEP_KILL, StopWay::DATABASE_OPERATION_KILL, StopWay::STORAGE_CALL_KILL),
    [](const testing::TestParamInfo<StopWay>& info) { return StopWayName(info.param); });

} // namespace
} // namespace OHOS::Sim
