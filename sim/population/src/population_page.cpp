#include "population_page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>

#include "kept_outputs.h"
#include "night_svg.h"
#include "population_runner.h"
#include "variant_report.h"
#include "report_html.h"
#include "report_inputs.h"
#include "report_page.h"
#include "run_files.h"
#include "statistics.h"
#include "text_file.h"

namespace OHOS::Sim {

namespace {

// One rule's scores over a set of nights.
struct RuleTally {
    std::vector<double> onsetMin; // nights not missed
    std::vector<double> coverage;
    int32_t nights = 0;
    int32_t missed = 0;

    void Add(const NightScore& scores)
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

double Mean(const std::vector<double>& values)
{
    double sum = 0;
    for (double value : values) {
        sum += value;
    }
    return values.empty() ? std::nan("") : sum / static_cast<double>(values.size());
}

using Tallies = std::array<RuleTally, kRuleCount>; // by Rule

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
std::string HistogramSvg(const Histogram& histogram, const Tallies& tallies, bool ofOnset)
{
    std::string svg = "<svg class=\"hist\" width=\"" + std::to_string(kPanelWidth * kRuleCount) + "\" height=\"" +
                      std::to_string(kPanelHeight) + "\">";
    const int32_t barPitch = (kPanelWidth - 20) / static_cast<int32_t>(histogram.binLabels.size());
    for (size_t r = 0; r < kRuleCount; ++r) {
        const RuleTally& t = tallies[r];
        const std::vector<int32_t> counts = BinCounts(histogram, ofOnset ? t.onsetMin : t.coverage, t.missed);
        const int32_t left = static_cast<int32_t>(r) * kPanelWidth;
        svg += "<text x=\"" + std::to_string(left) + "\" y=\"10\">" + EscapeHtml(RuleTitle(static_cast<Rule>(r))) + " (" +
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
        const double coverage = Mean(Plugin().coverage);
        return std::isnan(coverage) ? 2.0 : coverage;
    }
    int32_t Missed() const { return Plugin().missed; }
    const RuleTally& Plugin() const { return tallies[static_cast<size_t>(Rule::PLUGIN)]; }
};

// Tallies of every person of the folder and of everyone, by rule, from the metrics' nights.
class PersonTallies {
public:
    explicit PersonTallies(const std::string& dir)
    {
        for (const std::string& name : PopulationPersons(dir)) {
            rows_[name].name = name;
            std::error_code ec;
            rows_[name].hasPage =
                std::filesystem::is_regular_file(dir + "/" + PERSONS_DIR + "/" + name + "/" + REPORT_FILE, ec);
        }
    }

    void Add(const NightRecord& night)
    {
        PersonRow& row = rows_[night.person];
        row.name = night.person;
        for (size_t rule = 0; rule < kRuleCount; ++rule) {
            row.tallies[rule].Add(night.scores[rule]);
            all_[rule].Add(night.scores[rule]);
        }
    }

    const Tallies& All() const { return all_; }

