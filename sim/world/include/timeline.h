#ifndef SIM_INCLUDE_TIMELINE_H
#define SIM_INCLUDE_TIMELINE_H

#include <cstdint>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "want.h"

namespace OHOS::Sim {

using TimelineLine = nlohmann::ordered_json;

// Entry types of the timeline.
inline const std::string TIMELINE_COMMON_EVENT = "common_event"; // published by the plug-in
inline const std::string TIMELINE_HOST_MESSAGE = "host_message"; // delivered to the plug-in by the host
inline const std::string TIMELINE_PARAMETER = "parameter";       // system parameter set
inline const std::string TIMELINE_SYSTEM_EVENT = "system_event"; // statistics event written
inline const std::string TIMELINE_TRUTH = "truth";               // the person fell asleep or woke up
inline const std::string TIMELINE_DUMP = "dump";                 // dump words and the plug-in's answer

// What happened, with its virtual time, written as JSON Lines:
// {"t": epoch ms, "time": "local time", "type": "...", ...fields}. Entries keep time order; of
// entries with equal times the system events come last, and otherwise the order in which they were
// added is kept. Add may be called from any thread.
//
// By default every line is held in memory. StreamTo writes the lines to a file during the run
// instead: lines wait in a small time-ordered buffer until FlushBefore says that the run's clock
// has passed them, and are then written, shown to the observer and not held. A line that arrives
// for a time already flushed (the wall clock was set back) is held apart and merged into its place
// when the stream is finished, so the file stays in time order.
class Timeline {
public:
    using LineObserver = std::function<void(const TimelineLine&)>;

    // Starts writing to `path` (replacing it); lines written there are no longer held for Lines().
    // False when the file cannot be created.
    bool StreamTo(const std::string& path);
    // Shows `observer` each streamed line as it is written, in the order of writing (under the
    // timeline's lock: it must not call back into the timeline).
    void ObserveWrittenLines(LineObserver observer);
    // `fields` (an object) follow "t", "time" and "type"; taken by value so that they are moved.
    void Add(int64_t timeMs, const std::string& type, TimelineLine fields);
    // The same for fields the caller has written as JSON text already (`fieldsText`: each member
    // as ',"name":value'), for lines too frequent to build as JSON. Observers see "t", "time",
    // "type" and `observed` (an object), not the whole line: the fields they read.
    void AddWritten(int64_t timeMs, const std::string& type, std::string fieldsText, TimelineLine observed);
    // No line for a time before `timeMs` is expected any more: writes out the buffered ones.
    void FlushBefore(int64_t timeMs);
    // Writes what is left and closes the stream; false on an I/O error at any point of the stream.
    bool FinishStream();
    // After FinishStream: whether the file holds the written lines in the order they were written
    // (no late line had to be merged into its place).
    bool WrittenInOrder() const;
    // In time order: every line, or when streaming, the ones still waiting to be written.
    std::vector<TimelineLine> Lines() const;
    // Writes Lines() to `path` (replacing it), one JSON object per line; false on an I/O error.
    bool WriteJsonLines(const std::string& path) const;

private:
    // A line waiting to be written: what its observers see and, for a line added written, the
    // text of its fields.
    struct Entry {
        TimelineLine line;
        std::optional<std::string> fieldsText;
    };
    // Time order: the time, then system events after the others.
    using OrderKey = std::pair<int64_t, bool>;
    static OrderKey KeyOf(const TimelineLine& line);
    // Stable: lines of equal keys keep their order.
    static void SortByTime(std::vector<TimelineLine>& lines);

    // "t", "time" and "type", then `fields` (an object) moved in.
    static TimelineLine LineOf(int64_t timeMs, const std::string& type, TimelineLine&& fields);
    static void AppendEntryText(const Entry& entry, std::string& out);
    static TimelineLine WholeLine(Entry&& entry); // the whole line, as its text reads back
    void Enqueue(Entry&& entry);
    void Release(Entry&& entry);
    bool MergeLateLines();

    mutable std::mutex mutex_;
    std::multimap<OrderKey, Entry> pending_; // equal keys keep their order of insertion
    std::vector<TimelineLine> held_; // the lines of a timeline that is not streamed
    int64_t horizon_ = INT64_MIN; // every line before it has been released
    std::vector<std::pair<OrderKey, std::string>> late_;
    std::string path_;
    std::ofstream out_;
    std::string text_; // the line being written, its capacity kept from line to line
    LineObserver observer_;
    bool lateLinesMerged_ = false;
};

// The Want as a timeline line holds it: exactly what its JSON text (Want::ToJson) parses back to,
// built without writing and parsing the text when the Want's texts are ASCII.
TimelineLine WantTimelineJson(const AAFwk::Want& want);

// An object of these members in this order, built without the library's reading of nested
// initializer lists (which costs more than the members themselves). Keys must be distinct.
TimelineLine TimelineObject(std::initializer_list<std::pair<const char*, TimelineLine>> members);

// Appends the text WantTimelineJson(want) is written as, without building it.
void AppendWantText(const AAFwk::Want& want, std::string& out);

// Writes `lines` to `path` (replacing it), one JSON object per line; false on an I/O error.
bool WriteTimelineLines(const std::vector<TimelineLine>& lines, const std::string& path);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TIMELINE_H
