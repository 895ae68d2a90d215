#include "sim_driver.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <set>

#include "baseline_rules.h"
#include "common_event_manager.h"
#include "data_root.h"
#include "event_handler.h"
#include "hilog.h"
#include "hisysevent.h"
#include "json_text.h"
#include "notification_helper.h"
#include "os_account_manager.h"
#include "parameters.h"
#include "platform_faults.h"
#include "progress_meter.h"
#include "report_html.h"
#include "report_inputs.h"
#include "settings_store.h"
#include "simulated_phone.h"
#include "sleep_detection.h"
#include "standby_host_globals.h"
#include "standby_service_impl.h"
#include "storage_sync.h"
#include "timeline.h"
#include "trace_generator.h"
#include "trace_writer.h"
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

TimelineLine WantJson(const std::optional<AAFwk::Want>& want)
{
    return want ? WantTimelineJson(*want) : TimelineLine(nullptr);
}

class Driver {
public:
    Driver(const Scenario& scenario, const Trace& trace, const SimOptions& options)
        : scenario_(scenario), trace_(trace), options_(options), yardsticks_(trace.startMs), runRead_(trace),
          summaries_(trace.nights)
    {
    }

    SimResult Run()
    {
        SimResult result;
        SetProcessTimeZone(scenario_.timeZone);
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
        result.ok = WriteOutputs(result) && WriteRunPage(result);
        return result;
    }

private:
    std::string OutPath(const std::string& name) const { return options_.outDir + "/" + name; }

    bool PrepareOutput(std::string& error)
    {
        std::error_code ec;
        std::filesystem::create_directories(options_.outDir, ec);
        for (const std::string& name :
            {DATA_DIR, TIMELINE_FILE, TRACE_FILE, SUMMARY_FILE, METRICS_FILE, SCENARIO_FILE, LOG_FILE}) {
            std::filesystem::remove_all(OutPath(name), ec);
        }
        if (!Emulator::MakeDirectories(OutPath(DATA_DIR))) {
            error = "cannot create the output folder '" + options_.outDir + "'";
            return false;
        }
        // Absolute, as the phone's paths are: the preferences service refuses relative paths.
        Emulator::SetDataRoot(std::filesystem::absolute(OutPath(DATA_DIR)).string());
        if (!StartTraceFile() || !timeline_.StreamTo(OutPath(TIMELINE_FILE))) {
            error = "cannot write the outputs into '" + options_.outDir + "'";
            return false;
        }
        timeline_.ObserveWrittenLines([this](const TimelineLine& line) {
            const TimelineFact fact = ReadTimelineFact(line);
            runRead_.Read(fact);
            summaries_.Read(fact);
        });
        return true;
    }

    // A generated trace's events go to its file as they are replayed. A held one is written whole
    // first: its faults may change the time zone of the local times in the file as it runs.
    bool StartTraceFile()
    {
        if (!trace_.generate) {
            return WriteTraceFile(OutPath(TRACE_FILE), scenario_, trace_);
        }
        traceOut_.open(OutPath(TRACE_FILE), std::ios::binary | std::ios::trunc);
        WriteTraceHead(traceOut_, scenario_, trace_);
        return static_cast<bool>(traceOut_);
    }

    bool FinishTraceFile()
    {
        if (!traceOut_.is_open()) {
            return true;
        }
        traceOut_.close();
        return !traceOut_.fail();
    }

    // The report page, from the run's trace, its metrics and what the run wrote to its timeline,
    // read while it was written, unless late lines were merged into the file afterwards.
    bool WriteRunPage(SimResult& result)
    {
        if (!ReadInRun()) {
            return WriteRunReport(options_.outDir, result.error);
        }
        runRead_.UseMetrics(&result.metrics);
        return WriteRunReport(options_.outDir, result.error, &runRead_);
    }

    void Install()
    {
        Emulator::SetStorageSyncEnabled(!options_.noSync);
        clock_ = std::make_shared<Emulator::VirtualClock>(trace_.startMs);
        Emulator::InstallClock(clock_);
        Emulator::SetLogSinkFile(OutPath(LOG_FILE), LOG_DEBUG);
        handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_);
        handler_->SetQuiescenceWait([] { DevStandbyMgr::SleepDetection::WaitForTrainingThreads(); });
        DevStandbyMgr::STANDBT_MODE = scenario_.standbyMode;

