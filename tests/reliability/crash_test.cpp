// Crashes: a child process is killed (SIGKILL) at an exact step of a preferences write or a database
// write, counted by the platform; afterwards the files must be whole and a restarted service must
// close the sleep states that were active. Each kill point runs in its own process.
//
// CI runs about kPointsPerLoop kill points per loop; SLEEP_FAULT_POINTS=<n> about n, and
// SLEEP_FAULT_FULL=1 every point. SLEEP_FAULT_REPORT=<file> appends one line per loop.

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "common_event_manager.h"
#include "data_root.h"
#include "event_handler.h"
#include "fault_week.h"
#include "hilog.h"
#include "preferences_file.h"
#include "preferences_helper.h"
#include "rdb_faults.h"
#include "sim_driver.h"
#include "sleep_database_manager.h"
#include "sleep_detection.h"
#include "sleep_shared_pref.h"
#include "sleep_table.h"
#include "standby_service_impl.h"
#include "time_service_client.h"
#include "timeline.h"
#include "user_sleep_strategy.h"
#include "virtual_clock.h"

namespace OHOS::Sim {
namespace {

using DevStandbyMgr::SleepSharedPref;
using NativePreferences::PreferencesMap;

constexpr int kPointsPerLoop = 25;
constexpr int kFlushes = 12;
constexpr int kKeys = 40; // enough text for several write blocks
constexpr int kBatches = 12;
constexpr int kBatchRows = 10;
constexpr int kRecoveredExit = 0;
constexpr int kNotRecoveredExit = 4;
const std::string kPrefPath = "/data/crash/values.xml";
const std::string kSleepStateAction = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";

void AppendReport(const std::string& loop, int range, int points, int survived, int activeAtCrash)
{
    if (const char* path = std::getenv("SLEEP_FAULT_REPORT")) {
        std::ofstream(path, std::ios::app) << "crash\t" << loop << '\t' << range << '\t' << points << '\t' << survived
                                           << "\tactiveAtCrash=" << activeAtCrash << '\n';
    }
}

void KillAtStep(int step, int killAt)
{
    if (step == killAt) {
        raise(SIGKILL);
    }
}

// Writes kFlushes generations of kKeys values, each generation flushed in one write.
int FlushGenerations(const std::string& root, int killAt)
{
    Emulator::SetDataRoot(root);
    Emulator::SetPreferencesWriteStepObserver([killAt](int step) { KillAtStep(step, killAt); });
    int error = 0;
    auto preferences = NativePreferences::PreferencesHelper::GetPreferences(kPrefPath, error);
    for (int generation = 1; preferences != nullptr && generation <= kFlushes; ++generation) {
        for (int key = 0; key < kKeys; ++key) {
            preferences->PutString(
                "key" + std::to_string(key), std::string(200, 'a' + key % 26) + std::to_string(generation));
        }
        if (preferences->FlushSync() != NativePreferences::E_OK) {
            return 1;
        }
    }
    return 0;
}

// The generation every value of the file carries, -1 when they disagree, 0 when there is no file.
int FileGeneration(const std::string& root, std::string& problem)
{
    PreferencesMap values;
    const int read = NativePreferences::ReadPreferencesFile(root + kPrefPath, values);
    if (read != NativePreferences::E_OK) {
        problem = "unreadable (" + std::to_string(read) + ")";
        return -1;
    }
    int generation = values.empty() ? 0 : -2;
    for (const auto& [key, value] : values) {
        const std::string* text = std::get_if<std::string>(&value);
        const int carried = text == nullptr || text->size() <= 200 ? -1 : std::atoi(text->c_str() + 200);
        generation = generation == -2 || generation == carried ? carried : -1;
    }
    if (generation < 0 || (generation > 0 && values.size() != kKeys)) {
        problem = "torn: " + std::to_string(values.size()) + " keys of mixed generations";
        return -1;
    }
    return generation;
}

// Inserts kBatches batches of kBatchRows screen states through the plug-in's database manager.
int InsertBatches(const std::string& root, int killAt)
{
    Emulator::SetDataRoot(root);
    Emulator::RdbFaults::SetOperationObserver([killAt](int operation) { KillAtStep(operation, killAt); });
    auto database = DevStandbyMgr::SleepDatabaseManager::GetInstance();
    for (int batch = 0; batch < kBatches; ++batch) {
        std::vector<DevStandbyMgr::ScreenStateRecord> rows(kBatchRows);
        for (int i = 0; i < kBatchRows; ++i) {
            rows[i].timestamp = batch * kBatchRows + i;
            rows[i].state = i % 2;
        }
        if (database->InsertEntries(DevStandbyMgr::ScreenStateRecord::TABLE_NAME, rows) != 0) {
            return 1;
        }
    }
    return 0;
}

// A night's simulation (two days of the default person) killed at a counted step.
struct NightKill {
    std::string outDir;
    bool atDatabaseOperation = false;
    int killAt = 0;
};

const std::string kCountFile = "steps.txt";
const std::string kStepTimesFile = "step-times.txt";

// Without a kill point (killAt < 0) the run writes how many steps it counted into kCountFile and
// each step's number and virtual time into kStepTimesFile.
int RunKilledNight(const NightKill& kill)
{
    const int killAt = kill.killAt;
    std::mutex mutex; // steps also come from the training thread
    std::vector<std::pair<int, int64_t>> stepTimes;
    const auto onStep = [killAt, &mutex, &stepTimes](int step) {
        if (killAt < 0) {
            std::lock_guard<std::mutex> lock(mutex);
            stepTimes.emplace_back(step, MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs());
        }
        KillAtStep(step, killAt);
    };
    if (kill.atDatabaseOperation) {
        Emulator::RdbFaults::SetOperationObserver(onStep);
    } else {
        Emulator::SetPreferencesWriteStepObserver(onStep);
    }
    Scenario scenario = DefaultScenario();
    scenario.days = 2;
    SimOptions options;
    options.outDir = kill.outDir;
    const bool ok = RunSimulation(scenario, options).ok;
    if (killAt < 0) {
        std::ofstream(kill.outDir + "/" + kCountFile)
            << (kill.atDatabaseOperation ? Emulator::RdbFaults::OperationCount()
                                         : Emulator::PreferencesWriteStepCount());
        std::ofstream times(kill.outDir + "/" + kStepTimesFile);
        for (const auto& [step, timeMs] : stepTimes) {
            times << step << ' ' << timeMs << '\n';
        }
    }
    return ok ? 0 : 1;
}

// The deep sleeps the counting run published, from its timeline.
std::vector<std::pair<int64_t, int64_t>> DeepSleepSpans(const std::string& outDir)
{
    std::vector<std::pair<int64_t, int64_t>> spans;
    std::ifstream in(outDir + "/" + TIMELINE_FILE);
    for (std::string text; std::getline(in, text);) {
        const auto line = nlohmann::json::parse(text, nullptr, false);
        if (line.is_discarded() || line.value("type", "") != TIMELINE_COMMON_EVENT ||
            line.value("action", "") != kSleepStateAction) {
            continue;
        }
        const bool asleep = line["want"]["params"].value("isSleep", false);
        const int64_t t = line["t"].get<int64_t>();
        if (asleep) {
            spans.emplace_back(t, INT64_MAX);
        } else if (!spans.empty() && spans.back().second == INT64_MAX) {
            spans.back().second = t;
        }
    }
    return spans;
}

// Kill points: every stride-th step, and the first and middle step inside each deep sleep of the
// counting run, so that some kills always fall while a deep sleep is active.
std::set<int> KillPoints(const std::string& countingDir, int range)
{
    std::set<int> points;
    for (int step = 1; step <= range; step += FaultStride(range, kPointsPerLoop)) {
        points.insert(step);
    }
    std::vector<std::pair<int, int64_t>> stepTimes;
    std::ifstream in(countingDir + "/" + kStepTimesFile);
    for (std::pair<int, int64_t> entry; in >> entry.first >> entry.second;) {
        stepTimes.push_back(entry);
    }
    for (const auto& [begin, end] : DeepSleepSpans(countingDir)) {
        std::vector<int> inside;
        for (const auto& [step, timeMs] : stepTimes) {
            if (timeMs > begin && timeMs < end) {
                inside.push_back(step);
            }
        }
        if (!inside.empty()) {
            points.insert(inside.front());
            points.insert(inside[inside.size() / 2]);
        }
    }
    return points;
}

// The service starts again on the killed run's data: OnCreated must publish the end of a deep sleep
// the preferences still hold as active, store it as ended, and publish nothing when none was.
int RestartAndCheckRecovery(const std::string& root)
{
    Emulator::DisableLogSink();
    Emulator::SetDataRoot(root);
    const bool wasAsleep = SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_SLEEPING_AI, false);
    auto clock = std::make_shared<Emulator::VirtualClock>(1767700000000);
    Emulator::InstallClock(clock);
    auto handler = AppExecFwk::EventHandler::CreateVirtual(clock);
    int endsPublished = 0;
    Emulator::CommonEventBus::GetInstance().Subscribe(
        {}, {"ohos.permission.PERCEIVE_SMART_POWER_SCENARIO"}, [&endsPublished](const EventFwk::CommonEventData& data) {
            const bool ended =
                data.GetWant().GetAction() == kSleepStateAction && !data.GetWant().GetBoolParam("isSleep", true);
            endsPublished += ended ? 1 : 0;
        });
    auto host = DevStandbyMgr::StandbyServiceImpl::GetInstance();
    host->SetHandler(handler);
    host->RegisterStrategy(std::make_shared<DevStandbyMgr::UserSleepStrategy>());
    host->OnCreated();
    handler->RunUntilIdle();
    const bool stillAsleep = SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_SLEEPING_AI, false);
    const bool recovered = !stillAsleep && endsPublished == (wasAsleep ? 1 : 0);
    return recovered ? kRecoveredExit : kNotRecoveredExit;
}

