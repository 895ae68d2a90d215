#ifndef SIM_INCLUDE_PLATFORM_FAULTS_H
#define SIM_INCLUDE_PLATFORM_FAULTS_H

#include <string>
#include <vector>

namespace OHOS::Sim {

// The platform calls a scenario can make fail, by class name: "database" (each statement step of the
// sleep database), "preferences_write" (each file-system step of a preferences write),
// "sensor_subscribe", "sensor_activate", "movement_subscribe", "settings_query",
// "notification_subscribe", "event_publish" and "sysevent_write".
const std::vector<std::string>& PlatformFaultClasses();
bool IsPlatformFaultClass(const std::string& name);
// "database, preferences_write, ..." for messages and help.
std::string PlatformFaultClassList();

// Restarts the count of the class's calls and makes the nth of them fail; with `persistent` every
// later one fails too. nth 0 only counts. Unknown names are ignored.
void ArmPlatformFault(const std::string& name, int nth, bool persistent);
// Calls of the class counted since it was armed.
int PlatformFaultCalls(const std::string& name);
// The class's calls work again; the count restarts.
void DisarmPlatformFault(const std::string& name);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_PLATFORM_FAULTS_H