        host_ = StandbyServiceImpl::GetInstance();
        host_->Reset();
        host_->SetHandler(handler_);
        host_->SetMessageObserver([this](const StandbyMessage& message) { AddHostMessage(message); });
        Emulator::SimulatedPhone::GetInstance().Reset();
        Emulator::SimulatedPhone::GetInstance().SetEventHandler(handler_);
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::NotificationCenter::GetInstance().SetHandler(handler_);
        Emulator::SystemParameters::GetInstance().Reset();
        Emulator::SystemParameters::GetInstance().SetListener([this](const Emulator::SystemParameters::Change& change) {
            timeline_.Add(change.wallTimeMs, TIMELINE_PARAMETER, {{"key", change.key}, {"value", change.value}});
        });
        Emulator::SetSysEventListener(
            [this](const Emulator::SysEventRecord& record, const std::string& paramsText) {
                AddSystemEvent(record, paramsText);
            });
        SubscribeCommonEvents();
    }

    // A message for the plug-in, one of the timeline's most frequent lines: written as text, with
    // the timeline's readers shown its id and, when they read it, its want.
    void AddHostMessage(const StandbyMessage& message)
    {
        std::string text = ",\"id\":" + std::to_string(message.eventId) + ",\"action\":";
        Emulator::AppendJsonString(message.action, text);
        text += ",\"want\":";
        if (message.want) {
            AppendWantText(*message.want, text);
        } else {
            text += "null";
        }
        TimelineLine observed = TimelineObject({{"id", message.eventId}});
        if (IsReadMessageWant(message.eventId)) {
            observed["want"] = WantJson(message.want);
        }
        timeline_.AddWritten(clock_->WallTimeMs(), TIMELINE_HOST_MESSAGE, std::move(text), std::move(observed));
    }

    // A statistics event, as the event file wrote it: its parameters' text is not made again, and
    // the timeline's readers are shown the parameters only of the events they read.
    void AddSystemEvent(const Emulator::SysEventRecord& record, const std::string& paramsText)
    {
        std::string text = ",\"domain\":";
        Emulator::AppendJsonString(record.domain, text);
        text += ",\"name\":";
        Emulator::AppendJsonString(record.name, text);
        text += ",\"eventType\":" + std::to_string(record.type) + ",\"params\":" + paramsText;
        TimelineLine observed =
            TimelineObject({{"domain", record.domain}, {"name", record.name}, {"eventType", record.type}});
        if (IsReadSystemEvent(record.name)) {
            observed["params"] = record.params;
        }
        timeline_.AddWritten(record.timeMs, TIMELINE_SYSTEM_EVENT, std::move(text), std::move(observed));
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
                {{"action", data.GetWant().GetAction()}, {"want", WantTimelineJson(data.GetWant())},
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
        Emulator::SetSysEventListener(nullptr);
        Emulator::SetStorageSyncEnabled(true);
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
        ProgressMeter progress(options_.progress, IsTerminal(options_.progress));
        trace_.ForEachEvent([&](const TraceEvent& event) {
            for (; nextDump < dumps.size() && DumpTime(dumps[nextDump]) <= event.timeMs; ++nextDump) {
                AnswerDump(dumps[nextDump], result);
            }
            ReadEvent(event);
            nextNight = MarkTruth(nextNight, event.timeMs);
            SampleWakeLocks(event.timeMs);
            handler_->AdvanceTo(event.timeMs);
            Apply(event);
            Settle();
            timeline_.FlushBefore(clock_->WallTimeMs());
            ReportProgress(progress, event.timeMs);
        });
        MarkTruth(nextNight, trace_.endMs);
        SampleWakeLocks(trace_.endMs);
        handler_->AdvanceTo(trace_.endMs);
        Settle();
        for (; nextDump < dumps.size(); ++nextDump) {
            AnswerDump(dumps[nextDump], result);
        }
        progress.Finish();
    }

    // Passes the event to what reads the whole trace: its file, the yardstick rules and the report.
    void ReadEvent(const TraceEvent& event)
    {
        if (traceOut_.is_open()) {
            traceOut_ << TraceEventToJson(event) << '\n';
        }
        yardsticks_.Read(event);
        runRead_.ReadEvent(event);
    }

    void ReportProgress(ProgressMeter& progress, int64_t virtualMs) const
    {
        const int64_t nightsDone = (virtualMs - trace_.startMs) / kMsPerDay;
        progress.Update({0, 0, nightsDone, (trace_.endMs - trace_.startMs) / kMsPerDay});
        if (options_.nightsDone != nullptr) {
            options_.nightsDone->store(nightsDone, std::memory_order_relaxed);
        }
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

    // Records the phone's total wake-lock time at every night-window boundary up to `untilMs`, moving
    // the virtual time to each boundary first so that a lock held across it is split exactly.
    void SampleWakeLocks(int64_t untilMs)
    {
        if (lockBoundaries_.empty()) {
            for (const NightTruth& night : trace_.nights) {
                lockBoundaries_.insert(night.window.beginMs);
                lockBoundaries_.insert(night.window.endMs);
            }
        }
        for (auto it = lockBoundaries_.upper_bound(lastLockSampleMs_); it != lockBoundaries_.end() && *it <= untilMs;
             ++it) {
            handler_->AdvanceTo(std::max(*it, clock_->WallTimeMs()));
            Settle();
            lockHeldAtMs_[*it] = Emulator::SimulatedPhone::GetInstance().GetRunningLockHeldMs();
            lastLockSampleMs_ = *it;
        }
    }

    // Wake-lock milliseconds per night window, in the order of the trace's nights; -1 when a
    // boundary of the window was not reached.
    std::vector<int64_t> WakeLockMsPerNight() const
    {
        std::vector<int64_t> perNight;
        for (const NightTruth& night : trace_.nights) {
            const auto begin = lockHeldAtMs_.find(night.window.beginMs);
            const auto end = lockHeldAtMs_.find(night.window.endMs);
            const bool known = begin != lockHeldAtMs_.end() && end != lockHeldAtMs_.end();
            perNight.push_back(known ? end->second - begin->second : -1);
        }
        return perNight;
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
        case TraceKind::SERVICE_RESTART:
        case TraceKind::USER_SWITCH:
        case TraceKind::CLOCK_SET:
        case TraceKind::TIME_ZONE:
        case TraceKind::SENSORS_SILENT:
        case TraceKind::SENSORS_ANSWER:
        case TraceKind::PLATFORM_FAULT:
        case TraceKind::PLATFORM_FAULT_CLEARED:
            ApplyFault(event);
            break;
        }
    }

    void ApplyFault(const TraceEvent& event)
    {
        TimelineLine fields{{"kind", TraceKindName(event.kind)}};
        switch (event.kind) {
        case TraceKind::SERVICE_RESTART:
            RestartService();
            break;
        case TraceKind::USER_SWITCH:
            fields["user"] = event.number;
            Emulator::SetForegroundOsAccount(static_cast<int32_t>(event.number));
            DispatchCommonEvent(CommonEventSupport::COMMON_EVENT_USER_SWITCHED);
            break;
        case TraceKind::CLOCK_SET:
            fields["shiftMs"] = event.number;
            clock_->SetWallTimeMs(clock_->WallTimeMs() + event.number);
            break;
        case TraceKind::TIME_ZONE:
            fields["zone"] = event.text;
            SetProcessTimeZone(event.text);
            break;
        case TraceKind::SENSORS_SILENT:
        case TraceKind::SENSORS_ANSWER:
            Emulator::SimulatedPhone::GetInstance().SetFault(
                Emulator::PhoneFault::SENSOR_SAMPLES_LOST, event.kind == TraceKind::SENSORS_SILENT);
            break;
        case TraceKind::PLATFORM_FAULT:
            fields.update({{"class", event.text}, {"nth", event.number}, {"persistent", event.value != 0}});
            ArmPlatformFault(event.text, static_cast<int>(event.number), event.value != 0);
            break;
        default: // PLATFORM_FAULT_CLEARED
            fields.update({{"class", event.text}, {"calls", PlatformFaultCalls(event.text)}});
            DisarmPlatformFault(event.text);
            break;
        }
        timeline_.Add(event.timeMs, TIMELINE_FAULT, std::move(fields));
    }

    // The standby service restarts: the strategy is destroyed and a new one is created and started.
    void RestartService()
    {
        host_->OnDestroy();
        Settle();
        strategy_ = std::make_shared<DevStandbyMgr::UserSleepStrategy>();
        host_->RegisterStrategy(strategy_);
        host_->OnCreated();
    }

    bool WriteOutputs(SimResult& result)
    {
        const bool timelineWritten = timeline_.FinishStream();
        const bool traceWritten = FinishTraceFile();
        result.nights = ReadInRun() ? summaries_.Finish() : SummariseTimelineFile();
        std::ofstream scenarioOut(OutPath(SCENARIO_FILE), std::ios::binary | std::ios::trunc);
        scenarioOut << ScenarioToJson(scenario_);
        result.metrics = ComputeRunMetrics(
            MetricsPerson{scenario_.name, scenario_.persona, ChargingHabitName(scenario_.habits.charging)}, trace_,
            yardsticks_, result.nights, WakeLockMsPerNight());
        std::ofstream summaryOut(OutPath(SUMMARY_FILE), std::ios::binary | std::ios::trunc);
        summaryOut << FormatSummaryTable(result.nights) << "\n" << FormatMetricsSummary(result.metrics);
        scenarioOut.flush();
        summaryOut.flush();
        if (!timelineWritten || !traceWritten || !WriteMetrics(result.metrics) || !scenarioOut || !summaryOut) {
            result.error = "cannot write the outputs into '" + options_.outDir + "'";
            return false;
        }
        return true;
    }

    // Whether what was read from the timeline while the run wrote it is what its file says: not when
    // lines that came late (the phone's clock was set back) were merged into the file at the end.
    bool ReadInRun() const { return timeline_.WrittenInOrder(); }

    // The night reports from the timeline file.
    std::vector<NightReport> SummariseTimelineFile() const
    {
        NightSummaries summaries(trace_.nights);
        std::ifstream in(OutPath(TIMELINE_FILE), std::ios::binary);
        for (std::string text; std::getline(in, text);) {
            summaries.Read(ReadTimelineFact(TimelineLine::parse(text)));
        }
        return summaries.Finish();
    }

    bool WriteMetrics(const RunMetrics& metrics) const
    {
        std::ofstream out(OutPath(METRICS_FILE), std::ios::binary | std::ios::trunc);
        WriteMetricsJson(metrics, out);
        out.flush();
        return static_cast<bool>(out);
    }

    const Scenario& scenario_;
    const Trace& trace_;
    const SimOptions& options_;
    Timeline timeline_;
    std::ofstream traceOut_; // a generated trace's file, its events written as they are replayed
    YardstickSpans yardsticks_;
    RunDigest runRead_;
    NightSummaries summaries_; // the night reports, read from the timeline as it is written
    std::shared_ptr<Emulator::VirtualClock> clock_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<StandbyServiceImpl> host_;
    std::shared_ptr<DevStandbyMgr::UserSleepStrategy> strategy_;
    int64_t openDeliveries_ = 0;
    int64_t seenOpenDeliveries_ = 0;
    std::set<int64_t> lockBoundaries_;
    int64_t lastLockSampleMs_ = std::numeric_limits<int64_t>::min();
    std::map<int64_t, int64_t> lockHeldAtMs_; // boundary -> total wake-lock ms held by then
};

} // namespace

SimResult RunTrace(const Scenario& scenario, const Trace& trace, const SimOptions& options)
{
    return Driver(scenario, trace, options).Run();
}

SimResult RunSimulation(const Scenario& scenario, const SimOptions& options)
{
    SetProcessTimeZone(scenario.timeZone);
    return RunTrace(scenario, GenerateStreamedTrace(scenario), options);
}

} // namespace OHOS::Sim
