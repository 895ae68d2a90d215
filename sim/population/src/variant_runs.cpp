#include "variant_runs.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <sys/wait.h>
#include <unistd.h>

#include "local_calendar.h"
#include "standby_host_globals.h"
#include "text_file.h"
#include "trace_generator.h"

namespace OHOS::Sim {

namespace {

constexpr int kChildFailed = 1;

std::vector<DetectorVariant> AllVariants()
{
    std::vector<DetectorVariant> all;
    for (uint32_t i = 0; i < DevStandbyMgr::DETECTOR_VARIANT_COUNT; ++i) {
        all.push_back(static_cast<DetectorVariant>(i));
    }
    return all;
}

std::string VariantsDir(const std::string& runDir)
{
    return runDir + "/" + VARIANTS_DIR;
}

// A variant's folder keeps what the comparison and the report read.
bool KeepComparedOutputs(const std::string& variantDir, std::string& error)
{
    std::error_code ec;
    std::vector<std::string> dropped;
    for (const auto& entry : std::filesystem::directory_iterator(variantDir, ec)) {
        const std::string name = entry.path().filename().string();
        if (name != METRICS_FILE && name != SUMMARY_FILE) {
            dropped.push_back(entry.path().string());
        }
    }
    for (const std::string& path : dropped) {
        if (!RemoveAll(path, error)) {
            return false;
        }
    }
    return !ec;
}

// In the child: the variant's run into its folder.
int RunVariant(const Scenario& scenario, const Trace& trace, const SimOptions& options, DetectorVariant variant)
{
    DevStandbyMgr::SLEEP_DETECTOR_VARIANTS = DevStandbyMgr::DetectorVariantBit(variant);
    SimOptions run;
    run.outDir = VariantRunDir(options.outDir, variant);
    run.noSync = true; // its data folder is not kept
    const SimResult result = RunTrace(scenario, trace, run);
    std::string error = result.error;
    if (!result.ok || !KeepComparedOutputs(run.outDir, error)) {
        std::cerr << "sleepsim: variant " << DevStandbyMgr::DetectorVariantName(variant) << ": " << error << "\n";
        return kChildFailed;
    }
    return 0;
}

bool RunVariantInChild(const Scenario& scenario, const Trace& trace, const SimOptions& options, DetectorVariant variant,
    std::string& error)
{
    std::cout.flush();
    std::cerr.flush();
    const pid_t child = fork();
    if (child == 0) {
        const int code = RunVariant(scenario, trace, options, variant);
        std::cerr.flush();
        _exit(code);
    }
    int status = 0;
    const bool finished =
        child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!finished) {
        error = std::string("the run of variant ") + DevStandbyMgr::DetectorVariantName(variant) + " did not finish";
    }
    return finished;
}

// Each variant in its own child process, after removing an earlier run's variants.
bool RunVariants(const Scenario& scenario, const Trace& trace, const SimOptions& options,
    const std::vector<DetectorVariant>& variants, std::string& error)
{
    if (!RemoveAll(VariantsDir(options.outDir), error)) {
        return false;
    }
    for (DetectorVariant variant : variants) {
        if (!RunVariantInChild(scenario, trace, options, variant, error)) {
            return false;
        }
    }
    return true;
}

// Each variant's folder of one person, by name: in the person's folder or in one of its `homes`.
using VariantFolders = std::map<std::string, std::string>;

VariantFolders VariantFoldersOf(const std::string& personDir, const std::vector<std::string>& homes)
{
    VariantFolders folders;
    for (const std::string& home : homes) {
        for (const std::string& name : VariantsIn(home)) {
            folders.emplace(name, VariantsDir(home) + "/" + name);
        }
    }
    for (const std::string& name : VariantsIn(personDir)) {
        folders[name] = VariantsDir(personDir) + "/" + name;
    }
    return folders;
}

bool SameVariantsEverywhere(
    const std::vector<VariantFolders>& persons, const std::vector<std::string>& personDirs, std::string& error)
{
    const auto names = [](const VariantFolders& folders) {
        std::vector<std::string> list;
        for (const auto& [name, folder] : folders) {
            list.push_back(name);
        }
        return list;
    };
    for (size_t i = 0; i < persons.size(); ++i) {
        if (names(persons[i]) != names(persons.front())) {
            error = "the persons of '" + personDirs[i] + "' and '" + personDirs.front() + "' have different variants";
            return false;
        }
    }
    return true;
}

// The metrics of one variant over all the persons.
bool MergeVariant(
    const std::vector<VariantFolders>& persons, const std::string& name, RunMetrics& merged, std::string& error)
{
    std::vector<RunMetrics> all;
    for (const VariantFolders& folders : persons) {
        RunMetrics metrics;
        if (!ReadMetricsFile(folders.at(name) + "/" + METRICS_FILE, metrics, error)) {
            return false;
        }
        all.push_back(std::move(metrics));
    }
    merged = MergeMetrics(std::move(all));
    return true;
}

// A variant's metrics.json, with its comparison.
bool WriteVariantMetrics(
    const std::string& variantDir, const RunMetrics& metrics, const PairedComparison& comparison, std::string& error)
{
    std::error_code ec;
    std::filesystem::create_directories(variantDir, ec);
    return WriteTextFileAtomically(variantDir + "/" + METRICS_FILE, VariantMetricsJson(metrics, comparison), error);
}

} // namespace

