// Recorded schedules: each participant's nights as recorded, gaps filled from their own medians,
// malformed rows named by file, line and column.
#include <cmath>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "person_model.h"
#include "recorded_schedules.h"
#include "scenario.h"

namespace OHOS::Sim {
namespace {

const std::string kHeader = "pid,date,bedtime_min,waketime_min,inbed_min,asleep_min,to_fall_asleep_min,awake_min,"
                            "night_unlocks,night_unlock_min,first_unlock_after_midnight_min\n";

class RecordedSchedulesTest : public testing::Test {
protected:
    bool Load(const std::string& rows, std::vector<Scenario>& persons, std::string& error)
    {
        std::ofstream(path_, std::ios::binary) << kHeader << rows;
        return LoadPersonsFromCsv(path_, DefaultScenario(), persons, error);
    }

    Emulator::ScopedDataRoot folder_; // a folder of this test process alone
    std::string path_ = folder_.Path() + "/recorded_schedules_test.csv";
};

TEST_F(RecordedSchedulesTest, FollowsEachNightAndFillsGapsWithThePersonsMedians)
{
    std::vector<Scenario> persons;
    std::string error;
    ASSERT_TRUE(Load("B-2,2018-05-02,1400,400,,,,,0,0,\n"
                     "A_1,2018-04-30,1483.0,493.5,507,486,0,21,9,38.5,17.25\n"
                     "A_1,2018-05-01,1500,,,,,,,,\n"           // wake missing
                     "A_1,2018-05-03,1380,420,,,,35,3,10,60\n" // 05-02 has no row
                     "A_1,2018-05-04,1500,100,,,,,1,2,5\n"     // 1.7 hours: implausible
                     "B-2,2018-05-01,900,-300,,,,,,,\n",
        persons, error))
        << error;
    ASSERT_EQ(persons.size(), 2u);
    const Scenario& a = persons[1]; // in order of first appearance
    EXPECT_EQ(std::make_tuple(a.name, FormatCivilDate(a.startDate), a.days, a.habits.alarmOnWeekdays),
        std::make_tuple("A_1", "2018-04-29", 5, false));
    // Medians over the plausible nights (04-30, 05-03): onset 1431.5, wake 456.75; unlocks over all
    // recorded values (9, 3, 1): 3, 10 minutes, first at 17.25; awake 28. The 05-04 night (1.7 hours)
    // is implausible, but its unlocks were recorded.
    using Night = std::tuple<std::string, double, double, int32_t, double, double, double>;
    std::vector<Night> nights;
    for (const ScheduledNight& night : a.schedule) {
        nights.emplace_back(FormatCivilDate(night.wakeDate), night.onsetMin, night.wakeMin, night.unlocks,
            night.unlockMin, night.firstUnlockMin, night.awakeMin);
    }
    EXPECT_EQ(
        nights, (std::vector<Night>{{"2018-04-30", 1483, 493.5, 9, 38.5, 17.25, 21},
                    {"2018-05-01", 1500, 456.75, 3, 10, 17.25, 28}, {"2018-05-02", 1431.5, 456.75, 3, 10, 17.25, 28},
                    {"2018-05-03", 1380, 420, 3, 10, 60, 35}, {"2018-05-04", 1431.5, 456.75, 1, 2, 5, 28}}));

    const Scenario& b = persons[0];
    EXPECT_EQ(std::make_tuple(b.name, FormatCivilDate(b.startDate)), std::make_tuple("B-2", "2018-04-30"));
    ASSERT_EQ(b.schedule.size(), 2u);
    EXPECT_EQ(b.schedule[0].wakeMin, -300) << "a day sleep, rows out of date order";
    EXPECT_EQ(b.schedule[1].unlocks, 0);
    EXPECT_EQ(b.schedule[1].awakeMin, -1) << "never recorded";
    EXPECT_NE(a.seed, b.seed);

    // Each person is a valid scenario in the file format.
    for (const Scenario& person : persons) {
        Scenario parsed = DefaultScenario();
        ASSERT_TRUE(ParseScenario(ScenarioToJson(person), parsed, error)) << error;
        EXPECT_EQ(ScenarioToJson(parsed), ScenarioToJson(person));
    }
}

struct BadCsv {
    std::string rows;
    std::string message; // after "<path>:"
};

TEST_F(RecordedSchedulesTest, ABadRowIsNamedByLineAndColumn)
{
    const BadCsv cases[] = {{"", "no rows"},
        {"A,2018-04-30,1483,493,,,,,1,2,3\nA,2018-05-01,abc,493,,,,,1,2,3\n",
            ":3: column 'bedtime_min': expected nothing or a number from 0 to 2880, got \"abc\""},
        {"A,2018-04-30,1483,493,,,,,1,2,3\nA,2018-05-01,1483,2000,,,,,1,2,3\n",
            ":3: column 'waketime_min': expected nothing or a number from -1440 to 1440, got \"2000\""},
        {"A,2018-04-31,1483,493,,,,,1,2,3\n", ":2: column 'date': expected a date \"YYYY-MM-DD\""},
        {"A,2018-04-30,1483,493,,,,,1,2\n", ":2: expected 11 columns, found 10"},
        {"A B,2018-04-30,1483,493,,,,,1,2,3\n", ":2: column 'pid'"},
        {"A,2018-04-30,1483,493,,,,,1,2,3\n\nA,2018-04-30,1400,493,,,,,1,2,3\n",
            ":4: column 'date': A already has a row for 2018-04-30"},
        {"A,2018-04-30,1483,493,,,,,-1,2,3\n", ":2: column 'night_unlocks'"},
        {"A,2018-04-30,1483,493,,,,-5,1,2,3\n", ":2: column 'awake_min'"},
        {"A,2018-04-30,1483,493,,,,,1,2,7e2\n", ":2: column 'first_unlock_after_midnight_min'"},
        {"A,2018-04-30,,493,,,,,1,2,3\n", "A has no night with a bedtime and a wake time 2 to 16 hours apart"}};
    for (const BadCsv& c : cases) {
        SCOPED_TRACE(c.rows);
        std::vector<Scenario> persons;
        std::string error;
        EXPECT_FALSE(Load(c.rows, persons, error));
        EXPECT_EQ(error.rfind(path_ + ":", 0), 0u) << error;
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_TRUE(persons.empty());
    }
}

TEST_F(RecordedSchedulesTest, AHeaderWithoutARequiredColumnIsNamed)
{
    std::ofstream(path_, std::ios::binary) << "pid,date,bedtime_min\nA,2018-04-30,1483\n";
    std::vector<Scenario> persons;
    std::string error;
    EXPECT_FALSE(LoadPersonsFromCsv(path_, DefaultScenario(), persons, error));
    EXPECT_EQ(error, path_ + ":1: the header lacks the column 'waketime_min'");
}

// One recorded night and what the person does in it, in minutes after 00:00 of the wake date.
struct NightCase {
    std::string name;
    std::string row;             // bedtime_min, waketime_min, awake_min, night_unlocks, night_unlock_min, first unlock
    std::vector<double> unlocks; // between 00:00 and 06:00, the morning's use left out
    double useMin;               // each unlock's screen time
    std::vector<std::pair<double, double>> awakenings;
};

void PrintTo(const NightCase& c, std::ostream* out)
{
    *out << c.name << " (" << c.row << ")";
}

const std::string kRowHeader = "pid,date,bedtime_min,waketime_min,awake_min,night_unlocks,night_unlock_min,"
                               "first_unlock_after_midnight_min\n";

class RecordedRowTest : public RecordedSchedulesTest, public testing::WithParamInterface<NightCase> {};

// A quiet person: no phone use by day, no calls, bed and sleep latency nearly fixed (15 minutes at most
// before the onset), so every unlock at night is a recorded one.
Scenario QuietBase()
{
    Scenario base = DefaultScenario();
    base.habits.daySessionsPerHour = 0;
    base.habits.dayCallsPerDay = 0;
    base.habits.nightCallChance = 0;
    base.habits.phoneInBedMin = 10;
    base.habits.phoneInBedSpreadMin = 0;
    base.habits.sleepLatencyMin = 1;
    return base;
}

// Whole seconds, so that expected minutes such as 20.0 / 3 compare exactly.
int64_t Seconds(double minutes)
{
    return std::llround(minutes * 60);
}

int64_t SecondsAfter(int64_t fromMs, int64_t ms)
{
    return (ms - fromMs) / kMsPerSecond;
}

std::vector<int64_t> Seconds(const std::vector<double>& minutes)
{
    std::vector<int64_t> seconds;
    for (const double m : minutes) {
        seconds.push_back(Seconds(m));
    }
    return seconds;
}

TEST_P(RecordedRowTest, OneRowGivesItsUnlocksAndAwakenings)
{
    const NightCase& c = GetParam();
    std::ofstream(path_, std::ios::binary) << kRowHeader << "P,2026-01-07," << c.row << "\n";
    std::vector<Scenario> persons;
    std::string error;
    ASSERT_TRUE(LoadPersonsFromCsv(path_, QuietBase(), persons, error)) << error;
    SetProcessTimeZone(persons[0].timeZone);
    const PersonPlan plan = PlanPerson(persons[0]);
    ASSERT_EQ(plan.nights.size(), 1u);
    const NightTruth& night = plan.nights[0];
    const int64_t midnight = LocalTimeMs(CivilDate{2026, 1, 7}, 0);

    std::vector<int64_t> unlocks;
    std::vector<int64_t> uses;
    bool morningSeen = false;
    for (const PhoneSession& session : plan.sessions) {
        const bool morning = !morningSeen && session.unlockMs >= night.wakeMs;
        morningSeen = morningSeen || morning;
        if (!morning && session.unlockMs >= midnight && session.unlockMs < midnight + 6 * kMsPerHour) {
            unlocks.push_back(SecondsAfter(midnight, session.unlockMs));
            uses.push_back(SecondsAfter(session.unlockMs, session.screenOffMs));
        }
    }
    EXPECT_EQ(unlocks, Seconds(c.unlocks));
    EXPECT_EQ(uses, std::vector<int64_t>(c.unlocks.size(), Seconds(c.useMin)));
    std::vector<int64_t> awakenings;
    std::vector<double> expected;
    for (const TimeSpan& span : night.awakenings) {
        awakenings.insert(awakenings.end(), {SecondsAfter(midnight, span.beginMs), SecondsAfter(midnight, span.endMs)});
    }
    for (const auto& [begin, end] : c.awakenings) {
        expected.insert(expected.end(), {begin, end});
    }
    EXPECT_EQ(awakenings, Seconds(expected));
}

// An awakening around a 2-minute unlock at minute `at`, awake `awakeMin` from 20 s before picking up.
std::pair<double, double> AwakeAt(double at, double awakeMin)
{
    const double begin = at - 25.0 / 60;
    return {begin, begin + awakeMin};
}

INSTANTIATE_TEST_SUITE_P(Rows, RecordedRowTest,
    testing::Values(
        // Asleep 02:30-08:00, unlocks hourly from 00:00: three before the onset; the three in the sleep
        // share the 20 awake minutes.
        NightCase{"UnlocksBeforeTheOnsetStayBeforeIt", "1590,480,20,6,12,0", {0, 60, 120, 180, 240, 300}, 2,
            {AwakeAt(180, 20.0 / 3), AwakeAt(240, 20.0 / 3), AwakeAt(300, 20.0 / 3)}},
        // Asleep 23:00-04:00: of the unlocks at 01:00, 02:40 and 04:20 the last is after the wake.
        NightCase{
            "UnlocksAfterTheWakeAreLeftOut", "1380,240,10,3,6,60", {60, 160}, 2, {AwakeAt(60, 5), AwakeAt(160, 5)}},
        // Six unlocks in the sleep, but 7 awake minutes hold two of them (picked evenly).
        NightCase{
            "AwakeMinutesLimitTheAwakenings", "1380,420,7,6,12,0", {0, 180}, 2, {AwakeAt(0, 3.5), AwakeAt(180, 3.5)}},
        // Up until 05:00 with both unlocks before the onset: the 30 awake minutes lie mid-sleep.
        NightCase{"AwakeMinutesWithoutAnUnlockInTheSleep", "1740,660,30,2,4,60", {60, 210}, 2, {{465, 495}}},
        // No awake minutes recorded: each unlock wakes the person just for its own use.
        NightCase{"UnrecordedAwakeMinutesKeepEveryUnlock", "1380,420,,2,4,60", {60, 210}, 2,
            {AwakeAt(60, 25.0 / 60 + 3), AwakeAt(210, 25.0 / 60 + 3)}}),
    [](const testing::TestParamInfo<NightCase>& info) { return info.param.name; });

} // namespace
} // namespace OHOS::Sim
