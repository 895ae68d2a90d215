#include "variant_runs.h"

#include <filesystem>
#include <iostream>
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

bool RemoveAll(const std::string& path, std::string& error)
{
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
    if (ec) {
        error = "cannot remove '" + path + "': " + ec.message();
        return false;
    }
    return true;
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

bool RunVariantInChild(
    const Scenario& scenario, const Trace& trace, const SimOptions& options, DetectorVariant variant, std::string& error)
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

// The metrics of one variant over all the persons' folders.
bool MergeVariant(
    const std::vector<std::string>& personDirs, const std::string& name, RunMetrics& merged, std::string& error)
{
    std::vector<RunMetrics> all;
    for (const std::string& dir : personDirs) {
        RunMetrics metrics;
        if (!ReadMetricsFile(VariantsDir(dir) + "/" + name + "/" + METRICS_FILE, metrics, error)) {
            return false;
        }
        all.push_back(std::move(metrics));
    }
    merged = MergeMetrics(std::move(all));
    return true;
}

bool SameVariantsEverywhere(const std::vector<std::string>& personDirs, std::string& error)
{
    for (const std::string& dir : personDirs) {
        if (VariantsIn(dir) != VariantsIn(personDirs.front())) {
            error = "'" + dir + "' and '" + personDirs.front() + "' hold different variants";
            return false;
        }
    }
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
    if (!RemoveAll(VariantsDir(options.outDir), result.definition.error)) {
        return result;
    }
    for (DetectorVariant variant : variants) {
        if (!RunVariantInChild(scenario, trace, options, variant, result.definition.error)) {
            return result;
        }
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

bool GatherVariantMetrics(const std::vector<std::string>& personDirs, const RunMetrics& definition,
    const std::string& outDir, std::string& summary, std::string& error)
{
    if (!RemoveAll(VariantsDir(outDir), error) || personDirs.empty() || !SameVariantsEverywhere(personDirs, error)) {
        return error.empty();
    }
    std::vector<PairedComparison> compared;
    for (const std::string& name : VariantsIn(personDirs.front())) {
        RunMetrics merged;
        if (!MergeVariant(personDirs, name, merged, error)) {
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
