// Fault loops over a simulated week: for every class of fallible platform call, the nth call fails
// once or for good (until noon of the fifth day), for n across the whole week, each run in its own
// process. Every run must end normally with an intact database, publish sleep states on the nights
// after the fault is cleared, and store exactly what its log says it saved: each save the screen
// events since the save before, none when the save was refused (its buffers are emptied, nothing is
// retried), and no row of a table in the time of a save that refused that table.
//
// CI runs about kPointsPerMode points per class and mode; SLEEP_FAULT_POINTS=<n> runs about n,
// SLEEP_FAULT_FULL=1 every point.
// SLEEP_FAULT_REPORT=<file> appends one line per class and mode for the reliability table.

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "dependent_messages.h"
#include "fault_week.h"
#include "platform_faults.h"
#include "save_ledger.h"
#include "sim_driver.h"

namespace OHOS::Sim {
namespace {

constexpr int kPointsPerMode = 12;
// Extra once-mode points of the database class per kind of refused save (RefusedSavePoints), so that
// refused saves of buffered rows are exercised.
constexpr size_t kRefusedSavePoints = 6;
constexpr size_t kSleepTables = 7; // the plug-in creates seven tables when the database is made

struct LoopTally {
    int points = 0;
    int survived = 0;
    int injected = 0;
    int withRefusedSave = 0;         // runs in which the plug-in logged a refused save
    int withRefusedObservations = 0; // runs in which a save of observations was refused
};

std::string Describe(const FaultWeekPlan& plan)
{
    return plan.faultClass + " call " + std::to_string(plan.nth) + (plan.persistent ? " and later" : " once");
}

bool AnySaveRefused(const std::vector<LoggedSave>& saves)
{
    return std::any_of(saves.begin(), saves.end(), [](const LoggedSave& save) {
        return save.screenStates.refused || save.environments.refused || save.notifications.refused;
    });
}

// The time the run cleared its fault, from its timeline's fault entries.
int64_t ClearedMs(const FaultWeekOutcome& run)
{
    int64_t cleared = INT64_MAX;
    for (const nlohmann::json& fault : run.faults) {
        cleared = fault.contains("calls") ? fault.value("t", cleared) : cleared;
    }
    return cleared;
}

// For a subscription class, whether the messages its subscription feeds, from the next occasion
// after the fault cleared to the end, are the clean run's: "" when they are.
std::string CompareFeedAfterClearing(
    const FaultWeekPlan& plan, const std::string& timeline, const std::string& cleanTimeline, int64_t clearedMs)
{
    const SubscriptionFeed* feed = FeedOf(plan.faultClass);
    if (feed == nullptr) {
        return "";
    }
    const int64_t occasion = NextSubscriptionOccasion(timeline, plan.faultClass, clearedMs);
    const std::vector<std::string> messages = FeedMessages(timeline, *feed, occasion);
    const std::vector<std::string> clean = FeedMessages(cleanTimeline, *feed, occasion);
    if (messages == clean && !clean.empty()) {
        return "";
    }
    const auto differ = std::mismatch(messages.begin(), messages.end(), clean.begin(), clean.end());
    return std::to_string(messages.size()) + " messages fed after the subscription came back, the clean run " +
        std::to_string(clean.size()) + (differ.first != messages.end() ? "; first differing: " + *differ.first : "") +
        (differ.second != clean.end() ? "; clean: " + *differ.second : "");
}

// Checks one run against what it logged; true when it survived.
bool CheckRun(const std::string& dir, const std::string& cleanTimeline, const FaultWeekPlan& plan,
    const FaultWeekOutcome& run, LoopTally& tally)
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
    const std::vector<LoggedSave> saves = ReadLoggedSaves(dir + "/" + LOG_FILE);
    for (const std::string& problem :
        CheckSavedBatches(saves, ScreenEventTimes(dir + "/" + TIMELINE_FILE), run.batches)) {
        expect(false, problem);
    }
    for (const std::string& problem : CheckRefusedRecordsAbsent(saves, FindSleepDatabase(dir + "/" + DATA_DIR))) {
        expect(false, problem);
    }
    tally.withRefusedSave += AnySaveRefused(saves) ? 1 : 0;
    tally.withRefusedObservations += std::any_of(saves.begin(), saves.end(),
        [](const LoggedSave& save) { return save.environments.refused && !save.environments.recordTimes.empty(); });
    const std::string feed = CompareFeedAfterClearing(plan, dir + "/" + TIMELINE_FILE, cleanTimeline, ClearedMs(run));
    expect(feed.empty(), feed);
    // The tables are created once, when the database file is first made, and the plug-in does not
    // check the creation results: a failed creation leaves that table missing, and every later save
    // into it is refused. Apart from that, one failing call refuses at most one save.
    const bool tableMissing = run.rows.size() < kSleepTables;
    expect(plan.persistent || tableMissing || run.insertFailures <= 1,
        "one failing call refused " + std::to_string(run.insertFailures) + " saves");
    return ok;
}

void AppendReport(const std::string& faultClass, bool persistent, int range, const LoopTally& tally)
{
    std::ostringstream line;
    line << faultClass << '\t' << (persistent ? "persistent" : "once") << '\t' << range << '\t' << tally.points << '\t'
         << tally.survived << '\t' << tally.injected << "\trefusedSaves=" << tally.withRefusedSave
         << "\trefusedObservationSaves=" << tally.withRefusedObservations;
    AppendFaultReport(line.str());
}

// Up to kRefusedSavePoints of `candidates`, spread over them.
std::set<int> Spread(const std::vector<int>& candidates)
{
    std::set<int> points;
    for (size_t i = 0; i < kRefusedSavePoints && !candidates.empty(); ++i) {
        points.insert(candidates[i * candidates.size() / kRefusedSavePoints]);
    }
    return points;
}

// Once-mode points of the database class, from the clean run (in `dir`), spread over the week: at the
// first operation of a save of screen states (its batch is refused whole), and at the second row of
// a save of observations alone (its batch fails part-way, after one row was written; the operations
// of a batch are its savepoint and then one per row).
std::set<int> RefusedSavePoints(const std::string& dir, const FaultWeekOutcome& clean)
{
    std::vector<int> screenBatches;
    std::vector<int> observationRows;
    const std::vector<int64_t> events = ScreenEventTimes(dir + "/" + TIMELINE_FILE);
    const auto& times = clean.databaseOperationTimes;
    int64_t from = INT64_MIN;
    for (const LoggedSave& save : ReadLoggedSaves(dir + "/" + LOG_FILE)) {
        const auto first = std::lower_bound(times.begin(), times.end(), save.timeMs);
        const bool savesScreenStates =
            std::any_of(events.begin(), events.end(), [from, &save](int64_t t) { return t > from && t <= save.timeMs; });
        const int operation = static_cast<int>(first - times.begin()) + 1;
        if (first != times.end() && *first == save.timeMs && operation + 2 <= clean.calls) {
            if (savesScreenStates) {
                screenBatches.push_back(operation);
            } else if (save.environments.recordTimes.size() >= 2) {
                observationRows.push_back(operation + 2);
            }
        }
        from = save.timeMs;
    }
    std::set<int> points = Spread(screenBatches);
    const std::set<int> partWay = Spread(observationRows);
    points.insert(partWay.begin(), partWay.end());
    return points;
}

class FaultLoopTest : public ::testing::TestWithParam<std::string> {
protected:
    const ScratchFolder scratch_{"fault-loop"};
    const std::string& dir_ = scratch_.Path();
};

TEST_P(FaultLoopTest, WeekSurvivesEveryFailingCall)
{
    const std::string faultClass = GetParam();
    FaultWeekPlan counting{faultClass, 0, false};
    counting.recordDatabaseOperationTimes = faultClass == "database";
    const FaultWeekOutcome clean = RunFaultWeek(dir_, counting);
    ASSERT_EQ(clean.ending, "exit 0");
    ASSERT_EQ(clean.integrity, "ok");
    ASSERT_GT(clean.calls, 0) << "the week never calls " << faultClass;
    const std::string cleanTimeline = dir_ + "-clean-" + TIMELINE_FILE;
    std::filesystem::copy_file(
        dir_ + "/" + TIMELINE_FILE, cleanTimeline, std::filesystem::copy_options::overwrite_existing);
    std::set<int> oncePoints = counting.recordDatabaseOperationTimes ? RefusedSavePoints(dir_, clean) : std::set<int>{};
    const int stride = FaultStride(clean.calls, kPointsPerMode);
    std::set<int> strided;
    for (int nth = 1; nth <= clean.calls; nth += stride) {
        strided.insert(nth);
    }
    oncePoints.insert(strided.begin(), strided.end());
    for (bool persistent : {false, true}) {
        LoopTally tally;
        for (int nth : persistent ? strided : oncePoints) {
            const FaultWeekPlan plan{faultClass, nth, persistent};
            const FaultWeekOutcome run = RunFaultWeek(dir_, plan);
            ++tally.points;
            tally.injected += run.calls >= nth ? 1 : 0;
            tally.survived += CheckRun(dir_, cleanTimeline, plan, run, tally) ? 1 : 0;
        }
        AppendReport(faultClass, persistent, clean.calls, tally);
    }
    std::filesystem::remove(cleanTimeline);
}

INSTANTIATE_TEST_SUITE_P(EveryClass, FaultLoopTest, ::testing::ValuesIn(PlatformFaultClasses()),
    [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

} // namespace
} // namespace OHOS::Sim
