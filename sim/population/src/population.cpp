#include "population.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <set>

#include <nlohmann/json.hpp>

#include "sim_random.h"
#include "text_file.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::ordered_json;

enum class SleeperKind { REGULAR, EARLY, LATE, IRREGULAR, NIGHT_SHIFT, AFTERNOON_SLEEPER, LIGHT_SLEEPER };

const char* SleeperKindName(SleeperKind kind)
{
    switch (kind) {
    case SleeperKind::REGULAR:
        return "regular sleeper";
    case SleeperKind::EARLY:
        return "early sleeper";
    case SleeperKind::LATE:
        return "late sleeper";
    case SleeperKind::IRREGULAR:
        return "irregular sleeper";
    case SleeperKind::NIGHT_SHIFT:
        return "night shift";
    case SleeperKind::AFTERNOON_SLEEPER:
        return "afternoon sleeper";
    case SleeperKind::LIGHT_SLEEPER:
        return "light sleeper";
    }
    return "unknown";
}

// The mix of a population, one entry per person in turn: three regular sleepers in ten.
constexpr std::array<SleeperKind, 10> kKindCycle = {SleeperKind::REGULAR, SleeperKind::LATE, SleeperKind::LIGHT_SLEEPER,
    SleeperKind::EARLY, SleeperKind::REGULAR, SleeperKind::NIGHT_SHIFT, SleeperKind::IRREGULAR, SleeperKind::REGULAR,
    SleeperKind::AFTERNOON_SLEEPER, SleeperKind::LIGHT_SLEEPER};

// A time zone and, for zones with daylight saving, start days ("MM-DD") a few days before a change.
struct ZoneChoice {
    const char* zone;
    const char* beforeSpringChange;
    const char* beforeAutumnChange;
};

const std::array<ZoneChoice, 7> kZones = {{
    {"CET-1CEST,M3.5.0,M10.5.0/3", "03-20", "10-20"},
    {"GMT0BST,M3.5.0/1,M10.5.0", "03-20", "10-20"},
    {"EST5EDT,M3.2.0,M11.1.0", "03-03", "10-27"},
    {"PST8PDT,M3.2.0,M11.1.0", "03-03", "10-27"},
    {"AEST-10AEDT,M10.1.0,M4.1.0/3", "09-26", "03-27"},
    {"CST-8", nullptr, nullptr},
    {"IST-5:30", nullptr, nullptr},
}};

constexpr double kDaylightSavingStartChance = 0.3; // of persons in a zone with daylight saving
constexpr double kFaceDownChance = 0.25;
constexpr double kHolsterChance = 0.2;
constexpr double kNightChargingChance = 0.4;
constexpr double kDayChargingChance = 0.2;
constexpr double kHeavyNightNoticeChance = 0.25;
constexpr double kNightCallerChance = 0.15;
constexpr double kWakeMessageChance = 0.25;
constexpr double kAlarmChance = 0.6;

