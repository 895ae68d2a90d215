#include "statistics.h"

#include <algorithm>
#include <cmath>

namespace OHOS::Sim {

double Percentile(std::vector<double> values, double share)
{
    if (values.empty()) {
        return std::nan("");
    }
    std::sort(values.begin(), values.end());
    const double rank = share * static_cast<double>(values.size() - 1);
    const size_t below = static_cast<size_t>(std::floor(rank));
    const size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (rank - static_cast<double>(below));
}

} // namespace OHOS::Sim
