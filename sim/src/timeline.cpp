#include "timeline.h"

#include <algorithm>
#include <fstream>

#include "local_calendar.h"

namespace OHOS::Sim {

void Timeline::Add(int64_t timeMs, const std::string& type, const TimelineLine& fields)
{
    TimelineLine line{{"t", timeMs}, {"time", FormatLocalTime(timeMs)}, {"type", type}};
    for (auto it = fields.begin(); it != fields.end(); ++it) {
        line[it.key()] = it.value();
    }
    std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back(std::move(line));
}

std::vector<TimelineLine> Timeline::Lines() const
{
    std::vector<TimelineLine> lines;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        lines = lines_;
    }
    std::stable_sort(lines.begin(), lines.end(),
        [](const TimelineLine& a, const TimelineLine& b) { return a["t"].get<int64_t>() < b["t"].get<int64_t>(); });
    return lines;
}

bool Timeline::WriteJsonLines(const std::string& path) const
{
    return WriteTimelineLines(Lines(), path);
}

bool WriteTimelineLines(const std::vector<TimelineLine>& lines, const std::string& path)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (const TimelineLine& line : lines) {
        out << line.dump() << '\n';
    }
    out.flush();
    return static_cast<bool>(out);
}

} // namespace OHOS::Sim
