#ifndef SIM_INCLUDE_SCENARIO_H
#define SIM_INCLUDE_SCENARIO_H

#include <cstdint>
#include <string>
#include <vector>

#include "local_calendar.h"
#include "scenario_faults.h"

namespace OHOS::Sim {

// When and how regularly a person sleeps on one kind of night. Clock times are minutes after
// midnight; a bedtime before 12:00 means after midnight. The wake time is the first one after the
// bedtime, so a night may cross noon or lie entirely in the day (16:00 to 20:13).
struct NightHabits {
    double bedtimeMin = 0;
    double bedtimeSpreadMin = 0; // standard deviation
    double wakeMin = 0;
    double wakeSpreadMin = 0;

    // Bedtime as minutes after the midnight that starts the evening (after midnight gets +1440).
    double EveningBedtimeMin() const;
    // Minutes from bedtime to the wake time that follows it, in [0, 1440).
    double SpanMin() const;
};

// One recorded night, followed instead of the habits on the night that ends on `wakeDate`.
struct ScheduledNight {
    CivilDate wakeDate;
    double onsetMin = 0;       // fell asleep: minutes after the midnight that starts the day before wakeDate
    double wakeMin = 0;        // woke up: minutes after the midnight that starts wakeDate (negative: before it)
    int32_t unlocks = 0;       // phone unlocks between 00:00 and 06:00 of wakeDate
    double unlockMin = 0;      // their total minutes
    double firstUnlockMin = 0; // minutes after 00:00 of wakeDate of the first one
    double awakeMin = -1;      // minutes awake between onset and wake; negative: not recorded
};

enum class ChargingHabit { EVENING, NIGHT, DAY };
enum class PhonePlace { TABLE, FACE_DOWN, HOLSTER };

struct Habits {
    NightHabits weekday;        // nights before Monday ... Friday
    NightHabits weekend;        // nights before Saturday and Sunday
    double sleepLatencyMin = 0; // mean minutes from putting the phone down to falling asleep
    double phoneInBedMin = 0;   // mean minutes of phone use in bed before putting it down
    double phoneInBedSpreadMin = 0;
    double awakeningsPerNight = 0;    // mean number of night awakenings
    double awakeningPhoneChance = 0;  // an awakening makes the person look at the phone
    double awakeningUnlockChance = 0; // such a look also unlocks the phone
    bool alarmOnWeekdays = false;
    double alarmMin = 0; // alarm time on weekday mornings
    ChargingHabit charging = ChargingHabit::EVENING;
    double chargeStartMin = 0; // evening or day charging: when the phone goes on the charger
    double chargeStartSpreadMin = 0;
    double chargeDurationMin = 0;
    double chargeDurationSpreadMin = 0;
    PhonePlace phonePlace = PhonePlace::TABLE;
    double dayLux = 0;             // ambient light by day
    double eveningLux = 0;         // room light in the evening until lights out
    double nightLux = 0;           // room light after lights out
    double daySessionsPerHour = 0; // phone use sessions while awake
    double dayNotificationsPerHour = 0;
    double nightNotificationsPerHour = 0; // while asleep
    double wakeNotificationChance = 0;    // a message arrives as the person picks up the phone on waking
    double dayCallsPerDay = 0;
    double nightCallChance = 0; // chance of an incoming call during a night's sleep
};

struct BatteryHabits {
    double startLevel = 0; // percent at the start of the run
    double drainPerHourAwake = 0;
    double drainPerHourAsleep = 0;
    double chargePerHour = 0;
};

// A dump request: the words passed to the plug-in, at a local time or (atMs < 0) at the end.
struct DumpRequest {
    std::vector<std::string> words;
    int64_t atMs = -1;
    std::string atText; // the local time as written in the scenario, for printing
};

struct Scenario {
    std::string name;     // the person's id: letters, digits, '-' and '_' (used as a folder name)
    CivilDate startDate;  // the run starts at 12:00 local time on this day
    std::string timeZone; // TZ value: a zoneinfo name or a POSIX TZ string
    int32_t days = 0;
    uint64_t seed = 0;
    int32_t standbyMode = 0; // the host's standby mode
    // Virtual milliseconds the phone spends handling each delivered common event before the work
    // it posted for "now" runs. With 0 a delayed check runs at exactly its delay after the event.
    int32_t eventLatencyMs = 0;
    Habits habits;
    BatteryHabits battery;
    std::vector<DumpRequest> dumps;
    std::vector<ScheduledNight> schedule; // recorded nights, by wake date; other nights follow the habits
    std::vector<ScenarioFault> faults;
    // What kind of sleeper the person was drawn as ("late sleeper"), so that figures can be broken
    // down by it; empty for a person written by hand or read from recorded nights.
    std::string persona;
};

// The name of a charging habit as scenarios write it: "evening", "night" or "day".
const char* ChargingHabitName(ChargingHabit habit);

// Whether `name` is acceptable as a person's id (non-empty, at most 64 letters, digits, '-', '_').
bool IsValidPersonName(const std::string& name);

// The built-in person: a regular sleeper whose phone charges in the evening, not all night.
Scenario DefaultScenario();

// Reads a scenario from JSON text on top of the defaults: fields left out keep their default.
// On failure returns false, leaves `scenario` unchanged and puts a message naming the field in `error`.
// Dump times are resolved in the scenario's own time zone (which this call sets for the process).
bool ParseScenario(const std::string& jsonText, Scenario& scenario, std::string& error);
// Reads the file at `path` and parses it; an unreadable file is reported in `error`.
bool LoadScenarioFile(const std::string& path, Scenario& scenario, std::string& error);
// The scenario as JSON in the file format (every field), two-space indented.
std::string ScenarioToJson(const Scenario& scenario);
// The help text of every field: its name, meaning, accepted values and default.
std::string ScenarioFieldHelp();

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_SCENARIO_H
