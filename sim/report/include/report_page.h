#ifndef SIM_INCLUDE_REPORT_PAGE_H
#define SIM_INCLUDE_REPORT_PAGE_H

#include <string>

#include "night_metrics.h"
#include "report_inputs.h"

namespace OHOS::Sim {

// Pieces every report page shares.

// The start of a page up to and including <body>, with the shared style sheet.
std::string PageHead(const std::string& title);
// A number as a short text: whole numbers without decimals, others with up to two; NaN as a dash.
std::string FormatNumber(double value);
// The summary of the metrics as the text summary's tables (eligible nights, the count of each class,
// all nights): a row per measure, a column per rule.
std::string SummaryTable(const MetricsSummary& summary);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_REPORT_PAGE_H
