#include "scenario.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <sstream>

#include <nlohmann/json.hpp>

#include "text_file.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kMinNightMin = 3 * 60;         // shortest bedtime-to-wake span accepted
constexpr double kMaxNightMin = 16 * 60;        // longest
constexpr double kMinRecordedSleepMin = 2 * 60; // shortest recorded sleep accepted
constexpr size_t kMaxNameLength = 64;
constexpr size_t kMaxPersonaLength = 64;

// One leaf of the file format: where it sits, what it accepts, how it reads and writes it.
struct FieldSpec {
    std::string path;
    std::string accepts; // for messages and help, e.g. "a number from 0 to 600"
    std::string help;
    std::function<bool(const Json&, Scenario&)> read; // false: the value is not acceptable
    std::function<Json(const Scenario&)> write;
};

std::string ClockText(double minutes)
{
    const int64_t total = std::llround(minutes);
    const int64_t wrapped = ((total % 1440) + 1440) % 1440;
    char text[8];
    std::snprintf(text, sizeof(text), "%02d:%02d", static_cast<int>(wrapped / 60), static_cast<int>(wrapped % 60));
    return text;
}

bool ParseClock(const std::string& text, double& minutes)
{
    int hours = -1;
    int mins = -1;
    char tail = 0;
    if (text.size() != 5 || text[2] != ':' || std::sscanf(text.c_str(), "%2d:%2d%c", &hours, &mins, &tail) != 2) {
        return false;
    }
    if (hours < 0 || hours > 23 || mins < 0 || mins > 59) {
        return false;
    }
    minutes = hours * 60 + mins;
    return true;
}

FieldSpec NumberField(
    const std::string& path, double low, double high, const std::string& help, std::function<double&(Scenario&)> at)
{
    std::ostringstream accepts;
    accepts << "a number from " << low << " to " << high;
    return FieldSpec{path, accepts.str(), help,
        [low, high, at](const Json& value, Scenario& scenario) {
            if (!value.is_number()) {
                return false;
            }
            const double number = value.get<double>();
            if (!(number >= low && number <= high)) {
                return false;
            }
            at(scenario) = number;
            return true;
        },
        [at](const Scenario& scenario) {
            Scenario copy = scenario;
            return Json(at(copy));
        }};
}

FieldSpec ClockField(const std::string& path, const std::string& help, std::function<double&(Scenario&)> at)
{
    return FieldSpec{path, "a time of day \"HH:MM\"", help,
        [at](const Json& value, Scenario& scenario) {
            double minutes = 0;
            if (!value.is_string() || !ParseClock(value.get<std::string>(), minutes)) {
                return false;
            }
            at(scenario) = minutes;
            return true;
        },
        [at](const Scenario& scenario) {
            Scenario copy = scenario;
            return Json(ClockText(at(copy)));
        }};
}

template <typename Enum>
FieldSpec EnumField(const std::string& path, const std::vector<std::pair<std::string, Enum>>& names,
    const std::string& help, std::function<Enum&(Scenario&)> at)
{
    std::string accepts = "one of";
    for (const auto& [name, value] : names) {
        accepts += " \"" + name + "\"";
    }
    return FieldSpec{path, accepts, help,
        [names, at](const Json& value, Scenario& scenario) {
            if (!value.is_string()) {
                return false;
            }
            for (const auto& [name, option] : names) {
                if (value.get<std::string>() == name) {
                    at(scenario) = option;
                    return true;
                }
            }
            return false;
        },
        [names, at](const Scenario& scenario) {
            Scenario copy = scenario;
            const Enum current = at(copy);
            for (const auto& [name, option] : names) {
                if (option == current) {
                    return Json(name);
                }
            }
            return Json(nullptr);
        }};
}

