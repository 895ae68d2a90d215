#ifndef SIM_INCLUDE_SIM_RANDOM_H
#define SIM_INCLUDE_SIM_RANDOM_H

#include <cstdint>
#include <random>

namespace OHOS::Sim {

// The simulator's one source of chance: a seeded 64-bit Mersenne Twister with distributions
// written out here, so that a seed gives the same numbers with every standard library (the
// library's own distributions are implementation-defined).
class SimRandom {
public:
    explicit SimRandom(uint64_t seed) : engine_(seed) {}

    // Uniform in [0, 1), from the top 53 bits of one draw.
    double Uniform01();
    // Uniform in [low, high).
    double Uniform(double low, double high);
    // Uniform integer in [low, high]. REQUIRES: low <= high.
    int64_t UniformInt(int64_t low, int64_t high);
    // True with probability p (p <= 0 never, p >= 1 always).
    bool Chance(double p);
    // Normal by the Box-Muller transform (one pair of draws per value; no cached second value).
    double Normal(double mean, double stddev);
    // Exponential with the given mean (>= 0).
    double Exponential(double mean);
    // Poisson count with the given mean, by counting unit-rate arrivals (small means only).
    int32_t Poisson(double mean);

private:
    std::mt19937_64 engine_;
};

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_SIM_RANDOM_H
