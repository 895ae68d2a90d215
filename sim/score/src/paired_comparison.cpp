#include "paired_comparison.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <sstream>
#include <utility>

#include "sim_random.h"
#include "statistics.h"

namespace OHOS::Sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kJsonPrecision = 1e6; // differences are written to six decimals

const NightScore& PluginScore(const NightRecord& night)
{
    return night.scores[static_cast<size_t>(Rule::PLUGIN)];
}

// Grouped by person, in the order the persons first appear.
std::vector<std::vector<double>> ValuesPerPerson(
    const std::vector<NightDifference>& nights, bool eligibleOnly, size_t metric)
{
    std::vector<std::vector<double>> perPerson;
    const std::string* person = nullptr;
    for (const NightDifference& night : nights) {
        if (person == nullptr || *person != night.person) {
            perPerson.emplace_back();
            person = &night.person;
        }
        if ((!eligibleOnly || night.eligible) && !std::isnan(night.values[metric])) {
            perPerson.back().push_back(night.values[metric]);
        }
    }
    return perPerson;
}

ComparisonSet CompareSet(const std::vector<NightDifference>& nights, bool eligibleOnly)
{
    ComparisonSet set;
    for (const NightDifference& night : nights) {
        set.nights += (!eligibleOnly || night.eligible) ? 1 : 0;
    }
    for (size_t metric = 0; metric < kPairedMetricCount; ++metric) {
        set.metrics[metric] = BootstrapMean(ValuesPerPerson(nights, eligibleOnly, metric));
    }
    return set;
}

Json Rounded(double value)
{
    return std::isnan(value) ? Json(nullptr) : Json(std::round(value * kJsonPrecision) / kJsonPrecision);
}

Json SetJson(const ComparisonSet& set)
{
    Json metrics = Json::object();
    for (size_t metric = 0; metric < kPairedMetricCount; ++metric) {
        const MeanInterval& interval = set.metrics[metric];
        metrics[PairedMetrics()[metric].name] = {{"persons", interval.persons}, {"count", interval.count},
            {"mean", Rounded(interval.mean)}, {"low", Rounded(interval.low)}, {"high", Rounded(interval.high)}};
    }
    return {{"nights", set.nights}, {"metrics", metrics}};
}

Json NightJson(const NightDifference& night)
{
    Json json = {{"person", night.person}, {"index", night.index}, {"eligible", night.eligible}};
    for (size_t metric = 0; metric < kPairedMetricCount; ++metric) {
        json[PairedMetrics()[metric].name] = Rounded(night.values[metric]);
    }
    return json;
}

std::string FormatNumber(double value, int32_t decimals)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%+.*f", decimals, value);
    return text;
}

std::string FormatSet(const std::vector<PairedComparison>& comparisons, const ComparisonSet PairedComparison::*set)
{
    constexpr int kLabelWidth = 26;
    std::ostringstream out;
    for (const PairedComparison& comparison : comparisons) {
        const ComparisonSet& nights = comparison.*set;
        out << "  " << comparison.variant << " (" << nights.nights << " nights)\n";
        for (size_t metric = 0; metric < kPairedMetricCount; ++metric) {
            const PairedMetricInfo& info = PairedMetrics()[metric];
            std::string label = info.label;
            label.resize(std::max<size_t>(label.size(), kLabelWidth), ' ');
            out << "    " << label << FormatInterval(nights.metrics[metric], info.decimals) << "\n";
        }
    }
    return out.str();
}

} // namespace

const std::array<PairedMetricInfo, kPairedMetricCount>& PairedMetrics()
{
    static const std::array<PairedMetricInfo, kPairedMetricCount> metrics = {{
        {"coverage", "coverage of true sleep", 3},
        {"onsetLatencyMin", "onset latency, min", 1},
        {"wakeLatencyMin", "wake latency, min", 1},
        {"falseSleepMin", "false sleep, min", 1},
        {"falseSleepShare", "false sleep, share 21-08", 3},
        {"missed", "missed nights, share", 3},
        {"wakeLockSec", "wake lock, s", 1},
    }};
    return metrics;
}

std::array<double, kPairedMetricCount> PairedValues(const NightRecord& night)
{
    const NightScore& score = PluginScore(night);
    return {score.coverage, score.onsetLatencyMin, score.wakeLatencyMin, score.falseSleepMin, score.falseSleepShare,
        score.missed ? 1.0 : 0.0,
        night.wakeLockMs >= 0 ? static_cast<double>(night.wakeLockMs) / static_cast<double>(kMsPerSecond) : kNaN};
}

std::vector<NightDifference> PairNights(const RunMetrics& definition, const RunMetrics& variant)
{
    std::map<std::pair<std::string, int32_t>, const NightRecord*> variantNights;
    for (const NightRecord& night : variant.nights) {
        variantNights[{night.person, night.index}] = &night;
    }
    std::vector<NightDifference> paired;
    for (const NightRecord& night : definition.nights) {
        const auto other = variantNights.find({night.person, night.index});
        if (other == variantNights.end()) {
            continue;
        }
        NightDifference difference{night.person, night.index, night.nightClass == NightClass::ELIGIBLE, {}};
        const auto before = PairedValues(night);
        const auto after = PairedValues(*other->second);
        for (size_t metric = 0; metric < kPairedMetricCount; ++metric) {
            difference.values[metric] = after[metric] - before[metric]; // NaN when either is
        }
        paired.push_back(std::move(difference));
    }
    return paired;
}