FieldSpec IntegerField(const std::string& path, int64_t low, int64_t high, const std::string& help,
    std::function<void(Scenario&, int64_t)> set, std::function<int64_t(const Scenario&)> get)
{
    return FieldSpec{path, "a whole number from " + std::to_string(low) + " to " + std::to_string(high), help,
        [low, high, set](const Json& value, Scenario& scenario) {
            if (!value.is_number_integer()) {
                return false;
            }
            if (value.is_number_unsigned() && value.get<uint64_t>() > static_cast<uint64_t>(high)) {
                return false;
            }
            const int64_t number = value.get<int64_t>();
            if (number < low || number > high) {
                return false;
            }
            set(scenario, number);
            return true;
        },
        [get](const Scenario& scenario) { return Json(get(scenario)); }};
}

void AddNightHabitFields(
    std::vector<FieldSpec>& fields, const std::string& kind, std::function<NightHabits&(Scenario&)> night)
{
    const std::string prefix = "habits." + kind + ".";
    fields.push_back(ClockField(prefix + "bedtime",
        "when the person goes to bed on " + kind + " nights (before 12:00 means after midnight)",
        [night](Scenario& s) -> double& { return night(s).bedtimeMin; }));
    fields.push_back(NumberField(prefix + "bedtimeSpreadMin", 0, 180, "standard deviation of the bedtime, minutes",
        [night](Scenario& s) -> double& { return night(s).bedtimeSpreadMin; }));
    fields.push_back(ClockField(prefix + "wakeTime", "natural wake-up time on the following morning",
        [night](Scenario& s) -> double& { return night(s).wakeMin; }));
    fields.push_back(NumberField(prefix + "wakeSpreadMin", 0, 180, "standard deviation of the wake-up time, minutes",
        [night](Scenario& s) -> double& { return night(s).wakeSpreadMin; }));
}

