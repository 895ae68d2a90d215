// Recorded schedules: each participant's nights as recorded, gaps filled from their own medians,
// malformed rows named by file, line and column.
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
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
                     "A_1,2018-05-01,1500,,,,,,,,\n"         // wake missing
                     "A_1,2018-05-03,1380,420,,,,,3,10,60\n" // 05-02 has no row
                     "A_1,2018-05-04,1500,100,,,,,1,2,5\n"   // 1.7 hours: implausible
                     "B-2,2018-05-01,900,-300,,,,,,,\n",
        persons, error))
        << error;
    ASSERT_EQ(persons.size(), 2u);
    const Scenario& a = persons[1]; // in order of first appearance
    EXPECT_EQ(std::make_tuple(a.name, FormatCivilDate(a.startDate), a.days, a.habits.alarmOnWeekdays),
        std::make_tuple("A_1", "2018-04-29", 5, false));
    // Medians over the plausible nights (04-30, 05-03): onset 1431.5, wake 456.75; unlocks over all
    // recorded values (9, 3, 1): 3, 10 minutes, first at 17.25. The 05-04 night (1.7 hours) is
    // implausible, but its unlocks were recorded.
    using Night = std::tuple<std::string, double, double, int32_t, double, double>;
    std::vector<Night> nights;
    for (const ScheduledNight& night : a.schedule) {
        nights.emplace_back(FormatCivilDate(night.wakeDate), night.onsetMin, night.wakeMin, night.unlocks,
            night.unlockMin, night.firstUnlockMin);
    }
    EXPECT_EQ(nights, (std::vector<Night>{{"2018-04-30", 1483, 493.5, 9, 38.5, 17.25},
                          {"2018-05-01", 1500, 456.75, 3, 10, 17.25}, {"2018-05-02", 1431.5, 456.75, 3, 10, 17.25},
                          {"2018-05-03", 1380, 420, 3, 10, 60}, {"2018-05-04", 1431.5, 456.75, 1, 2, 5}}));

    const Scenario& b = persons[0];
    EXPECT_EQ(std::make_tuple(b.name, FormatCivilDate(b.startDate)), std::make_tuple("B-2", "2018-04-30"));
    ASSERT_EQ(b.schedule.size(), 2u);
    EXPECT_EQ(b.schedule[0].wakeMin, -300) << "a day sleep, rows out of date order";
    EXPECT_EQ(b.schedule[1].unlocks, 0);
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

} // namespace
} // namespace OHOS::Sim
