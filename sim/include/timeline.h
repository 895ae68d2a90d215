#ifndef SIM_INCLUDE_TIMELINE_H
#define SIM_INCLUDE_TIMELINE_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace OHOS::Sim {

using TimelineLine = nlohmann::ordered_json;

// Entry types of the timeline.
inline const std::string TIMELINE_COMMON_EVENT = "common_event"; // published by the plug-in
inline const std::string TIMELINE_HOST_MESSAGE = "host_message"; // delivered to the plug-in by the host
inline const std::string TIMELINE_PARAMETER = "parameter";       // system parameter set
inline const std::string TIMELINE_SYSTEM_EVENT = "system_event"; // statistics event written
inline const std::string TIMELINE_TRUTH = "truth";               // the person fell asleep or woke up
inline const std::string TIMELINE_DUMP = "dump";                 // dump words and the plug-in's answer

// What happened, with its virtual time, collected during a run and written as JSON Lines:
// {"t": epoch ms, "time": "local time", "type": "...", ...fields}. Entries keep time order; entries
// with equal times keep the order in which they were added. Add may be called from any thread.
class Timeline {
public:
    void Add(int64_t timeMs, const std::string& type, const TimelineLine& fields);
    // Every line in time order.
    std::vector<TimelineLine> Lines() const;
    // Writes the lines to `path` (replacing it), one JSON object per line; false on an I/O error.
    bool WriteJsonLines(const std::string& path) const;

private:
    mutable std::mutex mutex_;
    std::vector<TimelineLine> lines_;
};

// Writes `lines` to `path` (replacing it), one JSON object per line; false on an I/O error.
bool WriteTimelineLines(const std::vector<TimelineLine>& lines, const std::string& path);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TIMELINE_H