// Independent streams per person: person i is the same whatever the population size.
uint64_t PersonSeed(uint64_t seed, int32_t index)
{
    uint64_t z = seed + 0x9E3779B97F4A7C15ULL * (static_cast<uint64_t>(index) + 1);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

// Whole minutes of a clock time, wrapped into one day (the scenario stores "HH:MM").
double Clock(double minutes)
{
    const double whole = std::round(minutes);
    return std::fmod(std::fmod(whole, kMinutesPerDay) + kMinutesPerDay, kMinutesPerDay);
}

double Hours(double hours)
{
    return hours * 60;
}

std::string DefaultPersonName(size_t index)
{
    char name[16];
    std::snprintf(name, sizeof(name), "p%03zu", index + 1);
    return name;
}

class PersonDrawer {
public:
    PersonDrawer(const Scenario& base, int32_t index)
        : person_(base), random_(PersonSeed(base.seed, index)), kind_(kKindCycle[index % kKindCycle.size()])
    {
        person_.name = DefaultPersonName(static_cast<size_t>(index));
        person_.schedule.clear();
        person_.dumps.clear();
    }

    Scenario Draw()
    {
        person_.seed = static_cast<uint64_t>(random_.UniformInt(0, INT64_MAX));
        DrawSleepTimes();
        DrawNights();
        DrawPhone();
        DrawZone();
        person_.battery.startLevel = std::round(random_.Uniform(30, 95));
        person_.persona = SleeperKindName(kind_);
        return person_;
    }

private:
    // Bedtime window (minutes after the evening's midnight) and sleep length in hours, by kind.
    void DrawSleepTimes()
    {
        switch (kind_) {
        case SleeperKind::EARLY:
            SetNights(random_.Uniform(Hours(20.5), Hours(21.75)), random_.Uniform(7, 8.5), 15, 15);
            break;
        case SleeperKind::LATE:
            SetNights(random_.Uniform(Hours(25), Hours(27)), random_.Uniform(8, 9.5), 25, 30);
            break;
        case SleeperKind::IRREGULAR:
            SetNights(random_.Uniform(Hours(22), Hours(24.5)), random_.Uniform(6.5, 8.5), random_.Uniform(60, 120),
                random_.Uniform(45, 90));
            break;
        case SleeperKind::NIGHT_SHIFT:
            SetShiftNights(random_.Uniform(Hours(31.5), Hours(33.5)), random_.Uniform(6, 8));
            break;
        case SleeperKind::AFTERNOON_SLEEPER:
            SetShiftNights(random_.Uniform(Hours(15.5), Hours(17)), random_.Uniform(4, 5));
            break;
        case SleeperKind::REGULAR:
        case SleeperKind::LIGHT_SLEEPER:
            SetNights(random_.Uniform(Hours(22), Hours(24)), random_.Uniform(7, 8.5), random_.Uniform(10, 30),
                random_.Uniform(10, 30));
            break;
        }
    }

    void SetNights(double eveningBedMin, double sleepHours, double bedSpread, double wakeSpread)
    {
        const double weekendDelay = random_.Uniform(0, 60);
        const double weekendLonger = random_.Uniform(30, 90);
        SetNight(person_.habits.weekday, eveningBedMin, sleepHours * 60, bedSpread, wakeSpread);
        SetNight(person_.habits.weekend, eveningBedMin + weekendDelay, sleepHours * 60 + weekendLonger, bedSpread * 1.5,
            wakeSpread * 1.5);
        const bool alarm = random_.Chance(kAlarmChance);
        person_.habits.alarmOnWeekdays = alarm;
        person_.habits.alarmMin = Clock(person_.habits.weekday.wakeMin - random_.Uniform(0, 15));
    }

    // Shift workers keep their day sleep on every day and wake without an alarm.
    void SetShiftNights(double eveningBedMin, double sleepHours)
    {
        SetNight(person_.habits.weekday, eveningBedMin, sleepHours * 60, 20, 20);
        SetNight(person_.habits.weekend, eveningBedMin + random_.Uniform(-30, 30), sleepHours * 60, 30, 30);
        person_.habits.alarmOnWeekdays = false;
        person_.habits.nightLux = random_.Uniform(1, 30); // daylight behind the curtains
    }

    static void SetNight(NightHabits& night, double eveningBedMin, double spanMin, double bedSpread, double wakeSpread)
    {
        night.bedtimeMin = Clock(eveningBedMin);
        night.wakeMin = Clock(eveningBedMin + spanMin);
        night.bedtimeSpreadMin = std::round(bedSpread);
        night.wakeSpreadMin = std::round(wakeSpread);
    }

    void DrawNights()
    {
        Habits& habits = person_.habits;
        const bool light = kind_ == SleeperKind::LIGHT_SLEEPER;
        habits.sleepLatencyMin = std::round(random_.Uniform(5, light ? 40 : 25));
        habits.phoneInBedMin = std::round(random_.Uniform(2, 40));
        habits.awakeningsPerNight = light ? random_.Uniform(2, 4) : random_.Uniform(0.2, 1.2);
        habits.awakeningPhoneChance = light ? random_.Uniform(0.6, 0.9) : random_.Uniform(0.05, 0.4);
        habits.awakeningUnlockChance = light ? random_.Uniform(0.4, 0.8) : random_.Uniform(0.1, 0.4);
        habits.nightNotificationsPerHour =
            random_.Chance(kHeavyNightNoticeChance) ? random_.Uniform(2, 8) : random_.Uniform(0, 0.5);
        habits.nightCallChance =
            random_.Chance(kNightCallerChance) ? random_.Uniform(0.15, 0.4) : random_.Uniform(0, 0.03);
        habits.wakeNotificationChance = random_.Chance(kWakeMessageChance) ? random_.Uniform(0.5, 1) : 0;
    }

    void DrawPhone()
    {
        Habits& habits = person_.habits;
        const double place = random_.Uniform01();
        habits.phonePlace = place < kFaceDownChance                    ? PhonePlace::FACE_DOWN
                            : place < kFaceDownChance + kHolsterChance ? PhonePlace::HOLSTER
                                                                       : PhonePlace::TABLE;
        const double charging = random_.Uniform01();
        if (charging < kNightChargingChance) {
            habits.charging = ChargingHabit::NIGHT;
        } else if (charging < kNightChargingChance + kDayChargingChance) {
            habits.charging = ChargingHabit::DAY;
            habits.chargeStartMin = Clock(random_.Uniform(Hours(9), Hours(15)));
        } else {
            habits.charging = ChargingHabit::EVENING;
            // Off the charger before bed: start a few hours before the weekday bedtime.
            habits.chargeStartMin = Clock(habits.weekday.EveningBedtimeMin() - random_.Uniform(Hours(3), Hours(5)));
        }
        habits.daySessionsPerHour = random_.Uniform(0.5, 3);
        habits.dayNotificationsPerHour = random_.Uniform(1, 8);
        habits.dayCallsPerDay = random_.Uniform(0, 4);
    }

    void DrawZone()
    {
        const ZoneChoice& zone = kZones[static_cast<size_t>(random_.UniformInt(0, kZones.size() - 1))];
        person_.timeZone = zone.zone;
        if (zone.beforeSpringChange == nullptr || !random_.Chance(kDaylightSavingStartChance)) {
            return;
        }
        const std::string monthDay = random_.Chance(0.5) ? zone.beforeSpringChange : zone.beforeAutumnChange;
        ParseCivilDate(std::to_string(person_.startDate.year) + "-" + monthDay, person_.startDate);
    }

    Scenario person_;
    SimRandom random_;
    SleeperKind kind_;
};

} // namespace

