#ifndef SIM_INCLUDE_PROGRESS_METER_H
#define SIM_INCLUDE_PROGRESS_METER_H

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

namespace OHOS::Sim {

// How far a run has come. `persons` is 0 for a single run; for a population `person` is the
// 1-based person being worked on and the nights count over all persons.
struct ProgressState {
    int32_t person = 0;
    int32_t persons = 0;
    int64_t nightsDone = 0;
    int64_t nights = 0;
};

// One progress text: "person 3 of 10, night 45 of 300, 52 nights/s", preceded by a bar
// "[#####     ]" when `bar` is set.
std::string FormatProgress(const ProgressState& state, double nightsPerSecond, bool bar);

// Whether the stream is the process's stdout or stderr and that goes to a terminal.
bool IsTerminal(const std::ostream* out);

// Shows the progress of a long run on a stream: once the run has taken a few seconds, a bar
// redrawn in place every second on a terminal, a plain line every ten seconds otherwise. Shows
// nothing on a null stream. Progress is for people only: it never goes into output files.
class ProgressMeter {
public:
    using Clock = std::chrono::steady_clock;

    ProgressMeter(std::ostream* out, bool terminal, Clock::time_point start = Clock::now());
    void Update(const ProgressState& state, Clock::time_point now = Clock::now());
    // Ends a bar with a final line; silent if nothing was shown.
    void Finish(Clock::time_point now = Clock::now());

private:
    double NightsPerSecond(Clock::time_point now) const;

    std::ostream* out_;
    bool terminal_;
    Clock::time_point started_;
    Clock::time_point lastShown_;
    ProgressState last_;
    bool shown_ = false;
};

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_PROGRESS_METER_H