const std::vector<FieldSpec>& Fields()
{
    static const std::vector<FieldSpec> fields = [] {
        std::vector<FieldSpec> list;
        list.push_back(FieldSpec{"name", "letters, digits, '-' and '_' (at most 64)",
            "the person's id, used in reports and as the person's output folder name",
            [](const Json& value, Scenario& s) {
                if (!value.is_string() || !IsValidPersonName(value.get<std::string>())) {
                    return false;
                }
                s.name = value.get<std::string>();
                return true;
            },
            [](const Scenario& s) { return Json(s.name); }});
        list.push_back(FieldSpec{"startDate", "a date \"YYYY-MM-DD\"", "first day; the run starts at 12:00 local time",
            [](const Json& value, Scenario& s) {
                return value.is_string() && ParseCivilDate(value.get<std::string>(), s.startDate);
            },
            [](const Scenario& s) { return Json(FormatCivilDate(s.startDate)); }});
        list.push_back(FieldSpec{"timeZone", "a zoneinfo name (\"Europe/Berlin\") or a POSIX TZ string (\"CST-8\")",
            "local time zone of the phone",
            [](const Json& value, Scenario& s) {
                if (!value.is_string() || !IsKnownTimeZone(value.get<std::string>())) {
                    return false;
                }
                s.timeZone = value.get<std::string>();
                return true;
            },
            [](const Scenario& s) { return Json(s.timeZone); }});
        list.push_back(IntegerField(
            "days", 1, 366, "number of days (nights) to simulate",
            [](Scenario& s, int64_t v) { s.days = static_cast<int32_t>(v); },
            [](const Scenario& s) { return static_cast<int64_t>(s.days); }));
        list.push_back(IntegerField(
            "seed", 0, std::numeric_limits<int64_t>::max(),
            "seed of the random generator; the same scenario and seed give identical outputs",
            [](Scenario& s, int64_t v) { s.seed = static_cast<uint64_t>(v); },
            [](const Scenario& s) { return static_cast<int64_t>(s.seed); }));
        list.push_back(IntegerField(
            "standbyMode", 0, 3, "the host's standby mode (STANDBT_MODE)",
            [](Scenario& s, int64_t v) { s.standbyMode = static_cast<int32_t>(v); },
            [](const Scenario& s) { return static_cast<int64_t>(s.standbyMode); }));
        list.push_back(IntegerField(
            "eventLatencyMs", 0, 1000,
            "virtual milliseconds the phone takes to handle each delivered common event; with 0, work the "
            "plug-in posts for later runs exactly its delay after the event (a check for \"more than 5 "
            "minutes\" of screen-off then sees exactly 5 minutes)",
            [](Scenario& s, int64_t v) { s.eventLatencyMs = static_cast<int32_t>(v); },
            [](const Scenario& s) { return static_cast<int64_t>(s.eventLatencyMs); }));
        AddNightHabitFields(list, "weekday", [](Scenario& s) -> NightHabits& { return s.habits.weekday; });
        AddNightHabitFields(list, "weekend", [](Scenario& s) -> NightHabits& { return s.habits.weekend; });
        list.push_back(
            NumberField("habits.sleepLatencyMin", 0, 240, "mean minutes from putting the phone down to falling asleep",
                [](Scenario& s) -> double& { return s.habits.sleepLatencyMin; }));
        list.push_back(NumberField("habits.phoneInBed.meanMin", 0, 240, "mean minutes of phone use in bed",
            [](Scenario& s) -> double& { return s.habits.phoneInBedMin; }));
        list.push_back(
            NumberField("habits.phoneInBed.spreadMin", 0, 120, "standard deviation of the phone use in bed, minutes",
                [](Scenario& s) -> double& { return s.habits.phoneInBedSpreadMin; }));
        list.push_back(NumberField("habits.awakenings.perNight", 0, 10, "mean number of awakenings per night",
            [](Scenario& s) -> double& { return s.habits.awakeningsPerNight; }));
        list.push_back(NumberField("habits.awakenings.phoneChance", 0, 1,
            "chance that an awakening makes the person pick up the phone and switch the screen on",
            [](Scenario& s) -> double& { return s.habits.awakeningPhoneChance; }));
        list.push_back(NumberField("habits.awakenings.unlockChance", 0, 1,
            "chance that such a look also unlocks the phone for a few minutes",
            [](Scenario& s) -> double& { return s.habits.awakeningUnlockChance; }));
        list.push_back(FieldSpec{"habits.alarm.weekdays", "true or false", "an alarm rings on weekday mornings",
            [](const Json& value, Scenario& s) {
                if (!value.is_boolean()) {
                    return false;
                }
                s.habits.alarmOnWeekdays = value.get<bool>();
                return true;
            },
            [](const Scenario& s) { return Json(s.habits.alarmOnWeekdays); }});
        list.push_back(ClockField("habits.alarm.time", "time of the weekday alarm",
            [](Scenario& s) -> double& { return s.habits.alarmMin; }));
        list.push_back(EnumField<ChargingHabit>("habits.charging.mode",
            {{ChargingHabitName(ChargingHabit::EVENING), ChargingHabit::EVENING},
                {ChargingHabitName(ChargingHabit::NIGHT), ChargingHabit::NIGHT},
                {ChargingHabitName(ChargingHabit::DAY), ChargingHabit::DAY}},
            "evening: on the charger in the evening, off before bed; night: from bedtime until after waking; "
            "day: during the day",
            [](Scenario& s) -> ChargingHabit& { return s.habits.charging; }));
        list.push_back(ClockField("habits.charging.start", "when evening or day charging starts",
            [](Scenario& s) -> double& { return s.habits.chargeStartMin; }));
        list.push_back(
            NumberField("habits.charging.startSpreadMin", 0, 180, "standard deviation of the charging start, minutes",
                [](Scenario& s) -> double& { return s.habits.chargeStartSpreadMin; }));
        list.push_back(NumberField("habits.charging.durationMin", 5, 720,
            "mean minutes on the charger (evening charging ends at the latest when the person goes to bed)",
            [](Scenario& s) -> double& { return s.habits.chargeDurationMin; }));
        list.push_back(NumberField("habits.charging.durationSpreadMin", 0, 240,
            "standard deviation of the charging duration, minutes",
            [](Scenario& s) -> double& { return s.habits.chargeDurationSpreadMin; }));
        list.push_back(EnumField<PhonePlace>("habits.phonePlace",
            {{"table", PhonePlace::TABLE}, {"faceDown", PhonePlace::FACE_DOWN}, {"holster", PhonePlace::HOLSTER}},
            "where the phone lies at night: face up on a table, face down (covered), or in a wallet-style "
            "holster (dark while the proximity sensor reads far)",
            [](Scenario& s) -> PhonePlace& { return s.habits.phonePlace; }));
        list.push_back(NumberField("habits.light.dayLux", 0, 100000, "ambient light by day, lux",
            [](Scenario& s) -> double& { return s.habits.dayLux; }));
        list.push_back(
            NumberField("habits.light.eveningLux", 0, 100000, "room light in the evening until lights out, lux",
                [](Scenario& s) -> double& { return s.habits.eveningLux; }));
        list.push_back(NumberField("habits.light.nightLux", 0, 100000, "room light after lights out, lux",
            [](Scenario& s) -> double& { return s.habits.nightLux; }));
        list.push_back(NumberField("habits.daySessionsPerHour", 0, 20, "phone use sessions per waking hour",
            [](Scenario& s) -> double& { return s.habits.daySessionsPerHour; }));
        list.push_back(NumberField("habits.notifications.dayPerHour", 0, 60,
            "notifications per waking hour (cleared at the next phone use)",
            [](Scenario& s) -> double& { return s.habits.dayNotificationsPerHour; }));
        list.push_back(NumberField("habits.notifications.nightPerHour", 0, 60,
            "notifications per hour of sleep (cleared after waking)",
            [](Scenario& s) -> double& { return s.habits.nightNotificationsPerHour; }));
        list.push_back(NumberField("habits.notifications.onWakeChance", 0, 1,
            "chance that a message arrives within a minute of picking up the phone on waking; the person "
            "deals with it during that first use",
            [](Scenario& s) -> double& { return s.habits.wakeNotificationChance; }));
        list.push_back(NumberField("habits.calls.perDay", 0, 50, "incoming calls per waking day",
            [](Scenario& s) -> double& { return s.habits.dayCallsPerDay; }));
        list.push_back(NumberField("habits.calls.nightChance", 0, 1,
            "chance of an incoming call during a night's sleep (it wakes the person)",
            [](Scenario& s) -> double& { return s.habits.nightCallChance; }));
        list.push_back(NumberField("battery.startLevel", 1, 100, "battery percent at the start",
            [](Scenario& s) -> double& { return s.battery.startLevel; }));
        list.push_back(
            NumberField("battery.drainPerHourAwake", 0, 50, "percent used per hour while the person is awake",
                [](Scenario& s) -> double& { return s.battery.drainPerHourAwake; }));
        list.push_back(NumberField("battery.drainPerHourAsleep", 0, 50, "percent used per hour while the person sleeps",
            [](Scenario& s) -> double& { return s.battery.drainPerHourAsleep; }));
        list.push_back(NumberField("battery.chargePerHour", 1, 200, "percent gained per hour on the charger",
            [](Scenario& s) -> double& { return s.battery.chargePerHour; }));
        return list;
    }();
    return fields;
}

