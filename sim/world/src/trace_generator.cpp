#include "trace_generator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <limits>

namespace OHOS::Sim {

namespace {

constexpr int64_t kSettleMs = kMsPerMinute; // the movement service reports stillness after this
constexpr double kFarCm = 5.0;
constexpr double kCoveredCm = 0.0;
constexpr double kDaylightBeginMin = 8 * 60;
constexpr double kDaylightEndMin = 18 * 60;
constexpr int32_t kCallIncoming = 4;
constexpr int32_t kCallActive = 0;
constexpr int32_t kCallDisconnected = 6;

struct Ambient {
    double lux = -1;
    double proximityCm = -1;
};

// Turns a plan into its events in time order, a day at a time: each kind of event (alarms,
// sessions, charges, notices, ambient, battery) is produced in the order of its plan items, up to
// the first item that cannot reach into the day, and the day's events of all kinds are sorted
// stably by time. Equal times thus keep the order of the kinds and of the items, as if every event
// had been produced first and sorted once.
class TraceBuilder {
public:
    TraceBuilder(const Scenario& scenario, PersonPlan plan)
        : habits_(scenario.habits), battery_(scenario.battery), plan_(std::move(plan)),
          ambientTimes_(AmbientChangeTimes()), batteryLevel_(battery_.startLevel),
          shownPercent_(static_cast<int64_t>(std::floor(batteryLevel_))), batteryMs_(plan_.startMs)
    {
    }

    void Visit(const TraceEventVisitor& visit)
    {
        Add(Kind::START, plan_.startMs, TraceKind::BOOT);
        Add(Kind::START, plan_.startMs, TraceKind::STILL);
        Add(Kind::START, plan_.startMs, TraceKind::NEXT_ALARM, 0, plan_.alarms.empty() ? 0 : plan_.alarms.front());
        Add(Kind::BATTERY, plan_.startMs, TraceKind::BATTERY_LEVEL, 0, shownPercent_);
        for (int64_t dayEnd = plan_.startMs + kMsPerDay; dayEnd < plan_.endMs; dayEnd += kMsPerDay) {
            VisitBefore(dayEnd, visit);
        }
        VisitBefore(std::numeric_limits<int64_t>::max(), visit);
    }

private:
    // The kinds of events, in the order in which their events of equal times follow each other.
    enum class Kind : size_t { START, ALARMS, SESSIONS, CHARGES, NOTICES, AMBIENT, BATTERY, COUNT };

    void Add(
        Kind kind, int64_t timeMs, TraceKind event, double value = 0, int64_t number = 0, const std::string& text = "")
    {
        pending_[static_cast<size_t>(kind)].push_back(TraceEvent{timeMs, event, value, number, text});
    }

    // Produces every event before `endMs`, then passes those events on in time order.
    void VisitBefore(int64_t endMs, const TraceEventVisitor& visit)
    {
        AddAlarms(endMs);
        AddSessions(endMs);
        AddCharges(endMs);
        AddNotices(endMs);
        AddAmbient(endMs);
        AddBattery(endMs);
        std::vector<TraceEvent> due;
        for (std::vector<TraceEvent>& events : pending_) {
            const auto later = std::stable_partition(
                events.begin(), events.end(), [endMs](const TraceEvent& event) { return event.timeMs < endMs; });
            std::move(events.begin(), later, std::back_inserter(due));
            events.erase(events.begin(), later);
        }
        std::stable_sort(
            due.begin(), due.end(), [](const TraceEvent& a, const TraceEvent& b) { return a.timeMs < b.timeMs; });
        for (const TraceEvent& event : due) {
            if (!IsRepeatedMovement(event)) {
                visit(event);
            }
        }
        DropPassed(plan_.sessions, {&nextSession_, &ambientSession_});
        DropPassed(plan_.charges, {&nextCharge_, &batteryCharge_});
        DropPassed(plan_.notices, {&nextNotice_});
        DropPassed(ambientTimes_, {&nextAmbient_});
    }

