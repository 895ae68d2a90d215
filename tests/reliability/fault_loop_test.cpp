// Fault loops over a simulated week: for every class of fallible platform call, the nth call fails
// once or for good (until noon of the fifth day), for n across the whole week, each run in its own
// process. Every run must end normally with an intact database, publish sleep states on the nights
// after the fault is cleared, and lose buffered rows only where the plug-in logged a refused save.
//
// CI runs about kPointsPerMode points per class and mode; SLEEP_FAULT_POINTS=<n> runs about n,
// SLEEP_FAULT_FULL=1 every point.
// SLEEP_FAULT_REPORT=<file> appends one line per class and mode for the reliability table.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "fault_week.h"
#include "platform_faults.h"

namespace OHOS::Sim {
namespace {

constexpr int kPointsPerMode = 12;
// The tables that hold the plug-in's buffered observations, written by its saves. Screen states and
// environment observations are taken whatever the plug-in decides, so a clean run has them all;
// notification records are kept only while a detected sleep is being recorded, so their number
// follows the detection and is reported, not compared.
const std::vector<std::string> kBufferedTables = {
    "raw_screen_state", "sleep_environment", "sleep_notification_records"};
const std::set<std::string> kDecisionIndependentTables = {"raw_screen_state", "sleep_environment"};

struct LoopTally {
    int points = 0;
    int tablesNeverCreated = 0; // runs whose failing call was a table creation at the first open
    int survived = 0;
    int injected = 0;
    std::map<std::string, int64_t> maxLost;
};

std::string Describe(const FaultWeekPlan& plan)
{
    return plan.faultClass + " call " + std::to_string(plan.nth) + (plan.persistent ? " and later" : " once");
}

// Checks one run against the clean run; true when it survived.
bool CheckRun(const FaultWeekPlan& plan, const FaultWeekOutcome& clean, const FaultWeekOutcome& run, LoopTally& tally)
{
    const std::string what = Describe(plan);
    bool ok = true;
    auto expect = [&ok, &what](bool condition, const std::string& failure) {
        EXPECT_TRUE(condition) << what << ": " << failure;
        ok = ok && condition;
    };
    expect(run.ending == "exit 0", "the run ended with " + run.ending);
    expect(run.integrity == "ok", "integrity_check answered " + run.integrity);
    for (int night = kFirstNightAfterClearing; night < kFaultWeekNights; ++night) {
        expect(run.deepStartsByNight.size() == kFaultWeekNights && run.deepStartsByNight[night] > 0,
            "no deep sleep published on night " + std::to_string(night + 1) + " after the fault was cleared");
    }
    for (const std::string& table : kBufferedTables) {
        const int64_t lost = clean.Rows(table) - run.Rows(table);
        tally.maxLost[table] = std::max(tally.maxLost[table], lost);
        expect(lost <= 0 || run.insertFailures > 0 || kDecisionIndependentTables.count(table) == 0,
            std::to_string(lost) + " rows of " + table + " lost without a refused save");
    }
    // The tables are created once, when the database file is first made, and the plug-in does not
    // check the creation results: a failed creation leaves that table missing, and every later save
    // into it is refused. Apart from that, one failing call refuses at most one save.
    const bool tableMissing = std::any_of(
        clean.rows.begin(), clean.rows.end(), [&run](const auto& table) { return run.rows.count(table.first) == 0; });
    tally.tablesNeverCreated += tableMissing ? 1 : 0;
    expect(plan.persistent || tableMissing || run.insertFailures <= 1,
        "one failing call refused " + std::to_string(run.insertFailures) + " saves");
    return ok;
}

void AppendReport(const std::string& faultClass, bool persistent, int range, const LoopTally& tally)
{
    const char* path = std::getenv("SLEEP_FAULT_REPORT");
    if (path == nullptr) {
        return;
    }
    std::ostringstream line;
    line << faultClass << '\t' << (persistent ? "persistent" : "once") << '\t' << range << '\t' << tally.points << '\t'
         << tally.survived << '\t' << tally.injected << "\ttablesNeverCreated=" << tally.tablesNeverCreated;
    for (const std::string& table : kBufferedTables) {
        line << '\t' << table << '=' << tally.maxLost.at(table);
    }
    std::ofstream(path, std::ios::app) << line.str() << '\n';
}

class FaultLoopTest : public ::testing::TestWithParam<std::string> {
protected:
    const ScratchFolder scratch_{"fault-loop"};
    const std::string& dir_ = scratch_.Path();
};

TEST_P(FaultLoopTest, WeekSurvivesEveryFailingCall)
{
    const std::string faultClass = GetParam();
    const FaultWeekOutcome clean = RunFaultWeek(dir_, FaultWeekPlan{faultClass, 0, false});
    ASSERT_EQ(clean.ending, "exit 0");
    ASSERT_EQ(clean.integrity, "ok");
    ASSERT_GT(clean.calls, 0) << "the week never calls " << faultClass;
    const int stride = FaultStride(clean.calls, kPointsPerMode);
    for (bool persistent : {false, true}) {
        LoopTally tally;
        for (int nth = 1; nth <= clean.calls; nth += stride) {
            const FaultWeekPlan plan{faultClass, nth, persistent};
            const FaultWeekOutcome run = RunFaultWeek(dir_, plan);
            ++tally.points;
            tally.injected += run.calls >= nth ? 1 : 0;
            tally.survived += CheckRun(plan, clean, run, tally) ? 1 : 0;
        }
        AppendReport(faultClass, persistent, clean.calls, tally);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryClass, FaultLoopTest, ::testing::ValuesIn(PlatformFaultClasses()),
    [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

} // namespace
} // namespace OHOS::Sim