bool PreferenceFileSaysAsleep(const std::string& root)
{
    PreferencesMap values;
    NativePreferences::ReadPreferencesFile(root + SleepSharedPref::SLEEP_SHARED_PREF_PATH, values);
    auto it = values.find(SleepSharedPref::USER_SLEEPING_AI);
    return it != values.end() && std::get_if<bool>(&it->second) != nullptr && std::get<bool>(it->second);
}

class CrashTest : public testing::Test {
protected:
    // Runs `body` in a child process in an emptied scratch folder, killed at step `killAt`.
    ChildRunOutcome RunKilledInFreshFolder(int killAt, int (*body)(const std::string&, int)) const
    {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
        return RunInChild(dir_, [this, body, killAt] { return body(dir_, killAt); });
    }

    const ScratchFolder scratch_{"crash"};
    const std::string& dir_ = scratch_.Path();
};

TEST_F(CrashTest, PreferencesFileIsOldOrNewAfterAKillAtEveryWriteStep)
{
    // A flush takes eight steps: temporary file, three blocks, sync, close, rename, folder sync.
    const int range = kFlushes * 8;
    int points = 0;
    int survived = 0;
    int lastGeneration = 0;
    for (int killAt = 1; killAt <= range; killAt += FaultStride(range, kPointsPerLoop)) {
        const ChildRunOutcome child = RunKilledInFreshFolder(killAt, FlushGenerations);
        std::string problem;
        const int generation = FileGeneration(dir_, problem);
        ++points;
        const bool ok = generation >= lastGeneration && problem.empty();
        EXPECT_TRUE(ok) << "killed at write step " << killAt << " (" << child.ending << "): " << problem
                        << ", generation " << generation << " after " << lastGeneration;
        survived += ok ? 1 : 0;
        lastGeneration = std::max(lastGeneration, generation);
    }
    EXPECT_GT(lastGeneration, 1);
    AppendReport("preferences_write_step", range, points, survived, 0);
}