    // Frees the items that every reader of the list has passed, once they are half of it.
    template <typename Item> static void DropPassed(std::vector<Item>& items, std::initializer_list<size_t*> readers)
    {
        size_t passed = items.size();
        for (const size_t* next : readers) {
            passed = std::min(passed, *next);
        }
        if (passed == 0 || passed * 2 < items.size()) {
            return;
        }
        items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(passed));
        items.shrink_to_fit();
        for (size_t* next : readers) {
            *next -= passed;
        }
    }

    void AddAlarms(int64_t endMs)
    {
        const auto& alarms = plan_.alarms;
        for (; nextAlarm_ < alarms.size() && alarms[nextAlarm_] < endMs; ++nextAlarm_) {
            const size_t i = nextAlarm_;
            Add(Kind::ALARMS, alarms[i], TraceKind::NEXT_ALARM, 0, i + 1 < alarms.size() ? alarms[i + 1] : 0);
        }
    }

    // The first moment of a session; sessions follow each other in time.
    static int64_t SessionBeginMs(const PhoneSession& session)
    {
        return session.pickupMs >= 0 ? std::min(session.pickupMs, session.screenOnMs) : session.screenOnMs;
    }

    void AddSessions(int64_t endMs)
    {
        const auto& sessions = plan_.sessions;
        for (; nextSession_ < sessions.size() && SessionBeginMs(sessions[nextSession_]) < endMs; ++nextSession_) {
            AddSession(nextSession_);
        }
    }

    void AddSession(size_t i)
    {
        const auto& sessions = plan_.sessions;
        const PhoneSession& session = sessions[i];
        if (session.pickupMs >= 0) {
            Add(Kind::SESSIONS, session.pickupMs, TraceKind::MOVE);
        }
        if (session.isCall) {
            Add(Kind::SESSIONS, session.screenOnMs, TraceKind::CALL_STATE, 0, kCallIncoming);
        }
        Add(Kind::SESSIONS, session.screenOnMs, TraceKind::SCREEN_ON);
        if (session.answerMs >= 0) {
            Add(Kind::SESSIONS, session.answerMs, TraceKind::CALL_STATE, 0, kCallActive);
        }
        if (session.unlockMs >= 0) {
            Add(Kind::SESSIONS, session.unlockMs, TraceKind::UNLOCK);
        }
        if (session.isCall) {
            Add(Kind::SESSIONS, session.screenOffMs, TraceKind::CALL_STATE, 0, kCallDisconnected);
        }
        Add(Kind::SESSIONS, session.screenOffMs, TraceKind::SCREEN_OFF);
        const int64_t settled = session.screenOffMs + kSettleMs;
        const bool pickedUpBeforeSettling =
            i + 1 < sessions.size() && sessions[i + 1].pickupMs >= 0 && sessions[i + 1].pickupMs <= settled;
        if (session.pickupMs >= 0 && session.placeAfter != RestPlace::POCKET && !pickedUpBeforeSettling) {
            Add(Kind::SESSIONS, settled, TraceKind::STILL);
        }
    }

    void AddCharges(int64_t endMs)
    {
        const auto& charges = plan_.charges;
        for (; nextCharge_ < charges.size() && charges[nextCharge_].beginMs < endMs; ++nextCharge_) {
            Add(Kind::CHARGES, charges[nextCharge_].beginMs, TraceKind::POWER_CONNECTED);
            Add(Kind::CHARGES, charges[nextCharge_].endMs, TraceKind::POWER_DISCONNECTED);
        }
    }

    void AddNotices(int64_t endMs)
    {
        const auto& notices = plan_.notices;
        for (; nextNotice_ < notices.size() && notices[nextNotice_].postMs < endMs; ++nextNotice_) {
            const Notice& notice = notices[nextNotice_];
            Add(Kind::NOTICES, notice.postMs, TraceKind::NOTIFICATION, 0, 0, notice.pkg);
            if (notice.clearMs >= 0) {
                Add(Kind::NOTICES, notice.clearMs, TraceKind::BADGE_CLEARED, 0, 0, notice.pkg);
            }
        }
    }

