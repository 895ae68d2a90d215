#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "event_handler.h"
#include "notification_helper.h"
#include "standby_notification_subscriber.h"
#include "standby_service_impl.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int64_t kStartMs = 1710169200000;

class StandbyNotificationSubscriberTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
        StandbyServiceImpl::GetInstance()->Reset();
        StandbyServiceImpl::GetInstance()->SetHandler(handler_);
        StandbyServiceImpl::GetInstance()->SetMessageObserver(
            [this](const StandbyMessage& message) { messages_.push_back(message); });
        Emulator::NotificationCenter::GetInstance().Reset();
        Emulator::NotificationCenter::GetInstance().SetHandler(handler_);
    }
    void TearDown() override
    {
        Emulator::NotificationCenter::GetInstance().Reset();
        StandbyServiceImpl::GetInstance()->Reset();
    }

    Emulator::ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::vector<StandbyMessage> messages_;
};

// Messages reach the host (no strategy needs to be registered: the subscriber filters nothing).
TEST_F(StandbyNotificationSubscriberTest, NotificationsAndBadgesBecomeHostMessages)
{
    StandbyNotificationSubscriber subscriber;
    ASSERT_EQ(Notification::NotificationHelper::SubscribeNotification(subscriber), 0);
    auto& center = Emulator::NotificationCenter::GetInstance();
    center.PostNotification("com.example.mail", kStartMs + 1000);
    center.PostNotification("", kStartMs + 2000);
    center.ChangeBadge("com.example.chat", 0, kStartMs + 3000);
    handler_->FastForwardBy(5000);

    struct Expected {
        int32_t eventId;
        int64_t timestamp;
        const char* pkg;
    } const expected[] = {
        {2007, kStartMs + 1000, "com.example.mail"},
        {2007, kStartMs + 2000, ""},
        {2008, kStartMs + 3000, "com.example.chat"},
    };
    ASSERT_EQ(messages_.size(), 3u);
    for (size_t i = 0; i < messages_.size(); ++i) {
        EXPECT_EQ(messages_[i].eventId, expected[i].eventId);
        EXPECT_EQ(messages_[i].action, "");
        ASSERT_TRUE(messages_[i].want.has_value());
        EXPECT_EQ(messages_[i].want->GetLongParam("timestamp", -1), expected[i].timestamp);
        EXPECT_EQ(messages_[i].want->GetStringParam("pkg"), expected[i].pkg);
    }
}

TEST_F(StandbyNotificationSubscriberTest, DeliveryTimeNotArrivalTimeIsTheTimestamp)
{
    StandbyNotificationSubscriber subscriber;
    Notification::NotificationRequest request(7);
    request.SetDeliveryTime(kStartMs - 60000);
    subscriber.OnConsumed(std::make_shared<Notification::Notification>("pkg", request));
    subscriber.OnConsumed(nullptr);
    subscriber.OnBadgeChanged(nullptr);
    handler_->RunUntilIdle();
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].want->GetLongParam("timestamp", -1), kStartMs - 60000);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
