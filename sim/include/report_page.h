#ifndef SIM_INCLUDE_REPORT_PAGE_H
#define SIM_INCLUDE_REPORT_PAGE_H

#include <string>

#include "report_inputs.h"

namespace OHOS::Sim {

// Pieces every report page shares.

// The start of a page up to and including <body>, with the shared style sheet.
std::string PageHead(const std::string& title);
// A number as a short text: whole numbers without decimals, others with up to two; NaN as a dash.
std::string FormatNumber(double value);
// The summary of metrics.json as a table: one column per rule, one row per measure (the field
// path without the rule); values that belong to no rule are listed above it.
std::string SummaryTable(const MetricsJson& metrics);
// Writes `text` to a temporary file beside `path` and renames it over `path`.
bool WriteFileAtomically(const std::string& path, const std::string& text, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_REPORT_PAGE_H
