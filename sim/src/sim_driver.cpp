#include "sim_driver.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>

#include "common_event_manager.h"
#include "data_root.h"
#include "event_handler.h"
#include "hilog.h"
#include "hisysevent.h"
#include "notification_helper.h"
#include "parameters.h"
#include "report_html.h"
#include "settings_store.h"
#include "simulated_phone.h"
#include "sleep_detection.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "timeline.h"
#include "trace_generator.h"
#include "user_sleep_strategy.h"
#include "virtual_clock.h"
#include "want.h"

namespace OHOS::Sim {

namespace {

using DevStandbyMgr::StandbyMessage;
using DevStandbyMgr::StandbyServiceImpl;
using EventFwk::CommonEventSupport;

constexpr int32_t kCommonEventMessage = 1;
constexpr int32_t kChargingStatusNone = 0;
constexpr int32_t kChargingStatusCharging = 1;
const std::string kSmartPowerPermission = "ohos.permission.PERCEIVE_SMART_POWER_SCENARIO";
const std::string kNextAlarmKey = "nearestAlarmingTime";
const std::string kLatencyTaskName = "sleepsim_event_latency";
constexpr auto kProgressAfter = std::chrono::seconds(3);
constexpr auto kProgressEvery = std::chrono::seconds(1);

TimelineLine WantJson(const std::optional<AAFwk::Want>& want)
{
    return want ? TimelineLine::parse(want->ToJson()) : TimelineLine(nullptr);
}

// Prints "day N of M" to the progress stream once a run has taken a few seconds.
class ProgressLine {
public:
    ProgressLine(std::ostream* out, const Trace& trace)
        : out_(out), trace_(trace), started_(std::chrono::steady_clock::now()), lastShown_(started_)
    {
    }
    void Update(int64_t virtualMs)
    {
        const auto now = std::chrono::steady_clock::now();
        if (out_ == nullptr || now - started_ < kProgressAfter || now - lastShown_ < kProgressEvery) {
            return;
        }
        lastShown_ = now;
        shown_ = true;
        const int64_t days = (trace_.endMs - trace_.startMs) / kMsPerDay;
        *out_ << "\rsleepsim: day " << (virtualMs - trace_.startMs) / kMsPerDay + 1 << " of " << days << " ("
              << FormatLocalTime(virtualMs).substr(0, 16) << ")" << std::flush;
    }
    void Finish()
    {
        if (shown_) {
            *out_ << "\rsleepsim: done" << std::string(30, ' ') << "\n" << std::flush;
        }
    }

private:
    std::ostream* out_;
    const Trace& trace_;
    std::chrono::steady_clock::time_point started_;
    std::chrono::steady_clock::time_point lastShown_;
    bool shown_ = false;
};

class Driver {
public:
    Driver(const Scenario& scenario, const SimOptions& options) : scenario_(scenario), options_(options) {}

    SimResult Run()
    {
        SimResult result;
        SetProcessTimeZone(scenario_.timeZone);
        trace_ = GenerateTrace(scenario_);
        if (!PrepareOutput(result.error)) {
            return result;
        }
        Install();
        strategy_ = std::make_shared<DevStandbyMgr::UserSleepStrategy>();
        host_->RegisterStrategy(strategy_);
        host_->OnCreated();
        Settle();
        Replay(result);
        host_->OnDestroy();
        Settle();
        Uninstall();
        result.ok = WriteOutputs(result) && WriteReport(options_.outDir, result.error);
        return result;
    }

private:
    std::string OutPath(const std::string& name) const { return options_.outDir + "/" + name; }

    bool PrepareOutput(std::string& error)
    {
        std::error_code ec;
        std::filesystem::create_directories(options_.outDir, ec);
        for (const std::string& name : {DATA_DIR, TIMELINE_FILE, TRACE_FILE, SUMMARY_FILE, SCENARIO_FILE, LOG_FILE}) {
            std::filesystem::remove_all(OutPath(name), ec);
        }
        if (!Emulator::MakeDirectories(OutPath(DATA_DIR))) {
            error = "cannot create the output folder '" + options_.outDir + "'";
            return false;
        }
        Emulator::SetDataRoot(OutPath(DATA_DIR));
        return true;
    }

    void Install()
    {
        clock_ = std::make_shared<Emulator::VirtualClock>(trace_.startMs);
        Emulator::InstallClock(clock_);
        Emulator::SetLogSinkFile(OutPath(LOG_FILE), LOG_DEBUG);
        handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_);
        handler_->SetQuiescenceWait([] { DevStandbyMgr::SleepDetection::WaitForTrainingThreads(); });
        DevStandbyMgr::STANDBT_MODE = scenario_.standbyMode;

