#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "event_handler.h"
#include "notification_helper.h"
#include "virtual_clock.h"

namespace {

using OHOS::AppExecFwk::EventHandler;
using OHOS::Emulator::NotificationCenter;
using OHOS::Emulator::ScopedVirtualClock;
using namespace OHOS::Notification;

using Calls = std::vector<std::string>;

constexpr int64_t kStartMs = 1700000000000;

using SortingMap = std::shared_ptr<NotificationSortingMap>;
using Enabled = std::shared_ptr<EnabledNotificationCallbackData>;

// Records every callback as one line, with the virtual time at which it arrived.
class RecordingSubscriber : public NotificationSubscriber {
public:
    std::vector<std::string> calls;

    void OnCanceled(const std::shared_ptr<Notification>&, const SortingMap&, int32_t) override { Record("canceled"); }
    void OnConnected() override { Record("connected"); }
    void OnConsumed(const std::shared_ptr<Notification>& notification) override
    {
        Record("consumed " + notification->GetBundleName() + " " +
               std::to_string(notification->GetNotificationRequest().GetDeliveryTime() - kStartMs));
    }
    void OnDisconnected() override { Record("disconnected"); }
    void OnUpdate(const SortingMap&) override { Record("update"); }
    void OnDied() override { Record("died"); }
    void OnDoNotDisturbDateChange(const std::shared_ptr<NotificationDoNotDisturbDate>&) override { Record("dnd"); }
    void OnEnabledNotificationChanged(const Enabled&) override { Record("enabled"); }
    void OnBadgeChanged(const std::shared_ptr<BadgeNumberCallbackData>& badgeData) override
    {
        Record("badge " + badgeData->GetBundle() + " " + std::to_string(badgeData->GetBadgeNumber()));
    }
    void OnBadgeEnabledChanged(const Enabled&) override { Record("badge enabled"); }
    void OnBatchCanceled(const std::vector<std::shared_ptr<Notification>>&, const SortingMap&, int32_t) override
    {
        Record("batch canceled");
    }

private:
    void Record(const std::string& what)
    {
        int64_t at = OHOS::Emulator::CurrentClock()->WallTimeMs() - kStartMs;
        calls.push_back("@" + std::to_string(at) + " " + what);
    }
};

class NotificationCenterTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        NotificationCenter::GetInstance().Reset();
        handler_ = EventHandler::CreateVirtual(clock_.Shared());
        NotificationCenter::GetInstance().SetHandler(handler_);
    }
    void TearDown() override { NotificationCenter::GetInstance().Reset(); }

    NotificationCenter& Center() { return NotificationCenter::GetInstance(); }

    ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<EventHandler> handler_;
};

TEST_F(NotificationCenterTest, DeliversNotificationsAndBadgesAtTheirVirtualTime)
{
    RecordingSubscriber subscriber;
    ASSERT_EQ(NotificationHelper::SubscribeNotification(subscriber), 0);
    Center().PostNotification("com.example.mail", kStartMs + 5000);
    Center().ChangeBadge("com.example.chat", 3, kStartMs + 2000);
    Center().PostNotification("", kStartMs - 100); // already due: delivered at once
    handler_->FastForwardBy(10000);
    EXPECT_EQ(subscriber.calls, (Calls{"@0 connected", "@0 consumed  -100", "@2000 badge com.example.chat 3",
                                    "@5000 consumed com.example.mail 5000"}));
}

TEST_F(NotificationCenterTest, OnlySubscribersAliveAndSubscribedAtDeliveryReceive)
{
    RecordingSubscriber early, late;
    auto destroyed = std::make_unique<RecordingSubscriber>();
    ASSERT_EQ(NotificationHelper::SubscribeNotification(early), 0);
    ASSERT_EQ(NotificationHelper::SubscribeNotification(*destroyed), 0);
    Center().PostNotification("pkg", kStartMs + 1000);
    destroyed.reset(); // the queued delivery must not touch it
    EXPECT_EQ(Center().SubscriberCount(), 1u);
    handler_->FastForwardBy(500);
    ASSERT_EQ(NotificationHelper::UnSubscribeNotification(early), 0);
    ASSERT_EQ(NotificationHelper::SubscribeNotification(late), 0);
    handler_->FastForwardBy(1000);

    EXPECT_EQ(early.calls, (Calls{"@0 connected", "@500 disconnected"}));
    EXPECT_EQ(late.calls, (Calls{"@500 connected", "@1000 consumed pkg 1000"}));
    EXPECT_EQ(handler_->PendingTaskCount(), 0u);
}

TEST_F(NotificationCenterTest, SubscribeResultsAndFaultSwitches)
{
    RecordingSubscriber subscriber;
    EXPECT_EQ(NotificationHelper::UnSubscribeNotification(subscriber), ERR_ANS_NOT_SUBSCRIBED);

    Center().SetSubscribeFails(true);
    EXPECT_EQ(NotificationHelper::SubscribeNotification(subscriber), ERR_ANS_SERVICE_NOT_READY);
    Center().SetSubscribeFails(false);
    EXPECT_EQ(NotificationHelper::SubscribeNotification(subscriber), 0);
    EXPECT_EQ(NotificationHelper::SubscribeNotification(subscriber), 0); // twice: still one subscription
    Center().SetUnsubscribeFails(true);
    EXPECT_EQ(NotificationHelper::UnSubscribeNotification(subscriber), ERR_ANS_SERVICE_NOT_READY);
    EXPECT_EQ(Center().SubscriberCount(), 1u);

    Center().PostNotification("pkg", kStartMs);
    handler_->RunUntilIdle();
    EXPECT_EQ(subscriber.calls, (Calls{"@0 connected", "@0 consumed pkg 0"}));
}

} // namespace
