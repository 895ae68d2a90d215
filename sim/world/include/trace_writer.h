#ifndef SIM_INCLUDE_TRACE_WRITER_H
#define SIM_INCLUDE_TRACE_WRITER_H

#include <ostream>
#include <string>

#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

// The first line of a trace file: {"trace":1,"startMs":..,"endMs":..,"scenario":{...}}.
std::string TraceHeaderToJson(const Scenario& scenario, const Trace& trace);
// What a trace file holds before its events: the header and one line per night.
void WriteTraceHead(std::ostream& out, const Scenario& scenario, const Trace& trace);
// Writes a replayable trace file: the header, one line per night, one line per event.
// False on an I/O error.
bool WriteTraceFile(const std::string& path, const Scenario& scenario, const Trace& trace);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TRACE_WRITER_H
