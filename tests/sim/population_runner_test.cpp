// Runs of many persons: which persons a shard takes, child processes that fail or crash, outputs
// that do not depend on the job count, and shards merged into the metrics of one whole run.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "population_runner.h"
#include "scenario.h"
#include "test_files.h"

namespace OHOS::Sim {
namespace {

using Emulator::ReadFile;

// Persons named as given, each the default person with its own seed.
std::vector<Scenario> Persons(const std::vector<std::string>& names, int32_t days = 2)
{
    std::vector<Scenario> persons;
    for (const std::string& name : names) {
        Scenario person = DefaultScenario();
        person.name = name;
        person.days = days;
        person.seed = 100 + persons.size();
        persons.push_back(person);
    }
    return persons;
}

std::vector<int32_t> Indices(const std::vector<PersonEntry>& entries)
{
    std::vector<int32_t> indices;
    for (const PersonEntry& entry : entries) {
        indices.push_back(entry.index);
    }
    return indices;
}

TEST(ShardTest, TakesEveryNthPersonFromItsOwnOffset)
{
    const auto seven = Persons({"a", "b", "c", "d", "e", "f", "g"});
    struct Case {
        Shard shard;
        std::vector<int32_t> indices;
    };
    const Case cases[] = {{{1, 1}, {0, 1, 2, 3, 4, 5, 6}}, {{1, 3}, {0, 3, 6}}, {{2, 3}, {1, 4}}, {{3, 3}, {2, 5}},
        {{7, 7}, {6}}, {{9, 9}, {}}};
    for (const Case& c : cases) {
        const auto entries = ShardEntries(seven, c.shard);
        EXPECT_EQ(Indices(entries), c.indices) << c.shard.index << "/" << c.shard.count;
        for (const PersonEntry& entry : entries) {
            EXPECT_EQ(entry.name, seven[entry.index].name);
        }
    }
}

TEST(PersonNamesTest, RefusesNamesThatCannotBeFoldersAndTwins)
{
    struct Case {
        std::vector<std::string> names;
        std::string named; // in the error; empty: accepted
    };
    const Case cases[] = {{{"p001", "p-2", "P_3"}, ""}, {{"p001", "../etc"}, "'../etc'"}, {{"p001", ""}, "person 2"},
        {{"a b"}, "'a b'"}, {{"p1", "p2", "p1"}, "persons 1 and 3"}};
    for (const Case& c : cases) {
        std::string error;
        EXPECT_EQ(CheckPersonNames(Persons(c.names), error), c.named.empty()) << error;
        EXPECT_NE(error.find(c.named), std::string::npos) << error;
    }
}

class PopulationRunTest : public testing::Test {
protected:
    std::string Out(const std::string& name) const { return folder_.Path() + "/" + name; }
    Emulator::ScopedDataRoot folder_;
};

// A child that fails and one that crashes are reported by name; the others still run.
TEST_F(PopulationRunTest, ReportsFailedAndCrashedPersonsAndKeepsGoing)
{
    PopulationOptions options;
    options.outDir = Out("run");
    options.jobs = 2;
    std::ostringstream messages;
    options.messages = &messages;
    options.runPerson = [](const Scenario& person, const SimOptions& run) {
        if (person.name == "crashes") {
            std::abort();
        }
        std::filesystem::create_directories(run.outDir);
        std::ofstream(run.outDir + "/ran") << person.seed;
        return person.name == "fails" ? EXIT_RUN_FAILED : EXIT_RUN_OK;
    };
    const auto persons = Persons({"first", "crashes", "middle", "fails", "last"});
    const PopulationResult result = RunPopulation(persons, options);

    ASSERT_TRUE(result.ok) << result.error;
    ASSERT_EQ(result.persons.size(), 5u);
    const std::vector<bool> expectedOk = {true, false, true, false, true};
    for (size_t i = 0; i < persons.size(); ++i) {
        EXPECT_EQ(result.persons[i].ok, expectedOk[i]) << persons[i].name;
        const bool ran = std::filesystem::exists(Out("run/persons/" + persons[i].name + "/ran"));
        EXPECT_EQ(ran, persons[i].name != "crashes") << persons[i].name;
    }
    ASSERT_EQ(result.failures.size(), 2u);
    const std::string failures = result.failures[0] + "\n" + result.failures[1];
    EXPECT_NE(failures.find("crashes: killed by signal " + std::to_string(SIGABRT)), std::string::npos) << failures;
    EXPECT_NE(failures.find("fails: exited with status 1"), std::string::npos) << failures;
    EXPECT_NE(messages.str().find("person fails: exited with status 1"), std::string::npos) << messages.str();

    PopulationRecord record;
    std::string error;
    ASSERT_TRUE(ReadPopulationFile(options.outDir, record, error)) << error;
    EXPECT_EQ(PopulationToJson(record), PopulationToJson({options.shard, result.persons}));
}

// Real simulations: the persons' folders are the same whether one or three run at once.
TEST_F(PopulationRunTest, JobCountDoesNotChangeOutputs)
{
    const auto persons = Persons({"p001", "p002", "p003"});
    for (const int32_t jobs : {1, 3}) {
        PopulationOptions options;
        options.outDir = Out("jobs-" + std::to_string(jobs));
        options.jobs = jobs;
        const PopulationResult result = RunPopulation(persons, options);
        ASSERT_TRUE(result.ok) << result.error;
        ASSERT_TRUE(result.failures.empty()) << result.failures.front();
    }
    EXPECT_EQ(ReadFile(Out("jobs-1/population.json")), ReadFile(Out("jobs-3/population.json")));
    for (const Scenario& person : persons) {
        for (const std::string& file : {TIMELINE_FILE, TRACE_FILE, SUMMARY_FILE, SCENARIO_FILE}) {
            const std::string one = ReadFile(Out("jobs-1/persons/" + person.name + "/" + file));
            EXPECT_FALSE(one.empty()) << person.name << "/" << file;
            EXPECT_EQ(one, ReadFile(Out("jobs-3/persons/" + person.name + "/" + file))) << person.name << "/" << file;
        }
    }
    EXPECT_NE(ReadFile(Out("jobs-1/persons/p001/trace.jsonl")), ReadFile(Out("jobs-1/persons/p002/trace.jsonl")))
        << "each person must have their own seed";
}

void WriteShard(const std::string& dir, const PopulationRecord& record)
{
    std::filesystem::create_directories(dir);
    std::ofstream(dir + "/" + POPULATION_FILE) << PopulationToJson(record);
}

TEST_F(PopulationRunTest, MergeNamesMissingDuplicateAndMismatchedShards)
{
    WriteShard(Out("s1"), {{1, 3}, {}});
    WriteShard(Out("s2"), {{2, 3}, {}});
    WriteShard(Out("s3"), {{3, 3}, {}});
    WriteShard(Out("other"), {{2, 4}, {}});
    struct Case {
        std::vector<std::string> dirs;
        std::string named;
    };
    const Case cases[] = {{{"s1", "s3"}, "shard 2/3 is missing"}, {{"s1", "s2", "s2", "s3"}, "are both shard 2/3"},
        {{"s1", "other"}, "is a shard of 4"}, {{"s1", "none"}, "none/population.json"}};
    for (const Case& c : cases) {
        std::vector<std::string> dirs;
        for (const std::string& dir : c.dirs) {
            dirs.push_back(Out(dir));
        }
        std::string summary, error;
        EXPECT_FALSE(MergeShards(dirs, Out("merged"), summary, error));
        EXPECT_NE(error.find(c.named), std::string::npos) << error;
    }
}

// Three shards merged give byte for byte the metrics and person list of the unsharded run.
TEST_F(PopulationRunTest, ThreeShardsMergedEqualOneRun)
{
    const auto persons = Persons({"p001", "p002", "p003", "p004"}, 3);
    const auto run = [&](const Shard& shard, const std::string& outDir) {
        PopulationOptions options;
        options.outDir = outDir;
        options.shard = shard;
        const PopulationResult result = RunPopulation(persons, options);
        std::string summary, error;
        ASSERT_TRUE(result.ok && result.failures.empty()) << result.error;
        ASSERT_TRUE(GatherPopulationMetrics(outDir, {shard, result.persons}, summary, error)) << error;
    };
    run({1, 1}, Out("whole"));
    for (int32_t k = 1; k <= 3; ++k) {
        run({k, 3}, Out("shard-" + std::to_string(k)));
    }
    std::string summary, error;
    ASSERT_TRUE(MergeShards({Out("shard-3"), Out("shard-1"), Out("shard-2")}, Out("merged"), summary, error)) << error;
    for (const std::string& file : {POPULATION_FILE, METRICS_FILE, SUMMARY_FILE}) {
        const std::string whole = ReadFile(Out("whole/" + file));
        EXPECT_FALSE(whole.empty()) << file;
        EXPECT_EQ(whole, ReadFile(Out("merged/" + file))) << file;
    }
}

} // namespace
} // namespace OHOS::Sim
