#include "report_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

#include "night_metrics.h"
#include "night_svg.h"

namespace OHOS::Sim {

namespace {

const char* const kStyle = R"(body{font:13px/1.4 system-ui,sans-serif;margin:16px;color:#222}
h1{font-size:20px;margin:0 0 4px}h2{font-size:16px;margin:18px 0 6px}
table{border-collapse:collapse;margin:4px 0}td,th{padding:2px 8px;border-bottom:1px solid #ddd;text-align:right}
th:first-child,td:first-child{text-align:left}th{background:#f3f3f3}
figure{margin:10px 0 4px}figcaption{font-size:12px;margin-bottom:2px}
text{font:10px sans-serif;fill:#333}.ax text{text-anchor:middle}.defs{position:absolute}
.ln{fill:#f4f4f4}.gr{stroke:#e2e2e2}.bd{fill:#c9d7ee}.sl{fill:#2b4c8c}.so{fill:#f0a030}.ul{stroke:#b03000;stroke-width:2}
.ch{fill:#3a9d3a}.st{fill:#a8a8a8}.dp{fill:#5b2a86}.lt{fill:#b48ad8}.ew{fill:#e0669a}.nc{fill:#2f9e8f}
.id{fill:#707070}.td{fill:#c8962a}.al{stroke:#d00000;stroke-width:2}.pw{stroke:#5b2a86;stroke-width:2;stroke-dasharray:2 1}
.tn{fill:#1d7a1d}.oa,.os,.ol,.o0{stroke-width:2}.oa{stroke:#c4c4c4}.os{stroke:#2b4c8c}.ol{stroke:#4fb0c6}.o0{stroke:#e6e6e6}
text.rs{fill:#5b2a86}.bar{fill:#5b6fa8}.note{color:#666}
)";

// A summary value for a table cell; "-" (no values) as a dash.
std::string StatsCell(const std::string& text)
{
    return text == "-" ? "\u2013" : EscapeHtml(text);
}

// The head of a summary table: its title, then a column per rule.
std::string TableHeadHtml(const std::string& title)
{
    std::string html = "<table class=\"metrics\"><tr><th>" + EscapeHtml(title) + "</th>";
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        html += "<th>" + EscapeHtml(RuleTitle(static_cast<Rule>(rule))) + "</th>";
    }
    return html + "</tr>\n";
}

std::string RowsHtml(const std::vector<SummaryRow>& rows)
{
    std::string html;
    for (const SummaryRow& row : rows) {
        html += "<tr><td>" + EscapeHtml(row.label) + "</td>";
        for (const std::string& cell : row.cells) {
            html += "<td>" + StatsCell(cell) + "</td>";
        }
        html += "</tr>\n";
    }
    return html;
}

// One group of nights as a table: a row per measure, a column per rule, each value
// "median / tail (count)".
std::string GroupTableHtml(const std::string& title, const GroupSummary& group)
{
    if (group.nights == 0) {
        return "";
    }
    return TableHeadHtml(title + " (" + std::to_string(group.nights) + " nights)") +
           RowsHtml(GroupSummaryRows(group)) + "<tr><td>wake-lock s per night</td><td colspan=\"" +
           std::to_string(kRuleCount) + "\">" + StatsCell(FormatStats(group.wakeLockSec, 0)) + "</td></tr></table>\n";
}


// The breakdowns of the eligible nights that hold groups: a row per group, a column per rule, each
// value the coverage of true sleep "median / p10 (count)".
std::string BreakdownTablesHtml(const MetricsSummary& summary)
{
    std::string html;
    for (const Breakdown& breakdown : Breakdowns(summary)) {
        if (breakdown.groups->empty()) {
            continue;
        }
        html += TableHeadHtml(std::string("eligible nights ") + breakdown.title + ": coverage of true sleep (p10)") +
                RowsHtml(BreakdownRows(*breakdown.groups));
        html += "</table>\n";
    }
    return html;
}

} // namespace

std::string PageHead(const std::string& title)
{
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + EscapeHtml(title) +
           "</title><style>" + kStyle + "</style></head><body>\n";
}

std::string FormatNumber(double value)
{
    if (std::isnan(value)) {
        return "\u2013";
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.2f", value);
    std::string out = text;
    while (out.back() == '0') {
        out.pop_back();
    }
    if (out.back() == '.') {
        out.pop_back();
    }
    return out == "-0" ? "0" : out;
}

std::string SummaryTable(const MetricsSummary& summary)
{
    return "<p class=\"note\">" + std::to_string(summary.persons.size()) + " person(s), " +
           std::to_string(summary.all.nights) +
           " nights. Values are median / tail (count) over nights: the tail is the 10th percentile (p10) where "
           "low values are bad, the 90th (p90) where high ones are; latencies and errors are detected minus true, "
           "in minutes, and |x| rows give the median / p90 of their size. Trainings per week: " +
           EscapeHtml(FormatStats(summary.trainingsPerWeek, 1)) + ".</p>\n" +
           GroupTableHtml("eligible nights", summary.classes[static_cast<size_t>(NightClass::ELIGIBLE)]) +
           "<p class=\"note\">" + EscapeHtml(FormatClassCounts(summary)) + "</p>\n" + BreakdownTablesHtml(summary) +
           GroupTableHtml("all nights", summary.all);
}

} // namespace OHOS::Sim
