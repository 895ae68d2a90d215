#ifndef SIM_INCLUDE_PAIRED_COMPARISON_H
#define SIM_INCLUDE_PAIRED_COMPARISON_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "night_metrics.h"

namespace OHOS::Sim {

// A detector variant measured against the definition on the same persons and nights: per night and
// metric the variant's plug-in score minus the definition's, and per run the mean of those
// differences with a 95 % bootstrap interval over persons.

enum class PairedMetric {
    COVERAGE,
    ONSET_LATENCY,
    WAKE_LATENCY,
    FALSE_SLEEP_MIN,
    FALSE_SLEEP_SHARE,
    MISSED,
    WAKE_LOCK_SEC
};
constexpr size_t kPairedMetricCount = 7;

struct PairedMetricInfo {
    const char* name;  // in metrics.json: "coverage", "onsetLatencyMin", ...
    const char* label; // in the text tables
    int32_t decimals;  // in the text tables
};
// In PairedMetric order.
const std::array<PairedMetricInfo, kPairedMetricCount>& PairedMetrics();

// The plug-in's value of each paired metric on one night; NaN where it does not apply (the latencies
// of a missed night, the wake-lock time when unknown). A missed night counts 1, a detected one 0.
std::array<double, kPairedMetricCount> PairedValues(const NightRecord& night);

// One night of a person, variant minus definition; NaN where either value is NaN.
struct NightDifference {
    std::string person;
    int32_t index = 0;
    bool eligible = false; // the definition's night class is "eligible"
    std::array<double, kPairedMetricCount> values{};
};

// Pairs the nights of both runs by person and night index (nights present in one run only are left
// out) in the definition's order.
std::vector<NightDifference> PairNights(const RunMetrics& definition, const RunMetrics& variant);

// The pooled mean of values grouped by person, with a percentile interval: the persons are drawn with
// replacement, as many as there are, `resamples` times; the interval holds the middle `level` of the
// resampled means. Persons without values take no part. NaN for mean and bounds when no value.
struct MeanInterval {
    int32_t persons = 0;
    int32_t count = 0; // values
    double mean = 0;
    double low = 0;
    double high = 0;
};
constexpr int32_t kBootstrapResamples = 2000;
constexpr uint64_t kBootstrapSeed = 20231;
constexpr double kBootstrapLevel = 0.95;
MeanInterval BootstrapMean(const std::vector<std::vector<double>>& valuesPerPerson,
    int32_t resamples = kBootstrapResamples, uint64_t seed = kBootstrapSeed, double level = kBootstrapLevel);

// The differences of one set of nights, a mean with its interval per metric.
struct ComparisonSet {
    int32_t nights = 0;
    std::array<MeanInterval, kPairedMetricCount> metrics{};
};

struct PairedComparison {
    std::string variant;
    ComparisonSet eligible; // over the definition's eligible nights: the headline
    ComparisonSet all;
    std::vector<NightDifference> nights;
};

PairedComparison ComparePaired(const std::string& variantName, const RunMetrics& definition, const RunMetrics& variant);

// The "comparison" section of a variant's metrics.json (see docs/metrics.md).
nlohmann::ordered_json ComparisonJson(const PairedComparison& comparison);

// metrics.json text of a variant's run: its metrics as WriteMetricsJson writes them, with the
// comparison added as the last member.
std::string VariantMetricsJson(const RunMetrics& metrics, const PairedComparison& comparison);

// A run's variants live beside the definition's outputs, one folder each: <runDir>/variants/<name>/.
inline const std::string VARIANTS_DIR = "variants";
// The names of the variant folders of a run folder, sorted; none when it has no variants.
std::vector<std::string> VariantsIn(const std::string& runDir);
// Each variant of VariantsIn, its metrics read from <runDir>/variants/<name>/metrics.json, compared
// with `definition`. False with an error naming an unreadable file.
bool CompareVariantsIn(const std::string& runDir, const RunMetrics& definition,
    std::vector<PairedComparison>& comparisons, std::string& error);

// "mean [low, high] (count)" with signs and `decimals` decimals; "-" without values.
std::string FormatInterval(const MeanInterval& interval, int32_t decimals);

// The text tables of the comparisons, one per set of nights (eligible, all): a row per variant and
// metric with "mean [low, high]".
std::string FormatComparisons(const std::vector<PairedComparison>& comparisons);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_PAIRED_COMPARISON_H
