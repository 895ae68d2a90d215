#include "report_html.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "night_svg.h"
#include "report_inputs.h"

namespace OHOS::Sim {

namespace {

using Json = MetricsJson;

const char* const kStyle = R"(body{font:13px/1.4 system-ui,sans-serif;margin:16px;color:#222}
h1{font-size:20px;margin:0 0 4px}h2{font-size:16px;margin:18px 0 6px}
table{border-collapse:collapse;margin:4px 0}td,th{padding:2px 8px;border-bottom:1px solid #ddd;text-align:right}
th:first-child,td:first-child{text-align:left}th{background:#f3f3f3}
figure{margin:10px 0 4px}figcaption{font-size:12px;margin-bottom:2px}
svg text{font:9px sans-serif;fill:#333}.ax text{text-anchor:middle}.defs{position:absolute}
.ln{fill:#f4f4f4}.gr{stroke:#e2e2e2}.bd{fill:#c9d7ee}.sl{fill:#2b4c8c}.so{fill:#f0a030}.ul{stroke:#b03000;stroke-width:2}
.ch{fill:#3a9d3a}.st{fill:#a8a8a8}.dp{fill:#5b2a86}.lt{fill:#b48ad8}.ew{fill:#e0669a}.nc{fill:#2f9e8f}
.id{fill:#707070}.td{fill:#c8962a}.al{stroke:#d00000;stroke-width:2}.pw{stroke:#5b2a86;stroke-width:2;stroke-dasharray:2 1}
.tn{fill:#1d7a1d}.oa,.os,.ol,.o0{stroke-width:2}.oa{stroke:#c4c4c4}.os{stroke:#2b4c8c}.ol{stroke:#4fb0c6}.o0{stroke:#e6e6e6}
text.rs{fill:#5b2a86}.bar{fill:#5b6fa8}.note{color:#666}
)";

// Sets the process time zone back to what it was when the guard was made.
class TimeZoneGuard {
public:
    TimeZoneGuard()
    {
        const char* zone = std::getenv("TZ");
        if (zone != nullptr) {
            previous_ = zone;
        }
    }
    ~TimeZoneGuard()
    {
        if (previous_) {
            SetProcessTimeZone(*previous_);
        } else {
            unsetenv("TZ");
            tzset();
        }
    }
    TimeZoneGuard(const TimeZoneGuard&) = delete;
    TimeZoneGuard& operator=(const TimeZoneGuard&) = delete;

private:
    std::optional<std::string> previous_;
};

bool IsDirectory(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::is_directory(path, ec);
}

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

// A number as a short text: whole numbers without decimals, others with up to two.
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

// The summary of metrics.json as a table: one column per rule, one row per measure; values that
// belong to no rule are listed above it.
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

// Whether the folder is a person's folder inside a population output (persons/<name>/).
bool InPopulation(const std::string& dir)
{
    const std::filesystem::path path = std::filesystem::absolute(dir).lexically_normal();
    const std::filesystem::path folder = path.filename().empty() ? path.parent_path() : path;
    return folder.parent_path().filename() == PERSONS_DIR;
}

std::string RunPage(const std::string& dir, const RunRecord& record)
{
    const bool withMetrics = !record.metrics.is_null();
    std::string html = PageHead("Sleep report: " + record.person);
    if (InPopulation(dir)) {
        html += "<p><a href=\"../../" + REPORT_FILE + "\">\u2190 all persons</a></p>\n";
    }
    html += "<h1>Sleep report: " + EscapeHtml(record.person) + "</h1>\n<p class=\"note\">" +
            std::to_string(record.nights.size()) + " nights";
    if (!record.nights.empty()) {
        html += " ending " + FormatCivilDate(record.nights.front().truth.wakeDate) + " to " +
                FormatCivilDate(record.nights.back().truth.wakeDate);
    }
    html += ", local time " + EscapeHtml(record.timeZone) + "</p>\n";
    if (withMetrics) {
        html += "<h2>Metrics</h2>\n" + SummaryTable(record.metrics);
    } else {
        html += "<p class=\"note\">No metrics.json in this folder: the rules' scores are not shown.</p>\n";
    }
    html += "<h2>Nights</h2>\n" + NightLegendSvg(withMetrics) + NightSvgDefs(withMetrics);
    for (size_t night = 0; night < record.nights.size(); ++night) {
        html += "<figure class=\"night\" id=\"n" + FormatCivilDate(record.nights[night].truth.wakeDate) +
                "\"><figcaption>" + NightCaption(record, night) + "</figcaption>" +
                NightSvg(record, night, withMetrics) + "</figure>\n";
    }
    return html + "</body></html>\n";
}

bool WriteRunReport(const std::string& dir, std::string& error)
{
    RunRecord record;
    return ReadRunFolder(dir, record, error) &&
           WriteFileAtomically(dir + "/" + REPORT_FILE, RunPage(dir, record), error);
}

std::vector<std::string> PersonNames(const std::string& dir)
{
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(dir + "/" + PERSONS_DIR, ec)) {
        if (entry.is_directory(ec)) {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

// One rule's scores over a set of nights.
struct RuleTally {
    std::vector<double> onsetMin; // nights not missed
    std::vector<double> coverage;
    int32_t nights = 0;
    int32_t missed = 0;

    void Add(const RuleScores& scores)
    {
        ++nights;
        missed += scores.missed ? 1 : 0;
        if (!scores.missed && !std::isnan(scores.onsetLatencyMin)) {
            onsetMin.push_back(scores.onsetLatencyMin);
        }
        if (!std::isnan(scores.coverage)) {
            coverage.push_back(scores.coverage);
        }
    }
};

double Median(std::vector<double> values)
{
    if (values.empty()) {
        return std::nan("");
    }
    std::sort(values.begin(), values.end());
    const size_t mid = values.size() / 2;
    return values.size() % 2 == 1 ? values[mid] : (values[mid - 1] + values[mid]) / 2;
}

double Mean(const std::vector<double>& values)
{
    double sum = 0;
    for (double value : values) {
        sum += value;
    }
    return values.empty() ? std::nan("") : sum / static_cast<double>(values.size());
}

using Tallies = std::map<std::string, RuleTally>; // by rule

struct Histogram {
    std::string title;
    std::vector<std::string> binLabels;
    std::vector<double> upperBounds; // value < bound goes in that bin; the last bin takes the rest
    bool missedBin = false;          // a last bin for missed nights
};

std::vector<int32_t> BinCounts(const Histogram& histogram, const std::vector<double>& values, int32_t missed)
{
    std::vector<int32_t> counts(histogram.binLabels.size(), 0);
    const size_t valueBins = histogram.missedBin ? counts.size() - 1 : counts.size();
    for (double value : values) {
        size_t bin = 0;
        while (bin + 1 < valueBins && value >= histogram.upperBounds[bin]) {
            ++bin;
        }
        ++counts[bin];
    }
    if (histogram.missedBin) {
        counts.back() = missed;
    }
    return counts;
}

constexpr int32_t kPanelWidth = 250;
constexpr int32_t kPanelHeight = 96;
constexpr int32_t kBarArea = 64;

// One small histogram per rule, side by side, bar heights as shares of the rule's nights.
std::string HistogramSvg(
    const Histogram& histogram, const Tallies& tallies, const std::vector<std::string>& rules, bool ofOnset)
{
    std::string svg = "<svg class=\"hist\" width=\"" + std::to_string(kPanelWidth * rules.size()) + "\" height=\"" +
                      std::to_string(kPanelHeight) + "\">";
    const int32_t barPitch = (kPanelWidth - 20) / static_cast<int32_t>(histogram.binLabels.size());
    for (size_t r = 0; r < rules.size(); ++r) {
        const auto tally = tallies.find(rules[r]);
        const RuleTally empty;
        const RuleTally& t = tally == tallies.end() ? empty : tally->second;
        const std::vector<int32_t> counts = BinCounts(histogram, ofOnset ? t.onsetMin : t.coverage, t.missed);
        const int32_t left = static_cast<int32_t>(r) * kPanelWidth;
        svg += "<text x=\"" + std::to_string(left) + "\" y=\"10\">" + EscapeHtml(RuleTitle(rules[r])) + " (" +
               std::to_string(t.nights) + " nights)</text>";
        for (size_t bin = 0; bin < counts.size(); ++bin) {
            const int32_t height =
                t.nights > 0 ? static_cast<int32_t>(std::lround(static_cast<double>(kBarArea) * counts[bin] / t.nights))
                             : 0;
            const int32_t x = left + static_cast<int32_t>(bin) * barPitch;
            svg += "<path class=\"bar\" d=\"M" + std::to_string(x) + " " + std::to_string(14 + kBarArea - height) +
                   "h" + std::to_string(barPitch - 2) + "v" + std::to_string(height) + "h-" +
                   std::to_string(barPitch - 2) + "z\"><title>" + EscapeHtml(histogram.binLabels[bin]) + ": " +
                   std::to_string(counts[bin]) + " nights</title></path><text x=\"" + std::to_string(x) + "\" y=\"" +
                   std::to_string(kPanelHeight - 4) + "\">" + EscapeHtml(histogram.binLabels[bin]) + "</text>";
        }
    }
    return svg + "</svg>\n";
}

const Histogram& OnsetHistogram()
{
    static const Histogram histogram{
        "Onset latency (minutes from the true onset to the first asleep time; bins from the value shown)",
        {"<0", "0", "15", "30", "60", "120+", "missed"}, {0, 15, 30, 60, 120}, true};
    return histogram;
}

const Histogram& CoverageHistogram()
{
    static const Histogram histogram{"Coverage (share of true sleep counted as asleep, in 10% steps)",
        {"0%", "10", "20", "30", "40", "50", "60", "70", "80", "90+"}, {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9},
        false};
    return histogram;
}

struct PersonRow {
    std::string name;
    Tallies tallies;
    bool hasPage = false;

    // Worst first: the plug-in's lowest mean coverage, then the most missed nights.
    double WorstKey() const
    {
        const auto plugin = tallies.find(RULE_PLUGIN);
        const double coverage = plugin == tallies.end() ? std::nan("") : Mean(plugin->second.coverage);
        return std::isnan(coverage) ? 2.0 : coverage;
    }
    int32_t Missed() const
    {
        const auto plugin = tallies.find(RULE_PLUGIN);
        return plugin == tallies.end() ? 0 : plugin->second.missed;
    }
};

std::vector<PersonRow> PersonRows(const std::string& dir, const Json& metrics, Tallies& all)
{
    std::map<std::string, PersonRow> rows;
    for (const std::string& name : PersonNames(dir)) {
        rows[name].name = name;
        std::error_code ec;
        rows[name].hasPage =
            std::filesystem::is_regular_file(dir + "/" + PERSONS_DIR + "/" + name + "/" + REPORT_FILE, ec);
    }
    for (const MetricsNight& night : MetricsNights(metrics)) {
        PersonRow& row = rows[night.person];
        row.name = night.person;
        for (const auto& [rule, values] : night.rules) {
            const RuleScores scores = ScoresOf(*values);
            row.tallies[rule].Add(scores);
            all[rule].Add(scores);
        }
    }
    std::vector<PersonRow> sorted;
    for (auto& [name, row] : rows) {
        sorted.push_back(std::move(row));
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const PersonRow& a, const PersonRow& b) {
        return a.WorstKey() != b.WorstKey() ? a.WorstKey() < b.WorstKey() : a.Missed() > b.Missed();
    });
    return sorted;
}

std::string PersonsTable(const std::vector<PersonRow>& rows, const std::vector<std::string>& rules)
{
    std::string html = "<table class=\"persons\"><tr><th rowspan=\"2\">person</th><th rowspan=\"2\">nights</th>";
    for (const std::string& rule : rules) {
        html += "<th colspan=\"3\">" + EscapeHtml(RuleTitle(rule)) + "</th>";
    }
    html += "</tr><tr>";
    for (size_t i = 0; i < rules.size(); ++i) {
        html += "<th>onset min (median)</th><th>missed</th><th>coverage (mean)</th>";
    }
    html += "</tr>\n";
    for (const PersonRow& row : rows) {
        const std::string name = EscapeHtml(row.name);
        const std::string link =
            row.hasPage ? "<a href=\"" + PERSONS_DIR + "/" + name + "/" + REPORT_FILE + "\">" + name + "</a>" : name;
        int32_t nights = 0;
        std::string cells;
        for (const std::string& rule : rules) {
            const auto tally = row.tallies.find(rule);
            if (tally == row.tallies.end()) {
                cells += "<td>\u2013</td><td>\u2013</td><td>\u2013</td>";
                continue;
            }
            nights = std::max(nights, tally->second.nights);
            const double coverage = Mean(tally->second.coverage);
            cells += "<td>" + FormatNumber(std::round(Median(tally->second.onsetMin))) + "</td><td>" +
                     std::to_string(tally->second.missed) + "</td><td>" +
                     (std::isnan(coverage) ? std::string("\u2013") : FormatNumber(std::round(coverage * 100)) + "%") +
                     "</td>";
        }
        html += "<tr><td>" + link + "</td><td>" + std::to_string(nights) + "</td>" + cells + "</tr>\n";
    }
    return html + "</table>\n";
}

bool WritePopulationReport(const std::string& dir, std::string& error)
{
    Json metrics;
    const std::string metricsPath = dir + "/metrics.json";
    if (!ReadJsonFile(metricsPath, metrics, error)) {
        return false;
    }
    const std::vector<std::string> rules = MetricsRules(metrics);
    Tallies all;
    const std::vector<PersonRow> rows = PersonRows(dir, metrics, all);
    std::string html = PageHead("Sleep report: population of " + std::to_string(rows.size()));
    html += "<h1>Sleep report: " + std::to_string(rows.size()) + " persons</h1>\n<h2>Metrics</h2>\n" +
            SummaryTable(metrics);
    for (const Histogram* histogram : {&OnsetHistogram(), &CoverageHistogram()}) {
        html += "<h2>" + EscapeHtml(histogram->title) + "</h2>\n" +
                HistogramSvg(*histogram, all, rules, histogram == &OnsetHistogram());
    }
    html += "<h2>Persons, worst first</h2>\n<p class=\"note\">Ordered by the plug-in's mean coverage, lowest first, "
            "then by its missed nights.</p>\n" +
            PersonsTable(rows, rules) + "</body></html>\n";
    return WriteFileAtomically(dir + "/" + REPORT_FILE, html, error);
}

bool IsPopulation(const std::string& dir)
{
    return IsDirectory(dir + "/" + PERSONS_DIR);
}

} // namespace

bool WriteReport(const std::string& outDir, std::string& error)
{
    if (!IsDirectory(outDir)) {
        error = "'" + outDir + "' is not an output folder";
        return false;
    }
    TimeZoneGuard zone;
    return IsPopulation(outDir) ? WritePopulationReport(outDir, error) : WriteRunReport(outDir, error);
}

bool RebuildReports(const std::string& outDir, std::string& error)
{
    if (IsDirectory(outDir) && IsPopulation(outDir)) {
        for (const std::string& name : PersonNames(outDir)) {
            if (!WriteReport(outDir + "/" + PERSONS_DIR + "/" + name, error)) {
                return false;
            }
        }
    }
    return WriteReport(outDir, error);
}

} // namespace OHOS::Sim
