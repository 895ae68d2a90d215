#include "report_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>

#include "night_svg.h"

namespace OHOS::Sim {

namespace {

using Json = MetricsJson;

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

std::string FormatValue(const Json& value)
{
    if (value.is_number()) {
        return FormatNumber(value.get<double>());
    }
    if (value.is_string()) {
        return EscapeHtml(value.get<std::string>());
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    if (value.is_array()) {
        std::string text;
        for (const Json& item : value) {
            text += (text.empty() ? "" : ", ") + FormatValue(item);
        }
        return text;
    }
    return "\u2013";
}

// A summary value with the path that leads to it, e.g. {"plugin", "onsetLatencyMin", "median"}.
struct Leaf {
    std::vector<std::string> path;
    const Json* value = nullptr;
};

constexpr size_t kLongestShownArray = 4;

void CollectLeaves(const Json& value, std::vector<std::string>& path, std::vector<Leaf>& leaves)
{
    if (value.is_object()) {
        for (auto it = value.begin(); it != value.end(); ++it) {
            path.push_back(it.key());
            CollectLeaves(it.value(), path, leaves);
            path.pop_back();
        }
    } else if (!value.is_array() || value.size() <= kLongestShownArray) {
        leaves.push_back(Leaf{path, &value});
    }
}

std::string Joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : " ") + part;
    }
    return text;
}

} // namespace

bool WriteFileAtomically(const std::string& path, const std::string& text, std::string& error)
{
    const std::string temporary = path + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << text;
        out.flush();
        if (!out) {
            error = "cannot write '" + temporary + "'";
            return false;
        }
    }
    std::error_code ec;
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        error = "cannot write '" + path + "': " + ec.message();
        return false;
    }
    return true;
}

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

std::string SummaryTable(const Json& metrics)
{
    if (!metrics.is_object() || !metrics.contains("summary")) {
        return "<p class=\"note\">metrics.json has no summary.</p>\n";
    }
    const std::vector<std::string> rules = MetricsRules(metrics);
    std::vector<Leaf> leaves;
    std::vector<std::string> path;
    CollectLeaves(metrics["summary"], path, leaves);
    std::vector<std::string> rowOrder;
    std::map<std::string, std::map<std::string, std::string>> cells;
    std::string general;
    for (const Leaf& leaf : leaves) {
        const auto rule = std::find_first_of(leaf.path.begin(), leaf.path.end(), rules.begin(), rules.end());
        if (rule == leaf.path.end()) {
            general += "<li>" + EscapeHtml(Joined(leaf.path)) + ": " + FormatValue(*leaf.value) + "</li>";
            continue;
        }
        std::vector<std::string> rest(leaf.path.begin(), rule);
        rest.insert(rest.end(), rule + 1, leaf.path.end());
        const std::string row = Joined(rest);
        if (cells.find(row) == cells.end()) {
            rowOrder.push_back(row);
        }
        cells[row][*rule] = FormatValue(*leaf.value);
    }
    std::string html = general.empty() ? "" : "<ul>" + general + "</ul>\n";
    html += "<table class=\"metrics\"><tr><th>measure</th>";
    for (const std::string& rule : rules) {
        html += "<th>" + EscapeHtml(RuleTitle(rule)) + "</th>";
    }
    html += "</tr>\n";
    for (const std::string& row : rowOrder) {
        html += "<tr><td>" + EscapeHtml(row) + "</td>";
        for (const std::string& rule : rules) {
            const auto cell = cells[row].find(rule);
            html += "<td>" + (cell == cells[row].end() ? std::string("\u2013") : cell->second) + "</td>";
        }
        html += "</tr>\n";
    }
    return html + "</table>\n";
}

} // namespace OHOS::Sim
