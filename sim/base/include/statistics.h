#ifndef SIM_INCLUDE_STATISTICS_H
#define SIM_INCLUDE_STATISTICS_H

#include <vector>

namespace OHOS::Sim {

// The value below which `share` (0..1) of the values lie, interpolating linearly between the
// closest ranks (the median of an even count is the mean of the middle two). NaN for no values.
double Percentile(std::vector<double> values, double share);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_STATISTICS_H