    // The rows, worst first.
    std::vector<PersonRow> Rows() const
    {
        std::vector<PersonRow> sorted;
        for (const auto& [name, row] : rows_) {
            sorted.push_back(row);
        }
        std::stable_sort(sorted.begin(), sorted.end(), [](const PersonRow& a, const PersonRow& b) {
            return a.WorstKey() != b.WorstKey() ? a.WorstKey() < b.WorstKey() : a.Missed() > b.Missed();
        });
        return sorted;
    }

private:
    std::map<std::string, PersonRow> rows_;
    Tallies all_;
};

std::string PersonsTable(const std::vector<PersonRow>& rows)
{
    std::string html = "<table class=\"persons\"><tr><th rowspan=\"2\">person</th><th rowspan=\"2\">nights</th>";
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        html += "<th colspan=\"3\">" + EscapeHtml(RuleTitle(static_cast<Rule>(rule))) + "</th>";
    }
    html += "</tr><tr>";
    for (size_t i = 0; i < kRuleCount; ++i) {
        html += "<th>onset min (median)</th><th>missed</th><th>coverage (mean)</th>";
    }
    html += "</tr>\n";
    for (const PersonRow& row : rows) {
        const std::string name = EscapeHtml(row.name);
        const std::string link =
            row.hasPage ? "<a href=\"" + PERSONS_DIR + "/" + name + "/" + REPORT_FILE + "\">" + name + "</a>" : name;
        int32_t nights = 0;
        std::string cells;
        for (const RuleTally& tally : row.tallies) {
            if (tally.nights == 0) {
                cells += "<td>\u2013</td><td>\u2013</td><td>\u2013</td>";
                continue;
            }
            nights = std::max(nights, tally.nights);
            const double coverage = Mean(tally.coverage);
            cells += "<td>" + FormatNumber(std::round(Percentile(tally.onsetMin, 0.5))) + "</td><td>" +
                     std::to_string(tally.missed) + "</td><td>" +
                     (std::isnan(coverage) ? std::string("\u2013") : FormatNumber(std::round(coverage * 100)) + "%") +
                     "</td>";
        }
        html += "<tr><td>" + link + "</td><td>" + std::to_string(nights) + "</td>" + cells + "</tr>\n";
    }
    return html + "</table>\n";
}

// Whether the folder is a population output (it has a persons/ folder).
bool IsPopulation(const std::string& dir)
{
    std::error_code ec;
    return std::filesystem::is_directory(dir + "/" + PERSONS_DIR, ec);
}

} // namespace

std::vector<std::string> PopulationPersons(const std::string& dir)
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

bool WritePopulationReport(const std::string& dir, std::string& error)
{
    RunMetrics metrics;
    std::vector<PairedComparison> comparisons;
    if (!ReadMetricsFile(dir + "/" + METRICS_FILE, metrics, error) ||
        !CompareVariantsIn(dir, metrics, comparisons, error)) {
        return false;
    }
    PersonTallies tallies(dir);
    for (const NightRecord& night : metrics.nights) {
        tallies.Add(night);
    }
    const std::vector<PersonRow> rows = tallies.Rows();
    std::string html = PageHead("Sleep report: population of " + std::to_string(rows.size()));
    html += "<h1>Sleep report: " + std::to_string(rows.size()) + " persons</h1>\n<h2>Metrics</h2>\n" +
            SummaryTable(metrics.summary);
    for (const Histogram* histogram : {&OnsetHistogram(), &CoverageHistogram()}) {
        html += "<h2>" + EscapeHtml(histogram->title) + "</h2>\n" +
                HistogramSvg(*histogram, tallies.All(), histogram == &OnsetHistogram());
    }
    html += "<h2>Persons, worst first</h2>\n<p class=\"note\">Ordered by the plug-in's mean coverage, lowest first, "
            "then by its missed nights.</p>\n" +
            PersonsTable(rows) + ComparisonSectionHtml(comparisons) + "</body></html>\n";
    return WriteTextFileAtomically(dir + "/" + REPORT_FILE, html, error);
}

bool WriteReport(const std::string& outDir, std::string& error)
{
    std::error_code ec;
    if (!std::filesystem::is_directory(outDir, ec)) {
        error = "'" + outDir + "' is not an output folder";
        return false;
    }
    if (IsPopulation(outDir)) {
        return WritePopulationReport(outDir, error);
    }
    if (!HoldsFullOutputs(outDir)) {
        error = "'" + outDir + "' holds no " + TIMELINE_FILE + " to draw its page from (a lean folder?); " +
                RestoreCommand(outDir) + " brings it back from the trace";
        return false;
    }
    return WriteRunReport(outDir, error);
}

bool RebuildReports(const std::string& outDir, std::string& error)
{
    if (IsPopulation(outDir)) {
        for (const std::string& name : PopulationPersons(outDir)) {
            const std::string personDir = outDir + "/" + PERSONS_DIR + "/" + name;
            // A lean person's page is the one its run drew from the files it no longer keeps.
            if (HoldsFullOutputs(personDir) && !WriteRunReport(personDir, error)) {
                return false;
            }
        }
    }
    return WriteReport(outDir, error);
}

} // namespace OHOS::Sim
