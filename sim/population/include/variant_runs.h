#ifndef SIM_INCLUDE_VARIANT_RUNS_H
#define SIM_INCLUDE_VARIANT_RUNS_H

#include <string>
#include <vector>

#include "detector_variants.h"
#include "paired_comparison.h"
#include "scenario.h"
#include "sim_driver.h"
#include "trace.h"

namespace OHOS::Sim {

// Detector variants run beside the definition on the same trace. Each variant's run writes
// <runDir>/variants/<name>/ and keeps there only what the comparison and the report read: its
// metrics.json (with a "comparison" section) and summary.txt. The definition's outputs are the
// ones a run without variants writes, byte for byte, except summary.txt and report.html, which end
// with the comparison.

using DevStandbyMgr::DetectorVariant;

// The values of --variant: variant names, or "all" for every variant; the result in the variants'
// order, each once. False for an unknown name, with an error that lists the names.
bool ParseVariantNames(
    const std::vector<std::string>& names, std::vector<DetectorVariant>& variants, std::string& error);
// "not-care-charge, quick-resume, learned-window".
std::string VariantNameList();

// <runDir>/variants/<name>.
std::string VariantRunDir(const std::string& runDir, DetectorVariant variant);

struct VariantsRunResult {
    SimResult definition;
    std::string comparisons; // the comparison tables, as summary.txt ends with them; empty without variants
};

// One person's run of the definition and `variants` on `trace`: first each variant, in its own child
// process forked before this process has run anything (the platform's singletons are process-wide),
// with SLEEP_DETECTOR_VARIANTS holding its bit; then the definition in this process exactly as
// RunTrace runs it; then AddVariantComparisons. Removes a variants folder left by an earlier run.
VariantsRunResult RunTraceWithVariants(const Scenario& scenario, const Trace& trace, const SimOptions& options,
    const std::vector<DetectorVariant>& variants);
// The same with the trace generated (once) from the scenario.
VariantsRunResult RunSimulationWithVariants(
    const Scenario& scenario, const SimOptions& options, const std::vector<DetectorVariant>& variants);

// Compares every variant of a finished run folder with the definition's `metrics`: writes the
// comparison into the variant's metrics.json and appends all comparisons to <runDir>/summary.txt
// (as the definition's run wrote it: call once after that run). Their text goes to `comparisons` (empty without
// variants).
bool AddVariantComparisons(
    const std::string& runDir, const RunMetrics& definition, std::string& comparisons, std::string& error);

// For a population: gathers each variant's metrics from the persons' folders (every person must have
// the same variants, in its folder or in one of its `variantHomes`, which holds for each person the
// further folders whose variants/ belong to it, e.g. from variants-only runs) into
// <outDir>/variants/<name>/ (the merged metrics.json with the comparison recomputed from all the
// nights against `definition`, and the merged summary.txt), and appends the comparisons to
// `summary`. Removes <outDir>/variants first.
bool GatherVariantMetrics(const std::vector<std::string>& personDirs,
    const std::vector<std::vector<std::string>>& variantHomes, const RunMetrics& definition, const std::string& outDir,
    std::string& summary, std::string& error);

// A person's variants without the definition, for a sweep that runs them apart: RunTraceWithVariants
// without the definition's run and the comparison (which a merge makes), the trace generated from the
// scenario. False with an error when a variant's run failed.
bool RunVariantsOnly(const Scenario& scenario, const SimOptions& options, const std::vector<DetectorVariant>& variants,
    std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_VARIANT_RUNS_H