bool ParseVariantNames(
    const std::vector<std::string>& names, std::vector<DetectorVariant>& variants, std::string& error)
{
    std::vector<bool> named(DevStandbyMgr::DETECTOR_VARIANT_COUNT, false);
    for (const std::string& name : names) {
        const auto variant = DevStandbyMgr::DetectorVariantFromName(name);
        if (name != "all" && !variant) {
            error = "unknown variant '" + name + "': expected " + VariantNameList() + " or all";
            return false;
        }
        for (DetectorVariant each : AllVariants()) {
            named[static_cast<size_t>(each)] = named[static_cast<size_t>(each)] || name == "all" || variant == each;
        }
    }
    variants.clear();
    for (DetectorVariant each : AllVariants()) {
        if (named[static_cast<size_t>(each)]) {
            variants.push_back(each);
        }
    }
    return true;
}

std::string VariantNameList()
{
    std::string list;
    for (DetectorVariant variant : AllVariants()) {
        list += (list.empty() ? "" : ", ") + std::string(DevStandbyMgr::DetectorVariantName(variant));
    }
    return list;
}

std::string VariantRunDir(const std::string& runDir, DetectorVariant variant)
{
    return VariantsDir(runDir) + "/" + DevStandbyMgr::DetectorVariantName(variant);
}

VariantsRunResult RunTraceWithVariants(const Scenario& scenario, const Trace& trace, const SimOptions& options,
    const std::vector<DetectorVariant>& variants)
{
    VariantsRunResult result;
    if (!RunVariants(scenario, trace, options, variants, result.definition.error)) {
        return result;
    }
    result.definition = RunTrace(scenario, trace, options);
    if (result.definition.ok && !variants.empty()) {
        result.definition.ok = AddVariantComparisons(
            options.outDir, result.definition.metrics, result.comparisons, result.definition.error);
    }
    return result;
}

VariantsRunResult RunSimulationWithVariants(
    const Scenario& scenario, const SimOptions& options, const std::vector<DetectorVariant>& variants)
{
    SetProcessTimeZone(scenario.timeZone);
    return RunTraceWithVariants(scenario, GenerateStreamedTrace(scenario), options, variants);
}

bool RunVariantsOnly(const Scenario& scenario, const SimOptions& options, const std::vector<DetectorVariant>& variants,
    std::string& error)
{
    SetProcessTimeZone(scenario.timeZone);
    return RunVariants(scenario, GenerateStreamedTrace(scenario), options, variants, error);
}

bool AddVariantComparisons(
    const std::string& runDir, const RunMetrics& definition, std::string& comparisons, std::string& error)
{
    std::vector<PairedComparison> compared;
    if (!CompareVariantsIn(runDir, definition, compared, error)) {
        return false;
    }
    for (const PairedComparison& comparison : compared) {
        const std::string variantDir = VariantsDir(runDir) + "/" + comparison.variant;
        RunMetrics metrics;
        if (!ReadMetricsFile(variantDir + "/" + METRICS_FILE, metrics, error) ||
            !WriteVariantMetrics(variantDir, metrics, comparison, error)) {
            return false;
        }
    }
    comparisons = FormatComparisons(compared);
    std::string summary;
    if (compared.empty()) {
        return true;
    }
    if (!ReadTextFile(runDir + "/" + SUMMARY_FILE, summary)) {
        error = "cannot read '" + runDir + "/" + SUMMARY_FILE + "'";
        return false;
    }
    return WriteTextFileAtomically(runDir + "/" + SUMMARY_FILE, summary + "\n" + comparisons, error);
}

bool GatherVariantMetrics(const std::vector<std::string>& personDirs,
    const std::vector<std::vector<std::string>>& variantHomes, const RunMetrics& definition, const std::string& outDir,
    std::string& summary, std::string& error)
{
    std::vector<VariantFolders> persons;
    for (size_t i = 0; i < personDirs.size(); ++i) {
        persons.push_back(
            VariantFoldersOf(personDirs[i], i < variantHomes.size() ? variantHomes[i] : std::vector<std::string>{}));
    }
    if (!RemoveAll(VariantsDir(outDir), error) || persons.empty() ||
        !SameVariantsEverywhere(persons, personDirs, error)) {
        return error.empty();
    }
    std::vector<PairedComparison> compared;
    for (const auto& [name, unused] : persons.front()) {
        RunMetrics merged;
        if (!MergeVariant(persons, name, merged, error)) {
            return false;
        }
        compared.push_back(ComparePaired(name, definition, merged));
        const std::string variantDir = VariantsDir(outDir) + "/" + name;
        if (!WriteVariantMetrics(variantDir, merged, compared.back(), error) ||
            !WriteTextFileAtomically(variantDir + "/" + SUMMARY_FILE, FormatMetricsSummary(merged), error)) {
            return false;
        }
    }
    summary += compared.empty() ? "" : "\n" + FormatComparisons(compared);
    return true;
}

} // namespace OHOS::Sim
