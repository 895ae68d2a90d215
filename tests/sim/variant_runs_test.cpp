// Variants run beside the definition: the names the command line takes, the definition's outputs
// unchanged by variants, every variant on the definition's trace, and populations with variants whose
// shards merge into the unsharded run.
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include "data_root.h"
#include "local_calendar.h"
#include "population_runner.h"
#include "standby_host_globals.h"
#include "test_files.h"
#include "trace_generator.h"
#include "variant_runs.h"

namespace OHOS::Sim {
namespace {

using DevStandbyMgr::DetectorVariant;
using Emulator::ReadFile;
using Emulator::ReadTree;

std::string SpansText(const SpanList& spans)
{
    std::string text;
    for (const TimeSpan& span : spans) {
        text += std::to_string(span.beginMs) + "-" + std::to_string(span.endMs) + " ";
    }
    return text;
}

TEST(ParseVariantNamesTest, TakesNamesAndAllInVariantOrderOnce)
{
    struct Case {
        std::vector<std::string> names;
        std::vector<DetectorVariant> variants;
    };
    const Case cases[] = {
        {{}, {}},
        {{"quick-resume"}, {DetectorVariant::QUICK_RESUME}},
        {{"learned-window", "not-care-charge", "learned-window"},
            {DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR, DetectorVariant::LEARNED_NIGHT_WINDOW}},
        {{"quick-resume", "all"}, {DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR, DetectorVariant::QUICK_RESUME,
                                      DetectorVariant::LEARNED_NIGHT_WINDOW}},
    };
    for (const Case& c : cases) {
        std::vector<DetectorVariant> variants;
        std::string error;
        EXPECT_TRUE(ParseVariantNames(c.names, variants, error)) << error;
        EXPECT_EQ(variants, c.variants);
    }
    for (const std::string bad : {"quick", "ALL", ""}) {
        std::vector<DetectorVariant> variants;
        std::string error;
        EXPECT_FALSE(ParseVariantNames({"all", bad}, variants, error)) << bad;
        EXPECT_NE(error.find("'" + bad + "'"), std::string::npos) << error;
        EXPECT_NE(error.find("not-care-charge, quick-resume, learned-window or all"), std::string::npos) << error;
    }
}

size_t Count(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

class VariantRunTest : public testing::Test {
protected:
    std::string Out(const std::string& name) const { return folder_.Path() + "/" + name; }

    static Scenario Person(const std::string& name, uint64_t seed, int32_t days)
    {
        Scenario person = DefaultScenario();
        person.name = name;
        person.seed = seed;
        person.days = days;
        return person;
    }

    // The run in a child process, as the platform's singletons allow one simulation per process.
    static bool RunInChild(const std::function<bool()>& run)
    {
        const pid_t child = fork();
        if (child == 0) {
            _exit(run() ? 0 : 1);
        }
        int status = 0;
        return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    static bool Run(const Scenario& person, const SimOptions& options, const std::vector<DetectorVariant>& variants)
    {
        return RunInChild([&] {
            return RunSimulationWithVariants(person, options, variants).definition.ok &&
                   DevStandbyMgr::SLEEP_DETECTOR_VARIANTS == 0; // set in the variants' processes only
        });
    }

    static RunMetrics Metrics(const std::string& path)
    {
        RunMetrics metrics;
        std::string error;
        EXPECT_TRUE(ReadMetricsFile(path, metrics, error)) << error;
        return metrics;
    }

    Emulator::ScopedDataRoot folder_;
};

// The definition's files are those of a run without variants, byte for byte, except that summary.txt
// (and the page) go on with the comparison; a run without variants drops an earlier run's variants.
TEST_F(VariantRunTest, DefinitionOutputsAreThoseOfARunWithoutVariants)
{
    const Scenario person = Person("p", 7, 9);
    SimOptions plain;
    plain.outDir = Out("plain");
    plain.noSync = true;
    ASSERT_TRUE(Run(person, plain, {}));
    SimOptions withVariants = plain;
    withVariants.outDir = Out("with");
    std::vector<DetectorVariant> all;
    std::string error;
    ASSERT_TRUE(ParseVariantNames({"all"}, all, error));
    ASSERT_TRUE(Run(person, withVariants, all));

    auto expected = ReadTree(plain.outDir);
    auto actual = ReadTree(withVariants.outDir);
    // The page without the variants' rows and section is the page without variants.
    std::string page = actual[REPORT_FILE];
    EXPECT_EQ(Count(page, "<svg class=\"variants\""), 9u);
    for (size_t at; (at = page.find("<svg class=\"variants\"")) != std::string::npos;) {
        page.erase(at, page.find("</svg>", at) + 6 - at);
    }
    const size_t section = page.find("<h2>Variants against the definition</h2>");
    ASSERT_NE(section, std::string::npos);
    EXPECT_EQ(page.erase(section, page.rfind("</body>") - section), expected[REPORT_FILE]);
    for (const std::string& grown : {SUMMARY_FILE, REPORT_FILE}) {
        expected.erase(grown);
        actual.erase(grown);
    }
    const std::string summary = ReadFile(withVariants.outDir + "/" + SUMMARY_FILE);
    const std::string plainSummary = ReadFile(plain.outDir + "/" + SUMMARY_FILE);
    EXPECT_EQ(summary.substr(0, plainSummary.size() + 1), plainSummary + "\n");
    EXPECT_EQ(summary.find("Variants against the definition"), plainSummary.size() + 1);
    std::map<std::string, std::string> variantFiles;
    for (auto it = actual.begin(); it != actual.end();) {
        const bool variantFile = it->first.rfind(VARIANTS_DIR + "/", 0) == 0;
        if (variantFile) {
            variantFiles.insert(*it);
        }
        it = variantFile ? actual.erase(it) : std::next(it);
    }
    EXPECT_EQ(actual, expected);
    std::vector<std::string> kept;
    for (const auto& [path, bytes] : variantFiles) {
        kept.push_back(path);
    }
    EXPECT_EQ(
        kept, (std::vector<std::string>{"variants/learned-window/metrics.json", "variants/learned-window/summary.txt",
                  "variants/not-care-charge/metrics.json", "variants/not-care-charge/summary.txt",
                  "variants/quick-resume/metrics.json", "variants/quick-resume/summary.txt"}));

    // The same folder run again without variants holds no variants.
    ASSERT_TRUE(Run(person, withVariants, {}));
    EXPECT_TRUE(VariantsIn(withVariants.outDir).empty());
    EXPECT_EQ(ReadFile(withVariants.outDir + "/" + SUMMARY_FILE), ReadFile(plain.outDir + "/" + SUMMARY_FILE));
}

// Each variant replays the definition's trace: its nights have the same truth, and its metrics.json
// carries the comparison of every night.
TEST_F(VariantRunTest, VariantsRunOnTheDefinitionsTrace)
{
    const Scenario person = Person("p", 11, 9);
    SetProcessTimeZone(person.timeZone);
    const Trace trace = GenerateTrace(person);
    SimOptions options;
    options.outDir = Out("run");
    options.noSync = true;
    ASSERT_TRUE(RunInChild([&] {
        return RunTraceWithVariants(
            person, trace, options, {DetectorVariant::QUICK_RESUME, DetectorVariant::LEARNED_NIGHT_WINDOW})
            .definition.ok;
    }));
    EXPECT_EQ(VariantsIn(options.outDir), (std::vector<std::string>{"learned-window", "quick-resume"}));
    const RunMetrics definition = Metrics(options.outDir + "/" + METRICS_FILE);
    for (const std::string& name : VariantsIn(options.outDir)) {
        const std::string path = options.outDir + "/" + VARIANTS_DIR + "/" + name + "/" + METRICS_FILE;
        const RunMetrics variant = Metrics(path);
        ASSERT_EQ(variant.nights.size(), definition.nights.size()) << name;
        for (size_t i = 0; i < variant.nights.size(); ++i) {
            const NightRecord& a = definition.nights[i];
            const NightRecord& b = variant.nights[i];
            EXPECT_TRUE(a.night == b.night && SpansText(a.sleep) == SpansText(b.sleep) &&
                        SpansText(a.awakeScreenOff) == SpansText(b.awakeScreenOff) && a.nightClass == b.nightClass)
                << name << " night " << i;
        }
        const auto comparison = nlohmann::json::parse(ReadFile(path)).at("comparison");
        EXPECT_EQ(comparison.at("variant"), name);
        EXPECT_EQ(comparison.at("nights").size(), definition.nights.size());
        EXPECT_EQ(comparison.at("all").at("nights"), static_cast<int>(definition.nights.size()));
    }
}

// A population with variants, run in three shards and merged, equals the unsharded run: the
// definition's files and every variant's, the comparison recomputed from the merged nights.
TEST_F(VariantRunTest, ShardsWithVariantsMergeIntoTheUnshardedRun)
{
    std::vector<Scenario> persons;
    for (int32_t i = 1; i <= 4; ++i) {
        persons.push_back(Person("p00" + std::to_string(i), 200 + i, 3));
    }
    const std::vector<DetectorVariant> variants = {
        DetectorVariant::NOT_CARE_CHARGE_FROM_BEHAVIOUR, DetectorVariant::QUICK_RESUME};
    PopulationOptions options;
    options.jobs = 2;
    options.run.noSync = true;
    options.runPerson = [&variants](const Scenario& person, const SimOptions& personRun) {
        return RunPersonWithVariants(person, personRun, variants);
    };
    const std::vector<std::pair<Shard, std::string>> runs = {
        {{1, 1}, "whole"}, {{1, 3}, "shard-1"}, {{2, 3}, "shard-2"}, {{3, 3}, "shard-3"}};
    for (const auto& [shard, name] : runs) {
        options.shard = shard;
        options.outDir = Out(name);
        const PopulationResult result = RunPopulation(persons, options);
        std::string gathered, error;
        ASSERT_TRUE(result.ok && result.failures.empty() &&
                    GatherPopulationMetrics(options.outDir, {shard, result.persons}, gathered, error))
            << result.error << error;
    }
    std::string summary, error;
    ASSERT_TRUE(MergeShards({Out("shard-2"), Out("shard-3"), Out("shard-1")}, Out("merged"), summary, error)) << error;
    EXPECT_EQ(summary, ReadFile(Out("whole/" + SUMMARY_FILE)));
    EXPECT_NE(summary.find("All nights:\n  not-care-charge (12 nights)"), std::string::npos) << summary;
    const std::vector<std::string> files = {POPULATION_FILE, METRICS_FILE, SUMMARY_FILE,
        "variants/not-care-charge/metrics.json", "variants/not-care-charge/summary.txt",
        "variants/quick-resume/metrics.json", "variants/quick-resume/summary.txt"};
    for (const std::string& file : files) {
        const std::string whole = ReadFile(Out("whole/" + file));
        EXPECT_FALSE(whole.empty()) << file;
        EXPECT_EQ(whole, ReadFile(Out("merged/" + file))) << file;
    }
    EXPECT_EQ(VariantsIn(Out("merged")), (std::vector<std::string>{"not-care-charge", "quick-resume"}));
    const auto comparison =
        nlohmann::json::parse(ReadFile(Out("merged/variants/quick-resume/metrics.json"))).at("comparison");
    EXPECT_EQ(comparison.at("nights").size(), 12u);
    EXPECT_EQ(comparison.at("all").at("metrics").at("coverage").at("persons"), 4);
}

} // namespace
} // namespace OHOS::Sim
