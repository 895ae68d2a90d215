#ifndef SIM_INCLUDE_VARIANT_REPORT_H
#define SIM_INCLUDE_VARIANT_REPORT_H

#include <string>
#include <vector>

#include "local_calendar.h"
#include "night_metrics.h"
#include "paired_comparison.h"

namespace OHOS::Sim {

// The detector variants of a run folder on its report pages: a row of its own per variant under
// each night picture, and the comparison with the definition.

struct VariantRun {
    std::string name;
    RunMetrics metrics;
};

// The variants of <runDir>/variants/ (VariantsIn order) with their metrics. False with an error
// naming an unreadable file; none when the folder has no variants.
bool ReadVariantRuns(const std::string& runDir, std::vector<VariantRun>& runs, std::string& error);

// A picture on the night pictures' time axis with a row per variant: where its plug-in was asleep in
// the night of `person` that ends on `wakeDate`. Empty without variants.
std::string VariantRowsSvg(const std::vector<VariantRun>& runs, const std::string& person, const CivilDate& wakeDate);

// The comparisons as an HTML section: per set of nights (eligible, all) a table with a row per metric
// and a column per variant, each cell "mean [low, high]". Empty without comparisons.
std::string ComparisonSectionHtml(const std::vector<PairedComparison>& comparisons);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_VARIANT_REPORT_H