const FieldSpec* FindField(const std::string& path)
{
    for (const FieldSpec& field : Fields()) {
        if (field.path == path) {
            return &field;
        }
    }
    return nullptr;
}

bool IsObjectPath(const std::string& path)
{
    const std::string prefix = path + ".";
    for (const FieldSpec& field : Fields()) {
        if (field.path.compare(0, prefix.size(), prefix) == 0) {
            return true;
        }
    }
    return false;
}

std::string Shown(const Json& value)
{
    std::string text = value.dump();
    constexpr size_t kMaxShown = 60;
    return text.size() > kMaxShown ? text.substr(0, kMaxShown) + "..." : text;
}

bool ReadObject(const Json& object, const std::string& prefix, Scenario& scenario, std::string& error);

bool ReadMember(const std::string& path, const Json& value, Scenario& scenario, std::string& error)
{
    if (const FieldSpec* field = FindField(path)) {
        if (!field->read(value, scenario)) {
            error = "field '" + path + "': expected " + field->accepts + ", got " + Shown(value);
            return false;
        }
        return true;
    }
    if (IsObjectPath(path)) {
        if (!value.is_object()) {
            error = "field '" + path + "': expected an object, got " + Shown(value);
            return false;
        }
        return ReadObject(value, path + ".", scenario, error);
    }
    error = "unknown field '" + path + "' (sleepsim --help lists the fields)";
    return false;
}