        host_ = StandbyServiceImpl::GetInstance();
        host_->Reset();
        host_->SetHandler(handler_);
        host_->SetMessageObserver([this](const StandbyMessage& message) {
            timeline_.Add(clock_->WallTimeMs(), TIMELINE_HOST_MESSAGE,
                {{"id", message.eventId}, {"action", message.action}, {"want", WantJson(message.want)}});
        });
        Emulator::SimulatedPhone::GetInstance().Reset();
        Emulator::SimulatedPhone::GetInstance().SetEventHandler(handler_);
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::NotificationCenter::GetInstance().SetHandler(handler_);
        Emulator::SystemParameters::GetInstance().Reset();
        Emulator::SystemParameters::GetInstance().SetListener([this](const Emulator::SystemParameters::Change& change) {
            timeline_.Add(change.wallTimeMs, TIMELINE_PARAMETER, {{"key", change.key}, {"value", change.value}});
        });
        SubscribeCommonEvents();
    }

    // Records every published event; a second subscriber without permissions tells whether the
    // event was restricted to permission holders (delivery is synchronous, in subscription order).
    void SubscribeCommonEvents()
    {
        auto& bus = Emulator::CommonEventBus::GetInstance();
        bus.Reset();
        bus.Subscribe({}, {}, [this](const EventFwk::CommonEventData&) { ++openDeliveries_; });
        bus.Subscribe({}, {kSmartPowerPermission}, [this](const EventFwk::CommonEventData& data) {
            const bool restricted = openDeliveries_ == seenOpenDeliveries_;
            seenOpenDeliveries_ = openDeliveries_;
            timeline_.Add(clock_->WallTimeMs(), TIMELINE_COMMON_EVENT,
                {{"action", data.GetWant().GetAction()}, {"want", TimelineLine::parse(data.GetWant().ToJson())},
                    {"restricted", restricted}});
        });
    }

    // Drops every pending task once the run is over: the plug-in's tasks hold its objects, and they
    // hold the handler, so both are released only when the queue is empty.
    void DropPendingTasks()
    {
        Settle();
        handler_->RemoveAllEvents();
    }

    void Uninstall()
    {
        DropPendingTasks();
        host_->Reset();
        strategy_.reset();
        Emulator::SystemParameters::GetInstance().SetListener(nullptr);
        Emulator::CommonEventBus::GetInstance().Reset();
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::SimulatedPhone::GetInstance().SetEventHandler(nullptr);
        Emulator::DisableLogSink();
    }

    // Runs what is due now, lets a training thread finish, and runs what it posted.
    void Settle()
    {
        handler_->RunUntilIdle();
        DevStandbyMgr::SleepDetection::WaitForTrainingThreads();
        handler_->RunUntilIdle();
    }

    void Replay(SimResult& result)
    {
        std::vector<DumpRequest> dumps = scenario_.dumps;
        if (!options_.endDumpWords.empty()) {
            dumps.push_back(DumpRequest{options_.endDumpWords, -1, ""});
        }
        std::stable_sort(dumps.begin(), dumps.end(),
            [this](const DumpRequest& a, const DumpRequest& b) { return DumpTime(a) < DumpTime(b); });
        size_t nextNight = 0;
        size_t nextDump = 0;
        ProgressLine progress(options_.progress, trace_);
        for (const TraceEvent& event : trace_.events) {
            for (; nextDump < dumps.size() && DumpTime(dumps[nextDump]) <= event.timeMs; ++nextDump) {
                AnswerDump(dumps[nextDump], result);
            }
            nextNight = MarkTruth(nextNight, event.timeMs);
            handler_->AdvanceTo(event.timeMs);
            Apply(event);
            Settle();
            progress.Update(event.timeMs);
        }
        MarkTruth(nextNight, trace_.endMs);
        handler_->AdvanceTo(trace_.endMs);
        Settle();
        for (; nextDump < dumps.size(); ++nextDump) {
            AnswerDump(dumps[nextDump], result);
        }
        progress.Finish();
    }

    int64_t DumpTime(const DumpRequest& request) const { return request.atMs < 0 ? trace_.endMs : request.atMs; }

    void AnswerDump(const DumpRequest& request, SimResult& result)
    {
        const int64_t at = std::max(DumpTime(request), clock_->WallTimeMs());
        handler_->AdvanceTo(at);
        Settle();
        std::string answer;
        host_->ShellDump(request.words, answer);
        Settle();
        timeline_.Add(at, TIMELINE_DUMP, {{"words", request.words}, {"answer", answer}});
        result.dumps.push_back(DumpAnswer{at, request.words, answer});
    }

    // Adds the truth markers (fell asleep, woke up) of the nights that begin before `untilMs`.
    size_t MarkTruth(size_t next, int64_t untilMs)
    {
        for (; next < trace_.nights.size() && trace_.nights[next].onsetMs <= untilMs; ++next) {
            const NightTruth& night = trace_.nights[next];
            timeline_.Add(night.onsetMs, TIMELINE_TRUTH, {{"what", "asleep"}});
            for (const TimeSpan& awake : night.awakenings) {
                timeline_.Add(awake.beginMs, TIMELINE_TRUTH, {{"what", "awake"}});
                timeline_.Add(awake.endMs, TIMELINE_TRUTH, {{"what", "asleep"}});
            }
            timeline_.Add(night.wakeMs, TIMELINE_TRUTH, {{"what", "awake"}});
        }
        return next;
    }

