#ifndef SIM_INCLUDE_KEPT_OUTPUTS_H
#define SIM_INCLUDE_KEPT_OUTPUTS_H

#include <string>

#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

// Which of a run's files stay on disk once the run is over. A run writes every file as it goes;
// what a reader does not open can be dropped afterwards, because a replay of the trace writes it
// all again, byte for byte.
enum class KeepOutputs {
    ALL,  // every file
    LEAN, // metrics.json, summary.txt, scenario.json, report.html and the trace, compressed
};

// "all" or "lean"; false for any other text.
bool ParseKeepOutputs(const std::string& text, KeepOutputs& keep);

struct OutputChoice {
    KeepOutputs keep = KeepOutputs::ALL;
    bool compress = false; // the kept trace and timeline as trace.jsonl.gz and timeline.jsonl.gz
};

// Turns a finished single-run folder into what `choice` keeps: compresses the trace (and the
// timeline) when asked, and for a lean folder drops the timeline, the log and the data folder and
// adds to report.html the command that brings them back (RestoreCommand). A compressed file of an
// earlier run that the run wrote plain again is removed. False with an error naming the file.
bool ApplyOutputChoice(const std::string& runDir, const OutputChoice& choice, std::string& error);

// Whether a single-run folder holds its timeline (plain or compressed), as a lean one does not.
bool HoldsFullOutputs(const std::string& runDir);

// The shell command, shown on a lean folder's page, that restores the folder's outputs.
std::string RestoreCommand(const std::string& runDir);

// The folder's trace, plain (trace.jsonl) or compressed (trace.jsonl.gz), as it is stored.
std::string StoredTracePath(const std::string& runDir);

// Replays the folder's trace, read from StoredTracePath by ParseTraceFile, into the folder, in a
// child process ended as a population ends each person's: afterwards the folder holds every file
// exactly as a population run with KeepOutputs::ALL and no compression writes them (SQLite's
// write-ahead log aside, whose header holds random salts); the variants' folders are kept and compared
// with the replayed definition again. The stores are not synced to disk (SimOptions::noSync). False when the replay did not finish (its error went to stderr).
bool RestoreRunFolder(const std::string& runDir, const Scenario& scenario, const Trace& trace, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_KEPT_OUTPUTS_H