TEST_F(CrashTest, DatabaseIsIntactAndHoldsWholeBatchesAfterAKillAtEveryOperation)
{
    const int range = kBatches * (kBatchRows + 2) + 16; // the batches plus opening and creating tables
    int points = 0;
    int survived = 0;
    for (int killAt = 1; killAt <= range; killAt += FaultStride(range, kPointsPerLoop)) {
        const ChildRunOutcome child = RunKilledInFreshFolder(killAt, InsertBatches);
        ++points;
        const bool hasFile = !FindSleepDatabase(dir_).empty();
        const int64_t rows = child.Rows("raw_screen_state");
        const bool ok = !hasFile || (child.integrity == "ok" && rows % kBatchRows == 0);
        EXPECT_TRUE(ok) << "killed at operation " << killAt << " (" << child.ending << "): integrity "
                        << child.integrity << ", " << rows << " rows";
        survived += ok ? 1 : 0;
    }
    AppendReport("database_operation", range, points, survived, 0);
}

// Kills a simulated night at counted steps, then restarts the service on what it left.
void KillNightsAndRestart(const std::string& dir, bool atDatabaseOperation, const std::string& loop)
{
    NightKill counting{dir + "/count", atDatabaseOperation, -1};
    RunInChild(counting.outDir, [&counting] { return RunKilledNight(counting); });
    int range = 0;
    std::ifstream(counting.outDir + "/" + kCountFile) >> range;
    ASSERT_GT(range, 0);
    int points = 0;
    int survived = 0;
    int activeAtCrash = 0;
    for (int killAt : KillPoints(counting.outDir, range)) {
        NightKill kill{dir + "/night", atDatabaseOperation, killAt};
        const std::string root = kill.outDir + "/" + DATA_DIR;
        const ChildRunOutcome night = RunInChild(root, [&kill] { return RunKilledNight(kill); });
        const bool asleep = PreferenceFileSaysAsleep(root);
        const ChildRunOutcome restart = RunInChild(root, [&root] { return RestartAndCheckRecovery(root); });
        ++points;
        activeAtCrash += asleep ? 1 : 0;
        const bool intact = night.integrity == "ok" || night.integrity == "no database";
        const bool ok =
            intact && restart.ending == "exit 0" && (restart.integrity == "ok" || restart.integrity == "no database");
        EXPECT_TRUE(ok) << loop << " " << killAt << " (" << night.ending << "): integrity " << night.integrity
                        << ", restart " << restart.ending << (asleep ? ", deep sleep was active" : "");
        survived += ok ? 1 : 0;
    }
    AppendReport(loop, range, points, survived, activeAtCrash);
    EXPECT_GT(activeAtCrash, 0) << "no kill point fell inside a deep sleep";
}

TEST_F(CrashTest, RestartEndsTheStatesActiveWhenANightWasKilledInAPreferencesWrite)
{
    KillNightsAndRestart(dir_, false, "night_preferences_write_step");
}

TEST_F(CrashTest, RestartEndsTheStatesActiveWhenANightWasKilledInADatabaseWrite)
{
    KillNightsAndRestart(dir_, true, "night_database_operation");
}

} // namespace
} // namespace OHOS::Sim
