// A variant against the definition: the bootstrap interval on examples with a known answer, nights
// paired by person and index, the eligible and all-night sets, and the comparison in metrics.json.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "local_calendar.h"
#include "paired_comparison.h"
#include "scoped_time_zone.h"

namespace OHOS::Sim {
namespace {

constexpr size_t kCoverage = static_cast<size_t>(PairedMetric::COVERAGE);
constexpr size_t kOnset = static_cast<size_t>(PairedMetric::ONSET_LATENCY);
constexpr size_t kMissed = static_cast<size_t>(PairedMetric::MISSED);
constexpr size_t kWakeLock = static_cast<size_t>(PairedMetric::WAKE_LOCK_SEC);

TEST(BootstrapMeanTest, KnownAnswers)
{
    struct Case {
        const char* what;
        std::vector<std::vector<double>> values;
        double mean, low, high;
        int32_t persons, count;
    };
    const Case cases[] = {
        // Every resample draws equal persons: the interval is the mean.
        {"all persons equal", {{0.25, 0.75}, {0.25, 0.75}, {0.5}, {0.5, 0.5, 0.5}}, 0.5, 0.5, 0.5, 4, 8},
        // Draws of two persons: {1,1} a quarter, {1,3} a half, {3,3} a quarter of the time, so the
        // 2.5th percentile of the means is 1 and the 97.5th is 3.
        {"two persons", {{1}, {3}}, 2, 1, 3, 2, 2},
        // Means are pooled over the drawn nights: {1,1,1} twice is 1, with {5} 2, {5} twice 5.
        {"pooled by nights", {{1, 1, 1}, {5}}, 2, 1, 5, 2, 4},
        // Draws of three persons are all {0} a 27th of the time (3.7 %): above the 2.5 % tail, so
        // the interval reaches down to 0, and the mean of the values is 2/3.
        {"three persons", {{0}, {1}, {1}}, 2.0 / 3, 0, 1, 3, 3},
        // A person without values takes no part in the draws.
        {"person without values", {{}, {2}, {}}, 2, 2, 2, 1, 1},
    };
    for (const Case& c : cases) {
        const MeanInterval interval = BootstrapMean(c.values);
        EXPECT_DOUBLE_EQ(interval.mean, c.mean) << c.what;
        EXPECT_DOUBLE_EQ(interval.low, c.low) << c.what;
        EXPECT_DOUBLE_EQ(interval.high, c.high) << c.what;
        EXPECT_EQ(interval.persons, c.persons) << c.what;
        EXPECT_EQ(interval.count, c.count) << c.what;
    }
    const MeanInterval none = BootstrapMean({{}, {}});
    EXPECT_TRUE(std::isnan(none.mean) && std::isnan(none.low) && std::isnan(none.high));
    EXPECT_EQ(none.count, 0);
}

TEST(BootstrapMeanTest, FixedSeedGivesTheSameIntervalAndOtherSeedsAnother)
{
    const std::vector<std::vector<double>> values = {{0.1}, {0.4, 0.2}, {0.9}, {0.3}, {0.6, 0.8}, {0.05}};
    const MeanInterval first = BootstrapMean(values);
    const MeanInterval again = BootstrapMean(values);
    EXPECT_EQ(first.low, again.low);
    EXPECT_EQ(first.high, again.high);
    EXPECT_LT(first.low, first.mean);
    EXPECT_GT(first.high, first.mean);
    const MeanInterval other = BootstrapMean(values, kBootstrapResamples, kBootstrapSeed + 1);
    EXPECT_TRUE(other.low != first.low || other.high != first.high);
}

NightRecord Night(const std::string& person, int32_t index, double coverage, bool eligible = true)
{
    NightRecord night;
    night.person = person;
    night.index = index;
    night.nightClass = eligible ? NightClass::ELIGIBLE : NightClass::CHARGING;
    night.wakeLockMs = 60000;
    NightScore& score = night.scores[static_cast<size_t>(Rule::PLUGIN)];
    score.coverage = coverage;
    score.missed = coverage == 0;
    score.onsetLatencyMin = coverage == 0 ? std::nan("") : 10;
    return night;
}

// The not-care-charge state is a deep sleep whatever the charger: the plug-in is asleep in either.
TEST(PairedValuesTest, NotCareChargeCountsAsAsleep)
{
    const Emulator::ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const auto at = [](double hour) { return LocalTimeMs(CivilDate{2026, 1, 5}, hour * 60); };
    Trace trace;
    trace.startMs = at(0);
    trace.endMs = at(48);
    NightTruth truth;
    truth.wakeDate = CivilDate{2026, 1, 6};
    truth.onsetMs = at(23);
    truth.wakeMs = at(31);
    trace.nights = {truth};
    NightReport report;
    report.truth = truth;
    report.deepSpans = {{at(23.5), at(25)}};
    report.notCareChargeSpans = {{at(24), at(26)}};
    const RunMetrics metrics = ComputeRunMetrics(MetricsPerson{"a", "", "night"}, trace, {report}, {});
    ASSERT_EQ(metrics.nights.size(), 1u);
    const auto values = PairedValues(metrics.nights[0]);
    EXPECT_DOUBLE_EQ(values[kCoverage], 2.5 / 8);
    EXPECT_DOUBLE_EQ(values[kOnset], 30);
    EXPECT_DOUBLE_EQ(values[static_cast<size_t>(PairedMetric::WAKE_LATENCY)], -5 * 60);
    EXPECT_DOUBLE_EQ(values[kMissed], 0);
    EXPECT_TRUE(std::isnan(values[kWakeLock]));
}

TEST(PairNightsTest, PairsByPersonAndIndexAndTakesEligibilityFromTheDefinition)
{
    RunMetrics definition;
    definition.nights = {Night("a", 0, 0.5), Night("a", 1, 0.0), Night("b", 0, 0.8, false), Night("b", 1, 0.2)};
    RunMetrics variant;
    // Another order, one night the definition lacks, one it has missing, eligibility of its own.
    variant.nights = {Night("b", 0, 0.9, true), Night("a", 1, 0.6, false), Night("a", 0, 0.5), Night("c", 0, 1.0)};
    variant.nights[1].wakeLockMs = 90000;
    variant.nights[1].scores[static_cast<size_t>(Rule::PLUGIN)].onsetLatencyMin = 25;
    const std::vector<NightDifference> paired = PairNights(definition, variant);
    ASSERT_EQ(paired.size(), 3u);
    EXPECT_EQ(paired[0].person + std::to_string(paired[0].index), "a0");
    EXPECT_EQ(paired[1].person + std::to_string(paired[1].index), "a1");
    EXPECT_EQ(paired[2].person + std::to_string(paired[2].index), "b0");
    EXPECT_DOUBLE_EQ(paired[0].values[kCoverage], 0);
    EXPECT_DOUBLE_EQ(paired[1].values[kCoverage], 0.6);
    EXPECT_DOUBLE_EQ(paired[1].values[kMissed], -1);   // the variant detected a night the definition missed
    EXPECT_TRUE(std::isnan(paired[1].values[kOnset])); // the definition's missed night has no latency
    EXPECT_DOUBLE_EQ(paired[1].values[kWakeLock], 30);
    EXPECT_TRUE(paired[1].eligible);
    EXPECT_FALSE(paired[2].eligible);
    EXPECT_NEAR(paired[2].values[kCoverage], 0.1, 1e-12);

    const PairedComparison comparison = ComparePaired("v", definition, variant);
    EXPECT_EQ(comparison.eligible.nights, 2);
    EXPECT_EQ(comparison.all.nights, 3);
    EXPECT_DOUBLE_EQ(comparison.eligible.metrics[kCoverage].mean, 0.3); // a: (0 + 0.6) / 2
    EXPECT_NEAR(comparison.all.metrics[kCoverage].mean, (0.6 + 0.1) / 3, 1e-12);
    EXPECT_EQ(comparison.all.metrics[kCoverage].persons, 2);
    EXPECT_EQ(comparison.eligible.metrics[kCoverage].persons, 1);
}

// A scored night of a real run's kind: an hour of true sleep, of which the plug-in slept `asleepMin`.
NightRecord ScoredNight(const std::string& person, int32_t asleepMin)
{
    NightRecord night;
    night.person = person;
    night.window = {0, kMsPerDay};
    night.sleep = {{0, 60 * kMsPerMinute}};
    night.verdicts[static_cast<size_t>(Rule::PLUGIN)].asleep = {{0, asleepMin * kMsPerMinute}};
    return night;
}

TEST(VariantMetricsJsonTest, AddsTheComparisonAndStaysReadableAsMetrics)
{
    const RunMetrics definition = MergeMetrics({RunMetrics{{ScoredNight("a", 30), ScoredNight("b", 15)}, {}}});
    const RunMetrics variant = MergeMetrics({RunMetrics{{ScoredNight("a", 45), ScoredNight("b", 30)}, {}}});
    const PairedComparison comparison = ComparePaired("quick-resume", definition, variant);
    const std::string text = VariantMetricsJson(variant, comparison);
    const auto json = nlohmann::ordered_json::parse(text);
    const auto& section = json.at("comparison");
    EXPECT_EQ(section.at("variant"), "quick-resume");
    EXPECT_EQ(section.at("bootstrap").at("resamples"), kBootstrapResamples);
    EXPECT_EQ(section.at("eligible").at("nights"), 2);
    const auto& coverage = section.at("eligible").at("metrics").at("coverage");
    EXPECT_DOUBLE_EQ(coverage.at("mean").get<double>(), 0.25);
    EXPECT_DOUBLE_EQ(coverage.at("low").get<double>(), 0.25);
    EXPECT_DOUBLE_EQ(section.at("eligible").at("metrics").at("onsetLatencyMin").at("mean").get<double>(), 0);
    ASSERT_EQ(section.at("nights").size(), 2u);
    EXPECT_EQ(section.at("nights")[1].at("person"), "b");
    EXPECT_EQ(text.substr(0, text.find(",\n\"comparison\"")) + "}\n", MetricsToJson(variant));
    RunMetrics readBack;
    std::string error;
    ASSERT_TRUE(MetricsFromJson(text, readBack, error)) << error;
    EXPECT_EQ(MetricsToJson(readBack), MetricsToJson(variant));
}

TEST(FormatComparisonsTest, ShowsEachVariantsIntervalsOnBothSetsOfNights)
{
    RunMetrics definition;
    definition.nights = {Night("a", 0, 0.5), Night("a", 1, 0.5, false)};
    RunMetrics variant;
    variant.nights = {Night("a", 0, 0.75), Night("a", 1, 0.5, false)};
    const std::string text = FormatComparisons({ComparePaired("not-care-charge", definition, variant)});
    EXPECT_NE(text.find("Eligible nights:\n  not-care-charge (1 nights)\n    coverage of true sleep    +0.250 "
                        "[+0.250, +0.250] (1)"),
        std::string::npos)
        << text;
    EXPECT_NE(
        text.find("All nights:\n  not-care-charge (2 nights)\n    coverage of true sleep    +0.125"), std::string::npos)
        << text;
    EXPECT_EQ(FormatComparisons({}), "");
}

} // namespace
} // namespace OHOS::Sim