    double RoomLux(int64_t t, bool lightsOut) const
    {
        if (lightsOut) {
            return habits_.nightLux;
        }
        const double hour = LocalHourOf(t);
        return (hour >= kDaylightBeginMin / 60 && hour < kDaylightEndMin / 60) ? habits_.dayLux : habits_.eveningLux;
    }

    Ambient AmbientAt(int64_t t, bool inHand, RestPlace place, bool lightsOut) const
    {
        const double room = RoomLux(t, lightsOut);
        if (inHand) {
            return Ambient{room, kFarCm};
        }
        switch (place) {
        case RestPlace::POCKET:
            return Ambient{0, kCoveredCm};
        case RestPlace::DESK:
            return Ambient{room, kFarCm};
        case RestPlace::NIGHT_SPOT:
            break;
        }
        switch (habits_.phonePlace) {
        case PhonePlace::FACE_DOWN:
            return Ambient{0, kCoveredCm};
        case PhonePlace::HOLSTER:
            return Ambient{0, kFarCm};
        case PhonePlace::TABLE:
            break;
        }
        return Ambient{room, kFarCm};
    }

    std::vector<int64_t> AmbientChangeTimes() const
    {
        std::vector<int64_t> times{plan_.startMs};
        for (const PhoneSession& session : plan_.sessions) {
            if (session.pickupMs >= 0) {
                times.push_back(session.pickupMs);
            }
            times.push_back(session.screenOffMs);
        }
        for (const NightTruth& night : plan_.nights) {
            times.push_back(night.bedMs);
            times.push_back(night.wakeMs);
        }
        for (CivilDate date = LocalDateOf(plan_.startMs); LocalTimeMs(date, 0) < plan_.endMs; date = AddDays(date, 1)) {
            times.push_back(LocalTimeMs(date, kDaylightBeginMin));
            times.push_back(LocalTimeMs(date, kDaylightEndMin));
        }
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        return times;
    }

    // Light and proximity as the phone's sensors see them, emitted whenever either changes.
    void AddAmbient(int64_t endMs)
    {
        const auto& sessions = plan_.sessions;
        const auto& nights = plan_.nights;
        for (; nextAmbient_ < ambientTimes_.size() && ambientTimes_[nextAmbient_] < endMs; ++nextAmbient_) {
            const int64_t t = ambientTimes_[nextAmbient_];
            if (t < plan_.startMs || t >= plan_.endMs) {
                continue;
            }
            for (; ambientSession_ < sessions.size() && sessions[ambientSession_].screenOffMs <= t; ++ambientSession_) {
                place_ = sessions[ambientSession_].placeAfter;
            }
            for (; ambientNight_ < nights.size() && nights[ambientNight_].wakeMs <= t; ++ambientNight_) {
            }
            const bool inHand = ambientSession_ < sessions.size() && sessions[ambientSession_].pickupMs >= 0 &&
                                sessions[ambientSession_].pickupMs <= t;
            const bool lightsOut = ambientNight_ < nights.size() && nights[ambientNight_].bedMs <= t;
            const Ambient now = AmbientAt(t, inHand, place_, lightsOut);
            if (now.lux != ambient_.lux) {
                Add(Kind::AMBIENT, t, TraceKind::LIGHT, now.lux);
            }
            if (now.proximityCm != ambient_.proximityCm) {
                Add(Kind::AMBIENT, t, TraceKind::PROXIMITY, now.proximityCm);
            }
            ambient_ = now;
        }
    }

