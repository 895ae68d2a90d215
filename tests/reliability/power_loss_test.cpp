// Power loss: the preferences files and SQLite run on test layers that keep what was not synced
// apart, and a child process loses power at a counted storage call (a write, sync, truncation,
// rename, unlink or folder sync): only synced data and synced folder names survive, and in the
// torn mode the last unsynced write of each store leaves half a sector behind. After each cut the
// stores must hold every write they acknowledged, whole, and a restarted service must close every
// sleep state that was stored as active.
//
// The store loops cut at every call; the night loops at about kPointsPerLoop points and in every
// span of a published sleep state (SLEEP_FAULT_POINTS / SLEEP_FAULT_FULL as for the crash test).
// SLEEP_FAULT_REPORT=<file> appends one line per loop with its number of cut points.

#include <gtest/gtest.h>

#include "fault_week.h"
#include "stopped_night.h"
#include "store_workloads.h"

namespace OHOS::Sim {
namespace {

constexpr int kPointsPerLoop = 12;

class PowerLossTest : public testing::TestWithParam<StopWay> {
protected:
    std::string Name(const std::string& loop) const { return "power_loss\t" + loop + "_" + StopWayName(GetParam()); }

    const ScratchFolder scratch_{"power-loss"};
};

TEST_P(PowerLossTest, PreferencesFileHoldsTheAcknowledgedOrTheNextGenerationAfterACutAtEveryCall)
{
    AppendFaultReport(ExpectNoProblems(StopFlushesEverywhere(scratch_.Path(), GetParam()), Name("preferences")));
}

TEST_P(PowerLossTest, DatabaseIsIntactAndHoldsTheAcknowledgedBatchesWholeAfterACutAtEveryCall)
{
    AppendFaultReport(ExpectNoProblems(StopBatchesEverywhere(scratch_.Path(), GetParam()), Name("database")));
}

TEST_P(PowerLossTest, RestartEndsEveryStoredSleepStateAfterANightLostPower)
{
    const NightStopLoop loop = StopNightsAndRestart(scratch_.Path(), GetParam(), kPointsPerLoop);
    AppendFaultReport(ExpectRecoveredAfterEveryStop(loop, Name("night")));
}

INSTANTIATE_TEST_SUITE_P(CutAndTornCut, PowerLossTest, testing::Values(StopWay::POWER_CUT, StopWay::TORN_POWER_CUT),
    [](const testing::TestParamInfo<StopWay>& info) { return StopWayName(info.param); });

} // namespace
} // namespace OHOS::Sim
