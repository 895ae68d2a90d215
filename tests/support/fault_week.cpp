#include "fault_week.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <mutex>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "builtin_scenarios.h"
#include "local_calendar.h"
#include "rdb_faults.h"
#include "sim_driver.h"
#include "time_service_client.h"

namespace OHOS::Sim {

namespace {

constexpr int kRunFailedExit = 3;
constexpr int64_t kMsPerNight = 24LL * 60 * 60 * 1000;
const std::string kSleepStateAction = "COMMON_EVENT_USER_SLEEP_STATE_CHANGED";
constexpr int kTrainingFinishedMessage = 2001;
constexpr int64_t kNoonMinute = 12 * 60;

std::string Ending(int status)
{
    if (WIFEXITED(status)) {
        return "exit " + std::to_string(WEXITSTATUS(status));
    }
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status)) : "unknown";
}

Scenario FaultWeekScenario(const FaultWeekPlan& plan)
{
    // The person of the built-in "four-states" scenario wakes before the alarm and finds a message:
    // the notification recording after each night has something to record.
    Scenario scenario = DefaultScenario();
    std::string error;
    ApplyBuiltinScenario("four-states", scenario, error);
    scenario.days = kFaultWeekNights;
    scenario.dumps.clear();
    ScenarioFault fault;
    fault.kind = "platform_fault";
    fault.at = "2026-01-05 12:00"; // the start of the default scenario
    fault.until = "2026-01-10 12:00";
    fault.faultClass = plan.faultClass;
    fault.nth = plan.nth > 0 ? plan.nth : std::numeric_limits<int32_t>::max();
    fault.persistent = plan.persistent;
    scenario.faults = {fault};
    return scenario;
}

// The deep-sleep starts per night and ends, training messages and fault entries of a timeline.
void ReadTimeline(const std::string& path, int64_t startMs, int nights, SimRunOutcome& outcome)
{
    outcome.deepStartsByNight.assign(static_cast<size_t>(nights), 0);
    std::ifstream in(path);
    for (std::string text; std::getline(in, text);) {
        const auto line = nlohmann::json::parse(text, nullptr, false);
        if (line.is_discarded()) {
            continue;
        }
        const int64_t t = line.value("t", int64_t{0});
        if (line.value("type", "") == "fault") {
            outcome.faults.push_back(line);
        }
        if (line.value("type", "") == "host_message" && line.value("id", 0) == kTrainingFinishedMessage) {
            ++outcome.trainingsFinished;
        }
        if (line.value("type", "") != "common_event" || line.value("action", "") != kSleepStateAction) {
            continue;
        }
        const int64_t night = (t - startMs) / kMsPerNight;
        if (!line["want"]["params"].value("isSleep", false)) {
            outcome.deepEndsMs.push_back(t);
        } else if (t >= startMs && night < nights) {
            ++outcome.deepStartsByNight[static_cast<size_t>(night)];
        }
    }
}

int CountLogLines(const std::string& path, const std::string& text)
{
    std::ifstream in(path);
    int count = 0;
    for (std::string line; std::getline(in, line);) {
        count += line.find(text) != std::string::npos ? 1 : 0;
    }
    return count;
}

bool Exec(sqlite3* db, const std::string& sql, std::vector<std::vector<std::string>>& rows)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        return false;
    }
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(statement)) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const unsigned char* text = sqlite3_column_text(statement, i);
            row.emplace_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
        }
        rows.push_back(row);
    }
    sqlite3_finalize(statement);
    return step == SQLITE_DONE;
}

} // namespace

std::string FaultScratchDir(const std::string& name)
{
    std::error_code ec;
    const bool memory = std::filesystem::is_directory("/dev/shm", ec) && access("/dev/shm", W_OK) == 0;
    const std::string base = memory ? "/dev/shm" : std::filesystem::temp_directory_path(ec).string();
    return base + "/sleep-" + name + "-" + std::to_string(getpid());
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::vector<std::vector<std::string>> QueryDatabase(const std::string& path, const std::string& sql)
{
    std::vector<std::vector<std::string>> rows;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK || !Exec(db, sql, rows)) {
        rows.clear();
    }
    sqlite3_close(db);
    return rows;
}

std::string FindSleepDatabase(const std::string& dataRoot)
{
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(dataRoot, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        if (it->path().filename() == "sleep.db") {
            return it->path().string();
        }
    }
    return "";
}

void ReadDatabase(const std::string& dataRoot, ChildRunOutcome& outcome)
{
    const std::string path = FindSleepDatabase(dataRoot);
    if (path.empty()) {
        outcome.integrity = "no database";
        return;
    }
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        outcome.integrity = "cannot open " + path;
        sqlite3_close(db);
        return;
    }
    std::vector<std::vector<std::string>> answer;
    outcome.integrity =
        Exec(db, "PRAGMA integrity_check", answer) && answer.size() == 1 ? answer[0][0] : "integrity_check failed";
    std::vector<std::vector<std::string>> tables;
    Exec(db, "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%'", tables);
    for (const auto& table : tables) {
        std::vector<std::vector<std::string>> count;
        if (Exec(db, "SELECT COUNT(*) FROM \"" + table[0] + "\"", count) && count.size() == 1) {
            outcome.rows[table[0]] = std::strtoll(count[0][0].c_str(), nullptr, 10);
        }
    }
    sqlite3_close(db);
}