bool ReadDumps(const Json& value, Scenario& scenario, std::string& error)
{
    if (!value.is_array()) {
        error = "field 'dumps': expected a list of {\"words\": [...], \"at\": \"YYYY-MM-DD HH:MM\"}";
        return false;
    }
    std::vector<DumpRequest> dumps;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string path = "dumps[" + std::to_string(i) + "]";
        const Json& item = value[i];
        if (!item.is_object()) {
            error = "field '" + path + "': expected an object";
            return false;
        }
        DumpRequest request;
        for (auto it = item.begin(); it != item.end(); ++it) {
            if (it.key() == "words" && it.value().is_array() && !it.value().empty() &&
                std::all_of(it.value().begin(), it.value().end(), [](const Json& w) { return w.is_string(); })) {
                request.words = it.value().get<std::vector<std::string>>();
            } else if (it.key() == "at" && it.value().is_string()) {
                request.atText = it.value().get<std::string>();
            } else if (it.key() == "words" || it.key() == "at") {
                error = "field '" + path + "." + it.key() + "': expected " +
                        (it.key() == "words" ? "a non-empty list of strings" : "a local time \"YYYY-MM-DD HH:MM\"") +
                        ", got " + Shown(it.value());
                return false;
            } else {
                error = "unknown field '" + path + "." + it.key() + "' (sleepsim --help lists the fields)";
                return false;
            }
        }
        if (request.words.empty()) {
            error = "field '" + path + ".words': missing";
            return false;
        }
        dumps.push_back(request);
    }
    scenario.dumps = dumps;
    return true;
}

// One member of a recorded night: its name, what it accepts, and how it reads and writes the value.
struct NightMember {
    std::string key;
    std::string accepts;
    std::function<bool(const Json&, ScheduledNight&)> read;
    std::function<Json(const ScheduledNight&)> write;
};

NightMember NightNumber(const std::string& key, double low, double high, double ScheduledNight::*member)
{
    std::ostringstream accepts;
    accepts << "a number from " << low << " to " << high;
    return NightMember{key, accepts.str(),
        [low, high, member](const Json& value, ScheduledNight& night) {
            if (!value.is_number() || !(value.get<double>() >= low && value.get<double>() <= high)) {
                return false;
            }
            night.*member = value.get<double>();
            return true;
        },
        [member](const ScheduledNight& night) { return Json(night.*member); }};
}

const std::vector<NightMember>& NightMembers()
{
    static const std::vector<NightMember> members = {
        NightMember{"wakeDate", "a date \"YYYY-MM-DD\"",
            [](const Json& value, ScheduledNight& night) {
                return value.is_string() && ParseCivilDate(value.get<std::string>(), night.wakeDate);
            },
            [](const ScheduledNight& night) { return Json(FormatCivilDate(night.wakeDate)); }},
        NightNumber("onsetMin", 0, 2 * kMinutesPerDay, &ScheduledNight::onsetMin),
        NightNumber("wakeMin", -kMinutesPerDay, kMinutesPerDay, &ScheduledNight::wakeMin),
        NightMember{"unlocks", "a whole number from 0 to 500",
            [](const Json& value, ScheduledNight& night) {
                if (!value.is_number_integer() || value.get<int64_t>() < 0 || value.get<int64_t>() > 500) {
                    return false;
                }
                night.unlocks = value.get<int32_t>();
                return true;
            },
            [](const ScheduledNight& night) { return Json(night.unlocks); }},
        NightNumber("unlockMin", 0, 360, &ScheduledNight::unlockMin),
        NightNumber("firstUnlockMin", 0, 360, &ScheduledNight::firstUnlockMin),
        NightNumber("awakeMin", -1, kMinutesPerDay, &ScheduledNight::awakeMin),
    };
    return members;
}

