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

#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "fault_week.h"
#include "stopped_night.h"
#include "store_workloads.h"

namespace OHOS::Sim {
namespace {

constexpr int kPointsPerLoop = 12;

void AppendReport(const std::string& loop, size_t cuts, size_t failed)
{
    if (const char* path = std::getenv("SLEEP_FAULT_REPORT")) {
        std::ofstream(path, std::ios::app) << "power_loss\t" << loop << "\tcuts=" << cuts << "\tfailed=" << failed
                                           << '\n';
    }
}

class PowerLossTest : public testing::TestWithParam<StopWay> {
protected:
    void ExpectStoreKeptItsWrites(const std::string& store, const StoreStopLoop& loop)
    {
        const std::string name = store + "_" + StopWayName(GetParam());
        EXPECT_GT(loop.range, 0) << name << ": the counting run made no calls";
        for (const std::string& problem : loop.problems) {
            ADD_FAILURE() << name << ": " << problem;
        }
        AppendReport(name, static_cast<size_t>(loop.range), loop.problems.size());
    }

    const ScratchFolder scratch_{"power-loss"};
};

TEST_P(PowerLossTest, PreferencesFileHoldsTheAcknowledgedOrTheNextGenerationAfterACutAtEveryCall)
{
    ExpectStoreKeptItsWrites("preferences", StopFlushesEverywhere(scratch_.Path(), GetParam()));
}

TEST_P(PowerLossTest, DatabaseIsIntactAndHoldsTheAcknowledgedBatchesWholeAfterACutAtEveryCall)
{
    ExpectStoreKeptItsWrites("database", StopBatchesEverywhere(scratch_.Path(), GetParam()));
}

TEST_P(PowerLossTest, RestartEndsEveryStoredSleepStateAfterANightLostPower)
{
    const NightStopLoop loop = StopNightsAndRestart(scratch_.Path(), GetParam(), kPointsPerLoop);
    ASSERT_GT(loop.range, 0);
    size_t failed = 0;
    for (const NightStopResult& result : loop.results) {
        EXPECT_EQ(result.problem, "") << StopWayName(GetParam()) << " at call " << result.point;
        failed += result.problem.empty() ? 0 : 1;
    }
    for (const std::string& key : StoredSleepStateKeys()) {
        EXPECT_GT(loop.activeAtStop.count(key), 0u) << "no cut fell while " << key << " was stored active";
    }
    AppendReport("night_" + StopWayName(GetParam()), loop.results.size(), failed);
}

INSTANTIATE_TEST_SUITE_P(CutAndTornCut, PowerLossTest, testing::Values(StopWay::POWER_CUT, StopWay::TORN_POWER_CUT),
    [](const testing::TestParamInfo<StopWay>& info) { return StopWayName(info.param); });

} // namespace
} // namespace OHOS::Sim
