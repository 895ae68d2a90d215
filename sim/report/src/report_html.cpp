#include "report_html.h"

#include <filesystem>

#include "night_svg.h"
#include "report_inputs.h"
#include "report_page.h"
#include "text_file.h"
#include "variant_report.h"

namespace OHOS::Sim {

namespace {

bool IsDirectory(const std::string& path)
{
    std::error_code ec;
    return std::filesystem::is_directory(path, ec);
}

// Whether the folder is a person's folder inside a population output (persons/<name>/).
bool InPopulation(const std::string& dir)
{
    const std::filesystem::path path = std::filesystem::absolute(dir).lexically_normal();
    const std::filesystem::path folder = path.filename().empty() ? path.parent_path() : path;
    return folder.parent_path().filename() == PERSONS_DIR;
}

// The comparisons of the folder's variants with the definition's metrics (none without either).
std::vector<PairedComparison> CompareVariants(const RunRecord& record, const std::vector<VariantRun>& variants)
{
    std::vector<PairedComparison> comparisons;
    for (const VariantRun& variant : variants) {
        if (record.metrics != nullptr) {
            comparisons.push_back(ComparePaired(variant.name, *record.metrics, variant.metrics));
        }
    }
    return comparisons;
}

// Writes the page a night at a time: a long run's page is not held whole. The folder's variants, if
// any, get a row of their own under each night's picture and their comparison at the end.
void WriteRunPage(const std::string& dir, const RunRecord& record, const std::vector<VariantRun>& variants,
    std::ostream& out)
{
    const bool withMetrics = record.metrics != nullptr;
    out << PageHead("Sleep report: " + record.person);
    if (InPopulation(dir)) {
        out << "<p><a href=\"../../" + REPORT_FILE + "\">\u2190 all persons</a></p>\n";
    }
    out << "<h1>Sleep report: " << EscapeHtml(record.person) << "</h1>\n<p class=\"note\">" << record.nights.size()
        << " nights";
    if (!record.nights.empty()) {
        out << " ending " << FormatCivilDate(record.nights.front().truth.wakeDate) << " to "
            << FormatCivilDate(record.nights.back().truth.wakeDate);
    }
    out << ", local time " << EscapeHtml(record.timeZone) << "</p>\n";
    if (withMetrics) {
        out << "<h2>Metrics</h2>\n"
            << SummaryTable(record.metrics->summary);
    } else {
        out << "<p class=\"note\">No metrics.json in this folder: the rules' scores are not shown.</p>\n";
    }
    out << "<h2>Nights</h2>\n" << NightLegendSvg(withMetrics) << NightSvgDefs(withMetrics);
    for (size_t night = 0; night < record.nights.size(); ++night) {
        out << "<figure class=\"night\" id=\"n" << FormatCivilDate(record.nights[night].truth.wakeDate)
            << "\"><figcaption>" << NightCaption(record, night) << "</figcaption>"
            << NightSvg(record, night, withMetrics)
            << VariantRowsSvg(variants, record.person, record.nights[night].truth.wakeDate) << "</figure>\n";
    }
    out << ComparisonSectionHtml(CompareVariants(record, variants)) << "</body></html>\n";
}

bool WriteRunPage(const std::string& dir, std::string& error, RunDigest* runRead)
{
    RunRecord record;
    std::vector<VariantRun> variants;
    return ReadRunFolder(dir, record, error, runRead) && ReadVariantRuns(dir, variants, error) &&
           WriteFileAtomically(
               dir + "/" + REPORT_FILE,
               [&dir, &record, &variants](std::ostream& out) { WriteRunPage(dir, record, variants, out); }, error);
}

} // namespace

bool WriteRunReport(const std::string& runDir, std::string& error, RunDigest* runRead)
{
    if (!IsDirectory(runDir)) {
        error = "'" + runDir + "' is not an output folder";
        return false;
    }
    TimeZoneGuard zone;
    return WriteRunPage(runDir, error, runRead);
}

} // namespace OHOS::Sim