bool ReadScheduledNight(const Json& item, const std::string& path, ScheduledNight& night, std::string& error)
{
    if (!item.is_object() || !item.contains("wakeDate") || !item.contains("onsetMin") || !item.contains("wakeMin")) {
        error = "field '" + path + "': expected an object with at least wakeDate, onsetMin and wakeMin";
        return false;
    }
    for (auto it = item.begin(); it != item.end(); ++it) {
        const auto& members = NightMembers();
        const auto member =
            std::find_if(members.begin(), members.end(), [&it](const NightMember& m) { return m.key == it.key(); });
        if (member == members.end()) {
            error = "unknown field '" + path + "." + it.key() + "' (sleepsim --help lists the fields)";
            return false;
        }
        if (!member->read(it.value(), night)) {
            error = "field '" + path + "." + it.key() + "': expected " + member->accepts + ", got " + Shown(it.value());
            return false;
        }
    }
    const double sleepMin = night.wakeMin + kMinutesPerDay - night.onsetMin;
    if (sleepMin < kMinRecordedSleepMin || sleepMin > kMaxNightMin) {
        error = "field '" + path + ".wakeMin': must be 2 to 16 hours after " + path + ".onsetMin";
        return false;
    }
    return true;
}

bool ReadSchedule(const Json& value, Scenario& scenario, std::string& error)
{
    if (!value.is_array()) {
        error = "field 'schedule': expected a list of {\"wakeDate\": \"YYYY-MM-DD\", \"onsetMin\": ..., "
                "\"wakeMin\": ...}";
        return false;
    }
    std::vector<ScheduledNight> schedule;
    for (size_t i = 0; i < value.size(); ++i) {
        const std::string path = "schedule[" + std::to_string(i) + "]";
        ScheduledNight night;
        if (!ReadScheduledNight(value[i], path, night, error)) {
            return false;
        }
        if (!schedule.empty() && FormatCivilDate(night.wakeDate) <= FormatCivilDate(schedule.back().wakeDate)) {
            error = "field '" + path + ".wakeDate': the nights must be in increasing date order";
            return false;
        }
        schedule.push_back(night);
    }
    scenario.schedule = schedule;
    return true;
}

bool ReadPersona(const Json& value, Scenario& scenario, std::string& error)
{
    if (!value.is_string() || value.get_ref<const std::string&>().size() > kMaxPersonaLength) {
        error = "field 'persona': expected a text of at most " + std::to_string(kMaxPersonaLength) + " characters";
        return false;
    }
    scenario.persona = value.get<std::string>();
    return true;
}