std::vector<Scenario> GeneratePopulation(const Scenario& base, int32_t count)
{
    std::vector<Scenario> persons;
    for (int32_t i = 0; i < count; ++i) {
        persons.push_back(PersonDrawer(base, i).Draw());
    }
    return persons;
}

bool LoadPopulationFile(
    const std::string& path, const Scenario& base, std::vector<Scenario>& persons, std::string& error)
{
    std::string text;
    if (!ReadTextFile(path, text)) {
        error = "cannot read the population file '" + path + "'";
        return false;
    }
    const Json list = Json::parse(text, nullptr, false);
    if (list.is_discarded() || !list.is_array() || list.empty()) {
        error = path + ": expected a non-empty JSON list of persons (scenario objects)";
        return false;
    }
    std::vector<Scenario> loaded;
    std::set<std::string> names;
    for (size_t i = 0; i < list.size(); ++i) {
        const std::string where = path + ": person [" + std::to_string(i) + "]: ";
        Scenario person = base;
        person.name = DefaultPersonName(i);
        if (!ParseScenario(list[i].dump(), person, error)) {
            error = where + error;
            return false;
        }
        if (!names.insert(person.name).second) {
            error = where + "field 'name': \"" + person.name + "\" is used by an earlier person";
            return false;
        }
        loaded.push_back(person);
    }
    persons = loaded;
    return true;
}

} // namespace OHOS::Sim
