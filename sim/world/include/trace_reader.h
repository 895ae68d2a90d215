#ifndef SIM_INCLUDE_TRACE_READER_H
#define SIM_INCLUDE_TRACE_READER_H

#include <string>

#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

// Reads a trace file as WriteTraceFile writes it, plain or gzip-compressed: the header with the
// effective scenario, the nights, then the events in time order. A truncated or corrupt compressed
// file is an error naming it. Event kinds are matched by their TraceKindName. On
// failure returns false, leaves `scenario` and `trace` unchanged and says in `error` which line is
// wrong and why. Sets the process time zone to the scenario's.
bool ParseTraceFile(const std::string& path, Scenario& scenario, Trace& trace, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TRACE_READER_H