ChildRunOutcome RunInChild(const std::string& dataRoot, const std::function<int()>& body)
{
    ChildRunOutcome outcome;
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(body());
    }
    int status = 0;
    struct rusage usage {};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid) {
        outcome.ending = "fork failed";
        return outcome;
    }
    outcome.ending = Ending(status);
    outcome.peakRssKb = usage.ru_maxrss;
    ReadDatabase(dataRoot, outcome);
    return outcome;
}

SimRunOutcome RunSimulationInChild(
    const Scenario& scenario, const std::string& outDir, const std::function<void()>& prepare)
{
    SimRunOutcome outcome;
    static_cast<ChildRunOutcome&>(outcome) = RunInChild(outDir + "/" + DATA_DIR, [&scenario, &outDir, &prepare] {
        if (prepare) {
            prepare();
        }
        SimOptions options;
        options.outDir = outDir;
        return RunSimulation(scenario, options).ok ? 0 : kRunFailedExit;
    });
    SetProcessTimeZone(scenario.timeZone);
    ReadTimeline(outDir + "/" + TIMELINE_FILE, LocalTimeMs(scenario.startDate, kNoonMinute), scenario.days, outcome);
    outcome.insertFailures = CountLogLines(outDir + "/" + LOG_FILE, "insert fail");
    return outcome;
}

// A file the child appends lines to from any thread, each line flushed (the child ends with _exit).
struct ChildRecord {
    std::mutex mutex;
    std::ofstream out;

    explicit ChildRecord(const std::string& path) : out(path) {}
    void Add(const std::string& line)
    {
        std::lock_guard<std::mutex> lock(mutex);
        out << line << std::endl;
    }
};

int64_t VirtualNowMs()
{
    return MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs();
}

// In the child: records every batch the store writes and, when asked, the time of every database
// operation, one a line.
void RecordStoreActivity(const std::string& batchesPath, const std::string& timesPath)
{
    auto batches = std::make_shared<ChildRecord>(batchesPath);
    Emulator::RdbFaults::SetBatchObserver([batches](const std::string& table, int64_t rows) {
        batches->Add(std::to_string(VirtualNowMs()) + ' ' + table + ' ' + std::to_string(rows));
    });
    if (!timesPath.empty()) {
        auto times = std::make_shared<ChildRecord>(timesPath);
        Emulator::RdbFaults::SetOperationObserver([times](int) { times->Add(std::to_string(VirtualNowMs())); });
    }
}

FaultWeekOutcome RunFaultWeek(const std::string& outDir, const FaultWeekPlan& plan)
{
    FaultWeekOutcome outcome;
    const std::string batchesPath = outDir + "-batches.txt";
    const std::string timesPath = plan.recordDatabaseOperationTimes ? outDir + "-operation-times.txt" : "";
    static_cast<SimRunOutcome&>(outcome) = RunSimulationInChild(
        FaultWeekScenario(plan), outDir, [&batchesPath, &timesPath] { RecordStoreActivity(batchesPath, timesPath); });
    std::ifstream times(timesPath);
    for (int64_t timeMs = 0; times >> timeMs;) {
        outcome.databaseOperationTimes.push_back(timeMs);
    }
    std::ifstream batches(batchesPath);
    for (StoredBatch batch; batches >> batch.timeMs >> batch.table >> batch.rows;) {
        outcome.batches.push_back(batch);
    }
    std::error_code ec;
    std::filesystem::remove(timesPath, ec);
    std::filesystem::remove(batchesPath, ec);
    for (const nlohmann::json& fault : outcome.faults) {
        outcome.calls = fault.value("calls", outcome.calls);
    }
    return outcome;
}

int FaultStride(int count, int pointsWanted)
{
    const char* full = std::getenv("SLEEP_FAULT_FULL");
    const char* points = std::getenv("SLEEP_FAULT_POINTS");
    if (points != nullptr && std::atoi(points) > 0) {
        pointsWanted = std::atoi(points);
    }
    if ((full != nullptr && std::string(full) != "0") || pointsWanted <= 0 || count <= pointsWanted) {
        return 1;
    }
    return (count + pointsWanted - 1) / pointsWanted;
}

void AppendFaultReport(const std::string& line)
{
    if (const char* path = std::getenv("SLEEP_FAULT_REPORT")) {
        std::ofstream(path, std::ios::app) << line << '\n';
    }
}

} // namespace OHOS::Sim
