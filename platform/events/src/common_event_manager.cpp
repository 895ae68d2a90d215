#include "common_event_manager.h"

#include <algorithm>
#include <mutex>

#include "call_fault.h"

namespace OHOS::EventFwk {

const std::string CommonEventSupport::COMMON_EVENT_SCREEN_ON = "usual.event.SCREEN_ON";
const std::string CommonEventSupport::COMMON_EVENT_SCREEN_OFF = "usual.event.SCREEN_OFF";
const std::string CommonEventSupport::COMMON_EVENT_SCREEN_UNLOCKED = "usual.event.SCREEN_UNLOCKED";
const std::string CommonEventSupport::COMMON_EVENT_BOOT_COMPLETED = "usual.event.BOOT_COMPLETED";
const std::string CommonEventSupport::COMMON_EVENT_POWER_CONNECTED = "usual.event.POWER_CONNECTED";
const std::string CommonEventSupport::COMMON_EVENT_POWER_DISCONNECTED = "usual.event.POWER_DISCONNECTED";
const std::string CommonEventSupport::COMMON_EVENT_CALL_STATE_CHANGED = "usual.event.CALL_STATE_CHANGED";
const std::string CommonEventSupport::COMMON_EVENT_USER_SWITCHED = "usual.event.USER_SWITCHED";
const std::string CommonEventSupport::COMMON_EVENT_USER_STOPPING = "usual.event.USER_STOPPING";

CommonEventData::CommonEventData(const AAFwk::Want& want) : want_(want) {}

CommonEventData::CommonEventData(const AAFwk::Want& want, int32_t code, const std::string& data)
    : want_(want), code_(code), data_(data)
{
}

void CommonEventData::SetWant(const AAFwk::Want& want)
{
    want_ = want;
}

const AAFwk::Want& CommonEventData::GetWant() const
{
    return want_;
}

void CommonEventData::SetCode(int32_t code)
{
    code_ = code;
}

int32_t CommonEventData::GetCode() const
{
    return code_;
}

void CommonEventData::SetData(const std::string& data)
{
    data_ = data;
}

const std::string& CommonEventData::GetData() const
{
    return data_;
}

void CommonEventPublishInfo::SetSubscriberPermissions(const std::vector<std::string>& permissions)
{
    permissions_ = permissions;
}

const std::vector<std::string>& CommonEventPublishInfo::GetSubscriberPermissions() const
{
    return permissions_;
}

void CommonEventPublishInfo::SetOrdered(bool ordered)
{
    ordered_ = ordered;
}

bool CommonEventPublishInfo::IsOrdered() const
{
    return ordered_;
}

void CommonEventPublishInfo::SetSticky(bool sticky)
{
    sticky_ = sticky;
}

bool CommonEventPublishInfo::IsSticky() const
{
    return sticky_;
}

} // namespace OHOS::EventFwk

namespace OHOS::Emulator {
namespace {

struct Subscriber {
    int32_t id;
    std::vector<std::string> events;
    std::vector<std::string> heldPermissions;
    CommonEventBus::Callback callback;

    bool Wants(const std::string& action) const
    {
        return events.empty() || std::find(events.begin(), events.end(), action) != events.end();
    }
    bool Holds(const std::vector<std::string>& required) const
    {
        return std::all_of(required.begin(), required.end(), [this](const std::string& permission) {
            return std::find(heldPermissions.begin(), heldPermissions.end(), permission) != heldPermissions.end();
        });
    }
};

struct BusState {
    std::mutex mutex;
    std::vector<Subscriber> subscribers;
    int32_t nextId = 1;
    CallFault publishFault;
};

BusState& Bus()
{
    static BusState state;
    return state;
}

} // namespace

CommonEventBus& CommonEventBus::GetInstance()
{
    static CommonEventBus instance;
    return instance;
}

int32_t CommonEventBus::Subscribe(
    const std::vector<std::string>& events, const std::vector<std::string>& heldPermissions, Callback callback)
{
    BusState& bus = Bus();
    std::lock_guard<std::mutex> lock(bus.mutex);
    int32_t id = bus.nextId++;
    bus.subscribers.push_back(Subscriber{id, events, heldPermissions, std::move(callback)});
    return id;
}

void CommonEventBus::Unsubscribe(int32_t id)
{
    BusState& bus = Bus();
    std::lock_guard<std::mutex> lock(bus.mutex);
    bus.subscribers.erase(std::remove_if(bus.subscribers.begin(), bus.subscribers.end(),
                              [id](const Subscriber& subscriber) { return subscriber.id == id; }),
        bus.subscribers.end());
}

void CommonEventBus::SetPublishFails(bool fails)
{
    BusState& bus = Bus();
    std::lock_guard<std::mutex> lock(bus.mutex);
    bus.publishFault.SetAlways(fails);
}

void CommonEventBus::FailNthPublish(int nth, bool persistent)
{
    Bus().publishFault.FailNth(nth, persistent);
}

int CommonEventBus::PublishCallCount() const
{
    return Bus().publishFault.Calls();
}

void CommonEventBus::Reset()
{
    BusState& bus = Bus();
    std::lock_guard<std::mutex> lock(bus.mutex);
    bus.subscribers.clear();
    bus.publishFault.Reset();
}

} // namespace OHOS::Emulator

namespace OHOS::EventFwk {

bool CommonEventManager::PublishCommonEvent(const CommonEventData& data, const CommonEventPublishInfo& publishInfo)
{
    Emulator::BusState& bus = Emulator::Bus();
    std::vector<Emulator::CommonEventBus::Callback> receivers;
    {
        std::lock_guard<std::mutex> lock(bus.mutex);
        if (bus.publishFault.OnCall()) {
            return false;
        }
        for (const Emulator::Subscriber& subscriber : bus.subscribers) {
            if (subscriber.callback && subscriber.Wants(data.GetWant().GetAction()) &&
                subscriber.Holds(publishInfo.GetSubscriberPermissions())) {
                receivers.push_back(subscriber.callback);
            }
        }
    }
    for (const auto& receive : receivers) {
        receive(data);
    }
    return true;
}

} // namespace OHOS::EventFwk
