// Crashes: a child process is killed (SIGKILL) at an exact counted step of a preferences write, of a
// database statement, or of SQLite's own writes (xWrite, xSync, xTruncate); afterwards the files
// must be whole and hold every acknowledged write, and a restarted service must close every sleep
// state that was stored as active. Each kill point runs in its own process.
//
// The store loops kill at every step. The night loops kill at about kPointsPerLoop points and inside
// every span of a published sleep state; SLEEP_FAULT_POINTS=<n> runs about n, SLEEP_FAULT_FULL=1
// every point. SLEEP_FAULT_REPORT=<file> appends one line per loop.

#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "fault_week.h"
#include "stopped_night.h"
#include "store_workloads.h"

namespace OHOS::Sim {
namespace {

constexpr int kPointsPerLoop = 25;

void AppendReport(const std::string& loop, int range, size_t points, size_t failed, const std::string& extra)
{
    if (const char* path = std::getenv("SLEEP_FAULT_REPORT")) {
        std::ofstream(path, std::ios::app) << "stop\t" << loop << '\t' << range << '\t' << points << '\t'
                                           << points - failed << '\t' << extra << '\n';
    }
}

void ExpectNoProblems(const std::string& loop, const StoreStopLoop& result)
{
    EXPECT_GT(result.range, 0) << loop << ": the counting run made no calls";
    for (const std::string& problem : result.problems) {
        ADD_FAILURE() << loop << ": " << problem;
    }
    AppendReport(loop, result.range, static_cast<size_t>(result.range), result.problems.size(), "");
}

// A workload on one store, and the way it is killed.
struct StoreKill {
    std::string store;
    StoreStopLoop (*loop)(const std::string& dir, StopWay way);
    StopWay way;
};

class StoreKillTest : public testing::TestWithParam<StoreKill> {
protected:
    const ScratchFolder scratch_{"crash"};
};

TEST_P(StoreKillTest, StoreHoldsTheAcknowledgedWritesWholeAfterAKillAtEveryStep)
{
    const StoreKill& kill = GetParam();
    ExpectNoProblems(kill.store + "_" + StopWayName(kill.way), kill.loop(scratch_.Path(), kill.way));
}

TEST(StoreFailureTest, DatabaseHoldsExactlyTheAcknowledgedBatchesWhenAnyStatementStepFails)
{
    const ScratchFolder scratch{"crash-fail"};
    ExpectNoProblems("batches_failing_step", FailBatchesEverywhere(scratch.Path()));
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
    ASSERT_GT(loop.range, 0);
    size_t failed = 0;
    for (const NightStopResult& result : loop.results) {
        EXPECT_EQ(result.problem, "") << StopWayName(GetParam()) << " at " << result.point;
        failed += result.problem.empty() ? 0 : 1;
    }
    std::string active;
    for (const std::string& key : StoredSleepStateKeys()) {
        EXPECT_GT(loop.activeAtStop.count(key), 0u) << "no kill point fell while " << key << " was stored active";
        active += key + "=" + std::to_string(loop.activeAtStop.count(key) ? loop.activeAtStop.at(key) : 0) + " ";
    }
    AppendReport("night_" + StopWayName(GetParam()), loop.range, loop.results.size(), failed, active);
}

INSTANTIATE_TEST_SUITE_P(EveryKillWay, NightKillTest,
    testing::Values(StopWay::PREFERENCES_STEP_KILL, StopWay::DATABASE_OPERATION_KILL, StopWay::STORAGE_CALL_KILL),
    [](const testing::TestParamInfo<StopWay>& info) { return StopWayName(info.param); });

} // namespace
} // namespace OHOS::Sim
