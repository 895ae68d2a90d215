#include "trace_generator.h"

#include <algorithm>
#include <cmath>

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

class TraceBuilder {
public:
    TraceBuilder(const Scenario& scenario, const PersonPlan& plan)
        : habits_(scenario.habits), battery_(scenario.battery), plan_(plan)
    {
        trace_.startMs = plan.startMs;
        trace_.endMs = plan.endMs;
        trace_.nights = plan.nights;
    }

    Trace Build()
    {
        Add(plan_.startMs, TraceKind::BOOT);
        Add(plan_.startMs, TraceKind::STILL);
        AddAlarms();
        AddSessions();
        AddCharges();
        AddNotices();
        AddAmbient();
        AddBattery();
        std::stable_sort(trace_.events.begin(), trace_.events.end(),
            [](const TraceEvent& a, const TraceEvent& b) { return a.timeMs < b.timeMs; });
        DropRepeatedMovement();
        return trace_;
    }

private:
    void Add(int64_t timeMs, TraceKind kind, double value = 0, int64_t number = 0, const std::string& text = "")
    {
        trace_.events.push_back(TraceEvent{timeMs, kind, value, number, text});
    }

    void AddAlarms()
    {
        Add(plan_.startMs, TraceKind::NEXT_ALARM, 0, plan_.alarms.empty() ? 0 : plan_.alarms.front());
        for (size_t i = 0; i < plan_.alarms.size(); ++i) {
            Add(plan_.alarms[i], TraceKind::NEXT_ALARM, 0, i + 1 < plan_.alarms.size() ? plan_.alarms[i + 1] : 0);
        }
    }

    void AddSessions()
    {
        const auto& sessions = plan_.sessions;
        for (size_t i = 0; i < sessions.size(); ++i) {
            const PhoneSession& session = sessions[i];
            if (session.pickupMs >= 0) {
                Add(session.pickupMs, TraceKind::MOVE);
            }
            if (session.isCall) {
                Add(session.screenOnMs, TraceKind::CALL_STATE, 0, kCallIncoming);
            }
            Add(session.screenOnMs, TraceKind::SCREEN_ON);
            if (session.answerMs >= 0) {
                Add(session.answerMs, TraceKind::CALL_STATE, 0, kCallActive);
            }
            if (session.unlockMs >= 0) {
                Add(session.unlockMs, TraceKind::UNLOCK);
            }
            if (session.isCall) {
                Add(session.screenOffMs, TraceKind::CALL_STATE, 0, kCallDisconnected);
            }
            Add(session.screenOffMs, TraceKind::SCREEN_OFF);
            const int64_t settled = session.screenOffMs + kSettleMs;
            const bool pickedUpBeforeSettling =
                i + 1 < sessions.size() && sessions[i + 1].pickupMs >= 0 && sessions[i + 1].pickupMs <= settled;
            if (session.pickupMs >= 0 && session.placeAfter != RestPlace::POCKET && !pickedUpBeforeSettling) {
                Add(settled, TraceKind::STILL);
            }
        }
    }

    void AddCharges()
    {
        for (const TimeSpan& charge : plan_.charges) {
            Add(charge.beginMs, TraceKind::POWER_CONNECTED);
            Add(charge.endMs, TraceKind::POWER_DISCONNECTED);
        }
    }

    void AddNotices()
    {
        for (const Notice& notice : plan_.notices) {
            Add(notice.postMs, TraceKind::NOTIFICATION, 0, 0, notice.pkg);
            if (notice.clearMs >= 0) {
                Add(notice.clearMs, TraceKind::BADGE_CLEARED, 0, 0, notice.pkg);
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
    void AddAmbient()
    {
        const auto& sessions = plan_.sessions;
        const auto& nights = plan_.nights;
        size_t session = 0;
        size_t night = 0;
        RestPlace place = RestPlace::DESK;
        Ambient last;
        for (int64_t t : AmbientChangeTimes()) {
            if (t < plan_.startMs || t >= plan_.endMs) {
                continue;
            }
            while (session < sessions.size() && sessions[session].screenOffMs <= t) {
                place = sessions[session].placeAfter;
                ++session;
            }
            while (night < nights.size() && nights[night].wakeMs <= t) {
                ++night;
            }
            const bool inHand =
                session < sessions.size() && sessions[session].pickupMs >= 0 && sessions[session].pickupMs <= t;
            const bool lightsOut = night < nights.size() && nights[night].bedMs <= t;
            const Ambient now = AmbientAt(t, inHand, place, lightsOut);
            if (now.lux != last.lux) {
                Add(t, TraceKind::LIGHT, now.lux);
            }
            if (now.proximityCm != last.proximityCm) {
                Add(t, TraceKind::PROXIMITY, now.proximityCm);
            }
            last = now;
        }
    }

    // Battery percent minute by minute: drains awake or asleep, fills on the charger.
    void AddBattery()
    {
        const auto& charges = plan_.charges;
        const auto& nights = plan_.nights;
        size_t charge = 0;
        size_t night = 0;
        double level = battery_.startLevel;
        int64_t shown = static_cast<int64_t>(std::floor(level));
        Add(plan_.startMs, TraceKind::BATTERY_LEVEL, 0, shown);
        for (int64_t t = plan_.startMs; t < plan_.endMs; t += kMsPerMinute) {
            while (charge < charges.size() && charges[charge].endMs <= t) {
                ++charge;
            }
            while (night < nights.size() && nights[night].wakeMs <= t) {
                ++night;
            }
            const bool charging = charge < charges.size() && charges[charge].beginMs <= t;
            const bool asleep = night < nights.size() && nights[night].onsetMs <= t;
            const double perHour = charging ? battery_.chargePerHour
                                            : -(asleep ? battery_.drainPerHourAsleep : battery_.drainPerHourAwake);
            level = std::clamp(level + perHour / 60, 1.0, 100.0);
            const auto percent = static_cast<int64_t>(std::floor(level));
            if (percent != shown && t + kMsPerMinute < plan_.endMs) {
                shown = percent;
                Add(t + kMsPerMinute, TraceKind::BATTERY_LEVEL, 0, shown);
            }
        }
    }

    void DropRepeatedMovement()
    {
        bool moving = true;
        std::vector<TraceEvent> kept;
        kept.reserve(trace_.events.size());
        for (TraceEvent& event : trace_.events) {
            if (event.kind == TraceKind::MOVE || event.kind == TraceKind::STILL) {
                const bool nowMoving = event.kind == TraceKind::MOVE;
                if (nowMoving == moving) {
                    continue;
                }
                moving = nowMoving;
            }
            kept.push_back(std::move(event));
        }
        trace_.events = std::move(kept);
    }

    const Habits& habits_;
    const BatteryHabits& battery_;
    const PersonPlan& plan_;
    Trace trace_;
};

} // namespace

Trace BuildTrace(const Scenario& scenario, const PersonPlan& plan)
{
    return TraceBuilder(scenario, plan).Build();
}

Trace GenerateTrace(const Scenario& scenario)
{
    Trace trace = BuildTrace(scenario, PlanPerson(scenario));
    ApplyScenarioFaults(scenario.faults, trace);
    return trace;
}

} // namespace OHOS::Sim