    // Battery percent minute by minute: drains awake or asleep, fills on the charger.
    void AddBattery(int64_t endMs)
    {
        const auto& charges = plan_.charges;
        const auto& nights = plan_.nights;
        for (; batteryMs_ < plan_.endMs && batteryMs_ + kMsPerMinute < endMs; batteryMs_ += kMsPerMinute) {
            const int64_t t = batteryMs_;
            for (; batteryCharge_ < charges.size() && charges[batteryCharge_].endMs <= t; ++batteryCharge_) {
            }
            for (; batteryNight_ < nights.size() && nights[batteryNight_].wakeMs <= t; ++batteryNight_) {
            }
            const bool charging = batteryCharge_ < charges.size() && charges[batteryCharge_].beginMs <= t;
            const bool asleep = batteryNight_ < nights.size() && nights[batteryNight_].onsetMs <= t;
            const double perHour = charging ? battery_.chargePerHour
                                            : -(asleep ? battery_.drainPerHourAsleep : battery_.drainPerHourAwake);
            batteryLevel_ = std::clamp(batteryLevel_ + perHour / 60, 1.0, 100.0);
            const auto percent = static_cast<int64_t>(std::floor(batteryLevel_));
            if (percent != shownPercent_ && t + kMsPerMinute < plan_.endMs) {
                shownPercent_ = percent;
                Add(Kind::BATTERY, t + kMsPerMinute, TraceKind::BATTERY_LEVEL, 0, shownPercent_);
            }
        }
    }

    // A still or move event that repeats the movement state already reported (the phone starts moving).
    bool IsRepeatedMovement(const TraceEvent& event)
    {
        if (event.kind != TraceKind::MOVE && event.kind != TraceKind::STILL) {
            return false;
        }
        const bool nowMoving = event.kind == TraceKind::MOVE;
        if (nowMoving == moving_) {
            return true;
        }
        moving_ = nowMoving;
        return false;
    }

    const Habits& habits_;
    const BatteryHabits& battery_;
    PersonPlan plan_; // its sessions, charges and notices are freed as the events pass them
    std::vector<int64_t> ambientTimes_;
    std::array<std::vector<TraceEvent>, static_cast<size_t>(Kind::COUNT)> pending_;
    size_t nextAlarm_ = 0;
    size_t nextSession_ = 0;
    size_t nextCharge_ = 0;
    size_t nextNotice_ = 0;
    size_t nextAmbient_ = 0;
    size_t ambientSession_ = 0;
    size_t ambientNight_ = 0;
    RestPlace place_ = RestPlace::DESK;
    Ambient ambient_;
    double batteryLevel_;
    int64_t shownPercent_;
    int64_t batteryMs_;
    size_t batteryCharge_ = 0;
    size_t batteryNight_ = 0;
    bool moving_ = true;
};

// A trace of the plan's span and nights, without its events yet.
Trace TraceFrame(const PersonPlan& plan)
{
    Trace trace;
    trace.startMs = plan.startMs;
    trace.endMs = plan.endMs;
    trace.nights = plan.nights;
    return trace;
}

} // namespace

void VisitPlanEvents(const Scenario& scenario, PersonPlan plan, const TraceEventVisitor& visit)
{
    TraceBuilder(scenario, std::move(plan)).Visit(visit);
}

Trace BuildTrace(const Scenario& scenario, PersonPlan plan)
{
    Trace trace = TraceFrame(plan);
    VisitPlanEvents(scenario, std::move(plan), [&trace](const TraceEvent& event) { trace.events.push_back(event); });
    return trace;
}

Trace GenerateTrace(const Scenario& scenario)
{
    Trace trace = BuildTrace(scenario, PlanPerson(scenario));
    ApplyScenarioFaults(scenario.faults, trace);
    PlaceNightWindows(trace, scenario.timeZone);
    return trace;
}

Trace GenerateStreamedTrace(const Scenario& scenario)
{
    if (!scenario.faults.empty()) {
        return GenerateTrace(scenario);
    }
    Trace trace = TraceFrame(PlanPerson(scenario));
    PlaceNightWindows(trace, scenario.timeZone);
    trace.generate = [scenario](
                         const TraceEventVisitor& visit) { VisitPlanEvents(scenario, PlanPerson(scenario), visit); };
    return trace;
}

} // namespace OHOS::Sim
