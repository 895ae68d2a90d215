#include "stopped_night.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "common_event_manager.h"
#include "data_root.h"
#include "event_handler.h"
#include "fault_week.h"
#include "hilog.h"
#include "builtin_scenarios.h"
#include "preferences_file.h"
#include "preferences_helper.h"
#include "sim_driver.h"
#include "sleep_shared_pref.h"
#include "standby_service_impl.h"
#include "stop_way.h"
#include "time_service_client.h"
#include "timeline.h"
#include "user_sleep_strategy.h"
#include "virtual_clock.h"

namespace OHOS::Sim {
namespace {

using DevStandbyMgr::SleepSharedPref;

const std::string kScenarioName = "four-states";
const std::string kCountFile = "calls.txt";
const std::string kCallTimesFile = "call-times.txt";
const std::string kRestartProblemFile = "restart-problem.txt";

// The event each stored state is announced with, by preference key.
const std::map<std::string, std::string>& StateActions()
{
    static const std::map<std::string, std::string> actions = {
        {SleepSharedPref::USER_SLEEPING_AI, "COMMON_EVENT_USER_SLEEP_STATE_CHANGED"},
        {SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI, "common.event.USER_NOT_CARE_CHARGE_SLEEP"},
        {SleepSharedPref::USER_LIGHT_SLEEPING_AI, "common.event.USER_LIGHT_SLEEP_STATE_CHANGED"},
        {SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI, "common.event.USER_EASY_WAKEUP_SLP_STATE_CHANGED"}};
    return actions;
}

struct NightStop {
    std::string outDir;
    StopWay way = StopWay::PREFERENCES_STEP_KILL;
    int stopAt = -1; // -1: the counting run
};

Scenario NightScenario()
{
    Scenario scenario = DefaultScenario();
    std::string error;
    ApplyBuiltinScenario(kScenarioName, scenario, error);
    return scenario;
}

// The counting run (stopAt < 0) writes how many calls it counted and each call's virtual time.
int RunStoppedNight(const NightStop& stop)
{
    std::mutex mutex; // calls also come from the training thread
    std::vector<std::pair<int, int64_t>> callTimes;
    const bool counting = stop.stopAt < 0;
    ArmStop(stop.way, stop.stopAt, [counting, &mutex, &callTimes](int call) {
        if (counting) {
            std::lock_guard<std::mutex> lock(mutex);
            callTimes.emplace_back(call, MiscServices::TimeServiceClient::GetInstance()->GetWallTimeMs());
        }
    });
    SimOptions options;
    options.outDir = stop.outDir;
    const bool ok = RunSimulation(NightScenario(), options).ok;
    if (counting) {
        std::ofstream(stop.outDir + "/" + kCountFile) << CountedCalls(stop.way);
        std::ofstream times(stop.outDir + "/" + kCallTimesFile);
        for (const auto& [call, timeMs] : callTimes) {
            times << call << ' ' << timeMs << '\n';
        }
    }
    return ok ? 0 : 1;
}

// The spans in which the counting run published some sleep state active, from its timeline.
std::vector<std::pair<int64_t, int64_t>> ActiveSpans(const std::string& outDir)
{
    std::vector<std::pair<int64_t, int64_t>> spans;
    std::map<std::string, size_t> open; // action -> index of its open span
    std::ifstream in(outDir + "/" + TIMELINE_FILE);
    for (std::string text; std::getline(in, text);) {
        const auto line = nlohmann::json::parse(text, nullptr, false);
        if (line.is_discarded() || line.value("type", "") != TIMELINE_COMMON_EVENT) {
            continue;
        }
        const std::string action = line.value("action", "");
        const int64_t t = line["t"].get<int64_t>();
        if (line["want"]["params"].value("isSleep", false)) {
            open[action] = spans.size();
            spans.emplace_back(t, INT64_MAX);
        } else if (open.count(action) != 0) {
            spans[open[action]].second = t;
            open.erase(action);
        }
    }
    return spans;
}

std::set<int> StopPoints(const std::string& countingDir, int range, int pointsWanted)
{
    std::set<int> points;
    for (int call = 1; call <= range; call += FaultStride(range, pointsWanted)) {
        points.insert(call);
    }
    std::vector<std::pair<int, int64_t>> callTimes;
    std::ifstream in(countingDir + "/" + kCallTimesFile);
    for (std::pair<int, int64_t> entry; in >> entry.first >> entry.second;) {
        callTimes.push_back(entry);
    }
    for (const auto& [begin, end] : ActiveSpans(countingDir)) {
        std::vector<int> inside;
        for (const auto& [call, timeMs] : callTimes) {
            if (timeMs >= begin && timeMs < end) {
                inside.push_back(call);
            }
        }
        if (!inside.empty()) {
            points.insert(inside.back());
        }
    }
    return points;
}

// The service starts again on a stopped run's data: OnCreated must end and announce as ended each
// state the preferences still hold active, announce nothing else, and leave no state stored.
int RestartAndCheckRecovery(const std::string& root)
{
    Emulator::DisableLogSink();
    Emulator::SetDataRoot(root);
    std::map<std::string, bool> wasActive;
    for (const auto& [key, action] : StateActions()) {
        wasActive[key] = SleepSharedPref::GetBoolSettings(key, false);
    }
    auto clock = std::make_shared<Emulator::VirtualClock>(1767700000000);
    Emulator::InstallClock(clock);
    auto handler = AppExecFwk::EventHandler::CreateVirtual(clock);
    std::map<std::string, int> endsPublished;
    Emulator::CommonEventBus::GetInstance().Subscribe(
        {}, {"ohos.permission.PERCEIVE_SMART_POWER_SCENARIO"}, [&endsPublished](const EventFwk::CommonEventData& data) {
            endsPublished[data.GetWant().GetAction()] += data.GetWant().GetBoolParam("isSleep", true) ? 0 : 1;
        });
    auto host = DevStandbyMgr::StandbyServiceImpl::GetInstance();
    host->SetHandler(handler);
    host->RegisterStrategy(std::make_shared<DevStandbyMgr::UserSleepStrategy>());
    host->OnCreated();
    handler->RunUntilIdle();
    std::string problem;
    for (const auto& [key, action] : StateActions()) {
        if (SleepSharedPref::GetBoolSettings(key, false)) {
            problem += key + " still stored active; ";
        }
        if (endsPublished[action] != (wasActive[key] ? 1 : 0)) {
            problem += action + " ended " + std::to_string(endsPublished[action]) + " times, stored active " +
                std::to_string(wasActive[key]) + "; ";
        }
    }
    std::ofstream(root + "/" + kRestartProblemFile) << problem;
    return problem.empty() ? 0 : 1;
}

// Reads the plug-in's preferences file below `root`: its problem, or "" when it reads whole.
std::string ReadSleepPreferences(const std::string& root, NativePreferences::PreferencesMap& values)
{
    const int read = NativePreferences::ReadPreferencesFile(root + SleepSharedPref::SLEEP_SHARED_PREF_PATH, values);
    return read == NativePreferences::E_OK ? "" : "preferences file unreadable (" + std::to_string(read) + ")";
}

std::vector<std::string> ActiveKeys(const NativePreferences::PreferencesMap& values)
{
    std::vector<std::string> active;
    for (const std::string& key : StoredSleepStateKeys()) {
        auto it = values.find(key);
        if (it != values.end() && std::get_if<bool>(&it->second) != nullptr && std::get<bool>(it->second)) {
            active.push_back(key);
        }
    }
    return active;
}

bool Intact(const ChildRunOutcome& run)
{
    return run.integrity == "ok" || run.integrity == "no database";
}

NightStopResult StopOneNight(const std::string& dir, StopWay way, int point)
{
    NightStop stop{dir + "/night", way, point};
    std::error_code ec;
    std::filesystem::remove_all(stop.outDir, ec);
    const std::string root = stop.outDir + "/" + DATA_DIR;
    const ChildRunOutcome night = RunInChild(root, [&stop] { return RunStoppedNight(stop); });
    NightStopResult result{point, "", {}};
    NativePreferences::PreferencesMap values;
    result.problem = ReadSleepPreferences(root, values);
    result.activeKeys = ActiveKeys(values);
    if (!Intact(night)) {
        result.problem += " integrity " + night.integrity + " after the stop;";
    }
    const ChildRunOutcome restart = RunInChild(root, [&root] { return RestartAndCheckRecovery(root); });
    std::ifstream problemFile(root + "/" + kRestartProblemFile);
    std::string restartProblem((std::istreambuf_iterator<char>(problemFile)), std::istreambuf_iterator<char>());
    if (restart.ending != "exit 0" || !Intact(restart)) {
        result.problem += " restart " + restart.ending + ", integrity " + restart.integrity + ": " + restartProblem;
    }
    if (!result.problem.empty()) {
        result.problem = "(" + night.ending + ")" + result.problem;
    }
    return result;
}

} // namespace

const std::vector<std::string>& StoredSleepStateKeys()
{
    static const std::vector<std::string> keys = {SleepSharedPref::USER_SLEEPING_AI,
        SleepSharedPref::USER_SLEEPING_NOT_CARE_CHARGE_AI, SleepSharedPref::USER_LIGHT_SLEEPING_AI,
        SleepSharedPref::USER_EASY_WAKEUP_SLEEPING_AI};
    return keys;
}

NightStopLoop StopNightsAndRestart(const std::string& dir, StopWay way, int pointsWanted)
{
    NightStopLoop loop;
    NightStop counting{dir + "/count", way, -1};
    RunInChild(counting.outDir, [&counting] { return RunStoppedNight(counting); });
    std::ifstream(counting.outDir + "/" + kCountFile) >> loop.range;
    for (int point : StopPoints(counting.outDir, loop.range, pointsWanted)) {
        loop.results.push_back(StopOneNight(dir, way, point));
        for (const std::string& key : loop.results.back().activeKeys) {
            ++loop.activeAtStop[key];
        }
    }
    return loop;
}

std::string ExpectRecoveredAfterEveryStop(const NightStopLoop& loop, const std::string& name)
{
    EXPECT_GT(loop.range, 0) << name << ": the counting run made no calls";
    size_t survived = 0;
    for (const NightStopResult& result : loop.results) {
        EXPECT_EQ(result.problem, "") << name << ": stopped at call " << result.point;
        survived += result.problem.empty() ? 1 : 0;
    }
    std::string line = name + '\t' + std::to_string(loop.range) + '\t' + std::to_string(loop.results.size()) + '\t' +
        std::to_string(survived);
    for (const std::string& key : StoredSleepStateKeys()) {
        const auto active = loop.activeAtStop.find(key);
        const int points = active == loop.activeAtStop.end() ? 0 : active->second;
        EXPECT_GT(points, 0) << name << ": no stop fell while " << key << " was stored active";
        line += '\t' + key + '=' + std::to_string(points);
    }
    return line;
}

} // namespace OHOS::Sim
