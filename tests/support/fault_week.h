#ifndef TESTS_SUPPORT_FAULT_WEEK_H
#define TESTS_SUPPORT_FAULT_WEEK_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "scenario.h"

namespace OHOS::Sim {

// How a child process ended and what it left behind.
struct ChildRunOutcome {
    std::string ending;                  // "exit 0", "exit 3", "signal 11"
    std::string integrity;               // PRAGMA integrity_check of the sleep database, or why it could not run
    std::map<std::string, int64_t> rows; // rows per table of the sleep database
    int64_t peakRssKb = 0;               // the child's peak resident memory

    int64_t Rows(const std::string& table) const
    {
        auto it = rows.find(table);
        return it == rows.end() ? 0 : it->second;
    }
};

// What a simulation run in a child published, read from its output folder. Nights run noon to noon
// from the start of the run.
struct SimRunOutcome : ChildRunOutcome {
    std::vector<int> deepStartsByNight; // deep-sleep starts published per night
    std::vector<int64_t> deepEndsMs;    // times of the published deep-sleep ends
    std::vector<nlohmann::json> faults; // the timeline's fault entries
    int trainingsFinished = 0;          // training-finished messages the plug-in received
    int insertFailures = 0;             // failed inserts the plug-in logged
};

// Runs `scenario` with RunSimulation in a forked child (the platform's singletons stay out of this
// process) with outputs in `outDir`, waits for it and reads its outcome. `prepare`, when given, runs
// in the child first.
SimRunOutcome RunSimulationInChild(
    const Scenario& scenario, const std::string& outDir, const std::function<void()>& prepare = nullptr);

// One week of the person of the built-in "four-states" scenario (without its dump commands), who
// wakes before the alarm and finds a message, with a platform fault class armed at the first phone
// event and cleared at noon of the fifth day, so the last two nights run without it.
struct FaultWeekPlan {
    std::string faultClass;
    int nth = 0; // 0 only counts the class's calls (armed at a call the week never reaches)
    bool persistent = false;
    bool recordDatabaseOperationTimes = false; // fills FaultWeekOutcome::databaseOperationTimes
};

// A batch insert the relational store wrote whole: when (virtual time), into which table, how many rows.
struct StoredBatch {
    int64_t timeMs = 0;
    std::string table;
    int64_t rows = 0;
};

struct FaultWeekOutcome : SimRunOutcome {
    int calls = -1;                              // calls of the class from arming to clearing
    std::vector<int64_t> databaseOperationTimes; // virtual time of database operation n at [n - 1]
    std::vector<StoredBatch> batches;            // in the order the store wrote them
};

// Number of nights of a fault week, and the first night after the fault is cleared.
constexpr int kFaultWeekNights = 7;
constexpr int kFirstNightAfterClearing = 5;

// A scratch folder for child runs: on a memory file system when there is one (no disk syncs).
std::string FaultScratchDir(const std::string& name);

// A fixture's scratch folder (FaultScratchDir), removed with its content at the end of the test.
class ScratchFolder {
public:
    explicit ScratchFolder(const std::string& name) : path_(FaultScratchDir(name)) {}
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// Runs the plan's week with RunSimulationInChild.
FaultWeekOutcome RunFaultWeek(const std::string& outDir, const FaultWeekPlan& plan);

// Forks, runs `body` in the child (which exits with its result), and reads the sleep database
// under `dataRoot` once the child has ended.
ChildRunOutcome RunInChild(const std::string& dataRoot, const std::function<int()>& body);

// The rows `sql` answers on the SQLite file `path`, every value as text ("NULL" for none); empty when
// the file cannot be opened or the statement fails.
std::vector<std::vector<std::string>> QueryDatabase(const std::string& path, const std::string& sql);

// The sleep database below a data root ("" when there is none), and the outcome fields read from it.
std::string FindSleepDatabase(const std::string& dataRoot);
void ReadDatabase(const std::string& dataRoot, ChildRunOutcome& outcome);

// The point stride of a loop over `count` injection points: every point when the environment
// variable SLEEP_FAULT_FULL is set (to anything but 0), else about `pointsWanted` (or the number in
// SLEEP_FAULT_POINTS) spread evenly.
int FaultStride(int count, int pointsWanted);

// Appends `line` and a line break to the file named by SLEEP_FAULT_REPORT, when it is set.
void AppendFaultReport(const std::string& line);

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_FAULT_WEEK_H