    void DispatchCommonEvent(const std::string& action, AAFwk::Want want = AAFwk::Want())
    {
        want.SetAction(action);
        host_->DispatchEvent(StandbyMessage(kCommonEventMessage, action, want));
        if (scenario_.eventLatencyMs > 0) {
            // Runs right after the delivery, before anything the delivery posts for "now".
            handler_->PostTask(
                [this] {
                    DevStandbyMgr::SleepDetection::WaitForTrainingThreads();
                    clock_->AdvanceMs(scenario_.eventLatencyMs);
                },
                kLatencyTaskName);
        }
    }

    void Apply(const TraceEvent& event)
    {
        auto& phone = Emulator::SimulatedPhone::GetInstance();
        auto& notifications = Emulator::NotificationCenter::GetInstance();
        switch (event.kind) {
        case TraceKind::BOOT:
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_BOOT_COMPLETED);
            break;
        case TraceKind::SCREEN_ON:
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_SCREEN_ON);
            break;
        case TraceKind::SCREEN_OFF:
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_SCREEN_OFF);
            break;
        case TraceKind::UNLOCK:
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_SCREEN_UNLOCKED);
            break;
        case TraceKind::LIGHT:
            phone.SetAmbientLightLux(static_cast<float>(event.value));
            break;
        case TraceKind::PROXIMITY:
            phone.SetProximityDistance(static_cast<float>(event.value));
            break;
        case TraceKind::STILL:
            phone.SetMotionState(Emulator::MotionState::STILL);
            break;
        case TraceKind::MOVE:
            phone.SetMotionState(Emulator::MotionState::MOVING);
            break;
        case TraceKind::POWER_CONNECTED:
            phone.SetChargingStatus(kChargingStatusCharging);
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_POWER_CONNECTED);
            break;
        case TraceKind::POWER_DISCONNECTED:
            phone.SetChargingStatus(kChargingStatusNone);
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_POWER_DISCONNECTED);
            break;
        case TraceKind::BATTERY_LEVEL:
            phone.SetBatteryLevel(static_cast<int32_t>(event.number));
            break;
        case TraceKind::NEXT_ALARM:
            Emulator::PutSetting(Emulator::SETTINGS_TABLE, kNextAlarmKey, std::to_string(event.number));
            break;
        case TraceKind::NOTIFICATION:
            notifications.PostNotification(event.text, event.timeMs);
            break;
        case TraceKind::BADGE_CLEARED:
            notifications.ChangeBadge(event.text, 0, event.timeMs);
            break;
        case TraceKind::CALL_STATE: {
            AAFwk::Want want;
            want.SetParam("state", static_cast<int32_t>(event.number));
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_CALL_STATE_CHANGED, want);
            break;
        }
        }
    }

    void AddSystemEvents()
    {
        for (const Emulator::SysEventRecord& record : Emulator::ReadSysEvents()) {
            timeline_.Add(record.timeMs, TIMELINE_SYSTEM_EVENT,
                {{"domain", record.domain}, {"name", record.name}, {"eventType", record.type},
                    {"params", record.params}});
        }
    }

    bool WriteOutputs(SimResult& result)
    {
        AddSystemEvents();
        const std::vector<TimelineLine> lines = timeline_.Lines();
        result.nights = SummariseNights(lines, trace_.nights);
        std::ofstream traceOut(OutPath(TRACE_FILE), std::ios::binary | std::ios::trunc);
        for (const NightTruth& night : trace_.nights) {
            traceOut << NightTruthToJson(night) << '\n';
        }
        for (const TraceEvent& event : trace_.events) {
            traceOut << TraceEventToJson(event) << '\n';
        }
        std::ofstream scenarioOut(OutPath(SCENARIO_FILE), std::ios::binary | std::ios::trunc);
        scenarioOut << ScenarioToJson(scenario_);
        std::ofstream summaryOut(OutPath(SUMMARY_FILE), std::ios::binary | std::ios::trunc);
        summaryOut << FormatSummaryTable(result.nights);
        traceOut.flush();
        scenarioOut.flush();
        summaryOut.flush();
        if (!WriteTimelineLines(lines, OutPath(TIMELINE_FILE)) || !traceOut || !scenarioOut || !summaryOut) {
            result.error = "cannot write the outputs into '" + options_.outDir + "'";
            return false;
        }
        return true;
    }

    const Scenario& scenario_;
    const SimOptions& options_;
    Trace trace_;
    Timeline timeline_;
    std::shared_ptr<Emulator::VirtualClock> clock_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<StandbyServiceImpl> host_;
    std::shared_ptr<DevStandbyMgr::UserSleepStrategy> strategy_;
    int64_t openDeliveries_ = 0;
    int64_t seenOpenDeliveries_ = 0;
};

} // namespace

SimResult RunSimulation(const Scenario& scenario, const SimOptions& options)
{
    return Driver(scenario, options).Run();
}

} // namespace OHOS::Sim