MeanInterval BootstrapMean(
    const std::vector<std::vector<double>>& valuesPerPerson, int32_t resamples, uint64_t seed, double level)
{
    // Each person's sum and count: a resample's pooled mean is the sum of the drawn sums over the
    // sum of the drawn counts.
    std::vector<std::pair<double, int32_t>> persons;
    for (const std::vector<double>& values : valuesPerPerson) {
        if (!values.empty()) {
            double sum = 0;
            for (double value : values) {
                sum += value;
            }
            persons.emplace_back(sum, static_cast<int32_t>(values.size()));
        }
    }
    MeanInterval interval{static_cast<int32_t>(persons.size()), 0, kNaN, kNaN, kNaN};
    if (persons.empty()) {
        return interval;
    }
    double total = 0;
    for (const auto& [sum, count] : persons) {
        total += sum;
        interval.count += count;
    }
    interval.mean = total / interval.count;
    SimRandom random(seed);
    std::vector<double> means;
    means.reserve(static_cast<size_t>(std::max(resamples, 0)));
    const auto last = static_cast<int64_t>(persons.size()) - 1;
    for (int32_t resample = 0; resample < resamples; ++resample) {
        double sum = 0;
        int64_t count = 0;
        for (size_t drawn = 0; drawn < persons.size(); ++drawn) {
            const auto& person = persons[static_cast<size_t>(random.UniformInt(0, last))];
            sum += person.first;
            count += person.second;
        }
        means.push_back(sum / static_cast<double>(count));
    }
    const double tail = (1 - level) / 2;
    interval.low = Percentile(means, tail);
    interval.high = Percentile(std::move(means), 1 - tail);
    return interval;
}

PairedComparison ComparePaired(const std::string& variantName, const RunMetrics& definition, const RunMetrics& variant)
{
    PairedComparison comparison;
    comparison.variant = variantName;
    comparison.nights = PairNights(definition, variant);
    comparison.eligible = CompareSet(comparison.nights, true);
    comparison.all = CompareSet(comparison.nights, false);
    return comparison;
}

Json ComparisonJson(const PairedComparison& comparison)
{
    Json nights = Json::array();
    for (const NightDifference& night : comparison.nights) {
        nights.push_back(NightJson(night));
    }
    return {{"variant", comparison.variant}, {"against", "definition"},
        {"bootstrap", {{"resamples", kBootstrapResamples}, {"seed", kBootstrapSeed}, {"level", kBootstrapLevel}}},
        {"eligible", SetJson(comparison.eligible)}, {"all", SetJson(comparison.all)}, {"nights", nights}};
}

std::string VariantMetricsJson(const RunMetrics& metrics, const PairedComparison& comparison)
{
    std::ostringstream out;
    WriteMetricsJson(metrics, out);
    std::string text = out.str();
    // WriteMetricsJson ends the top object with "}\n": the comparison goes in before it.
    text.resize(text.rfind('}'));
    text += ",\n\"comparison\":" + ComparisonJson(comparison).dump() + "}\n";
    return text;
}

std::vector<std::string> VariantsIn(const std::string& runDir)
{
    std::vector<std::string> names;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(runDir + "/" + VARIANTS_DIR, ec), end; !ec && it != end;
         it.increment(ec)) {
        if (it->is_directory(ec)) {
            names.push_back(it->path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool CompareVariantsIn(const std::string& runDir, const RunMetrics& definition,
    std::vector<PairedComparison>& comparisons, std::string& error)
{
    for (const std::string& name : VariantsIn(runDir)) {
        RunMetrics variant;
        if (!ReadMetricsFile(runDir + "/" + VARIANTS_DIR + "/" + name + "/metrics.json", variant, error)) {
            return false;
        }
        comparisons.push_back(ComparePaired(name, definition, variant));
    }
    return true;
}

std::string FormatInterval(const MeanInterval& interval, int32_t decimals)
{
    if (interval.count == 0) {
        return "-";
    }
    return FormatNumber(interval.mean, decimals) + " [" + FormatNumber(interval.low, decimals) + ", " +
           FormatNumber(interval.high, decimals) + "] (" + std::to_string(interval.count) + ")";
}

std::string FormatComparisons(const std::vector<PairedComparison>& comparisons)
{
    if (comparisons.empty()) {
        return "";
    }
    return "Variants against the definition (variant minus definition, the plug-in's scores; mean [95 % "
           "bootstrap interval over persons, " +
           std::to_string(kBootstrapResamples) + " resamples] (values)):\n" + "Eligible nights:\n" +
           FormatSet(comparisons, &PairedComparison::eligible) + "All nights:\n" +
           FormatSet(comparisons, &PairedComparison::all);
}

} // namespace OHOS::Sim