bool ReadObject(const Json& object, const std::string& prefix, Scenario& scenario, std::string& error)
{
    for (auto it = object.begin(); it != object.end(); ++it) {
        const std::string path = prefix + it.key();
        const bool ok = path == "dumps"      ? ReadDumps(it.value(), scenario, error)
                        : path == "schedule" ? ReadSchedule(it.value(), scenario, error)
                        : path == "faults"   ? ReadScenarioFaults(it.value(), scenario.faults, error)
                        : path == "persona"  ? ReadPersona(it.value(), scenario, error)
                                             : ReadMember(path, it.value(), scenario, error);
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool CheckNight(const NightHabits& night, const std::string& kind, std::string& error)
{
    const double span = night.SpanMin();
    if (span < kMinNightMin || span > kMaxNightMin) {
        error = "field 'habits." + kind + ".wakeTime': must be 3 to 16 hours after habits." + kind +
                ".bedtime (bedtime " + ClockText(night.bedtimeMin) + ", wake " + ClockText(night.wakeMin) + ")";
        return false;
    }
    return true;
}

bool ResolveDumpTimes(Scenario& scenario, std::string& error)
{
    for (size_t i = 0; i < scenario.dumps.size(); ++i) {
        DumpRequest& request = scenario.dumps[i];
        if (request.atText.empty()) {
            request.atMs = -1;
            continue;
        }
        CivilDate date;
        double minutes = 0;
        const std::string& text = request.atText;
        if (text.size() != 16 || text[10] != ' ' || !ParseCivilDate(text.substr(0, 10), date) ||
            !ParseClock(text.substr(11), minutes)) {
            error = "field 'dumps[" + std::to_string(i) + "].at': expected a local time \"YYYY-MM-DD HH:MM\", got \"" +
                    text + "\"";
            return false;
        }
        request.atMs = LocalTimeMs(date, minutes);
    }
    return true;
}

} // namespace

double NightHabits::EveningBedtimeMin() const
{
    return bedtimeMin < kNoonMin ? bedtimeMin + kMinutesPerDay : bedtimeMin;
}

double NightHabits::SpanMin() const
{
    return std::fmod(std::fmod(wakeMin - bedtimeMin, kMinutesPerDay) + kMinutesPerDay, kMinutesPerDay);
}

bool IsValidPersonName(const std::string& name)
{
    return !name.empty() && name.size() <= kMaxNameLength && std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
    });
}

Scenario DefaultScenario()
{
    Scenario scenario;
    scenario.name = "default";
    scenario.startDate = CivilDate{2026, 1, 5}; // a Monday
    scenario.timeZone = "CET-1CEST,M3.5.0,M10.5.0/3";
    scenario.days = 28;
    scenario.seed = 1;
    scenario.standbyMode = 0;
    scenario.eventLatencyMs = 1;
    Habits& habits = scenario.habits;
    habits.weekday = NightHabits{23 * 60, 20, 6 * 60 + 55, 10};
    habits.weekend = NightHabits{23 * 60 + 45, 35, 8 * 60 + 30, 30};
    habits.sleepLatencyMin = 12;
    habits.phoneInBedMin = 15;
    habits.phoneInBedSpreadMin = 8;
    habits.awakeningsPerNight = 0.8;
    habits.awakeningPhoneChance = 0.3;
    habits.awakeningUnlockChance = 0.25;
    habits.alarmOnWeekdays = true;
    habits.alarmMin = 6 * 60 + 45;
    habits.charging = ChargingHabit::EVENING;
    habits.chargeStartMin = 19 * 60 + 30;
    habits.chargeStartSpreadMin = 30;
    habits.chargeDurationMin = 120;
    habits.chargeDurationSpreadMin = 20;
    habits.phonePlace = PhonePlace::TABLE;
    habits.dayLux = 300;
    habits.eveningLux = 150;
    habits.nightLux = 0.3;
    habits.daySessionsPerHour = 1.2;
    habits.dayNotificationsPerHour = 3;
    habits.nightNotificationsPerHour = 0.2;
    habits.dayCallsPerDay = 1;
    habits.nightCallChance = 0.02;
    scenario.battery = BatteryHabits{70, 4, 0.8, 45};
    return scenario;
}

bool ParseScenario(const std::string& jsonText, Scenario& scenario, std::string& error)
{
    const Json root = Json::parse(jsonText, nullptr, false);
    if (root.is_discarded()) {
        error = "the scenario is not valid JSON";
        return false;
    }
    if (!root.is_object()) {
        error = "the scenario must be a JSON object";
        return false;
    }
    Scenario parsed = scenario;
    if (!ReadObject(root, "", parsed, error) || !CheckNight(parsed.habits.weekday, "weekday", error) ||
        !CheckNight(parsed.habits.weekend, "weekend", error)) {
        return false;
    }
    SetProcessTimeZone(parsed.timeZone);
    const int64_t startMs = LocalTimeMs(parsed.startDate, kNoonMin);
    const int64_t endMs = LocalTimeMs(AddDays(parsed.startDate, parsed.days), kNoonMin);
    if (!ResolveDumpTimes(parsed, error) || !CheckScenarioFaultTimes(parsed.faults, startMs, endMs, error)) {
        return false;
    }
    scenario = parsed;
    return true;
}

