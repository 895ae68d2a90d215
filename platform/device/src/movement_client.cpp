#include "movement_client.h"

#include <algorithm>

#include "simulated_phone.h"

namespace OHOS::Msdp {
namespace {

using Emulator::MotionState;
using Emulator::PhoneFault;
using Emulator::SimulatedPhone;

constexpr int32_t kMovementOk = 0;
constexpr int32_t kMovementInvalidParam = 401;
constexpr int32_t kMovementServiceRefused = 31500001;
constexpr int32_t kMovementNotSubscribed = 31500002;

MovementDataUtils::TypeValue ToTypeValue(MotionState state)
{
    switch (state) {
    case MotionState::STILL:
        return MovementDataUtils::VALUE_ENTER;
    case MotionState::MOVING:
        return MovementDataUtils::VALUE_EXIT;
    default:
        return MovementDataUtils::INVALID;
    }
}

// Matches the subscription of exactly this type, event and callback.
auto Matching(int32_t type, int32_t event, const sptr<IMovementCallback>& callback)
{
    return [type, event, &callback](const auto& subscription) {
        return subscription.type == type && subscription.event == event && subscription.callback == callback;
    };
}

} // namespace

MovementClient& MovementClient::GetInstance()
{
    static MovementClient client;
    return client;
}

MovementClient::MovementClient()
{
    SimulatedPhone::GetInstance().AddMotionObserver(
        [this](MotionState state) { DeliverToSubscribers(ToTypeValue(state)); });
}

bool MovementClient::Wants(int32_t event, MovementDataUtils::TypeValue value)
{
    switch (event) {
    case MovementDataUtils::ENTER:
        return value == MovementDataUtils::VALUE_ENTER;
    case MovementDataUtils::EXIT:
        return value == MovementDataUtils::VALUE_EXIT;
    case MovementDataUtils::ENTER_EXIT:
        return true;
    default:
        return false;
    }
}

void MovementClient::DeliverToSubscribers(MovementDataUtils::TypeValue value)
{
    std::vector<std::shared_ptr<IMovementCallback>> receivers;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& subscription : subscriptions_) {
            if (Wants(subscription.event, value)) {
                receivers.push_back(subscription.callback);
            }
        }
    }
    MovementDataUtils::MovementData data{MovementDataUtils::TYPE_STILL, value};
    for (const auto& receiver : receivers) {
        receiver->OnMovementChanged(data);
    }
}

int32_t MovementClient::SubscribeCallback(
    int32_t type, int32_t event, int64_t latency, const sptr<IMovementCallback>& callback)
{
    (void)latency; // changes are reported at once
    if (callback == nullptr || type != MovementDataUtils::TYPE_STILL) {
        return kMovementInvalidParam;
    }
    SimulatedPhone& phone = SimulatedPhone::GetInstance();
    if (phone.CallFails(PhoneFault::MOVEMENT_SUBSCRIBE)) {
        return kMovementServiceRefused;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto same = std::find_if(subscriptions_.begin(), subscriptions_.end(), Matching(type, event, callback));
        if (same != subscriptions_.end()) {
            return kMovementOk;
        }
        subscriptions_.push_back({type, event, callback});
    }
    if (phone.GetMotionState() == MotionState::STILL && Wants(event, MovementDataUtils::VALUE_ENTER)) {
        std::weak_ptr<IMovementCallback> weak = callback;
        phone.PostCallback(
            [this, weak]() {
                auto receiver = weak.lock();
                if (receiver != nullptr && IsSubscribed(receiver)) {
                    receiver->OnMovementChanged({MovementDataUtils::TYPE_STILL, MovementDataUtils::VALUE_ENTER});
                }
            },
            0);
    }
    return kMovementOk;
}

int32_t MovementClient::UnsubscribeCallback(int32_t type, int32_t event, const sptr<IMovementCallback>& callback)
{
    if (callback == nullptr) {
        return kMovementInvalidParam;
    }
    if (SimulatedPhone::GetInstance().CallFails(PhoneFault::MOVEMENT_UNSUBSCRIBE)) {
        return kMovementServiceRefused;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = std::find_if(subscriptions_.begin(), subscriptions_.end(), Matching(type, event, callback));
    if (it == subscriptions_.end()) {
        return kMovementNotSubscribed;
    }
    subscriptions_.erase(it);
    return kMovementOk;
}

bool MovementClient::IsSubscribed(const sptr<IMovementCallback>& callback) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::any_of(
        subscriptions_.begin(), subscriptions_.end(), [&](const Subscription& s) { return s.callback == callback; });
}

size_t MovementClient::SubscriptionCount() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return subscriptions_.size();
}

void MovementClient::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_.clear();
}

} // namespace OHOS::Msdp
