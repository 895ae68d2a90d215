#include "sim_random.h"

#include <cmath>

namespace OHOS::Sim {

namespace {
constexpr double kTwoPi = 6.283185307179586;
constexpr int kMantissaBits = 53;
} // namespace

double SimRandom::Uniform01()
{
    return static_cast<double>(engine_() >> (64 - kMantissaBits)) / static_cast<double>(uint64_t{1} << kMantissaBits);
}

double SimRandom::Uniform(double low, double high)
{
    return low + (high - low) * Uniform01();
}

int64_t SimRandom::UniformInt(int64_t low, int64_t high)
{
    const uint64_t span = static_cast<uint64_t>(high - low) + 1;
    if (span == 0) {
        return static_cast<int64_t>(engine_());
    }
    // Rejection keeps every value equally likely.
    const uint64_t limit = UINT64_MAX - UINT64_MAX % span;
    uint64_t draw = engine_();
    while (draw >= limit) {
        draw = engine_();
    }
    return low + static_cast<int64_t>(draw % span);
}

bool SimRandom::Chance(double p)
{
    return Uniform01() < p;
}

double SimRandom::Normal(double mean, double stddev)
{
    const double u1 = 1.0 - Uniform01(); // (0, 1]: the logarithm stays finite
    const double u2 = Uniform01();
    return mean + stddev * std::sqrt(-2.0 * std::log(u1)) * std::cos(kTwoPi * u2);
}

double SimRandom::Exponential(double mean)
{
    return -mean * std::log(1.0 - Uniform01());
}

int32_t SimRandom::Poisson(double mean)
{
    if (mean <= 0.0) {
        return 0;
    }
    const double limit = std::exp(-mean);
    int32_t count = 0;
    double product = Uniform01();
    while (product > limit) {
        ++count;
        product *= Uniform01();
    }
    return count;
}

} // namespace OHOS::Sim