bool LoadScenarioFile(const std::string& path, Scenario& scenario, std::string& error)
{
    std::string text;
    if (!ReadTextFile(path, text)) {
        error = "cannot read the scenario file '" + path + "'";
        return false;
    }
    if (!ParseScenario(text, scenario, error)) {
        error = path + ": " + error;
        return false;
    }
    return true;
}

std::string ScenarioToJson(const Scenario& scenario)
{
    Json root = Json::object();
    for (const FieldSpec& field : Fields()) {
        Json* node = &root;
        std::string rest = field.path;
        for (size_t dot = rest.find('.'); dot != std::string::npos; dot = rest.find('.')) {
            node = &(*node)[rest.substr(0, dot)];
            rest = rest.substr(dot + 1);
        }
        (*node)[rest] = field.write(scenario);
    }
    Json dumps = Json::array();
    for (const DumpRequest& request : scenario.dumps) {
        Json item = {{"words", request.words}};
        if (!request.atText.empty()) {
            item["at"] = request.atText;
        }
        dumps.push_back(item);
    }
    root["dumps"] = dumps;
    Json schedule = Json::array();
    for (const ScheduledNight& night : scenario.schedule) {
        Json item = Json::object();
        for (const NightMember& member : NightMembers()) {
            item[member.key] = member.write(night);
        }
        schedule.push_back(item);
    }
    root["schedule"] = schedule;
    root["faults"] = ScenarioFaultsToJson(scenario.faults);
    if (!scenario.persona.empty()) {
        root["persona"] = scenario.persona;
    }
    return root.dump(2) + "\n";
}

std::string ScenarioFieldHelp()
{
    const Scenario defaults = DefaultScenario();
    std::ostringstream out;
    for (const FieldSpec& field : Fields()) {
        out << "  " << field.path << "\n      " << field.help << ".\n      Accepts " << field.accepts << "; default "
            << field.write(defaults).dump() << ".\n";
    }
    out << "  dumps\n      dump requests passed to the plug-in during the run: a list of objects\n"
        << "      {\"words\": [\"-D\", \"--strategy\"], \"at\": \"YYYY-MM-DD HH:MM\"}; without \"at\" at the end.\n"
        << "      Default [].\n"
        << "  schedule\n      recorded nights followed instead of the habits, in date order: a list of objects\n"
        << "      {\"wakeDate\": \"YYYY-MM-DD\", \"onsetMin\": 1483, \"wakeMin\": 493.5, \"unlocks\": 9,\n"
        << "      \"unlockMin\": 38.6, \"firstUnlockMin\": 17.2, \"awakeMin\": 21}: sleep onset in minutes\n"
        << "      after the midnight that starts the day before wakeDate (1483 = 00:43), wake in minutes after\n"
        << "      wakeDate's midnight (2 to 16 hours of sleep), the phone unlocks of 00:00-06:00 (count, total\n"
        << "      minutes, first one in minutes after 00:00; spread evenly from the first one, those before the\n"
        << "      onset while awake, none after the wake) and the minutes awake within the sleep (-1: not\n"
        << "      recorded; docs/recorded-nights.md). Nights not listed follow the habits. Default [].\n"
        << "  persona\n      what kind of sleeper a generated person was drawn as (\"late sleeper\"); the metrics\n"
        << "      break their figures down by it. Accepts a text of at most 64 characters; default none.\n";
    out << ScenarioFaultsHelp();
    return out.str();
}

const char* ChargingHabitName(ChargingHabit habit)
{
    switch (habit) {
    case ChargingHabit::EVENING:
        return "evening";
    case ChargingHabit::NIGHT:
        return "night";
    case ChargingHabit::DAY:
        return "day";
    }
    return "unknown";
}

} // namespace OHOS::Sim
