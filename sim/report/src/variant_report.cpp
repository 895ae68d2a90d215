#include "variant_report.h"

#include <algorithm>

#include "night_svg.h"

namespace OHOS::Sim {

namespace {

constexpr int32_t kRowHeight = 10;
constexpr int32_t kRowPitch = 12;
constexpr int32_t kTop = 2;
constexpr int32_t kRightMargin = 10;

std::string Str(int64_t value)
{
    return std::to_string(value);
}

std::string LanePath(int32_t x0, int32_t x1, int32_t y)
{
    const int32_t width = std::max(1, x1 - x0);
    return "M" + Str(x0) + " " + Str(y) + "h" + Str(width) + "v" + Str(kRowHeight) + "h-" + Str(width) + "z";
}

const NightRecord* FindNight(const RunMetrics& metrics, const std::string& person, const std::string& night)
{
    for (const NightRecord& record : metrics.nights) {
        if (record.person == person && record.night == night) {
            return &record;
        }
    }
    return nullptr;
}

// One variant's row: its lane, its name and its plug-in's asleep spans.
std::string VariantRowSvg(const VariantRun& run, const NightRecord* night, const TimeSpan& window, int32_t y)
{
    const int32_t right = PictureX(window, window.endMs);
    std::string svg = "<path class=\"ln\" d=\"" + LanePath(kPictureLeft, right, y) + "\"/><text x=\"2\" y=\"" +
                      Str(y + kRowHeight - 1) + "\">" + EscapeHtml(run.name) + "</text>";
    if (night == nullptr) {
        return svg;
    }
    std::string spans;
    for (const TimeSpan& span : night->verdicts[static_cast<size_t>(Rule::PLUGIN)].asleep) {
        if (span.endMs > window.beginMs && span.beginMs < window.endMs) {
            spans += LanePath(PictureX(window, span.beginMs), PictureX(window, span.endMs), y);
        }
    }
    return spans.empty() ? svg : svg + "<path class=\"dp\" d=\"" + spans + "\"/>";
}

std::string SetTableHtml(const std::vector<PairedComparison>& comparisons, const ComparisonSet PairedComparison::*set,
    const std::string& title)
{
    std::string html = "<table><tr><th>" + EscapeHtml(title) + "</th>";
    for (const PairedComparison& comparison : comparisons) {
        html += "<th>" + EscapeHtml(comparison.variant) + " (" + Str((comparison.*set).nights) + " nights)</th>";
    }
    html += "</tr>\n";
    for (size_t metric = 0; metric < kPairedMetricCount; ++metric) {
        const PairedMetricInfo& info = PairedMetrics()[metric];
        html += "<tr><td>" + EscapeHtml(info.label) + "</td>";
        for (const PairedComparison& comparison : comparisons) {
            html += "<td>" + EscapeHtml(FormatInterval((comparison.*set).metrics[metric], info.decimals)) + "</td>";
        }
        html += "</tr>\n";
    }
    return html + "</table>\n";
}

} // namespace

bool ReadVariantRuns(const std::string& runDir, std::vector<VariantRun>& runs, std::string& error)
{
    for (const std::string& name : VariantsIn(runDir)) {
        VariantRun run{name, {}};
        if (!ReadMetricsFile(runDir + "/" + VARIANTS_DIR + "/" + name + "/metrics.json", run.metrics, error)) {
            return false;
        }
        runs.push_back(std::move(run));
    }
    return true;
}

std::string VariantRowsSvg(const std::vector<VariantRun>& runs, const std::string& person, const CivilDate& wakeDate)
{
    if (runs.empty()) {
        return "";
    }
    const TimeSpan window = PictureWindow(wakeDate);
    const std::string night = FormatCivilDate(wakeDate);
    std::string svg = "<svg class=\"variants\" width=\"" + Str(PictureX(window, window.endMs) + kRightMargin) +
                      "\" height=\"" + Str(kTop + static_cast<int64_t>(runs.size()) * kRowPitch) + "\">";
    for (size_t i = 0; i < runs.size(); ++i) {
        const int32_t y = kTop + static_cast<int32_t>(i) * kRowPitch;
        svg += VariantRowSvg(runs[i], FindNight(runs[i].metrics, person, night), window, y);
    }
    return svg + "</svg>";
}

std::string ComparisonSectionHtml(const std::vector<PairedComparison>& comparisons)
{
    if (comparisons.empty()) {
        return "";
    }
    return "<h2>Variants against the definition</h2>\n<p class=\"note\">Variant minus definition, the plug-in's "
           "scores; mean [95 % bootstrap interval over persons, " +
           Str(kBootstrapResamples) +
           " resamples] (values). Each night's picture shows every variant's asleep spans on a row of its "
           "own.</p>\n" +
           SetTableHtml(comparisons, &PairedComparison::eligible, "eligible nights") +
           SetTableHtml(comparisons, &PairedComparison::all, "all nights");
}

} // namespace OHOS::Sim
