#include "notification_subscriber.h"

#include "notification_helper.h"

namespace OHOS::Notification {

NotificationSubscriber::NotificationSubscriber() : link_(std::make_shared<Emulator::SubscriberLink>(this)) {}

NotificationSubscriber::~NotificationSubscriber()
{
    Emulator::NotificationCenter::GetInstance().Forget(link_);
    link_->Detach();
}

} // namespace OHOS::Notification
