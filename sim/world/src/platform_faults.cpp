#include "platform_faults.h"

#include <algorithm>
#include <functional>

#include "common_event_manager.h"
#include "datashare_helper.h"
#include "hisysevent.h"
#include "notification_helper.h"
#include "preferences_file.h"
#include "rdb_faults.h"
#include "simulated_phone.h"

namespace OHOS::Sim {

namespace {

using Emulator::PhoneFault;

struct FaultClass {
    std::string name;
    std::function<void(int nth, bool persistent)> arm; // nth 0 disarms and restarts the count
    std::function<int()> calls;
};

// The database counts from its last reset, so its count is taken relative to the arming point.
int& DatabaseBase()
{
    static int base = 0;
    return base;
}

FaultClass PhoneClass(const std::string& name, PhoneFault fault)
{
    return FaultClass{name,
        [fault](
            int nth, bool persistent) { Emulator::SimulatedPhone::GetInstance().FailNthCall(fault, nth, persistent); },
        [fault] { return Emulator::SimulatedPhone::GetInstance().FaultCallCount(fault); }};
}

const std::vector<FaultClass>& Classes()
{
    static const std::vector<FaultClass> classes = {
        {"database",
            [](int nth, bool persistent) {
                DatabaseBase() = Emulator::RdbFaults::OperationCount();
                Emulator::RdbFaults::FailNthOperation(nth, persistent);
            },
            [] { return Emulator::RdbFaults::OperationCount() - DatabaseBase(); }},
        {"preferences_write", [](int nth, bool persistent) { Emulator::FailPreferencesWriteStep(nth, persistent); },
            [] { return Emulator::PreferencesWriteStepCount(); }},
        PhoneClass("sensor_subscribe", PhoneFault::SUBSCRIBE_SENSOR),
        PhoneClass("sensor_activate", PhoneFault::ACTIVATE_SENSOR),
        PhoneClass("movement_subscribe", PhoneFault::MOVEMENT_SUBSCRIBE),
        {"settings_query",
            [](int nth, bool persistent) {
                Emulator::FailNthDataShareCall(Emulator::DataShareFault::QUERY_FAILS, nth, persistent);
            },
            [] { return Emulator::DataShareCallCount(Emulator::DataShareFault::QUERY_FAILS); }},
        {"notification_subscribe",
            [](int nth, bool persistent) {
                Emulator::NotificationCenter::GetInstance().FailNthSubscribe(nth, persistent);
            },
            [] { return Emulator::NotificationCenter::GetInstance().SubscribeCallCount(); }},
        {"event_publish",
            [](int nth, bool persistent) { Emulator::CommonEventBus::GetInstance().FailNthPublish(nth, persistent); },
            [] { return Emulator::CommonEventBus::GetInstance().PublishCallCount(); }},
        {"sysevent_write", [](int nth, bool persistent) { Emulator::FailNthSysEventWrite(nth, persistent); },
            [] { return Emulator::SysEventWriteCount(); }},
    };
    return classes;
}

const FaultClass* Find(const std::string& name)
{
    const auto& classes = Classes();
    auto it = std::find_if(
        classes.begin(), classes.end(), [&name](const FaultClass& faultClass) { return faultClass.name == name; });
    return it == classes.end() ? nullptr : &*it;
}

} // namespace

const std::vector<std::string>& PlatformFaultClasses()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const FaultClass& faultClass : Classes()) {
            all.push_back(faultClass.name);
        }
        return all;
    }();
    return names;
}

bool IsPlatformFaultClass(const std::string& name)
{
    return Find(name) != nullptr;
}

std::string PlatformFaultClassList()
{
    std::string list;
    for (const std::string& name : PlatformFaultClasses()) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

void ArmPlatformFault(const std::string& name, int nth, bool persistent)
{
    if (const FaultClass* faultClass = Find(name)) {
        faultClass->arm(std::max(nth, 0), persistent);
    }
}

int PlatformFaultCalls(const std::string& name)
{
    const FaultClass* faultClass = Find(name);
    return faultClass == nullptr ? 0 : faultClass->calls();
}

void DisarmPlatformFault(const std::string& name)
{
    ArmPlatformFault(name, 0, false);
}

} // namespace OHOS::Sim
