#ifndef SIM_INCLUDE_TRACE_GENERATOR_H
#define SIM_INCLUDE_TRACE_GENERATOR_H

#include "person_model.h"
#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

// Passes the events of a plan to `visit` in time order (equal times in the order BuildTrace gives
// them), produced a day at a time so that they are never all held. REQUIRES as BuildTrace.
void VisitPlanEvents(const Scenario& scenario, const PersonPlan& plan, const TraceEventVisitor& visit);

// Turns a person's plan into the phone's events: screen and unlock, movement, ambient light and
// proximity as the phone sees them where it lies, charging and battery level, next alarm,
// notifications and calls. REQUIRES: the process time zone is the scenario's.
Trace BuildTrace(const Scenario& scenario, const PersonPlan& plan);

// PlanPerson followed by BuildTrace and the scenario's faults.
Trace GenerateTrace(const Scenario& scenario);

// GenerateTrace for a long run: the trace keeps the plan and produces its events again on each
// visit (Trace::generate) instead of holding them. A scenario with faults gets its events held, as
// the faults rewrite them. Each visit needs the process time zone of the scenario.
Trace GenerateStreamedTrace(const Scenario& scenario);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TRACE_GENERATOR_H
