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
// The summary of metrics.json as the text summary's tables (after the first week, first week): a row
// per measure, a column per rule; a note naming the problem when metrics.json cannot be read.
std::string SummaryTable(const MetricsJson& metrics);
// The same from a file read a night at a time: the nights given to `reader`, then the rest.
std::string SummaryTable(MetricsJsonReader& reader, const MetricsJson& rest);
// The same from metrics already read.
std::string SummaryTable(const MetricsSummary& summary);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_REPORT_PAGE_H
