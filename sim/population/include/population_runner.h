#ifndef SIM_INCLUDE_POPULATION_RUNNER_H
#define SIM_INCLUDE_POPULATION_RUNNER_H

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "detector_variants.h"
#include "kept_outputs.h"
#include "report_html.h"
#include "scenario.h"
#include "sim_driver.h"

namespace OHOS::Sim {

// Exit codes of sleepsim, and of each person's process in a population run.
constexpr int EXIT_RUN_OK = 0;
constexpr int EXIT_RUN_FAILED = 1;
constexpr int EXIT_BAD_INPUT = 2; // bad argument or scenario: nothing was run

// Files of a population output folder, besides one single-run folder per person in PERSONS_DIR.
inline const std::string POPULATION_FILE = "population.json"; // which persons, in which order

// A part of a population: the persons whose 0-based index i has i % count == index - 1.
struct Shard {
    int32_t index = 1; // 1 ... count
    int32_t count = 1;
};

// One person of a run: its place in the whole population and whether its simulation finished.
struct PersonEntry {
    int32_t index = 0; // 0-based, in the whole (unsharded) population
    std::string name;
    bool ok = false;
};

// The persons a shard runs, with their indices in the whole population.
std::vector<PersonEntry> ShardEntries(const std::vector<Scenario>& persons, const Shard& shard);

// Runs one person in a child process: gets the person and the options of its single run (output
// folder, progress counter) and returns the child's exit code.
using PersonRunner = std::function<int(const Scenario& person, const SimOptions& options)>;

// The ordinary runner: RunSimulation, its error (if any) on stderr, EXIT_RUN_OK or EXIT_RUN_FAILED.
int RunPersonSimulation(const Scenario& person, const SimOptions& options);
// The same for the definition and detector variants on the same trace (RunSimulationWithVariants),
// and for the variants alone (RunVariantsOnly).
int RunPersonWithVariants(
    const Scenario& person, const SimOptions& options, const std::vector<DevStandbyMgr::DetectorVariant>& variants);
int RunPersonVariantsOnly(
    const Scenario& person, const SimOptions& options, const std::vector<DevStandbyMgr::DetectorVariant>& variants);

struct PopulationOptions {
    std::string outDir = "sleepsim-out";
    Shard shard;
    int32_t jobs = 1;                 // persons simulated at once, each in its own process
    SimOptions run;                   // options of every person's run; outDir and progress are set per person
    OutputChoice outputs;             // what each person's folder keeps once its run is over
    std::ostream* progress = nullptr; // progress of the whole population; nullptr for none
    std::ostream* messages = nullptr; // a line per failed person; nullptr for none
    PersonRunner runPerson = RunPersonSimulation;
    // The persons' runs write only detector variants (see RunVariantsOnly): their folders are kept as
    // written and population.json says so, for MergeShards to pair them with the definition's shards.
    bool variantsOnly = false;
};

struct PopulationResult {
    bool ok = false;   // the output folder was written (persons may still have failed)
    std::string error; // why not
    std::vector<PersonEntry> persons;
    std::vector<std::string> failures; // "p002: killed by signal 11 (Segmentation fault)"
};

// Checks the names (letters, digits, '-', '_'; no two alike); on failure names the person.
bool CheckPersonNames(const std::vector<Scenario>& persons, std::string& error);

// Runs the shard's persons, each in a forked child process (the platform keeps process-wide state,
// so one simulation per process) writing OUT/persons/<name>/, at most `jobs` at once. A failed or
// crashed child is reported and the others go on. Each child trims its folder to `outputs` when its
// run succeeded (a failure to do so fails the person). Writes OUT/population.json. The outputs do not
// depend on the job count.
PopulationResult RunPopulation(const std::vector<Scenario>& persons, const PopulationOptions& options);

// What a population output folder holds: the shard it ran and its persons, read from population.json.
struct PopulationRecord {
    Shard shard;
    std::vector<PersonEntry> persons;
    bool variantsOnly = false; // "variantsOnly": true, only written when set
};

std::string PopulationToJson(const PopulationRecord& record);
bool ReadPopulationFile(const std::string& dir, PopulationRecord& record, std::string& error);

// Reads each folder's metrics.json (in the given order), merges them and writes OUT/metrics.json and
// OUT/summary.txt, whose text is also put in `summary`; the folders' variants are gathered beside
// them (GatherVariantMetrics). A missing or unreadable file is named in `error`.
// `variantHomes`, when given, holds for each person further folders whose variants/ belong to it.
bool GatherMetrics(const std::vector<std::string>& personDirs, const std::string& outDir, std::string& summary,
    std::string& error, const std::vector<std::vector<std::string>>& variantHomes = {});

// Gathers the metrics of the persons that finished in a population output folder.
bool GatherPopulationMetrics(
    const std::string& outDir, const PopulationRecord& record, std::string& summary, std::string& error);

// Combines the output folders of all shards of one population into OUT: population.json,
// metrics.json and summary.txt (and the variants' folders) exactly as one unsharded run writes them.
// Every shard 1 ... N must be given once; the persons' folders stay in the shard folders. Folders of
// variants-only runs of the same shards may be given too: their variants count as the persons' own.
bool MergeShards(
    const std::vector<std::string>& shardDirs, const std::string& outDir, std::string& summary, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_POPULATION_RUNNER_H
