#ifndef SIM_INCLUDE_TRACE_GENERATOR_H
#define SIM_INCLUDE_TRACE_GENERATOR_H

#include "person_model.h"
#include "scenario.h"
#include "trace.h"

namespace OHOS::Sim {

// Turns a person's plan into the phone's events: screen and unlock, movement, ambient light and
// proximity as the phone sees them where it lies, charging and battery level, next alarm,
// notifications and calls. REQUIRES: the process time zone is the scenario's.
Trace BuildTrace(const Scenario& scenario, const PersonPlan& plan);

// PlanPerson followed by BuildTrace.
Trace GenerateTrace(const Scenario& scenario);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TRACE_GENERATOR_H
