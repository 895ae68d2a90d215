#include "trace.h"

#include <algorithm>
#include <fstream>

#include <nlohmann/json.hpp>

#include "json_text.h"

namespace OHOS::Sim {

namespace {
using Json = nlohmann::ordered_json;

// A JSON object line, its members in the order they are added.
class ObjectText {
public:
    explicit ObjectText(int64_t timeMs) { json_["t"] = timeMs; }
    template <typename Value> void Add(const char* key, const Value& value) { json_[key] = value; }
    std::string Finish() const { return json_.dump(); }

private:
    Json json_;
};

Json SpanJson(const TimeSpan& span)
{
    return Json{{"begin", FormatLocalTime(span.beginMs)}, {"end", FormatLocalTime(span.endMs)}};
}

// The night's instants as epoch ms, so that a reader need not resolve local times (which repeat
// when daylight saving ends).
Json NightInstantsJson(const NightTruth& night)
{
    Json awakenings = Json::array();
    for (const TimeSpan& span : night.awakenings) {
        awakenings.push_back(Json::array({span.beginMs, span.endMs}));
    }
    return Json{{"bed", night.bedMs}, {"phoneDown", night.phoneDownMs}, {"onset", night.onsetMs},
        {"wake", night.wakeMs}, {"alarm", night.alarmMs}, {"awakenings", awakenings}};
}
} // namespace

TimeSpan NoonToNoon(const CivilDate& wakeDate)
{
    return TimeSpan{LocalTimeMs(AddDays(wakeDate, -1), kNoonMin), LocalTimeMs(wakeDate, kNoonMin)};
}

void PlaceNightWindows(Trace& trace, const std::string& startZone)
{
    TimeZoneGuard guard;
    std::string zone = startZone;
    SetProcessTimeZone(zone);
    auto event = trace.events.begin();
    for (NightTruth& night : trace.nights) {
        std::string zoneOfNight = zone;
        for (; event != trace.events.end() && event->timeMs <= night.onsetMs; ++event) {
            zoneOfNight = event->kind == TraceKind::TIME_ZONE ? event->text : zoneOfNight;
        }
        if (zoneOfNight != zone) {
            zone = zoneOfNight;
            SetProcessTimeZone(zone);
        }
        night.window = NoonToNoon(night.wakeDate);
    }
}

std::vector<TimeSpan> NightTruth::SleepSpans() const
{
    std::vector<TimeSpan> spans;
    int64_t begin = onsetMs;
    for (const TimeSpan& awake : awakenings) {
        if (awake.beginMs > begin) {
            spans.push_back(TimeSpan{begin, awake.beginMs});
        }
        begin = std::max(begin, awake.endMs);
    }
    if (wakeMs > begin) {
        spans.push_back(TimeSpan{begin, wakeMs});
    }
    return spans;
}

const char* TraceKindName(TraceKind kind)
{
    switch (kind) {
    case TraceKind::BOOT:
        return "boot";
    case TraceKind::SCREEN_ON:
        return "screen_on";
    case TraceKind::SCREEN_OFF:
        return "screen_off";
    case TraceKind::UNLOCK:
        return "unlock";
    case TraceKind::LIGHT:
        return "light";
    case TraceKind::PROXIMITY:
        return "proximity";
    case TraceKind::STILL:
        return "still";
    case TraceKind::MOVE:
        return "move";
    case TraceKind::POWER_CONNECTED:
        return "power_connected";
    case TraceKind::POWER_DISCONNECTED:
        return "power_disconnected";
    case TraceKind::BATTERY_LEVEL:
        return "battery_level";
    case TraceKind::NEXT_ALARM:
        return "next_alarm";
    case TraceKind::NOTIFICATION:
        return "notification";
    case TraceKind::BADGE_CLEARED:
        return "badge_cleared";
    case TraceKind::CALL_STATE:
        return "call_state";
    case TraceKind::SERVICE_RESTART:
        return "service_restart";
    case TraceKind::USER_SWITCH:
        return "user_switch";
    case TraceKind::CLOCK_SET:
        return "clock_set";
    case TraceKind::TIME_ZONE:
        return "time_zone";
    case TraceKind::SENSORS_SILENT:
        return "sensors_silent";
    case TraceKind::SENSORS_ANSWER:
        return "sensors_answer";
    case TraceKind::PLATFORM_FAULT:
        return "platform_fault";
    case TraceKind::PLATFORM_FAULT_CLEARED:
        return "platform_fault_cleared";
    }
    return "unknown";
}

std::string TraceEventToJson(const TraceEvent& event)
{
    ObjectText line(event.timeMs);
    line.Add("time", FormatLocalTime(event.timeMs));
    line.Add("kind", std::string(TraceKindName(event.kind)));
    switch (event.kind) {
    case TraceKind::LIGHT:
    case TraceKind::PROXIMITY:
        line.Add("value", event.value);
        break;
    case TraceKind::BATTERY_LEVEL:
    case TraceKind::CALL_STATE:
    case TraceKind::USER_SWITCH:
    case TraceKind::CLOCK_SET:
        line.Add("value", event.number);
        break;
    case TraceKind::NEXT_ALARM:
        line.Add("value", event.number);
        line.Add("alarm", event.number > 0 ? FormatLocalTime(event.number) : std::string());
        break;
    case TraceKind::NOTIFICATION:
    case TraceKind::BADGE_CLEARED:
        line.Add("pkg", event.text);
        break;
    case TraceKind::TIME_ZONE:
    case TraceKind::PLATFORM_FAULT_CLEARED:
        line.Add("text", event.text);
        break;
    case TraceKind::PLATFORM_FAULT:
        line.Add("text", event.text);
        line.Add("value", event.number);
        line.Add("persistent", event.value != 0);
        break;
    default:
        // Any other kind: the values it carries, under their own names.
        if (event.value != 0) {
            line.Add("value", event.value);
        }
        if (event.number != 0) {
            line.Add("number", event.number);
        }
        if (!event.text.empty()) {
            line.Add("text", event.text);
        }
        break;
    }
    return line.Finish();
}

std::string NightTruthToJson(const NightTruth& night)
{
    Json awakenings = Json::array();
    for (const TimeSpan& span : night.awakenings) {
        awakenings.push_back(SpanJson(span));
    }
    Json line{{"night", FormatCivilDate(night.wakeDate)}, {"weekend", night.weekend},
        {"bed", FormatLocalTime(night.bedMs)}, {"phoneDown", FormatLocalTime(night.phoneDownMs)},
        {"onset", FormatLocalTime(night.onsetMs)}, {"wake", FormatLocalTime(night.wakeMs)},
        {"alarm", night.alarmMs > 0 ? FormatLocalTime(night.alarmMs) : ""}, {"awakenings", awakenings},
        {"ms", NightInstantsJson(night)}};
    return line.dump();
}

void Trace::ForEachEvent(const TraceEventVisitor& visit) const
{
    if (generate) {
        generate(visit);
        return;
    }
    for (const TraceEvent& event : events) {
        visit(event);
    }
}

} // namespace OHOS::Sim
