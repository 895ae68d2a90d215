#ifndef SIM_INCLUDE_TRACE_GENERATOR_H
#define SIM_INCLUDE_TRACE_GENERATOR_H

#include "person_model.h"
#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

// Passes the events of a plan to `visit` in time order (equal times in the order BuildTrace gives
// them), produced a day at a time so that they are never all held; the plan's phone uses, charges
// and notifications are freed as they are passed. REQUIRES as BuildTrace.
void VisitPlanEvents(const Scenario& scenario, PersonPlan plan, const TraceEventVisitor& visit);

// Turns a person's plan into the phone's events: screen and unlock, movement, ambient light and
// proximity as the phone sees them where it lies, charging and battery level, next alarm,
// notifications and calls. REQUIRES: the process time zone is the scenario's.
Trace BuildTrace(const Scenario& scenario, PersonPlan plan);

// PlanPerson followed by BuildTrace and the scenario's faults.
Trace GenerateTrace(const Scenario& scenario);

// GenerateTrace for a long run: the trace plans the person again on each visit (Trace::generate)
// and produces the events from the plan a day at a time, freeing what it has passed, instead of
// holding them. A scenario with faults gets its events held, as the faults rewrite them. Each
// visit needs the process time zone of the scenario.
Trace GenerateStreamedTrace(const Scenario& scenario);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TRACE_GENERATOR_H
